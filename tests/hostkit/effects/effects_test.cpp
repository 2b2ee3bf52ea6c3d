// Effects run through the module on pictures of every awkward size, against their twins on the
// processor; windows; what becomes of alpha.
#include <Imath/half.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <utility>

#include "host/GADriver.h"
#include "hostkit/effects/byte_image.h"
#include "hostkit/effects/effect_chain.h"
#include "hostkit/effects/effect_runner.h"
#include "hostkit/effects/effect_twins.h"
#include "hostkit/effects/effect_windows.h"
#include "hostkit/services/module_loader.h"
#include "tests/support/common/holds.h"

namespace {

using hostkit::BitmapPtr;
using hostkit::EffectCall;
using hostkit::EffectRunner;

EffectCall Call(const char* name, int passes = 1, float radius = 10) {
  return {hostkit::FindEffect(name), static_cast<float>(passes), radius};
}

/// Noise, with steps of several sizes under it, so that edges and flat places are there.
BitmapPtr Noise(int width, int height, bool hasAlpha, unsigned seed = 1) {
  std::mt19937 random(seed);
  BitmapPtr bitmap = hostkit::NewByteBitmap(width, height);
  for (int y = 0; y < height; ++y) {
    unsigned char* row = hostkit::ByteRow(*bitmap, y);
    for (int x = 0; x < 4 * width; ++x) {
      const unsigned value = (x / 28 + y / 5) % 3 == 0 ? random() % 256 : random() % 24 + 99;
      row[x] = static_cast<unsigned char>(x % 4 == 3 && !hasAlpha ? 255 : value);
    }
  }
  return bitmap;
}

class Effects : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    std::string error;
    s_module = hostkit::LoadedModule::Load(GL3_LIB_DIR "/OpenGL3.so", &error).release();
    ASSERT_TRUE(s_module) << error;
    ASSERT_TRUE(s_module->Driver()->Initialize());
  }
  static void TearDownTestSuite() {
    s_module->Driver()->Terminate();
    delete s_module;
  }

  static std::unique_ptr<EffectRunner> Runner(int maxWindow = 4096, int ownSizes = 99) {
    std::string error;
    auto runner = EffectRunner::Create(s_module->Driver(), {maxWindow, ownSizes, false}, &error);
    EXPECT_TRUE(runner) << error;
    return runner;
  }

  static BitmapPtr Run(EffectRunner& runner, const EffectCall& call, HBitmapNode& source) {
    std::string error;
    BitmapPtr result = runner.Run(call, source, nullptr, &error);
    EXPECT_TRUE(result) << error;
    return result;
  }

  static hostkit::LoadedModule* s_module;
};
hostkit::LoadedModule* Effects::s_module = nullptr;

TEST_F(Effects, MatchTheirTwinsWhateverTheSizeAndRadius) {
  const auto runner = Runner();
  const auto compare = [&](const EffectCall& call, int width, int height, bool hasAlpha) {
    const BitmapPtr source = Noise(width, height, hasAlpha);
    const BitmapPtr result = Run(*runner, call, *source);
    ASSERT_TRUE(result && result->GetWidth() == width);
    const hostkit::TwinPixels twin = hostkit::RunTwin(call, hostkit::TwinFromBytes(*source));
    EXPECT_LE(hostkit::LargestDifference(twin, *result), hostkit::DifferenceBound(call))
        << call.kind->name << " " << width << "x" << height << " passes " << call.passes
        << " radius " << call.radius;
  };
  const int sizes[][2] = {{1, 1}, {3, 5}, {64, 4}, {130, 41}};
  for (const hostkit::EffectKind& kind : hostkit::kEffectKinds) {
    for (const auto& [width, height] : sizes) {
      for (const int passes : {1, 3}) compare(Call(kind.name, passes, 6.5f), width, height, true);
    }
  }
  for (const EffectCall& call : {Call("blur", 2, 10), Call("sharpen", 2)}) {
    for (const int rest : {0, 1}) compare(call, 1000 + rest, 600 + rest, false);
  }
  for (const float radius : {0.0f, 1.0f, 1.5f, 2.0f, 3.7f, 25.0f, 200.0f}) {
    compare(Call("blur", 1, radius), 96, 64, false);
  }
}

TEST_F(Effects, InWindowsEqualThoseInOnePiece) {
  const auto whole = Runner(), windows = Runner(64), shared = Runner(4096, 0);
  const BitmapPtr source = Noise(203, 130, true);
  for (const hostkit::EffectKind& kind : hostkit::kEffectKinds) {
    const EffectCall call = Call(kind.name, 3, 5);
    const BitmapPtr one = Run(*whole, call, *source);
    ASSERT_TRUE(one);
    const hostkit::TwinPixels wanted = hostkit::TwinFromBytes(*hostkit::BytesFromHalves(*one));
    for (EffectRunner* runner : {windows.get(), shared.get()}) {
      const BitmapPtr other = Run(*runner, call, *source);
      ASSERT_TRUE(other);
      // Linear samples between pixels may round to the other side at another texture size.
      EXPECT_LE(hostkit::LargestDifference(wanted, *other),
                kind.program == GAShaderProgram::kBlur ? 1 : 0)
          << kind.name;
    }
  }
  std::string error;
  EXPECT_FALSE(windows->Run(Call("blur", 1, 40), *source, nullptr, &error));
  EXPECT_TRUE(Holds(error, {"40 is too large for textures of 64"}));
}

