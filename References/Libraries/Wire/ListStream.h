// The memory stream of a buffer list: the byte 7, the low byte of the element count, then per element a type byte, a
// length in four bytes and the bytes. No element is copied to look at it, nothing is allocated here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qz::wire {

/// One element: its type code and its bytes, which lie elsewhere.
struct ElementView {
  unsigned char type = 0;
  std::span<const std::byte> bytes;
};

/// The type code that begins every list stream.
inline constexpr unsigned char kListMark = 7;
/// Type byte and count byte.
inline constexpr std::size_t kListHeadSize = 2;
/// Type byte and length.
inline constexpr std::size_t kElementHeadSize = 5;

/// Exact size of the stream of `count` elements that hold `bytes` bytes in all.
constexpr std::uint64_t listStreamSize(std::size_t count, std::uint64_t bytes) {
  return kListHeadSize + kElementHeadSize * static_cast<std::uint64_t>(count) + bytes;
}

/// Exact size of the stream of these elements.
std::uint64_t listStreamSize(std::span<const ElementView> elements);

/// Writes a stream into memory that the caller has made large enough.
class ListStreamWriter {
 public:
  /// Writes the head at `to`: the count modulo 256, which is all that the form can carry.
  ListStreamWriter(std::byte* to, std::size_t count);
  /// Writes the next element.
  void add(const ElementView& element);
  /// The byte behind what was written.
  std::byte* end() const { return next_; }

 private:
  std::byte* next_;
};

/// A stream whose every length has been found to lie within its bytes. Refers to the bytes it was opened on.
class ListStreamView {
 public:
  /// Null when the bytes do not begin with 7 or end before the announced elements do. Bytes behind them are ignored.
  static std::optional<ListStreamView> open(std::span<const std::byte> stream);

  /// Number of elements, 0 to 255.
  std::size_t count() const { return count_; }

  /// Calls `visit(ElementView)` for each element in order until one call returns false; true when none did.
  template <class Visit>
  bool visit(Visit&& visit) const {
    auto rest = elements_;
    for (std::size_t i = 0; i < count_; ++i)
      if (!visit(*takeElement(rest))) return false;
    return true;
  }

  /// The element at `index`, which must be below count().
  ElementView at(std::size_t index) const;

 private:
  static std::optional<ElementView> takeElement(std::span<const std::byte>& rest);

  std::span<const std::byte> elements_;
  std::size_t count_ = 0;
};

}  // namespace qz::wire
