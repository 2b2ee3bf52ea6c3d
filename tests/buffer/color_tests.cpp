// The native colour: bytes in and out, and the ways a colour is made.
#include "buffer/GL3Color.h"

#include <limits>
#include <utility>

#include "hostkit/services/current_driver.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/faults.h"

namespace {

std::array<float, 4> Floats(const GANativeColor& color) {
  const float* rgba = static_cast<const GL3Color&>(color).Rgba();
  return {rgba[0], rgba[1], rgba[2], rgba[3]};
}

std::array<int, 4> BytesOf(const GANativeColor& color) {
  return {color.Red(), color.Green(), color.Blue(), color.Alpha()};
}

/// All four channels hold `channel`; what each reads back as.
std::array<int, 4> BytesOf(float channel) {
  return BytesOf(GL3Color(Vector4{channel, channel, channel, channel}));
}

std::array<int, 4> Four(int byte) {
  return {byte, byte, byte, byte};
}

TEST(ColorTest, EveryByteComesBack) {
  GL3Color all(Vector4{}), one(Vector4{});
  for (int byte = 0; byte < 256; ++byte) {
    const auto value = static_cast<unsigned char>(byte);
    all.Set(value, value, value, value);
    ASSERT_EQ(BytesOf(all), Four(byte));
    one.SetRed(value);
    one.SetGreen(static_cast<unsigned char>(value + 1));
    one.SetBlue(static_cast<unsigned char>(value + 2));
    one.SetAlpha(static_cast<unsigned char>(value + 3));
    ASSERT_EQ(BytesOf(one),
              (std::array<int, 4>{byte, (byte + 1) % 256, (byte + 2) % 256, (byte + 3) % 256}));
  }
}

TEST(ColorTest, BytesAreRoundedAndCutToEightBits) {
  EXPECT_EQ(BytesOf(0.5f), Four(128)) << "127.5 rounds up";
  EXPECT_EQ(BytesOf(0.4999f / 255), Four(0));
  EXPECT_EQ(BytesOf(1.0f), Four(255));
  EXPECT_EQ(BytesOf(256.0f / 255), Four(0)) << "not clamped";
  EXPECT_EQ(BytesOf(2.0f), Four(510 - 256));
  EXPECT_EQ(BytesOf(-0.4f / 255), Four(0));
  EXPECT_EQ(BytesOf(-0.5f / 255), Four(255)) << "-1 in eight bits";
  EXPECT_EQ(BytesOf(2.5f / 255), Four(3));
  EXPECT_EQ(BytesOf(0.6f / 255), Four(1));
  EXPECT_EQ(BytesOf(-1.0f), Four(1));
  for (const float wild : {1e8f, std::numeric_limits<float>::quiet_NaN(), 3e38f, -3e38f,
                           std::numeric_limits<float>::infinity()}) {
    EXPECT_EQ(BytesOf(wild), Four(0));
  }
}

using DriverColorTest = DriverFixture;

TEST_F(DriverColorTest, FactoriesKeepChannelsInPlace) {
  const auto make = [](GANativeColor* color) { return std::unique_ptr<GANativeColor>(color); };
  RGBFloat rgb;
  rgb.red = 0.25f;
  rgb.green = 0.5f;
  rgb.blue = 4.0f;
  EXPECT_EQ(Floats(*make(Driver()->CreateColor(rgb))),
            (std::array<float, 4>{0.25f, 0.5f, 4.0f, 1.0f}));
  EXPECT_EQ(Floats(*make(Driver()->CreateColor(Vector4{-1, 2, 0.5f, 0.125f}))),
            (std::array<float, 4>{-1, 2, 0.5f, 0.125f}));
  EXPECT_EQ(Floats(*make(Driver()->CreateColor(ColorBuf{255, 51, 0, 102}))),
            (std::array<float, 4>{1.0f, 51.0f / 255.0f, 0.0f, 102.0f / 255.0f}));

  const auto color = make(Driver()->CreateColor());
  color->Set(1, 2, 3, 4);
  color->Set(rgb);
  EXPECT_EQ(Floats(*color), (std::array<float, 4>{0.25f, 0.5f, 4.0f, 1.0f})) << "opaque again";
}

TEST_F(DriverColorTest, HandlesCopyTheColour) {
  const GAColor first = Rgb(10, 20, 30, 40);
  GAColor copy(first);
  ASSERT_NE(copy.Native(), nullptr);
  ASSERT_NE(copy.Native(), first.Native());
  copy.Set(1, 2, 3, 4);
  EXPECT_EQ(BytesOf(*first.Native()), (std::array<int, 4>{10, 20, 30, 40}));
  EXPECT_EQ(BytesOf(*copy.Native()), (std::array<int, 4>{1, 2, 3, 4}));

  GAColor moved(std::move(copy));
  EXPECT_EQ(copy.Native(), nullptr);
  copy = moved;
  GAColor& self = copy;
  copy = self;
  EXPECT_EQ(BytesOf(*copy.Native()), BytesOf(*moved.Native()));
  {
    Faults faults;  // without memory it keeps its colour
    faults.FailAlways(FaultPoint::kAllocGAssist);
    moved = first;
    EXPECT_EQ(BytesOf(*moved.Native()), (std::array<int, 4>{1, 2, 3, 4}));
    EXPECT_EQ(GAColor(first).Native(), nullptr);
  }
  GAColor empty;
  copy = empty;
  EXPECT_EQ(copy.Native(), nullptr);
  hostkit::SetDriver(nullptr);
  EXPECT_EQ(GAColor(first).Native(), nullptr);
  empty.Set(1, 2, 3, 4);
  EXPECT_EQ(empty.Native(), nullptr);
  const std::unique_ptr<GANativeColor> fromEmpty(Driver()->CreateColor(empty));
  EXPECT_EQ(Floats(*fromEmpty), (std::array<float, 4>{0, 0, 0, 1}));

  // As the module's own code reads a handle.
  EXPECT_EQ(ColorFloats(first), static_cast<const GL3Color*>(first.Native())->Rgba());
  EXPECT_EQ(ColorFloats(empty)[0] + ColorFloats(empty)[1] + ColorFloats(empty)[2], 0);
  EXPECT_EQ(ColorFloats(empty)[3], 1);
  const ColorBuf bytes = ColorBytes(first), none = ColorBytes(empty);
  EXPECT_EQ((std::array<int, 4>{bytes.red, bytes.green, bytes.blue, bytes.alpha}),
            (std::array<int, 4>{10, 20, 30, 40}));
  EXPECT_EQ((std::array<int, 4>{none.red, none.green, none.blue, none.alpha}),
            (std::array<int, 4>{0, 0, 0, 255}));
}

}  // namespace
