// The host's images: a bitmap is a list of named buffers of one size.
#pragma once

#include <cstdint>

#include "host/String.h"

/// Base of host objects that are released through their handle, and never by `delete`. One object
/// is used by one thread at a time; the module uses them on the host's drawing thread.
class HTreeObject {
 public:
  HTreeObject(const HTreeObject&) = delete;
  HTreeObject& operator=(const HTreeObject&) = delete;
  /// Releases the object; the pointer is invalid afterwards.
  void DeleteHandle();

 protected:
  HTreeObject() = default;
  /// For DeleteHandle.
  virtual ~HTreeObject();
};

/// Packed 8-bit pixels, rows tightly packed, top row first. Whoever asked for it releases it.
class HByteBlock {
 public:
  /// Takes ownership of `bytes`, which are from AllocExt; three or four of them make a pixel.
  HByteBlock(unsigned char* bytes, int bytesPerPixel)
      : m_bytes(bytes), m_bytesPerPixel(bytesPerPixel) {}
  HByteBlock(const HByteBlock&) = delete;
  HByteBlock& operator=(const HByteBlock&) = delete;

  /// Releases the block with its bytes; the pointer is invalid afterwards.
  void DeleteHandle();
  /// The first byte of the top row's first pixel. Owned by the block.
  unsigned char* GetByteBlock() const { return m_bytes; }
  /// 3 (colours) or 4 (colours and alpha, which is not multiplied in).
  int GetBytesPerPixel() const { return m_bytesPerPixel; }

 private:
  ~HByteBlock();

  unsigned char* m_bytes;  // from AllocExt
  int m_bytesPerPixel;     // 3 or 4
};

/// One plane of a bitmap. Channel k of pixel (x, y) is element
/// x * PixelStep() + y * RowStep() + k of Data(), the element being of the channel type. Row 0 is
/// the top one.
class HBitmapBuffer : public HTreeObject {
 public:
  /// What an element is.
  enum ChannelType : int {
    kByteChannel = 0,   ///< 8 bits, 0 to 255 for 0 to 1.
    kFloatChannel = 1,  ///< A float of 32 bits.
    kHalfChannel = 2    ///< A float of 16 bits (IEEE 754 binary16), as unsigned 16-bit words.
  };

  /// A buffer without storage (AllocateData makes it): `channels` elements a pixel, `width` by
  /// `height` pixels. Owned by the caller until HBitmapNode::AddBuffer takes it. A name for which
  /// there is no memory becomes empty.
  HBitmapBuffer(const String& name, ChannelType type, int channels, int width, int height);

  /// Allocates storage, whose elements have any value until they are written: it may be that of a
  /// picture released before. The argument is not used. Returns 1, or 0 when there is no memory or
  /// the size is not positive, and then Data() stays null. Storage is kept when present.
  int AllocateData(int);

  /// "Color", "ColorAlpha", "Depth" or what the host likes; upper and lower case differ.
  const String& Name() const { return m_name; }
  ChannelType Type() const { return m_type; }  ///< What an element is.
  int Channels() const { return m_channels; }  ///< Elements a pixel.
  int Width() const { return m_width; }        ///< Pixels.
  int Height() const { return m_height; }      ///< Pixels.
  /// Elements from a pixel to the one on its right.
  int PixelStep() const { return m_pixelStep; }
  /// Elements from a pixel to the one below it; 0 for a row too long to be stored. The host kit's
  /// has no gaps, PixelStep() * Width(), and a host's own must have none, either: what the module
  /// writes into a buffer that it asked for it writes row behind row, without asking for this.
  int RowStep() const { return m_rowStep; }
  /// The first element of the top row, null without storage. Owned by the buffer; stays in place.
  void* Data() const { return m_data; }
  /// The buffer that was added to the bitmap after this one, null for the last.
  HBitmapBuffer* Next() const { return m_next; }

 protected:
  /// Releases the storage. For DeleteHandle.
  ~HBitmapBuffer() override;

 private:
  friend class HBitmapNode;

  String m_name;
  ChannelType m_type;
  int m_channels;
  int m_width;
  int m_height;
  int m_pixelStep;
  int m_rowStep;
  void* m_data = nullptr;
  HBitmapBuffer* m_next = nullptr;
};

/// Four channels: what every buffer of four channels is, copies and scaled ones included. Bytes lie
/// as red, green, blue, alpha; half floats (and floats) as blue, green, red, alpha.
class HRGBABuffer : public HBitmapBuffer {
 public:
  using HBitmapBuffer::HBitmapBuffer;
  /// First element of row `row`; null before AllocateData and outside the buffer.
  void* GetData(int row);
};

/// An image. "Color" (8-bit) is the picture a texture is made from, or "ColorAlpha" where there is
/// no "Color" of the image's size; the renderer adds "ColorAlpha" (half-float colour with alpha).
/// "Depth" (one float) holds the depths that go with a picture. The module reads such a buffer
/// where the host has put one there, for ambient occlusion, and never adds one: depths come a pixel
/// at a time from GABuffer::GetZValue.
class HBitmapNode : public HTreeObject {
 public:
  /// An image without buffers, `width` by `height` pixels.
  HBitmapNode(int width, int height) : m_width(width), m_height(height) {}

  int GetWidth() const { return m_width; }    ///< Pixels.
  int GetHeight() const { return m_height; }  ///< Pixels.

  /// First buffer of the list, or null. Buffers stay owned by the bitmap.
  HBitmapBuffer* GetBufferHead() const { return m_head; }
  /// A four-channel buffer without storage, owned by the caller until AddBuffer takes it. Null
  /// without memory.
  HRGBABuffer* CreateRGBABuffer(String name, HBitmapBuffer::ChannelType type, int width,
                                int height);
  /// Appends `buffer`, of any size, and takes ownership of it; null adds nothing. Buffers of the
  /// same name stay beside it; one that is in the list already stays where it is.
  void AddBuffer(HBitmapBuffer* buffer);
  /// The buffer called `name` that was added last, or null.
  HBitmapBuffer* FindBuffer(const String& name) const;
  /// Releases every buffer called `name`. Whoever has frame after frame put into one bitmap calls
  /// this in between: each adds a buffer of its own.
  void RemoveBuffers(const String& name);

  /// A copy with every buffer, of its own size, those without storage as such; released by the
  /// caller with DeleteHandle. Null without memory.
  HBitmapNode* Copy() const;
  /// Becomes a copy of `source`: takes on its size and copies of its buffers in place of its own.
  /// Returns 1, or 0 without memory, and then nothing has changed.
  int Copy(const HBitmapNode& source);
  /// A copy scaled to the given size, released by the caller with DeleteHandle: every buffer,
  /// whatever its size and name, on its own: linearly, by an area's mean where it shrinks, colours
  /// of four channels weighted by alpha. Null when a side is not positive or memory runs out.
  HBitmapNode* ScaleBitmap(int width, int height);
  /// The picture as packed 8-bit pixels, three bytes a pixel when it is opaque, else four.
  /// `wrap` tells how the texture repeats (0: repeat) and does not change the pixels. Bit 0 of
  /// `*flags` (may be null) is set when any alpha is below 255, else cleared; its other bits stay
  /// as they are. `bgr` non-zero asks for blue, green, red order. Null when there is no picture or
  /// no memory.
  HByteBlock* CreateByteBlock(int wrap, int* flags, int bgr);

 protected:
  /// Releases the buffers. For DeleteHandle.
  ~HBitmapNode() override;

 private:
  int m_width;
  int m_height;
  HBitmapBuffer* m_head = nullptr;
};
