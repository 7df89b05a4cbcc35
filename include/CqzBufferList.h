/// @file
/// The flat face's ordered list of owned buffers.
#pragma once

#include "CqzBuffer.h"
#include "QzHolder.h"

struct tagVARIANT;

/// @addtogroup flat
/// @{

/// Ordered list of buffers, all owned by the list, and its stream forms.
///
/// Made by rpcSOAP_CreateBufferList(), given back to rpcSOAP_ReleaseBufferList(); only such objects may be handed to the
/// library. The memory stream is the byte 7 (DT_LIST), the low byte of the element count, then per element type (1
/// byte), length (4 bytes, little-endian) and bytes: it carries at most 255 elements. The file form has a 4-byte count
/// and no such limit. No operation throws: it has reported the reason to the log when it returns its failure value.
class CqzBufferList {
 public:
  virtual ~CqzBufferList() = default;
  CqzBufferList(const CqzBufferList&) = delete;
  CqzBufferList& operator=(const CqzBufferList&) = delete;

  /// Appends `buffer` and takes ownership. Returns its index; -1 for null ("NULL pointer") or when memory is short,
  /// then the buffer stays the caller's.
  virtual long add(CqzBuffer* buffer) noexcept = 0;
  /// Appends a copy. Returns its index or -1.
  virtual long add(const CqzBuffer& buffer) noexcept = 0;
  /// Appends a DT_TEXT buffer with a copy of `text`; null: an empty one. Returns its index or -1.
  virtual long add(const char* text) noexcept = 0;
  /// The same, but empties the list first when `first` is not 0.
  virtual long add(const char* text, int first) noexcept = 0;
  /// Appends the text of a BSTR in the ANSI code page; null: an empty text. Returns its index or -1.
  virtual long add(wchar_t*& text) noexcept = 0;
  /// Appends the text or the bytes of a variant: a BSTR, or an array of bytes with one dimension that begins at 0.
  /// Returns its index; -1 for a variant of another shape ("Check failed").
  virtual long add(tagVARIANT& value) noexcept = 0;
  /// Appends one DT_LIST element that holds the uncompressed memory stream of `list`, which may be this list. Returns
  /// its index or -1.
  virtual long add(const CqzBufferList& list) noexcept = 0;
  /// Replaces the content by copies of the elements of `other`; 1, or 0 when memory is short. Copying a list onto
  /// itself changes nothing.
  virtual int copy(const CqzBufferList& other) noexcept = 0;

  /// The element, still owned by the list; null (nothing reported) when `index` is outside 0..getCount()-1.
  virtual CqzBuffer* getAt(long index) const noexcept = 0;
  /// Deletes the element at `index` and stores `buffer`, taking ownership; 1. 0 with "index [%d] out of range" or, for
  /// null, "NULL pointer"; the buffer then stays the caller's.
  virtual int setAt(long index, CqzBuffer* buffer) noexcept = 0;
  /// Deletes the element and closes the gap; 1, or 0 with "index [%d] out of range".
  virtual int removeAt(long index) noexcept = 0;
  /// Deletes all elements.
  virtual void removeAll() noexcept = 0;
  /// Number of elements.
  virtual long getCount() const noexcept = 0;
  /// Appends the text of every element, each up to its first zero byte, to `out`.
  virtual void toString(CqzBuffer& out) const noexcept = 0;

  /// Writes the memory stream into `out` (DT_LIST), or compresses it into `out` (DT_COMPRESSED). 1 on success, 0 on
  /// failure.
  /// @param out receives the stream in place of what it held
  /// @param level 0 for the plain stream, otherwise the zlib level
  virtual int serializeTo(CqzBuffer& out, int level) const noexcept = 0;
  /// Replaces the content by what a memory stream holds, compressed or not. 0 with "decompression failed" or "received
  /// binary stream is not a list" (also for a stream that ends too early), the list then empty; 1 on success. Bytes
  /// behind the last element are ignored.
  virtual int serializeFrom(const CqzBuffer& in) noexcept = 0;
  /// Writes the file form at the current position; 0 at the first failure, 1 on success.
  /// @param file handle of an open file
  virtual int serializeTo(void* file) const noexcept = 0;
  /// Replaces the content by what the file form at the current position holds. 0 with "Input file is not a list" or
  /// "Failed to serialize a buffer from file", the elements read by then stay; 1 on success.
  /// @param file handle of an open file
  virtual int serializeFrom(void* file) noexcept = 0;
  /// Stores the plain memory stream in `out` as an array of bytes; `out` must be VT_EMPTY. 1 or 0.
  virtual int serializeTo(tagVARIANT& out) const noexcept = 0;
  /// Replaces the content by the memory stream in a byte array; 1 or 0.
  virtual int serializeFrom(const tagVARIANT& in) noexcept = 0;
  /// As serializeTo(CqzBuffer&, int); null fails with "Object receiving the out put is a NULL pointer".
  virtual int serializeOut(CqzBuffer* out, int level) const noexcept = 0;
  /// As serializeFrom(const CqzBuffer&); null fails with "Input object is NULL".
  virtual int serializeIn(const CqzBuffer* in) noexcept = 0;

 protected:
  CqzBufferList() = default;
};

extern "C" {
/// A new empty list; null when memory is short.
QZSOAP_API CqzBufferList* __cdecl rpcSOAP_CreateBufferList();
/// Deletes a list and its elements; null is allowed.
QZSOAP_API void __cdecl rpcSOAP_ReleaseBufferList(CqzBufferList* list);
}

/// Owner of one list.
class CqzBufferList00 : public QzHolder<CqzBufferList, rpcSOAP_ReleaseBufferList> {
 public:
  /// An empty list; none when memory is short.
  CqzBufferList00() noexcept : QzHolder(rpcSOAP_CreateBufferList()) {}

  using QzHolder::detach;
};

/// @}
