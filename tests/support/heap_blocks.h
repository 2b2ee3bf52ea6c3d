// Which block of the host's heaps an address lies in, for logs of calls.
#pragma once

#include <cstddef>
#include <string>

/// Keeps a block that a heap gave, of the size that was asked for, until it is released.
void NoteBlock(const void* block, std::size_t bytes);
void ForgetBlock(const void* block);

/// "+offset of size" in bytes for an address within a block that was noted, else "pointer".
std::string PlaceInBlock(const void* address);
