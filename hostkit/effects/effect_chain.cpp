// Several effects, one after another, on one picture.
#include "hostkit/effects/effect_chain.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "hostkit/effects/effect_twins.h"
#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {
namespace {

/// A finished picture with the colours of a straight result.
Picture Finish(BitmapPtr halves, bool hasAlpha) {
  if (hasAlpha) Premultiply(halves.get());
  return {std::move(halves), hasAlpha};
}

}  // namespace

Picture RunEffects(EffectRunner& runner, const std::vector<EffectCall>& calls, bool verify,
                   ByteImage image, std::vector<EffectStep>* steps, std::string* error,
                   const Pause& pause) {
  steps->clear();
  error->clear();
  BitmapPtr result;
  for (const EffectCall& call : calls) {
    if (result) image.bitmap = BytesFromHalves(*result);
    result.reset();
    if (!image.bitmap) break;
    if (call.kind->alpha == AlphaRule::kMakesOpaque) PutOnBlack(&image);
    EffectStep step;
    if (!GoesOn(pause)) return {};
    result = runner.Run(call, *image.bitmap, &step.times, error);
    if (!result) return {};
    if (verify) {
      step.difference = LargestDifference(RunTwin(call, TwinFromBytes(*image.bitmap)), *result);
    }
    steps->push_back(step);
  }
  if (result) return Finish(std::move(result), image.hasAlpha);
  *error = kNoEffectMemory;
  return {};
}

bool ApplyEffects(EffectRunner& runner, const std::vector<EffectCall>& calls, Picture* picture,
                  bool* clipped, std::vector<EffectStep>* steps, std::string* error,
                  const Pause& pause) {
  ByteImage image = BytesFromPicture(*picture, clipped);
  const Picture result = RunEffects(runner, calls, false, std::move(image), steps, error, pause);
  if (!result.bitmap) return false;
  const auto rowBytes =
      static_cast<std::size_t>(result.bitmap->GetWidth()) * 4 * sizeof(std::uint16_t);
  for (int y = 0; y < result.bitmap->GetHeight(); ++y) {
    std::memcpy(HalfRow(*picture->bitmap, y), HalfRow(*result.bitmap, y), rowBytes);
  }
  picture->hasAlpha = result.hasAlpha;
  return true;
}

}  // namespace hostkit
