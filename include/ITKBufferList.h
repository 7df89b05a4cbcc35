/// @file
/// The toolkit's ordered list of owned buffers.
#pragma once

#include "ITKBuffer.h"

/// @addtogroup toolkit
/// @{

/// Ordered list of buffers, all owned by the list, and its stream forms.
///
/// The memory stream is the byte 7 (DT_LIST), the low byte of the element count, then per element type (1 byte), length
/// (4 bytes, little-endian) and bytes: it carries at most 255 elements. The file form has a 4-byte count and no such
/// limit. No operation lets an exception out: it is logged at level 1 and the operation returns its failure value.
class QZSOAP_API ITKBufferList {
 public:
  /// Empty; no array.
  ITKBufferList() noexcept;
  ITKBufferList(const ITKBufferList&) = delete;
  ITKBufferList& operator=(const ITKBufferList&) = delete;
  /// Deletes all elements.
  virtual ~ITKBufferList();

  /// Appends `buffer` and takes ownership. Returns its index; -1 for null ("NULL pointer") or when memory is short,
  /// then the buffer stays the caller's.
  long add(ITKBuffer* buffer) noexcept;
  /// Appends a copy. Returns its index or -1.
  long add(const ITKBuffer& buffer) noexcept;
  /// Appends a DT_TEXT buffer with a copy of `text`; null: an empty one. Returns its index or -1.
  long add(const char* text) noexcept;
  /// The same, but empties the list first when `first` is not 0.
  long add(const char* text, int first) noexcept;
  /// Appends the text in the ANSI code page; null: an empty text. Returns its index or -1.
  long add(BSTR& text) noexcept;
  /// Appends what ITKBuffer::fromVARIANT() takes. Returns its index; -1, with "Check failed" for a variant of another
  /// shape.
  long add(VARIANT& value) noexcept;
  /// Appends one DT_LIST element that holds the uncompressed memory stream of `list`, which may be this list. Returns
  /// its index or -1.
  long add(const ITKBufferList& list) noexcept;
  /// Replaces the content by copies of the elements of `other`; 1, or 0 when memory is short. Copying a list onto
  /// itself changes nothing.
  int copy(const ITKBufferList& other) noexcept;

  /// The element, still owned by the list; null (nothing logged) when `index` is outside 0..getCount()-1.
  ITKBuffer* getAt(long index) const noexcept;
  /// Deletes the element at `index` and stores `buffer`, taking ownership; 1. 0 with "index [%d] out of range" or, for
  /// null, "NULL pointer"; the buffer then stays the caller's.
  int setAt(long index, ITKBuffer* buffer) noexcept;
  /// Deletes the element and closes the gap; 1, or 0 with "index [%d] out of range".
  int removeAt(long index) noexcept;
  /// Deletes all elements.
  void removeAll() noexcept;
  /// Number of elements.
  long getCount() const noexcept;
  /// Appends the text of every element, each up to its first zero byte, to `out`.
  void toString(ITKBuffer& out) const noexcept;

  /// Writes the memory stream into `out` (DT_LIST), or compresses it into `out` (DT_COMPRESSED). 1 on success, 0 on
  /// failure.
  /// @param out receives the stream in place of what it held
  /// @param level 0 for the plain stream, otherwise the zlib level
  int serializeTo(ITKBuffer& out, int level) const noexcept;
  /// Replaces the content by what a memory stream holds, compressed or not. 0 with "decompression failed" or "received
  /// binary stream is not a list" (also for a stream that ends too early), the list then empty; 1 on success. Bytes
  /// behind the last element are ignored.
  int serializeFrom(const ITKBuffer& in) noexcept;
  /// Writes the file form at the current position; 0 at the first failure, 1 on success.
  int serializeTo(HANDLE file) const noexcept;
  /// Replaces the content by what the file form at the current position holds. 0 with "Input file is not a list" or
  /// "Failed to serialize a buffer from file", the elements read by then stay; 1 on success.
  int serializeFrom(HANDLE file) noexcept;
  /// Stores the plain memory stream in `out` as an array of bytes; `out` must be VT_EMPTY. 1 or 0.
  int serializeTo(VARIANT& out) const noexcept;
  /// Replaces the content by the memory stream in a byte array; 1 or 0.
  int serializeFrom(const VARIANT& in) noexcept;
  /// As serializeTo(ITKBuffer&, int); null fails with "NULL pointer".
  int serializeOut(ITKBuffer* out, int level) const noexcept;
  /// As serializeFrom(const ITKBuffer&); null fails with "NULL pointer".
  int serializeIn(const ITKBuffer* in) noexcept;

 protected:
  /// Adds `n` slots to the array; 1, or 0 with "Insufficient memory" and the list unchanged.
  int IncreaseSize(long n) noexcept;
  /// Sum of the elements' lengths.
  long TotalByteCount() const noexcept;

 private:
  BufferListState<ITKBuffer> state_;
};

/// @}
