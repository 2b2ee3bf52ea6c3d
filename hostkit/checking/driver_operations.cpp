// Checks of the driver's operations.
#include <fmt/format.h>

#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "hostkit/checking/thunk.h"
#include "platform/platform.h"

namespace hostkit::checking {
namespace {

/// "1 list", "2 lists".
std::string Counted(std::size_t count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

/// Whatever still lives would lose its context.
void CheckLeft(Visit& visit) {
  const Session& session = visit.State();
  const std::size_t left = session.buffers.size() + session.lists.size() + session.textures.size() +
                           session.effects.size();
  if (left == 0) return;
  visit.Note(Kind::kLeftBehind,
             fmt::format("left are {}, {}, {} and {}", Counted(session.lists.size(), "list"),
                         Counted(session.buffers.size(), "buffer"),
                         Counted(session.textures.size(), "texture"),
                         Counted(session.effects.size(), "effect")));
}

void BeforeSetDefaults(Visit& visit, GADriver&) {
  if (!visit.State().driver.initialized) return;
  visit.Note(Kind::kDriverForgotten, "window and context of Initialize are still there");
}

void BeforeInitialize(Visit& visit, GADriver&) {
  if (visit.State().driver.initialized) CheckLeft(visit);
}

void AfterInitialize(Visit& visit, GADriver&, int result) {
  visit.State().driver.initialized = result != 0;
  visit.State().driver.hasGlyphs = false;
  if (result) return;
  const platform::DisplayReport& display = platform::DescribeDisplay();
  visit.Note(Kind::kInitializeFailed,
             display.platform.empty()
                 ? "there is no display: " + display.reason
                 : "the OpenGL is not enough, for which the message box has the reason");
}

void BeforeTerminate(Visit& visit, GADriver&) {
  CheckLeft(visit);
}

void AfterTerminate(Visit& visit, GADriver&, int) {
  visit.State().driver.initialized = false;
}

void BeforeCopyColor(Visit& visit, GADriver&, const GAColor& color) {
  if (!color.Native()) visit.Note(Kind::kNull, "the colour is empty");
}

void BeforeCreateBuffer(Visit& visit, GADriver&, RenderInfo*, int mode, int compatibleDC) {
  if (mode < GABuffer::kOnScreen || mode > GABuffer::kKeepContext) {
    visit.Note(Kind::kUnknownNumber, fmt::format("mode is {}, which counts as kOnScreen", mode));
  }
  if (compatibleDC && mode != GABuffer::kOffScreen) {
    visit.Note(Kind::kNothingDone,
               fmt::format("compatibleDC is {}: there will be no port to draw into", compatibleDC));
  }
}

void AfterCreateBuffer(Visit& visit, GADriver&, GABuffer* result, RenderInfo* info, int mode, int) {
  if (!result) return;
  BufferState state;
  state.info = info;
  state.mode = mode;
  visit.State().buffers.insert_or_assign(result, std::move(state));
  Watch(result);
}

void AfterCreateTexture(Visit& visit, GADriver&, GATexture* result) {
  if (!result) return;
  visit.State().textures.insert_or_assign(result, TextureState());
  Watch(result);
}

void BeforeCreateDisplayList(Visit& visit, GADriver&, RenderInfo* info) {
  if (!info || !info->buffer) {
    visit.Note(Kind::kNull, info ? "info->buffer is null; it is set after the buffer's Reallocate"
                                 : "info is null");
    return;
  }
  const BufferState* buffer = visit.State().Find(info->buffer);
  if (!buffer) {
    visit.Note(Kind::kListAfterBuffer, "info->buffer is no buffer that lives");
  } else if (buffer->list) {
    visit.Note(Kind::kSharedBuffer, "another list draws into info->buffer, and still lives");
  } else if (buffer->surface == BufferState::Surface::kNone) {
    visit.Note(Kind::kListBeforeSurface, "info->buffer has no surface yet");
  }
}

void AfterCreateDisplayList(Visit& visit, GADriver&, DisplayList* result, RenderInfo* info) {
  if (!result || !info || !info->buffer) return;
  ListState state;
  state.info = info;
  state.buffer = info->buffer;
  if (BufferState* buffer = visit.State().Find(info->buffer)) {
    buffer->list = result;
    if (!buffer->hasDepth) state.switches[ListState::kDepthTest] = DisplayList::kDepthTestOff;
  }
  visit.State().lists.insert_or_assign(result, state);
  Watch(result);
}

void BeforeCreateShaderProgram(Visit& visit, GADriver&, RenderInfo* info) {
  if (!info) visit.Note(Kind::kNull, "info is null");
}

void AfterCreateShaderProgram(Visit& visit, GADriver&, GAShaderProgram* result, RenderInfo* info) {
  if (!result) return;
  EffectState state;
  state.info = info;
  visit.State().effects.insert_or_assign(result, state);
  Watch(result);
}

void BeforeDeleteDriver(Visit& visit, GADriver& driver) {
  CheckLeft(visit);
  visit.NoteRepeats();
  Session& session = visit.State();
  if (session.driver.driver == &driver) session.driver = DriverState();
}

using Driver = GADriver;
template <class Color>
using ColorMaker = GANativeColor* (Driver::*)(Color);

std::vector<SlotChange> DriverRows() {
  return {
      DeletingThunk<Driver, BeforeDeleteDriver>::Install("~GADriver"),
      On<&Driver::SetDefaults, BeforeSetDefaults>("GADriver::SetDefaults", kFree),
      On<&Driver::Initialize, BeforeInitialize, AfterInitialize>("GADriver::Initialize",
                                                                 kNewContext),
      On<&Driver::Terminate, BeforeTerminate, AfterTerminate>("GADriver::Terminate", kFree),
      On<ColorMaker<const GAColor&>(&Driver::CreateColor), BeforeCopyColor>("GADriver::CreateColor",
                                                                            kAnyThread),
      On<&Driver::CreateBuffer, BeforeCreateBuffer, AfterCreateBuffer>("GADriver::CreateBuffer",
                                                                       kFree),
      On<&Driver::CreateTexture, kNone, AfterCreateTexture>("GADriver::CreateTexture", kFree),
      On<&Driver::CreateDisplayList, BeforeCreateDisplayList, AfterCreateDisplayList>(
          "GADriver::CreateDisplayList", kFree),
      On<&Driver::CreateShaderProgram, BeforeCreateShaderProgram, AfterCreateShaderProgram>(
          "GADriver::CreateShaderProgram", kFree),
      On<&Driver::CreatePropertyPage>("GADriver::CreatePropertyPage", kFree),
      On<&Driver::GLGetLastError>("GADriver::GLGetLastError", kAnyThread),
      On<&Driver::IsHardwareSupport>("GADriver::IsHardwareSupport", kFree),
      On<&Driver::GetDriverInfo>("GADriver::GetDriverInfo", kFree),
  };
}

}  // namespace

void Watch(GADriver* driver) {
  static const std::vector<SlotChange> rows = DriverRows();
  if (driver) ExchangeTable(driver, rows);
}

}  // namespace hostkit::checking
