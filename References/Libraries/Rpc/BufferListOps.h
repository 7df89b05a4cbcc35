// Operations on the fields of a buffer list, for the lists of both faces.
#pragma once

#include <windows.h>
//
#include <oleauto.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <source_location>
#include <span>
#include <string>
#include <utility>

#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Common/Bytes.h"
#include "References/Common/LittleEndian.h"
#include "References/Libraries/Platform/OpenFile.h"
#include "References/Libraries/Rpc/Journal.h"
#include "References/Libraries/Rpc/Layer.h"
#include "References/Libraries/Wire/CompressedBlock.h"
#include "References/Libraries/Wire/ListStream.h"

namespace qz::rpc {

/// A buffer's content up to its first zero byte, whether or not there is one.
template <class Buffer>
std::string_view messageIn(const Buffer& buffer) {
  return textUpToZero(contentOf(buffer));
}

/// Replaces type and content of a buffer, whose memory is `spare` bytes larger than the content. That must not stand in
/// the buffer.
/// @throws std::bad_alloc when the buffer could not take all of it
template <class Buffer>
void setContent(Buffer& buffer, unsigned char type, std::span<const std::byte> content, long spare = 0) {
  const auto size = static_cast<long>(content.size());
  buffer.reset(size + spare, type);
  if (size > 0) buffer.write(static_cast<const void*>(content.data()), size);
  if (buffer.getLength() != size) throw std::bad_alloc();
}

/// Makes a buffer a text.
/// @throws std::bad_alloc as setContent()
template <class Buffer>
void setText(Buffer& buffer, std::string_view text) {
  setContent(buffer, ITKBufferType::DT_TEXT, bytesOf(text), 1);
}

/// Appends a text to a list.
/// @throws std::bad_alloc when the list could not take it
template <class BufferList>
void addText(BufferList& list, std::string_view text) {
  if (list.add(std::string(text).c_str()) < 0) throw std::bad_alloc();
}

/// Makes `out` a DT_LIST buffer ready for a stream of `count` elements with `bytes` bytes in all. Returns where the
/// stream is to be written, null when memory is short.
template <class Buffer>
std::byte* prepareListStream(Buffer& out, std::size_t count, std::uint64_t bytes) {
  constexpr auto kLongest = static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max());
  const auto size = std::min(wire::listStreamSize(count, bytes), kLongest);
  // Three bytes more than the stream has: the room that a list asks for.
  out.reset(static_cast<long>(std::min(size + 3, kLongest)), ITKBufferType::DT_LIST);
  return reinterpret_cast<std::byte*>(out.getBufferSetLen(static_cast<long>(size)));
}

/// Writes the stream of `elements` into `out` (DT_LIST) without a list in between: one allocation, one pass. `out` must
/// not hold any of the elements. False when memory is short.
template <class Buffer>
bool writeListStream(Buffer& out, std::span<const wire::ElementView> elements) {
  const auto head = wire::listStreamSize(elements.size(), 0);
  std::byte* to = prepareListStream(out, elements.size(), wire::listStreamSize(elements) - head);
  if (to == nullptr) return false;
  wire::ListStreamWriter writer(to, elements.size());
  for (const auto& element : elements) writer.add(element);
  return true;
}

/// Operations on BufferListState. Beside the types and report() of a Layer, `L` has
/// - `bufferListSource`: source path for log lines
/// - `newBuffer(type, bytes)`: owner of a new buffer with a copy of the bytes
/// - `newText(text)`: the same for text, which may be null
/// - `move(to, from)`: hands the block of one buffer to another
/// - `compress(from, to, level)`, `decompress(from, to)`: compressed blocks as the face makes them; bool
/// - `toFile(buffer, file)`, `fromFile(buffer, file)`: the stream form of one buffer; bool
/// - `toVariant(buffer, variant)`, `fromVariant(buffer, variant)`: the content as a variant carries it; bool
///
/// Failures are reported to the face's log at level 1 before an operation returns its failure value.
template <Layer L>
struct BufferListOps {
  using Buffer = typename L::Buffer;
  using OwnBuffer = typename L::OwnBuffer;
  using List = BufferListState<Buffer>;

  /// Slots added when the array is full.
  static constexpr long kGrowth = 10;

  /// Adds `n` slots in a fresh array; 1, or 0 with the list unchanged.
  static int increaseSize(List& list, long n) {
    constexpr long kMostSlots = std::numeric_limits<std::int32_t>::max() / static_cast<long>(sizeof(Buffer*));
    const bool possible = n >= 0 && n <= kMostSlots - list.capacity;
    auto** items = possible ? new (std::nothrow) Buffer*[static_cast<std::size_t>(list.capacity + n)]() : nullptr;
    if (items == nullptr) return report("IncreaseSize", "Insufficient memory");
    std::copy_n(list.items, list.count, items);
    delete[] std::exchange(list.items, items);
    list.capacity += n;
    return 1;
  }

