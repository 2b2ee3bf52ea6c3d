// Checks of the effects' operations.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <span>

#include "host/Bitmap.h"
#include "host/GAShaderProgram.h"
#include "hostkit/checking/thunk.h"

namespace hostkit::checking {
namespace {

using Program = GAShaderProgram;
using SetUp = EffectState::SetUp;

static_assert(int{Program::kBlurMerge} == int{Program::kFilterMerge} &&
              int{Program::kBlurWidth} == int{Program::kFilterWidth} &&
              int{Program::kBlurHeight} == int{Program::kFilterHeight} &&
              int{Program::kBlurParameters} == int{Program::kFilterParameters});
constexpr int kEffectSideStep = 4;

bool HasSetUps(int effect) {
  return effect == Program::kBlur || effect == Program::kFilter;
}

bool AreMultiples(int width, int height) {
  return width % kEffectSideStep == 0 && height % kEffectSideStep == 0;
}

std::string TextOf(int effect, const float* parameters, const RenderInfo* info) {
  return fmt::format("effect {} with {} for {}x{}", effect,
                     fmt::join(std::span(parameters, Program::kBlurParameters), " "),
                     info ? info->imageWidth : 0, info ? info->imageHeight : 0);
}

void CheckSize(Visit& visit, const float* parameters, const RenderInfo* info) {
  const float width = parameters[Program::kBlurWidth], height = parameters[Program::kBlurHeight];
  const int imageWidth = info ? info->imageWidth : 0, imageHeight = info ? info->imageHeight : 0;
  const bool agree =
      width == static_cast<float>(imageWidth) && height == static_cast<float>(imageHeight);
  if (agree && AreMultiples(imageWidth, imageHeight)) return;
  visit.Note(Kind::kEffectSize,
             fmt::format("the parameters are for {}x{}, RenderInfo's image {}x{}", width, height,
                         imageWidth, imageHeight));
}

void BeforeInit(Visit& visit, Program& self, int effect, const float* parameters, int count) {
  Session& session = visit.State();
  if (!session.driver.initialized) {
    visit.Note(Kind::kBeforeInitialize, "the driver is not operational");
  }
  if (!HasSetUps(effect)) {
    visit.Note(Kind::kUnknownNumber, fmt::format("effect {} cannot be set up", effect));
    return;
  }
  if (!parameters) {
    visit.Note(Kind::kNull, "the parameters are null");
    return;
  }
  if (count < Program::kBlurParameters) {
    visit.Note(Kind::kParameterCount, fmt::format("count is {}, and effect {} reads {}", count,
                                                  effect, int{Program::kBlurParameters}));
    return;
  }
  const float filter = parameters[Program::kFilterNumber];
  constexpr float kFirst = int{Program::kGrayscale}, kLast = int{Program::kSobel};
  if (effect == Program::kFilter && !(filter >= kFirst && filter <= kLast)) {
    visit.Note(Kind::kUnknownNumber, fmt::format("there is no filter {}", filter));
  }
  const EffectState* state = session.Find(&self);
  if (!state) return;
  CheckSize(visit, parameters, state->info);
  const std::string text = TextOf(effect, parameters, state->info);
  if (!session.driver.effectsSetUp.contains(text)) return;
  visit.Note(Kind::kEffectAgain,
             text + " is set up again: the surface of the first time stays, some 6 MB");
}

void AfterInit(Visit& visit, Program& self, int result, int effect, const float* parameters,
               int count) {
  EffectState* state = visit.State().Find(&self);
  if (!state || !HasSetUps(effect) || !parameters || count < Program::kBlurParameters) return;
  SetUp& setUp = state->setUps.at(static_cast<std::size_t>(effect));
  setUp.works = result != 0;
  if (!result) return;
  setUp.width = static_cast<int>(parameters[Program::kBlurWidth]);
  setUp.height = static_cast<int>(parameters[Program::kBlurHeight]);
  setUp.needsDestination =
      static_cast<int>(parameters[Program::kBlurMerge]) == Program::kMergeNewBuffer;
  visit.State().driver.effectsSetUp.insert(TextOf(effect, parameters, state->info));
}

void BeforeProcess(Visit& visit, Program& self, int effect, HBitmapNode* source,
                   HBitmapNode* destination, float) {
  const EffectState* state = visit.State().Find(&self);
  if (!state) return;
  if (!HasSetUps(effect) || !state->setUps.at(static_cast<std::size_t>(effect)).works) {
    visit.Note(Kind::kEffectMissing, fmt::format("effect {} is not set up", effect));
    return;
  }
  const SetUp& setUp = state->setUps.at(static_cast<std::size_t>(effect));
  if (!source || (setUp.needsDestination && !destination)) {
    visit.Note(Kind::kNull, source ? "destination is null" : "source is null");
    return;
  }
  const int width = source->GetWidth(), height = source->GetHeight();
  if (width == setUp.width && height == setUp.height && AreMultiples(width, height)) return;
  visit.Note(Kind::kEffectSize, fmt::format("the picture is {}x{}, the effect was set up for {}x{}",
                                            width, height, setUp.width, setUp.height));
}

void BeforeDeleteProgram(Visit& visit, Program& self) {
  visit.State().effects.erase(&self);
}

std::vector<SlotChange> EffectRows() {
  return {
      DeletingThunk<Program, BeforeDeleteProgram>::Install("~GAShaderProgram"),
      On<&Program::Init, BeforeInit, AfterInit>("GAShaderProgram::Init", kNewContext),
      On<&Program::Process, BeforeProcess>("GAShaderProgram::Process", kFree),
  };
}

}  // namespace

void Watch(GAShaderProgram* program) {
  static const std::vector<SlotChange> rows = EffectRows();
  if (program) ExchangeTable(program, rows);
}

}  // namespace hostkit::checking
