// A small host: what it draws, by kind, and a whole session of it from driver to teardown.
#pragma once

#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"

/// What one frame is drawn with. Materials, lights and texture live until the frame is drawn.
struct HostFrame {
  HostFrame(GADriver& driver, OffscreenTarget& target, GATexture* texture);

  OffscreenTarget& target;
  GABuffer& buffer;
  DisplayList& list;
  GATexture* texture;  ///< May be null.
  GAColor red, blue;   ///< Empty when the driver has no memory.
  AttrProperty opaque, clear;
  LightList lights;
  Lines refusals;  ///< What returned 0.
};

/// One kind of drawing, as a list of instructions of its own.
struct FrameKind {
  const char* name;
  void (*draw)(HostFrame& frame);
};
const std::vector<FrameKind>& FrameKinds();

/// Draws a frame of the kinds from `first` up to `last`.
void DrawFrame(HostFrame& frame, const FrameKind* first, const FrameKind* last);

struct SessionReport {
  Lines refusals;                     ///< What came out as null or 0, in order.
  std::vector<std::uint16_t> pixels;  ///< Half floats of the read-back; empty without one.
};

/// Makes a driver, initialises it, draws every kind of frame with textures from every maker, reads
/// it back and takes everything down. Goes on after a refusal as far as a careful host can. Of the
/// textures one is refused by the GL's proxy, for which `recorder` answers.
SessionReport PlaySession(GlRecorder& recorder);
