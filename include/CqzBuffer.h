/// @file
/// The flat face's typed buffer.
#pragma once

#include <cstddef>
#include <cstring>

#include "QzExport.h"
#include "QzHolder.h"
#include "QzTypes.h"

/// @addtogroup flat
/// @{

/// Typed, growable block of bytes.
///
/// Made by rpcSOAP_CreateBuffer(), given back to rpcSOAP_ReleaseBuffer(); only such objects may be handed to the library.
/// Behind the content lies at least one zero byte, so that text is terminated; an attached block has it from the next
/// growth on. A buffer owns its block, which comes from the process heap. No operation throws: it has reported the
/// reason to the log when it returns its failure value, and the buffer is then unchanged unless said otherwise. Integer
/// results are 1 for success and 0 for failure. Returned pointers live until the buffer changes. The operations take up
/// the object's slots in this order.
class CqzBuffer {
 public:
  virtual ~CqzBuffer() = default;

  /// Appends text without its terminator. Null counts as one character that is not there: with `asText` the buffer is
  /// made an empty text, and the result is 0.
  /// @param text the text; may lie in the buffer itself
  /// @param asText true: the buffer becomes DT_TEXT and the text its only content
  virtual int write(const char* text, bool asText) noexcept = 0;
  /// Appends `length` bytes, which may lie in the buffer itself. 0 for null or a negative length ("input buffer is zero
  /// size" at level 3), or when memory is short ("insufficient memory for additional %d bytes").
  virtual int write(const void* bytes, long length) noexcept = 0;
  /// The block; null when there is none.
  virtual unsigned char* getBuffer() const noexcept = 0;
  /// The block, grown to hold `capacity` bytes in all; the length stays. Null when memory is short.
  virtual unsigned char* getBuffer(long capacity) noexcept = 0;
  /// The block as text, whatever the type; another type than DT_TEXT is reported at level 2. "" without a block.
  virtual const char* getStrBuffer() const noexcept = 0;
  /// Number of bytes in use.
  virtual long getLength() const noexcept = 0;
  /// An ITKBufferType code.
  virtual unsigned char getType() const noexcept = 0;
  /// Makes `length` the length, growing by exactly what is missing, and returns the block. Null when memory is short or
  /// the length negative ("input buffer is zero size" at level 3), and for 0 where there is no block.
  virtual unsigned char* getBufferSetLen(long length) noexcept = 0;
  /// Drops the content and starts with another type and `size` bytes of room; 0 means 1,024. 0, and without a block,
  /// when memory is short or the size negative ("input buffer is zero size" at level 3).
  virtual int reset(long size, unsigned char type) noexcept = 0;
  /// reset() to the same type and no size.
  virtual int empty() noexcept = 0;
  /// 1 when the length is 0.
  virtual int isEmpty() const noexcept = 0;
  /// As copy().
  virtual CqzBuffer& operator=(const CqzBuffer& other) noexcept = 0;
  /// Takes type and bytes of `other`.
  virtual int copy(const CqzBuffer& other) noexcept = 0;
  /// 1 when types, lengths and bytes are equal.
  virtual int operator==(const CqzBuffer& other) const noexcept = 0;
  /// Frees the block; the type stays.
  virtual int release() noexcept = 0;
  /// Frees the own block and takes over `bytes`, which must come from the process heap (HeapAlloc), as capacity and
  /// content. Refused: DT_TEXT, because nobody knows of a terminator behind such a block; null and a negative length
  /// ("input buffer is zero size" at level 3).
  virtual int attach(unsigned char* bytes, long length, unsigned char type) noexcept = 0;
  /// Forgets the block without freeing it; the type stays.
  virtual int detach() noexcept = 0;
  /// Hands out the block, which the caller then owns, and its fields; the buffer becomes empty DT_BINARY.
  virtual int detach(long& capacity, long& length, unsigned char& type, unsigned char*& bytes) noexcept = 0;
  /// Replaces type and content by what the stream form at the file's current position holds: type (1 byte), length (4
  /// bytes, little-endian), bytes. 0 for a negative length, for more than the file holds, and for a read that fails; the
  /// buffer is then empty, with the type that was read if one was.
  /// @param file handle of an open file
  virtual int serializeFromFile(void* file) noexcept = 0;
  /// Writes the stream form at the file's current position.
  /// @param file handle of an open file
  virtual int serializeToFile(void* file) const noexcept = 0;
  /// Removes `count` bytes from the end; nothing when there are fewer.
  virtual int truncate(long count) noexcept = 0;

 protected:
  CqzBuffer() = default;
  /// Copies nothing: the content is the copy() of the object behind the interface.
  CqzBuffer(const CqzBuffer&) = default;
};

extern "C" {
/// A new empty buffer; null when memory is short or the size negative.
/// @param size bytes of room; 0 means 1,024
/// @param type an ITKBufferType code
QZSOAP_API CqzBuffer* __cdecl rpcSOAP_CreateBuffer(long size, unsigned char type);
/// Deletes a buffer; null is allowed.
QZSOAP_API void __cdecl rpcSOAP_ReleaseBuffer(CqzBuffer* buffer);
}

/// Owner of one buffer.
class CqzBuffer00 : public QzHolder<CqzBuffer, rpcSOAP_ReleaseBuffer> {
 public:
  /// A buffer of 1,024 bytes, DT_BINARY; none when memory is short.
  CqzBuffer00() noexcept : QzHolder(rpcSOAP_CreateBuffer(1024, ITKBufferType::DT_BINARY)) {}
  /// A buffer of that type with `length` bytes of room and a copy of the bytes, unless null, in its block. Its length
  /// stays 0: a caller who needs it set says getBufferSetLen(). None when memory is short or the length negative.
  CqzBuffer00(unsigned char type, long length, const void* bytes) noexcept
      : QzHolder(rpcSOAP_CreateBuffer(length, type)) {
    if (get() == nullptr || bytes == nullptr || length <= 0) return;
    std::memcpy(get()->getBuffer(), bytes, static_cast<std::size_t>(length));
  }

  using QzHolder::detach;
};

/// @}
