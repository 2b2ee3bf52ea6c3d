// What a context draws into: a pbuffer or a window.
#pragma once

#include <EGL/egl.h>

#include <mutex>
#include <vector>

#include "platform/egl/handle_table.h"

namespace platform {

class Drawable {
 public:
  Drawable() = default;
  Drawable(const Drawable&) = delete;
  Drawable& operator=(const Drawable&) = delete;
  virtual ~Drawable() = default;

  /// The surface for contexts of a config, EGL_NO_SURFACE when there can be none. The same on each
  /// call until Refit.
  virtual EGLSurface SurfaceFor(EGLConfig config) = 0;
  /// As SurfaceFor, but of the drawable's size of now.
  virtual EGLSurface Refit(EGLConfig config) = 0;
  /// Shows what the current context drew. Returns EGL_SUCCESS, else EGL's error.
  virtual EGLint Present() = 0;
  /// Whether it can be drawn into no longer.
  virtual bool IsClosed() const = 0;
};

/// EGL pbuffer surfaces of one drawable, one a config: EGL binds a context only to surfaces of a
/// config that is compatible with its own. Safe from any thread.
class PbufferSurfaces {
 public:
  PbufferSurfaces() = default;
  PbufferSurfaces(const PbufferSurfaces&) = delete;
  PbufferSurfaces& operator=(const PbufferSurfaces&) = delete;
  ~PbufferSurfaces() { Clear(); }

  /// Returns the config's surface, of whatever size; null when there is none.
  EGLSurface Find(EGLConfig config) const;
  /// Returns the config's surface, made anew when it is missing or of another size; null when that
  /// fails, an old one then staying.
  EGLSurface Fit(EGLConfig config, int width, int height);
  /// EGL keeps a surface that is current until it is current no longer.
  void Clear();

 private:
  struct Entry {
    EGLConfig config;
    EGLSurface surface;
    int width, height;
  };
  mutable std::mutex m_mutex;
  std::vector<Entry> m_entries;
};

/// An off-screen surface, made before the config of its context is known. It dies with the last of
/// the contexts that it was set on.
class Pbuffer : public Drawable {
 public:
  Pbuffer(int width, int height) : m_width(width), m_height(height) {}

  EGLSurface SurfaceFor(EGLConfig config) override;
  EGLSurface Refit(EGLConfig config) override { return SurfaceFor(config); }
  EGLint Present() override { return EGL_SUCCESS; }
  bool IsClosed() const override { return false; }

  void Hold();
  /// Returns whether that was the last holder.
  bool Release();

 private:
  PbufferSurfaces m_surfaces;
  std::mutex m_mutex;
  int m_width, m_height;
  int m_holders = 0;
};

HandleTable<Pbuffer, HandleKind::kPbuffer>& Pbuffers();

}  // namespace platform