  /// Appends a buffer, which must not be null and then belongs to the list. Index, or -1: the buffer stays the
  /// caller's.
  static long append(List& list, Buffer* buffer) {
    if (list.count == list.capacity && increaseSize(list, kGrowth) == 0) return -1;
    list.items[list.count] = buffer;
    return list.count++;
  }

  /// The same for an owned buffer, which is deleted when it cannot be appended.
  static long append(List& list, std::unique_ptr<Buffer> buffer) {
    const long index = append(list, buffer.get());
    if (index >= 0) buffer.release();
    return index;
  }

  /// Appends a new buffer with a copy of `bytes`; index or -1.
  static long appendBytes(List& list, unsigned char type, std::span<const std::byte> bytes) {
    return appendMade(list, makeBuffer(type, bytes));
  }

  /// Appends a new DT_TEXT buffer with a copy of `text`, after emptying the list when `alone`; index or -1. The text may
  /// lie in the list.
  static long appendText(List& list, const char* text, bool alone) {
    auto buffer = whole(L::newText(text), viewOf(text).size());
    if (alone && buffer != nullptr) removeAll(list);
    return appendMade(list, std::move(buffer));
  }

  /// A new buffer with a copy of `bytes`, null when memory is short; reports nothing.
  static std::unique_ptr<Buffer> makeBuffer(unsigned char type, std::span<const std::byte> bytes) {
    return whole(L::newBuffer(type, bytes), bytes.size());
  }

  /// Appends one element that holds the uncompressed stream of `other`; index or -1.
  static long appendList(List& list, const List& other) {
    std::unique_ptr<Buffer> buffer = L::newBuffer(ITKBufferType::DT_LIST, {});
    if (buffer == nullptr || serializeTo(other, *buffer, 0) == 0) return -1;
    return append(list, std::move(buffer));
  }

  /// Replaces the content by copies of the elements of `other`; 1 or 0.
  static int copy(List& list, const List& other) {
    if (&list == &other) return 1;
    removeAll(list);
    reserve(list, other.count);
    for (const auto* item : items(other))
      if (appendBytes(list, item->getType(), contentOf(*item)) < 0) return 0;
    return 1;
  }

  /// The element, or null when there is none at `index`.
  static Buffer* at(const List& list, long index) {
    return index >= 0 && index < list.count ? list.items[index] : nullptr;
  }

  /// Deletes the element at `index` and stores `buffer`, which must not be null; 1, or 0 with the buffer still the
  /// caller's.
  static int setAt(List& list, long index, Buffer* buffer) {
    if (at(list, index) == nullptr) return reportIndex("setAt", index);
    auto*& slot = list.items[index];
    if (slot != buffer) delete std::exchange(slot, buffer);
    return 1;
  }

  /// Deletes the element at `index` and closes the gap; 1 or 0.
  static int removeAt(List& list, long index) {
    if (at(list, index) == nullptr) return reportIndex("removeAt", index);
    takeOut(list, index);
    return 1;
  }

  /// Deletes all elements; the array stays.
  static void removeAll(List& list) {
    while (list.count > 0) delete std::exchange(list.items[--list.count], nullptr);
  }

  /// Deletes all elements and the array.
  static void destroy(List& list) {
    removeAll(list);
    delete[] list.items;
    list = List{};
  }

  /// Sum of the elements' lengths.
  static std::uint64_t totalBytes(const List& list) {
    std::uint64_t total = 0;
    for (const auto* item : items(list)) total += contentOf(*item).size();
    return total;
  }

  /// Appends the text of every element, each up to its first zero byte.
  static void toString(const List& list, Buffer& out) {
    for (long i = 0, count = list.count; i < count; ++i) {
      const auto text = textUpToZero(contentOf(*list.items[i]));
      if (!text.empty()) out.write(static_cast<const void*>(text.data()), static_cast<long>(text.size()));
    }
  }

  /// Writes the memory stream into `out`, or with a level other than 0 a compressed block of it; 1 or 0. `out` may be
  /// an element of the list.
  static int serializeTo(const List& list, Buffer& out, int level) {
    if (level == 0 && !contains(list, out)) return writeStream(list, out);
    OwnBuffer stream;
    if (writeStream(list, stream) == 0) return 0;
    if (level != 0) return L::compress(stream, out, level);
    L::move(out, stream);
    return 1;
  }

  /// Replaces the content by what a memory stream holds; 1, or 0 with an empty list. `in` may be an element of the
  /// list.
  static int serializeFrom(List& list, const Buffer& in) {
    const auto keptAlive = takeOut(list, in);
    removeAll(list);
    OwnBuffer scratch;
    const auto stream = openStream(in, scratch);
    if (!stream) return 0;
    reserve(list, static_cast<std::int64_t>(stream->count()));
    if (stream->visit([&](const wire::ElementView& e) { return appendBytes(list, e.type, e.bytes) >= 0; })) return 1;
    removeAll(list);
    return 0;
  }

  /// The same with a variant that carries the uncompressed stream.
  static int serializeTo(const List& list, VARIANT& out) {
    OwnBuffer stream;
    return writeStream(list, stream) != 0 && L::toVariant(stream, out);
  }

