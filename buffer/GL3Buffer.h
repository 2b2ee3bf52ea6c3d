// The module's frame buffer: one drawing surface with its own GL context.
//
// Bodies by theme: GL3Buffer.cpp (surface, context, scene), GL3BufferProjection.cpp (projection and
// fog), GL3BufferMaterial.cpp, GL3BufferLights.cpp, GL3BufferTransparency.cpp (queue, sort and the
// transparent pass), GL3BufferPixels.cpp (read-back and blits), GL3BufferOverlay.cpp (text,
// rectangles and pictures over the scene).
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "buffer/TransparentRecord.h"
#include "host/AttrProperty.h"
#include "host/GABuffer.h"
#include "host/Lights.h"
#include "host/RenderInfo.h"
#include "platform/agl.h"

/// What was last loaded into one GL light. Colours are kept without alpha, which always is 1. A
/// fresh record equals nothing that a light may ask for, so everything is sent the first time; what
/// a host chooses freely, colours with negative intensity included, starts as NaN for that.
struct OGL_LIGHT {
  float position[4] = {0, 0, 0, -1.0f};
  float diffuse[3] = {NAN, NAN, NAN};
  float specular[3] = {NAN, NAN, NAN};
  float spotDirection[3] = {NAN, NAN, NAN};
  float cutOff = -1.0f;
  float exponent = NAN;
  float constant = -1.0f;
  float linear = -1.0f;
  float quadratic = -1.0f;
};
static_assert(sizeof(OGL_LIGHT) == 18 * sizeof(float));

/// One GL material value as it was sent last, or as it waits to be sent.
struct MaterialEntry {
  float value[4] = {0, 0, 0, 0};
  std::int32_t pending = 0;
};

/// OpenGL implementation of the host's frame buffer.
///
/// The buffer owns its context, which shares objects with the driver's. Every operation that draws
/// or reads makes it current first; the ones that do not say so. All coordinates are view space
/// unless they are pixels.
class GL3GABuffer : public GABuffer {
 public:
  /// Bits of the state flags. Display lists read the last four, and write those but kSmoothingOn.
  enum StateFlag : std::uint8_t {
    kDepthWanted = 1,
    kOwnsWindow = 2,
    kFogOn = 4,
    kArraysPending = 8,  // some batch of a display list holds undrawn data
    kDepthTestOn = 16,
    kLightingOn = 32,
    kSmoothingOn = 64,
  };
  enum MatrixMode : std::int32_t { kUnknownMatrix = -1, kProjection = 0, kModelView = 2 };
  enum MaterialParameter { kDiffuse, kAmbient, kShininess, kSpecular, kMaterialParameters };

  /// How far what lies exactly on the near or far plane is moved into the view volume, in view
  /// units: some planes are rounded to their outer side, and what lies on them is clipped.
  static constexpr float kPlaneNudge = 0.005f;

  GL3GABuffer(RenderInfo* info, int mode, int compatibleDC);
  GL3GABuffer(const GL3GABuffer&) = delete;
  GL3GABuffer& operator=(const GL3GABuffer&) = delete;
  ~GL3GABuffer() override;

  int Reallocate(int width, int height, int options) override;
  int AllocateforShader(int width, int height) override;
  int SetBackground(const GAColor& color) override;
  int Destroy() override;
  int Clear() override;
  int Blit(tagBITMAPINFO* info) override;
  int TransparentBlit(GATexture* texture, CRect rect, float z, const Vector2& extent,
                      float alpha) override;
  int BlitToFront(CWnd* window, unsigned short x, unsigned short y) override;
  int RepaintFront(CRect rect, CWnd* window, unsigned short x, unsigned short y) override;
  int FillBitmapNode(HBitmapNode* node, int bottomUp) override;
  int AfxFillRect(int x, int y, int width, int height, float z, GAColor& color) override;
  int TextOutA(int x, int y, const char* text, const GAColor& color, int) override;
  float GetZValue(int x, int y) override;
  int SetRenderState() override;
  int CopyObjects(GABuffer* source, int) override;
  void BeginScene() override;
  void EndScene() override;
  void ComputeProjectionMatrices() override;
  void SetProjection(int scene) override;
  int IsFogEnabled() override;
  void SetFogState(int on) override;
  /// Both act on whatever context is current. What is read as blue is the fog colour's alpha, not
  /// the blue that was set.
  RGBFloat GetFogColor() override;
  void SetFogColor(RGBFloat color) override;
  void SetFogDensity(float density) override;

  /// Binds this buffer's drawable to its context and makes it current, also when it is already.
  void MakeCurrent(int);
  /// Fits the context to the view window and resets the viewport. The context must be current.
  void OnSize();
  /// The GL state that every buffer starts from. The context must be current. Returns 1.
  int SetRenderStateNoMakeCurrent();

