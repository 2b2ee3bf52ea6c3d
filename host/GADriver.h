// The host's abstract driver: the module's front door.
#pragma once

#include "host/Colors.h"
#include "host/Heaps.h"
#include "host/Vectors.h"

class CPropertyPage;
class DisplayList;
class GABuffer;
class GAShaderProgram;
class GATexture;
struct RenderInfo;

/// Everything that a renderer can be asked for. The order of the operations is the binary
/// interface between host and module. Operations return 1 for success and 0 for failure; what the
/// factories make belongs to the host, which deletes it before the driver. Called on the host's
/// drawing thread; nothing is locked. One driver lives at a time: the module's classes share state,
/// and find the driver through the host's GetDriver(). Factories answer null when memory runs out.
///
/// Life: made by CreateDriver, which reads the settings; Initialize; objects made, used, deleted;
/// deleted itself. A change of settings in the registry reaches the next driver only.
///
/// Before Initialize, and after one that failed, these answer: IsOperational, IsSupportGPU,
/// IsHardwareSupport, GetDriverInfo, GLGetLastError, CreatePropertyPage, and the colours. All else
/// waits for an Initialize that answered 1. Textures may not be made before it, and effects cannot
/// be set up; what buffers and display lists answer and draw means nothing, a 1 of Reallocate
/// included.
class GADriver : public GAssistObject {
 public:
  virtual ~GADriver() = default;

  /// Forgets the driver's window and context without releasing them; Terminate releases them.
  virtual void SetDefaults() = 0;
  /// Opens the GL: a hidden window, a context that those of all buffers share objects with, the
  /// check of version (later than 2.0) and extensions. 0 when that fails, after a message box told
  /// why (AfxMessageBox; SetMessageBoxView receives it). May be called again at any time, and then
  /// starts from scratch: objects of before are lost. The context that was current is current
  /// again.
  virtual int Initialize() = 0;
  /// Closes window and context. 1, also when there are none. Objects that still live can only be
  /// deleted then.
  virtual int Terminate() = 0;
  /// Whether the last Initialize succeeded.
  virtual int IsOperational() = 0;
  /// A colour whose channels have no value yet. Colours need neither Initialize nor a context.
  /// Owned by whom it is returned to, as a rule a GAColor; null without memory.
  virtual GANativeColor* CreateColor() = 0;
  /// Bytes, 0 to 255 a channel.
  virtual GANativeColor* CreateColor(const ColorBuf& color) = 0;
  /// Floats, 0 to 1 a channel; opaque. RGBFloat lies in memory with blue first.
  virtual GANativeColor* CreateColor(const RGBFloat& color) = 0;
  /// Floats as red, green, blue, alpha in x, y, z, w, kept as they are.
  virtual GANativeColor* CreateColor(const Vector4& color) = 0;
  /// A copy of the handle's colour, which must not be empty. Copies of GAColor call this.
  virtual GANativeColor* CreateColor(const GAColor& color) = 0;
  /// A frame buffer that has no surface yet: GABuffer::Reallocate makes it. `info` is the view that
  /// it draws; not owned, must outlive it; null stands for a view without pixels.
  /// `mode` (GABuffer::Mode): 1 off-screen; 2 on-screen, context kept on resize; else on-screen,
  /// remade on resize. On-screen buffers draw into info->viewWindow, or into the driver's hidden
  /// window where that is null or has no window. With `compatibleDC` other than 0 the buffer gets a
  /// device context in memory, which has no port to draw into: such a buffer draws in mode 1 alone.
  /// Hosts pass 0.
  virtual GABuffer* CreateBuffer(RenderInfo* info, int mode, int compatibleDC) = 0;
  /// An empty texture, to be filled by one of its makers.
  virtual GATexture* CreateTexture() = 0;
  /// A display list that draws into info->buffer for all its life: Reallocate that first, since the
  /// list remembers its context, and leave it there; made while it is null, the list draws nowhere.
  /// One list a buffer; it must be deleted before the buffer. `info` is not owned and must outlive
  /// the list; null gives none.
  virtual DisplayList* CreateDisplayList(RenderInfo* info) = 0;
  /// Effects on finished pictures. `info` is not owned, may not be null and must outlive it; its
  /// image size is that of the surfaces which effects draw with, and is read by
  /// GAShaderProgram::Init.
  virtual GAShaderProgram* CreateShaderProgram(RenderInfo* info) = 0;
  /// The page of settings for the host's sheet; with `reduced` other than 0 it shows no options.
  /// The page comes from the general heap, unlike everything else.
  virtual CPropertyPage* CreatePropertyPage(int reduced) = 0;
  /// 0: there is no front surface of the driver's own.
  virtual int RestoreFrontSurface() { return 0; }
  /// 0: there are no palettes.
  virtual int SetFrontSurfacePalette() { return 0; }
  /// Text of the system's last error, valid until the next call; null when it has none.
  virtual const char* GLGetLastError() { return "Unknown"; }
  /// 0 when the name of the current context's renderer contains "Generic"; else 1, also without a
  /// context.
  virtual int IsHardwareSupport() = 0;
  /// Vendor, renderer and versions of the GL, a line each, valid until the next call. Needs neither
  /// Initialize nor a context.
  virtual const char* GetDriverInfo() { return ""; }
  /// 1 before the first Initialize, whatever the GL; afterwards whether that has found a GL later
  /// than 2.0, which effects need. That may be so though it failed: IsOperational tells.
  virtual int IsSupportGPU() = 0;
};

/// The module's exported entry: a new driver, owned by the caller, who deletes it; null when memory
/// runs out. The host makes it the answer of GetDriver() at once. A program does not link it:
/// hostkit::LoadedModule, or dlsym, finds it.
extern "C" GADriver* CreateDriver();
/// Type of that entry.
using CreateDriverFunction = GADriver* (*)();
