// How the four fields of a buffer grow, shrink and change hands. The buffers of both faces keep a ByteBlock and differ
// only in their rules.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <span>
#include <utility>

#include "QzTypes.h"
#include "References/Common/Bytes.h"
#include "References/Common/ProcessHeap.h"

namespace qz {

/// Operations on a ByteBlock. `Rules` has
/// - `static constexpr long hiddenBytes`: zero bytes kept behind the capacity
/// - `static constexpr long growthOfZero`: what growing by 0 grows by
/// - `static void noMemory(long bytes)`: tells, or throws, that a block of so many usable bytes cannot be had
/// - `static bool coAlloc_(void*& block, unsigned long size)`, `static void coFree_(void* block)`: the process heap's
///   functions of ProcessHeap.h, which tell of their failures if the face does
///
/// Operations that return bool return false after noMemory(), with the block as it was unless said otherwise.
template <class Rules>
struct ByteBlockOps {
  /// What appending and getBuffer() grow by at least.
  static constexpr long kLeastGrowth = 1024;
  /// The highest capacity: with the hidden bytes still a signed 32-bit number.
  static constexpr std::int64_t kHighestCapacity = std::numeric_limits<std::int32_t>::max() - Rules::hiddenBytes;

  /// Adds `n` to the capacity and zeroes everything behind the content. False also for a negative `n`.
  static bool grow(ByteBlock& block, long n) {
    if (n < 0) return false;
    if (n == 0) n = Rules::growthOfZero;
    if (n == 0) return true;
    const std::int64_t wanted = std::int64_t{block.capacity} + n;
    if (wanted <= kHighestCapacity && resize(block, static_cast<long>(wanted))) return true;
    Rules::noMemory(static_cast<long>(std::min<std::int64_t>(wanted, std::numeric_limits<std::int32_t>::max())));
    return false;
  }

  /// Makes room for `n` more bytes.
  static bool ensureRoom(ByteBlock& block, long n) {
    const long free = block.capacity - block.length;
    return n <= free || grow(block, std::max(n - free, kLeastGrowth));
  }

  /// Makes room for `n` bytes in all.
  static bool ensureCapacity(ByteBlock& block, long n) {
    return n <= block.capacity || grow(block, std::max(n - block.capacity, kLeastGrowth));
  }

  /// Makes `n` (not negative) the length, growing by exactly what is missing. Bytes that fall off become zero, so that
  /// they do not come back behind text.
  static bool setLength(ByteBlock& block, long n) {
    if (n > block.capacity && !grow(block, n - block.capacity)) return false;
    if (n < block.length) std::memset(block.data + n, 0, static_cast<std::size_t>(block.length - n));
    block.length = n;
    return true;
  }

  /// Appends bytes, which may lie in the block itself.
  static bool append(ByteBlock& block, std::span<const std::byte> bytes) {
    if (bytes.empty()) return true;
    const auto* from = unsignedChars(bytes);
    const bool own = owns(block, from);
    const auto offset = own ? from - block.data : 0;
    const auto n = static_cast<long>(bytes.size());
    if (!ensureRoom(block, n)) return false;
    std::memmove(block.data + block.length, own ? block.data + offset : from, bytes.size());
    block.length += n;
    return true;
  }

  /// Removes `n` bytes from the end if there are as many.
  static void truncate(ByteBlock& block, long n) {
    if (n < 0 || n > block.length) return;
    block.length -= n;
    if (block.data != nullptr) std::memset(block.data + block.length, 0, static_cast<std::size_t>(n));
  }

  /// Frees the block; nothing but the type stays.
  static void destroy(ByteBlock& block) {
    Rules::coFree_(block.data);
    block = ByteBlock{.type = block.type};
  }

  /// Starts afresh with another type and room for `size` bytes; without a block when memory is short.
  static bool reset(ByteBlock& block, long size, unsigned char type) {
    destroy(block);
    block.type = type;
    return grow(block, size);
  }

  /// Starts afresh with room for `size` bytes and the given content, no longer than `size`, which may lie in the old
  /// block: that is freed last.
  static bool replace(ByteBlock& block, long size, unsigned char type, std::span<const std::byte> content) {
    ByteBlock fresh{.type = type};
    if (!grow(fresh, size)) return false;
    copyBytes(fresh.data, content);
    fresh.length = static_cast<long>(content.size());
    adopt(block, fresh);
    return true;
  }

  /// Frees the block and takes over `fields`, whose block may be the same one.
  static void adopt(ByteBlock& block, const ByteBlock& fields) {
    if (block.data != fields.data) Rules::coFree_(block.data);
    block = fields;
  }

  /// Hands out the fields and forgets them; the type becomes DT_BINARY.
  static ByteBlock release(ByteBlock& block) { return std::exchange(block, ByteBlock{}); }

  /// Gives back the room behind the content. Keeping it is no failure: the capacity then stays too.
  static void fit(ByteBlock& block) {
    if (block.length <= block.capacity / 2)
      moveToFittingBlock(block);
    else if (block.length < block.capacity)
      resize(block, block.length);
  }

  /// True when types, lengths and bytes are equal.
  static bool equal(const ByteBlock& a, const ByteBlock& b) {
    return a.type == b.type && std::ranges::equal(bytes(a), bytes(b));
  }

  /// The content.
  static std::span<const std::byte> bytes(const ByteBlock& block) { return bytesAt(block.data, block.length); }

 private:
  static bool owns(const ByteBlock& block, const unsigned char* p) {
    return block.data != nullptr && std::greater_equal<>()(p, static_cast<const unsigned char*>(block.data)) &&
           std::less_equal<>()(p, static_cast<const unsigned char*>(block.data + block.capacity));
  }

  // Someone may have written behind the content through the pointer he got; fresh blocks come as zeroes from the
  // system, which does not touch their memory.
  static bool resize(ByteBlock& block, long capacity) {
    const auto size = static_cast<std::size_t>(capacity + Rules::hiddenBytes);
    if (block.data != nullptr) {
      const auto length = static_cast<std::size_t>(block.length);
      const auto used = std::min(allocatedSize(block.data), size);
      if (used > length) std::memset(block.data + length, 0, used - length);
    }
    void* data = block.data;
    if (!Rules::coAlloc_(data, static_cast<unsigned long>(size))) return false;
    block.data = static_cast<unsigned char*>(data);
    block.capacity = capacity;
    return true;
  }

  static void moveToFittingBlock(ByteBlock& block) {
    ByteBlock fitting{.type = block.type};
    if (block.length > 0 && !resize(fitting, block.length)) return;
    copyBytes(fitting.data, bytes(block));
    fitting.length = block.length;
    adopt(block, fitting);
  }
};

}  // namespace qz
