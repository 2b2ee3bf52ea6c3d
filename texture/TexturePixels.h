// Ways from a host bitmap to a GL texture that surfaces and effects share.
#pragma once

#include <initializer_list>
#include <memory>

#include "host/Bitmap.h"
#include "platform/gl.h"
#include "texture/TextureSize.h"

/// Handles are released as the host's, not deleted.
struct HandleRelease {
  template <typename Handle>
  void operator()(Handle* handle) const {
    handle->DeleteHandle();
  }
};

/// A bitmap at a texture's size: itself, or a scaled copy that goes with this object.
class SizedBitmap {
 public:
  /// `bitmap` is not null, not owned, and outlives the object.
  SizedBitmap(HBitmapNode* bitmap, TextureSize size);

  TextureSize Size() const { return m_size; }
  /// Null without memory.
  HBitmapNode* Bitmap() const { return m_bitmap; }

 private:
  TextureSize m_size;
  std::unique_ptr<HBitmapNode, HandleRelease> m_scaled;
  HBitmapNode* m_bitmap;
};

/// The 8-bit pixels of a bitmap at a texture's size, with everything that an upload needs to know.
class TexturePixels {
 public:
  /// The bitmap as SizedBitmap has it; `wrap` goes to its CreateByteBlock.
  TexturePixels(HBitmapNode* bitmap, TextureSize size, int wrap);

  /// False without picture or memory; nothing below may be called then but Size.
  bool IsValid() const { return m_block != nullptr; }
  /// Whether some alpha is below 255.
  bool IsTransparent() const { return m_transparent; }
  TextureSize Size() const { return m_sized.Size(); }

  /// Whether the GL would take a texture of this size and format.
  bool IsAcceptedByProxy() const;
  /// Makes the pixels level 0 of the bound texture.
  void Upload(GLint internalFormat) const;

 private:
  // The scaled bitmap is released before the block: the members go in the opposite order.
  std::unique_ptr<HByteBlock, HandleRelease> m_block;
  SizedBitmap m_sized;
  bool m_transparent = false;
  GLenum m_format = GL_RGB;
};

struct TextureParameter {
  GLenum name;
  GLint value;
};

/// A new two-dimensional texture, bound, with parameters set in their order. Owned by the caller.
GLuint MakeBoundTexture(std::initializer_list<TextureParameter> parameters);