TEST(EffectWindows, CoverAnAxisOnceAndStayClearOfInnerBorders) {
  using hostkit::WindowFit;
  for (const int size : {1, 4, 63, 64, 65, 130, 1001}) {
    for (const int kind : {0, 2, 13, 100, 102, 113}) {
      const int reach = kind % 100;
      const WindowFit fit = kind < 100 ? WindowFit::kOwn : WindowFit::kShared;
      const hostkit::AxisPlan plan = hostkit::PlanAxis(size, 64, reach, 3, fit);
      ASSERT_FALSE(plan.spans.empty());
      ASSERT_GE(plan.passes, 1);
      if (fit == WindowFit::kShared) {
        EXPECT_TRUE(std::has_single_bit(static_cast<unsigned>(plan.spans.front().length)));
      }
      int covered = 0;
      for (const hostkit::WindowSpan& span : plan.spans) {
        SCOPED_TRACE(testing::Message() << size << " " << reach << " from " << span.from);
        EXPECT_EQ(span.length, plan.spans.front().length);
        EXPECT_EQ(span.length % 4, 0);
        EXPECT_LE(span.length, 64);
        EXPECT_EQ(span.keepFrom, covered);
        EXPECT_GT(span.keepTo, span.keepFrom);
        const int margin = reach * plan.passes;
        if (span.from > 0) {
          EXPECT_GE(span.keepFrom - span.from, margin);
        }
        const int end = span.from + span.length;
        if (end < size) {
          EXPECT_GE(end - span.keepTo, margin);
        } else if (end > size && reach > 0) {
          EXPECT_EQ(plan.passes, 1) << "padding lasts for one pass";
        }
        covered = span.keepTo;
      }
      EXPECT_EQ(covered, size);
    }
  }
  EXPECT_TRUE(hostkit::PlanAxis(65, 64, 32, 1).spans.empty());
}

/// A finished picture of one pixel: colours times alpha, alpha.
hostkit::Picture OnePixel(float red, float green, float blue, float alpha) {
  hostkit::Picture picture{hostkit::NewHalfBitmap(1, 1), true};
  const float values[] = {blue * alpha, green * alpha, red * alpha, alpha};
  for (int c = 0; c < 4; ++c) hostkit::HalfRow(*picture.bitmap, 0)[c] = half(values[c]).bits();
  return picture;
}

TEST_F(Effects, KeepAlphaOrPutThePictureOnBlack) {
  const auto runner = Runner();
  const auto apply = [&](const std::vector<EffectCall>& calls, hostkit::Picture* picture) {
    bool clipped = false;
    std::string error;
    std::vector<hostkit::EffectStep> steps;
    EXPECT_TRUE(hostkit::ApplyEffects(*runner, calls, picture, &clipped, &steps, &error)) << error;
    EXPECT_EQ(steps.size(), calls.size());
    std::vector<float> values;
    for (int c : {2, 1, 0, 3}) {
      half value;
      value.setBits(hostkit::HalfRow(*picture->bitmap, 0)[c]);
      values.push_back(value);
    }
    return std::pair(values, clipped);
  };
  const auto expectNear = [](const std::vector<float>& values, const std::vector<float>& wanted) {
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(values[i], wanted[i], 0.004) << i;
  };
  const float half = 128 / 255.0f;
  hostkit::Picture picture = OnePixel(1, 0.2f, 0, half);
  expectNear(apply({Call("negative")}, &picture).first, {0, 0.8f * half, half, half});
  EXPECT_TRUE(picture.hasAlpha);

  picture = OnePixel(1, 0.2f, 0, half);
  expectNear(apply({Call("negative"), Call("blur"), Call("negative")}, &picture).first,
             {1, 1 - 0.8f * half, 1 - half, 1});
  EXPECT_FALSE(picture.hasAlpha);

  picture = OnePixel(1, 0.2f, 0, half);
  EXPECT_NEAR(apply({Call("tint")}, &picture).first[3], half, 0.004);
  apply({Call("sobel")}, &picture);
  EXPECT_FALSE(picture.hasAlpha);
  picture = OnePixel(3, 0.2f, 0, half);
  EXPECT_TRUE(apply({Call("erode")}, &picture).second) << "a colour above 1 was cut";
  picture = OnePixel(0.5f, 0.5f, 0.5f, 0);
  expectNear(apply({Call("dilate")}, &picture).first, {0, 0, 0, 0});
}

}  // namespace
