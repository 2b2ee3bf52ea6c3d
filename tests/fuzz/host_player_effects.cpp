// Moves of the random host that concern a shader program: effects as hosts ask for them.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <vector>

#include "platform/win32.h"
#include "shader/Gl3ShaderMainRun.h"
#include "tests/fuzz/host_player.h"

namespace {

constexpr int kLongest = 1500;  // pixels of a side that has storage

enum Effect : int { kBlur = 0, kFilter = 1 };

PlayedProgram::Size Shortened(PlayedProgram::Size size) {
  return {std::min(size.width, kLongest), std::min(size.height, kLongest)};
}

/// A long side never meets another one.
PlayedProgram::Size PictureSize(HostPlayer& host) {
  const int width = host.Side(), height = host.Side();
  return {width, width < kLongest ? height : std::min(height, 1)};
}

/// With one buffer or two of some kind, mostly of the picture's size and with storage.
hostkit::BitmapPtr Picture(HostPlayer& host, PlayedProgram::Size size) {
  constexpr struct {
    const char* name;
    HBitmapBuffer::ChannelType type;
    int channels, elementSize;
  } kKinds[] = {{"Color", HBitmapBuffer::kByteChannel, 4, 1},
                {"ColorAlpha", HBitmapBuffer::kHalfChannel, 4, 2},
                {"Depth", HBitmapBuffer::kFloatChannel, 1, 4},
                {"Color", HBitmapBuffer::kByteChannel, 3, 1},
                {"Color", HBitmapBuffer::kHalfChannel, 2, 2}};
  hostkit::BitmapPtr bitmap(new HBitmapNode(size.width, size.height));
  for (int left = 1 + host.input.Below(2); left > 0; --left) {
    const auto& kind = kKinds[host.input.Below(static_cast<int>(std::size(kKinds)))];
    const int odd = host.input.Byte();
    const bool isHuge = size.width > kLongest || size.height > kLongest;
    const PlayedProgram::Size own = odd % 8 == 7 || isHuge ? PlayedProgram::Size{5, 3} : size;
    HBitmapBuffer* const buffer =
        kind.channels == 4
            ? bitmap->CreateRGBABuffer(kind.name, kind.type, own.width, own.height)
            : new HBitmapBuffer(kind.name, kind.type, kind.channels, own.width, own.height);
    bitmap->AddBuffer(buffer);
    const int shade = host.input.Byte();
    if (odd / 8 % 8 == 7 || !buffer->AllocateData(0)) continue;  // without storage
    std::memset(buffer->Data(), shade,
                static_cast<std::size_t>(buffer->RowStep()) *
                    static_cast<std::size_t>(own.height * kind.elementSize));
  }
  return bitmap;
}

/// One of the shader programs; made when it is not there.
PlayedProgram& Program(HostPlayer& host) {
  PlayedProgram& played = host.OneOf(host.programs);
  if (played.program) return played;
  played.sizes = {};
  played.program.reset(
      static_cast<GL3GAShaderProgram*>(host.driver->CreateShaderProgram(&played.info)));
  Require(played.program != nullptr, "no shader program");
  return played;
}

/// With its surfaces, or these wait until the same place is used for another program.
void DropProgram(HostPlayer& host) {
  PlayedProgram& played = host.OneOf(host.programs);
  played.program.reset();
  if (host.input.Flag()) played.surfaces.clear();
}

/// Over one that is there, too.
void MakeProgram(HostPlayer& host) {
  DropProgram(host);
  Program(host);
  GL3GADriver::m_azprocessor = 1 + host.input.Below(5);
  GL3GADriver::m_useopenmp = host.input.Flag();
}

void InitEffect(HostPlayer& host) {
  constexpr std::size_t kMostSurfaces = 4;  // each is a context
  constexpr float kSides[][2] = {{16, 16},       {8, 4},     {4, 40},    {1, 1},
                                 {3, 5},         {20, 12},   {0, 0},     {-4, 8},
                                 {5, -1},        {70000, 1}, {1, 70000}, {16777216, 16777216},
                                 {NAN, INFINITY}};
  constexpr float kRadii[] = {1, 2.5f, 10, 0.25f, 100, 0, -1, NAN, INFINITY, 1e20f};
  constexpr int kTameSides = 6, kTameRadii = 5, kFilters = 9;
  PlayedProgram& played = Program(host);
  if (played.surfaces.size() >= kMostSurfaces) {
    played.program.reset();
    played.surfaces.clear();
    return;
  }
  const bool tame = host.input.IsTame();
  const int effect = tame ? host.input.Below(2) : host.input.Below(5) - 1;
  const auto& sides = host.FirstOf(kSides, kTameSides);
  const float radius = host.FirstOf(kRadii, kTameRadii);
  const float filter = tame ? static_cast<float>(host.input.Below(kFilters)) : host.input.Float();
  float parameters[] = {static_cast<float>(host.input.Below(3)),
                        tame ? static_cast<float>(host.input.Below(4)) : host.input.Float(),
                        effect == kBlur ? radius : filter, sides[0], sides[1]};
  played.info.imageWidth = Truncated(sides[0]);
  played.info.imageHeight = Truncated(sides[1]);
  host.driver->keeper = &played.surfaces;
  const int made = played.program->Init(effect, parameters, 5);
  host.driver->keeper = nullptr;
  Require(made == 1 || !tame, "an effect was refused");
  host.CheckErrors();
  if (made == 1) {
    played.sizes.at(static_cast<std::size_t>(effect)) = {played.info.imageWidth,
                                                         played.info.imageHeight};
  }
}

/// Tame hosts hand over pictures of the size that they told.
void RunEffect(HostPlayer& host) {
  PlayedProgram& played = Program(host);
  const bool tame = host.input.IsTame();
  const int effect = tame ? host.input.Below(2) : host.input.Below(5) - 1;
  const bool isKnown = effect == kBlur || effect == kFilter;
  const PlayedProgram::Size told =
      isKnown ? Shortened(played.sizes.at(static_cast<std::size_t>(effect)))
              : PlayedProgram::Size();
  const bool fits = tame || host.input.Flag();
  const hostkit::BitmapPtr source = Picture(host, fits ? told : PictureSize(host));
  const hostkit::BitmapPtr other = Picture(host, told);
  HBitmapNode* const destinations[] = {other.get(), source.get(), nullptr};
  HBitmapNode* const destination = host.input.OneOf(destinations);
  const bool without = !tame && host.input.Below(16) == 15;
  const int done = played.program->Process(effect, without ? nullptr : source.get(), destination,
                                           host.input.Float());
  Require(done == 0 || (isKnown && !without), "an effect ran that cannot");
  host.CheckErrors();
}

}  // namespace

/// The log is beside the program, and each set-up of an effect adds to it; in front of the layer's
/// own, this says that there is no such folder.
extern "C" DWORD GetModuleFileNameA(HMODULE, char* path, DWORD size) {
  constexpr char kNowhere[] = "/dev/null/host";
  std::strncpy(path, kNowhere, size);
  return sizeof kNowhere - 1;
}

GABuffer* PlayedDriver::CreateBuffer(RenderInfo* info, int mode, int compatibleDC) {
  GABuffer* const buffer = GL3GADriver::CreateBuffer(info, mode, compatibleDC);
  if (keeper) keeper->emplace_back(buffer);
  return buffer;
}

Moves EffectMoves() {
  return {InitEffect, RunEffect, MakeProgram, DropProgram};
}
