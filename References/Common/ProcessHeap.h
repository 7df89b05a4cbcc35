// The process heap, which every buffer's block comes from.
#pragma once

#include <windows.h>

#include <cstddef>

namespace qz {

/// A new block of zeroes, or null when memory is short.
inline void* allocateZeroed(std::size_t size) { return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size); }

/// Changes the size of a block, which may move; what is added is zero. Null when memory is short, the block is then as
/// before.
inline void* reallocateZeroed(void* block, std::size_t size) {
  return HeapReAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, block, size);
}

/// The size that was asked for when the block was allocated.
inline std::size_t allocatedSize(const void* block) { return HeapSize(GetProcessHeap(), 0, block); }

/// Frees a block; null is fine.
inline void freeBlock(void* block) {
  if (block != nullptr) HeapFree(GetProcessHeap(), 0, block);
}

}  // namespace qz