  /// Sends each value of the material that differs from what was sent last. `transparencyScale`
  /// other than 0 scales alpha and makes the diffuse base white. The context must be current.
  void SetMaterial(AttrProperty* attribute, float transparencyScale);
  /// Notes each value that differs as pending, and sends nothing. Returns 1 when any did.
  int NeedsSetMaterial(AttrProperty* attribute, float transparencyScale);
  /// Sends what is pending, or everything when `force` is not 0. The context must be current.
  void SetMaterial(int force);
  /// Sends a diffuse colour (red, green, blue, alpha) when it differs from what was sent last. The
  /// context must be current.
  void SetDiffuseMaterial(float* rgba);
  /// The diffuse colour that was sent last, or waits to be sent: red, green, blue, alpha.
  const float (&DiffuseMaterial() const)[4] { return m_material[kDiffuse].value; }

  /// Loads a light list into the GL lights from 0 on and switches the others off; null is the
  /// headlight. The context must be current.
  void SetupLights(LightListNode* list);

  /// Asks for room before `count` records are added: 1 when there is, else 0. The first call of a
  /// scene makes the queue and answers 1 whatever the count (see AddTransparentPoly), or 0 without
  /// memory.
  int MakeRoomForTransparentPolys(int count);
  /// Queues a triangle. Returns the record, or null when the queue is full or was never made; the
  /// caller then has to draw the triangle some other way. The pointers are kept until the queue is
  /// drawn.
  TransparentRecord* AddTransparentPoly(const GAVertex& a, const GAVertex& b, const GAVertex& c,
                                        GL3GATexture* texture, AttrProperty* attribute,
                                        LightListNode* lights);
  /// Queues a line likewise.
  TransparentRecord* AddTransparentPoly(const GAVertex& a, const GAVertex& b,
                                        AttrProperty* attribute, LightListNode* lights);
  /// Sorts the records `first` to `last` inclusive, far to near. Not stable.
  void QuickDepthSort(int first, int last);
  /// The same, near to far. Nothing in the module calls it.
  void QuickDepthSortInverse(int first, int last);
  /// Another sort, far to near, that takes the pivot to the end of its range first. Nothing else
  /// in the module calls it.
  void QuickSortTransparency(int first, int last);
  /// Sorts and draws the queue far to near, then frees it.
  void RenderTransparentPolys();

  AGLContext Context() const { return m_context; }
  bool HasState(StateFlag flag) const { return (m_stateFlags & flag) != 0; }
  void SetState(StateFlag flag, bool on) {
    m_stateFlags = static_cast<std::uint8_t>(on ? m_stateFlags | flag : m_stateFlags & ~flag);
  }
  /// Makes the projection stack current, unless it is known to be.
  void UseProjectionMatrix();
  /// Column-major, as glLoadMatrixf takes it: the scene's projection, or the screen's when 0.
  const float* ProjectionMatrix(int scene) const {
    return scene ? m_sceneProjection : m_screenProjection;
  }
  int Width() const { return m_width; }
  int Height() const { return m_height; }

  static std::int32_t m_maxtransparentpolys;  // queue capacity, a setting
  static std::int32_t m_inversesort;          // a setting that is loaded and saved, and not used

 private:
  /// First of the 256 display lists that hold the glyphs of the host's font.
  static constexpr GLuint kGlyphLists = 10000;

  bool AllocatePbuffer(int width, int height, int depthBits);
  int AllocateDrawable(int width, int height, int depthBits);
  void EnterModelView(int width, int height);
  void SendMaterial(MaterialParameter parameter);
  bool StoreMaterial(MaterialParameter parameter, const float* value);
  bool StoreMaterials(const AttrProperty& attribute, float transparencyScale, bool send);
  bool IsTransparentQueueFull() const {
    return static_cast<std::size_t>(m_transparentCount) >= m_transparentCapacity;
  }
  void FreeTransparentQueue();

  RenderInfo* m_renderInfo;
  HDC m_dc = nullptr;
  float m_sceneProjection[16] = {};
  float m_screenProjection[16] = {};
  MaterialEntry m_material[kMaterialParameters];
  AGLPixelFormat m_pixelFormat = nullptr;  // read by nothing once the context is made
  AGLPbuffer m_pbuffer = nullptr;
  AGLDrawable m_port = nullptr;
  AGLContext m_context = nullptr;
  PixMapHandle m_pixmap = nullptr;
  float m_backgroundRed = 0, m_backgroundGreen = 0, m_backgroundBlue = 0;
  std::int32_t m_maxLights = -1;  // not asked yet
  unsigned char* m_blitMemory = nullptr;
  std::size_t m_blitBytes = 0;
  std::int32_t m_mode;
  std::int32_t m_matrixMode = kUnknownMatrix;

 protected:  // tests look at what is queued
  TransparentRecord* m_transparentPolys = nullptr;
  std::int32_t m_transparentCount = 0;

 private:
  std::size_t m_transparentCapacity = 0;
  float m_fogDensity = 1.0f;
  std::int16_t m_width = 0, m_height = 0;
  std::uint8_t m_stateFlags = 0;
  std::vector<OGL_LIGHT> m_lights;
};
