// The process heap, which every buffer's block comes from.
#pragma once

#include <windows.h>

#include <cstddef>

namespace qz {

/// A new block of zeroes, or null when memory is short.
inline void* allocateZeroed(std::size_t size) { return HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size); }

/// Changes the size of a block, which may move, or makes a new one for null; what is added is zero. False when memory
/// is short, the block is then as before.
inline bool allocateZeroed(void*& block, std::size_t size) {
  void* sized = block == nullptr ? allocateZeroed(size) : HeapReAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, block, size);
  if (sized == nullptr) return false;
  block = sized;
  return true;
}

/// The size that was asked for when the block was allocated.
inline std::size_t allocatedSize(const void* block) { return HeapSize(GetProcessHeap(), 0, block); }

/// Frees a block; null is fine. False when the heap does not know it (GetLastError() tells why).
inline bool freeBlock(void* block) { return block == nullptr || HeapFree(GetProcessHeap(), 0, block); }

}  // namespace qz
