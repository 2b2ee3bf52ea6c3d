// The module's driver: settings, the statics that every object of the module shares, and the
// factories. The module's other classes include this header; it includes none of them.
#pragma once

#include <cstdint>

#include "host/GADriver.h"
#include "host/Services.h"
#include "host/String.h"
#include "platform/agl.h"
#include "platform/mfc.h"

/// OpenGL implementation of the host's driver.
///
/// The driver owns the context that all buffer contexts share their objects with. It is bound to a
/// hidden 2 x 2 window, so that textures can be made while no buffer exists. Everything runs on the
/// host's drawing thread; nothing is locked.
class GL3GADriver : public GADriver {
 public:
  /// Bits of the settings that other classes read through GetDriver().
  enum OptionFlag : std::uint8_t {
    kAnisotropicWanted = 0x01,
    kAnisotropicAvailable = 0x02,
    kAntialias = 0x04,
    kReducedPage = 0x10,
    kBgrBitmaps = 0x20,  // bitmaps are in BGR order; nothing in the module sets it
    kCompressTextures = 0x40,
    kPowerOfTwoTextures = 0x80,
  };
  /// Bits of what the context can do.
  enum CapabilityFlag : std::uint8_t {
    kGL20 = 0x01,        // OpenGL 2.0 or later
    kGpuShaders = 0x02,  // OpenGL later than 2.0
  };

  /// Reads all settings from the registry. No GL call is made before Initialize.
  GL3GADriver();
  ~GL3GADriver() override;

  void SetDefaults() override;
  /// Makes the driver's context and checks the GL. Returns 1 when the driver is operational; else
  /// 0, after a message box told why. May be called again at any time.
  int Initialize() override;
  int Terminate() override;
  int IsOperational() override { return m_operational; }
  GANativeColor* CreateColor() override;
  GANativeColor* CreateColor(const ColorBuf& color) override;
  GANativeColor* CreateColor(const RGBFloat& color) override;
  GANativeColor* CreateColor(const Vector4& color) override;
  GANativeColor* CreateColor(const GAColor& color) override;
  GABuffer* CreateBuffer(RenderInfo* info, int mode, int compatibleDC) override;
  GATexture* CreateTexture() override;
  DisplayList* CreateDisplayList(RenderInfo* info) override;
  GAShaderProgram* CreateShaderProgram(RenderInfo* info) override;
  CPropertyPage* CreatePropertyPage(int reduced) override;
  /// Text of the system's last error, valid until the next call; null when it has none.
  const char* GLGetLastError() override;
  /// 0 when the name of the current context's renderer contains "Generic"; else 1, also without a
  /// context.
  int IsHardwareSupport() override;
  /// Vendor, renderer and versions of the GL, valid until the next call. Needs neither Initialize
  /// nor a context; the one that was current is current again afterwards.
  const char* GetDriverInfo() override;
  int IsSupportGPU() override { return (m_capabilities & kGpuShaders) != 0; }

  /// The same report with the limits of the GL, one a line.
  String GetExtendedDriverInfo();
  /// Makes the driver's context current on the dummy window's port.
  void MakeCurrent();

  bool HasOption(OptionFlag flag) const { return (m_options & flag) != 0; }
  void SetOption(OptionFlag flag, bool on) {
    m_options = on ? m_options | flag : m_options & ~flag;
  }
  bool HasCapability(CapabilityFlag flag) const { return (m_capabilities & flag) != 0; }
  bool IsWireframe() const { return m_polygonMode; }
  void SetWireframe(bool on) { m_polygonMode = on; }
  /// Major times 10 plus minor of GL_VERSION; 0 before Initialize.
  int GLVersion() const { return m_glVersion; }

  static AGLContext m_context;           // the driver's own context
  static AGLContext m_prevcontext;       // the context made current last, by anyone in the module
  static AGLDrawable m_drawable;         // port of the dummy window
  static HDC m_hdc;                      // device context of the dummy window
  static CWnd* m_dummywindow;            // hidden, 2 x 2
  static int rowbytes;                   // of the dummy port's pixels
  static char* baseaddr;                 // of the dummy port's pixels
  static std::uint16_t bufwidth;         // of the dummy port's pixels
  static std::uint16_t bufheight;        // of the dummy port's pixels
  static int m_depthbits;                // asked of pixel formats
  static int m_bestSelectedPixelFormat;  // nothing in the module writes it
  static int gl_max_texture_size;
  static float gl_max_texture_max_anisotropy_ext;
  static int gl_max_vertices;  // a display list's batch is flushed when it holds more
  static int m_azprocessor;    // threads for post-processing
  static bool m_useopenmp;     // more than one thread

 private:
  int InitializeGL3(int);  // the number has no meaning
  bool CreateDummyWindow();
  void CreateDriverContext();
  void ReadPortGeometry();
  int CheckGL();
  void ReadTextureLimits();

  int m_reserved = 0;  // nothing reads it
  int m_glVersion = 0;
  bool m_operational = false;
  bool m_polygonMode = false;  // wireframe
  std::uint8_t m_options = 0;
  std::uint8_t m_capabilities = 0;
};

/// The host's current driver as this module's own; null when there is none.
inline GL3GADriver* CurrentDriver() {
  return static_cast<GL3GADriver*>(GetDriver());
}