  /// The same from a variant; any that carries no bytes is no list.
  static int serializeFrom(List& list, const VARIANT& in) {
    OwnBuffer stream;
    L::fromVariant(stream, in);
    return serializeFrom(list, stream);
  }

  /// A checked view of the stream in `in`, which may be compressed: then `scratch` holds what it refers to.
  static std::optional<wire::ListStreamView> openStream(const Buffer& in, Buffer& scratch) {
    const bool compressed = wire::isCompressed(contentOf(in));
    if (compressed && !L::decompress(in, scratch)) {
      report("serializeIn", "decompression failed");
      return std::nullopt;
    }
    auto stream = wire::ListStreamView::open(contentOf(compressed ? scratch : in));
    if (!stream) report("serializeIn", "received binary stream is not a list");
    return stream;
  }

  /// Writes the file form; 1, or 0 at the first failure.
  static int writeFile(const List& list, HANDLE file) {
    std::array<std::byte, 5> head;
    head[0] = std::byte{wire::kListMark};
    storeLittle32(&head[1], static_cast<std::uint32_t>(list.count));
    if (!platform::writeAll(file, head)) return report("serializeOut", "Failed to serialize a list to file");
    for (const auto* item : items(list))
      if (!L::toFile(*item, file)) return report("serializeOut", "Failed to serialize a buffer to file");
    return 1;
  }

  /// Replaces the content by what the file form holds; 1, or 0 with the elements read by then.
  static int readFile(List& list, HANDLE file) {
    removeAll(list);
    std::array<std::byte, 5> head;
    const bool isList = platform::readAll(file, std::span(head).first(1)) && head[0] == std::byte{wire::kListMark} &&
                        platform::readAll(file, std::span(head).subspan(1));
    const auto count = isList ? static_cast<std::int32_t>(loadLittle32(&head[1])) : -1;
    if (count < 0) return report("serializeIn", "Input file is not a list");
    if (const auto left = platform::bytesLeft(file))
      reserve(list, std::min(std::int64_t{count}, static_cast<std::int64_t>(*left / wire::kElementHeadSize)));
    for (std::int32_t i = 0; i < count; ++i) {
      std::unique_ptr<Buffer> buffer = L::newBuffer(ITKBufferType::DT_BINARY, {});
      if (buffer == nullptr || !L::fromFile(*buffer, file))
        return report("serializeIn", "Failed to serialize a buffer from file");
      if (append(list, std::move(buffer)) < 0) return 0;
    }
    return 1;
  }

 private:
  using Place = std::source_location;

  // The buffer, unless memory was too short for all that it should hold.
  static std::unique_ptr<Buffer> whole(std::unique_ptr<Buffer> buffer, std::size_t size) {
    return buffer != nullptr && contentOf(*buffer).size() == size ? std::move(buffer) : nullptr;
  }

  static long appendMade(List& list, std::unique_ptr<Buffer> buffer) {
    if (buffer != nullptr) return append(list, std::move(buffer));
    report("add", "Insufficient memory");
    return -1;
  }

  static int report(const char* operation, std::string_view text, Place at = Place::current()) {
    L::report(kError, operation, L::bufferListSource, text, at);
    return 0;
  }

  static int reportIndex(const char* operation, long index, Place at = Place::current()) {
    return report(operation, "index [" + std::to_string(index) + "] out of range", at);
  }

  static std::span<Buffer* const> items(const List& list) { return {list.items, static_cast<std::size_t>(list.count)}; }

  static bool contains(const List& list, const Buffer& buffer) {
    return std::ranges::find(items(list), &buffer) != items(list).end();
  }

  static std::unique_ptr<Buffer> takeOut(List& list, long index) {
    std::unique_ptr<Buffer> buffer(list.items[index]);
    std::copy(list.items + index + 1, list.items + list.count, list.items + index);
    list.items[--list.count] = nullptr;
    return buffer;
  }

  // The element itself, so that it outlives the emptying of its list; null when `buffer` is none of the elements.
  static std::unique_ptr<Buffer> takeOut(List& list, const Buffer& buffer) {
    const auto all = items(list);
    const auto found = std::ranges::find(all, &buffer);
    return found == all.end() ? nullptr : takeOut(list, static_cast<long>(found - all.begin()));
  }

  // As many slots as growing one by one would give; a failure shows at the element that has none.
  static void reserve(List& list, std::int64_t count) {
    constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();
    const auto steps = (count - list.capacity + kGrowth - 1) / kGrowth;
    if (steps > 0) increaseSize(list, static_cast<long>(std::min(steps * kGrowth, kHighest)));
  }

  static int writeStream(const List& list, Buffer& out) {
    std::byte* to = prepareListStream(out, static_cast<std::size_t>(list.count), totalBytes(list));
    if (to == nullptr) return 0;
    wire::ListStreamWriter writer(to, static_cast<std::size_t>(list.count));
    for (const auto* item : items(list)) writer.add({item->getType(), contentOf(*item)});
    return 1;
  }
};

}  // namespace qz::rpc
