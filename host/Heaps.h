// The host's four heaps. Every block goes back through the free function of the heap it came from.
// The module calls them on the host's drawing thread; those of the host kit may be called from any.
#pragma once

#if __cplusplus < 202002L
#error "hosts of OpenGL3 are C++20: -std=c++20"
#endif

#include <cstddef>

/// Memory of the objects that are handed to the host: driver, colours, buffers, display lists,
/// textures, shader programs. Returns null when there is none.
void* AllocGAssist(std::size_t size);
/// Gives back what AllocGAssist returned. Null is harmless, here and below.
void FreeGAssist(void* block);

/// Memory of the transparent-polygon queue, which has to be filled with zeros. Null when there is
/// none, as below.
void* AllocOGL(std::size_t size);
/// Releases every block that AllocOGL has handed out since the last FreeOGL.
void FreeOGL();

/// Blit memory, read-back rows, texture staging, and the pictures of bitmaps. Bytes of any value.
void* AllocExt(std::size_t size);
/// Gives back what AllocExt returned.
void FreeExt(void* block);

/// Text of String. Bytes of any value.
void* AllocString(std::size_t size);
/// Gives back what AllocString returned.
void FreeString(void* block);

/// Base of every class whose objects the host owns: they live on the GAssist heap, and `delete`
/// through a virtual destructor returns them there. An exhausted heap makes `new` yield null; a
/// constructor that throws has its block freed before the exception passes on.
class GAssistObject {
 public:
  /// Null when the heap is exhausted.
  static void* operator new(std::size_t size) noexcept { return AllocGAssist(size); }
  /// Null is harmless.
  static void operator delete(void* block) noexcept { FreeGAssist(block); }

 protected:
  GAssistObject() = default;
  GAssistObject(const GAssistObject&) = default;
  GAssistObject& operator=(const GAssistObject&) = default;
  ~GAssistObject() = default;
};
