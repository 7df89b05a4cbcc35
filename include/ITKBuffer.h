/// @file
/// The toolkit's typed byte buffer.
#pragma once

#include <windows.h>
//
#include <oleauto.h>

#include <concepts>

#include "QzExport.h"
#include "QzTypes.h"

class ITKFile;

/// @addtogroup toolkit
/// @{

#pragma pack(push, 1)
/// The head of a compressed block; all fields little-endian.
struct tagITK_COMPRESSION_HEADER {
  unsigned long magic;               ///< the bytes "NIRA", 0x4152494E
  unsigned long compressedLength;    ///< number of zlib bytes behind the header
  unsigned long uncompressedLength;  ///< number of bytes before compression
  unsigned long crc;                 ///< zlib's crc32 of the uncompressed bytes, started with the magic
};
#pragma pack(pop)

/// A growing block of bytes with a type code (see ITKBufferType).
///
/// The block comes from the process heap and is owned by the buffer alone. Two zero bytes always stand behind the
/// content, so that text is terminated; they are not counted in capacity or length. The buffer does not look at its
/// bytes: the type is carried, copied, compared and written to streams.
///
/// No operation lets an exception out. A check that fails is logged at level 1 where it fails and again where the
/// operation ends; the operation then returns false, 0 or null and, unless said otherwise, has changed nothing. Running
/// out of memory is such a check: "insufficient memory for %d bytes".
class QZSOAP_API ITKBuffer {
 public:
  /// Empty, DT_BINARY, no block.
  ITKBuffer() noexcept;
  /// Empty with room for `size` bytes; no block when `size` is below 1.
  ITKBuffer(long size, unsigned char type) noexcept;
  /// Copies `n` bytes from `p`; no block when `p` is null or `n` is below 1.
  ITKBuffer(const void* p, long n, unsigned char type) noexcept;
  /// Copies type and bytes.
  ITKBuffer(const ITKBuffer& other) noexcept;
  /// DT_TEXT with a copy of `text`, in a block of at least 1024 bytes; null: empty, no block.
  ITKBuffer(const char* text) noexcept;
  /// As fromBSTR().
  ITKBuffer(BSTR text) noexcept;
  /// As fromVARIANT(); empty DT_BINARY when the variant does not fit.
  ITKBuffer(const VARIANT& value) noexcept;
  /// Frees the block.
  virtual ~ITKBuffer();

  /// Appends `n` bytes from `p`, which may point into this buffer. Grows by at least 1024 bytes. A negative `n` fails
  /// with "Check failed"; 0 does nothing; a null `p` fails with "NULL pointer".
  void write(const void* p, long n) noexcept;
  /// Appends the text `s` without its terminator. With `reset` the buffer first becomes an empty DT_TEXT buffer with
  /// room for the text and one byte (2 bytes in all when `s` is null). `s` may point into this buffer; null appends
  /// nothing.
  void write(const char* s, bool reset) noexcept;
  /// Appends `n` bytes: what a count behind a `const char*` means. Without this it would convert to the flag `reset`.
  /// An `n` that no long can hold fails with "Check failed".
  template <std::integral Count>
  requires(!std::same_as<Count, bool>) void write(const char* p, Count n) noexcept {
    const auto length = static_cast<long>(n);
    write(static_cast<const void*>(p), static_cast<Count>(length) == n ? length : -1L);
  }
  /// Appends the bytes of `other`, which may be this buffer; the type stays.
  void write(const ITKBuffer& other) noexcept;
  /// Appends the bytes of `other`; the type stays. Null fails with "NULL pointer".
  void write(const ITKBuffer* other) noexcept;

  /// The block, null when there is none; valid until the buffer changes.
  unsigned char* getBuffer() const noexcept { return block_.data; }
  /// Makes room for `n` bytes in all, growing by at least 1024 when short, and returns the block; the length stays.
  /// Null when memory is short.
  unsigned char* getBuffer(long n) noexcept;
  /// Makes room for exactly `n` bytes when short, sets the length to `n` and returns the block (which is null when
  /// nothing was ever allocated). Bytes that nobody has written are zero. A negative `n` fails with "Check failed";
  /// null then and when memory is short.
  unsigned char* getBufferSetLen(long n) noexcept;
  /// The block as text, or "" when there is none; never null, valid until the buffer changes.
  const char* getStrBuffer() const noexcept {
    return block_.data == nullptr ? "" : reinterpret_cast<const char*>(block_.data);
  }
  /// As getStrBuffer().
  const char* c_str() const noexcept { return getStrBuffer(); }

  /// Bytes in use.
  long getLength() const noexcept { return block_.length; }
  /// The type code.
  unsigned char getType() const noexcept { return block_.type; }
  /// 1 when the length is 0, else 0.
  int isEmpty() const noexcept { return block_.length == 0; }
  /// Frees the block, sets the type and makes room for `size` bytes; no block when `size` is below 1.
  void reset(long size, unsigned char type) noexcept;
  /// Frees the block; the type stays.
  void empty() noexcept;
  /// Removes `n` bytes from the end when there are as many; otherwise, and for a negative `n`, nothing.
  void truncate(long n) noexcept;

  /// Takes a copy of type and bytes; assigning to itself changes nothing.
  ITKBuffer& operator=(const ITKBuffer& other) noexcept;
  /// As write(s, true).
  ITKBuffer& operator=(const char* s) noexcept;
  /// As write(s, false).
  ITKBuffer& operator+=(const char* s) noexcept;
  /// 1 when types, lengths and bytes are equal, else 0.
  int operator==(const ITKBuffer& other) const noexcept;
  /// As operator=.
  void copy(const ITKBuffer& other) noexcept;

  /// Frees the own block and takes over everything from `other`, which becomes empty DT_BINARY.
  void attach(ITKBuffer& other) noexcept;
  /// Frees the own block and adopts `p`, a block of the process heap with at least `capacity` bytes (see coAlloc_).
  /// Values that cannot be (negative, length above capacity, null block with a capacity) fail with "Check failed" and
  /// leave `p` to the caller. The block has no hidden bytes until it grows: text must carry its own terminator.
  void attach(long capacity, long length, unsigned char type, unsigned char* p) noexcept;
  /// The same with capacity and length `n`, DT_BINARY.
  void attach(long n, unsigned char* p) noexcept;
  /// Hands everything to `target`, whose own block is freed; this buffer becomes empty DT_BINARY.
  void detach(ITKBuffer& target) noexcept;
  /// Hands out the four fields; the caller owns the block and frees it with coFree_. This buffer becomes empty
  /// DT_BINARY.
  void detach(long& capacity, long& length, unsigned char& type, unsigned char*& p) noexcept;
  /// Forgets the block without freeing it; empty DT_BINARY.
  void detach() noexcept;

  /// Reads type, length and bytes from the current position of an open file. False when a read fails, the length is
  /// negative or the file ends too early; the buffer is then empty, with the type that was read if one was.
  bool fromFile(HANDLE file) noexcept;
  /// Writes type (1 byte), length (4 bytes) and bytes; false at the first failed write, what was written stays.
  bool toFile(HANDLE file) const noexcept;
  /// Opens `path` and reads it as fromFile(HANDLE).
  bool fromFile(const char* path) noexcept;
  /// Creates or empties `path` and writes it as toFile(HANDLE).
  bool toFile(const char* path) const noexcept;

  /// Reads the whole of an open file, positioned at its beginning, as raw bytes; the type of `target` stays. False when
  /// the size cannot be had or not all bytes were read.
  static bool loadFile(ITKFile& file, ITKBuffer& target) noexcept;
  /// The same for a file by name.
  static bool loadFile(const char* path, ITKBuffer& target) noexcept;
  /// Writes the raw bytes.
  static bool saveFile(ITKFile& file, const ITKBuffer& source) noexcept;
  /// The same into a file by name, created or emptied.
  static bool saveFile(const char* path, const ITKBuffer& source) noexcept;

  /// Replaces the content by the text in the ANSI code page, DT_TEXT; null means "".
  void fromBSTR(BSTR text) noexcept;
  /// Stores the text, up to its first zero byte, as a new BSTR in `out` (VT_BSTR), which the caller clears. False when
  /// memory is short. The former content of `out` is not cleared.
  bool toBSTR(VARIANT& out) const noexcept;
  /// Stores the content in `out`: text as a BSTR, anything else as a new array of bytes (VT_ARRAY | VT_UI1); the caller
  /// clears it. `out` must be VT_EMPTY, otherwise "Check BOOL failed." and false.
  bool toVARIANT(VARIANT& out) const noexcept;
  /// Takes the text of a VT_BSTR or the bytes of a one-dimensional byte array with lower bound 0 (then DT_BINARY).
  /// False for everything else, the buffer unchanged.
  bool fromVARIANT(const VARIANT& value) noexcept;

  /// Compresses `source` into `target` (DT_COMPRESSED), which may be the same buffer. False, logged with zlib's reason,
  /// when it fails; `target` is then unchanged.
  /// @param source any bytes
  /// @param target receives the block
  /// @param level zlib's 0 to 9, or -1 for its default
  static bool compress(const ITKBuffer& source, ITKBuffer& target, int level) noexcept;
  /// The same into a variant, which must be VT_EMPTY.
  static bool compress(const ITKBuffer& source, VARIANT& target, int level) noexcept;
  /// The same from a variant.
  static bool compress(const VARIANT& source, ITKBuffer& target, int level) noexcept;
  /// The same from a variant into a variant.
  static bool compress(const VARIANT& source, VARIANT& target, int level) noexcept;
  /// Restores into `target` what compress() has packed into `source`; the type of `target` stays. False when `source`
  /// is no compressed block ("Check failed"), announces lengths that cannot be ("the input data was corrupted"), or
  /// does not restore to what its header says; in the last case `target` keeps the announced length with undefined
  /// bytes.
  static bool decompress(const ITKBuffer& source, ITKBuffer& target) noexcept;
  /// The same into a variant, which must be VT_EMPTY and becomes an array of bytes.
  static bool decompress(const ITKBuffer& source, VARIANT& target) noexcept;
  /// The same from a variant.
  static bool decompress(const VARIANT& source, ITKBuffer& target) noexcept;
  /// The same from a variant into a variant.
  static bool decompress(const VARIANT& source, VARIANT& target) noexcept;
  /// True when `buffer` is longer than 16 bytes and begins with "NIRA", whatever its type.
  static bool isCompressed(const ITKBuffer& buffer) noexcept;

  /// Allocates `size` bytes into `p`, or reallocates when `p` is not null, from the heap that attach() expects its
  /// blocks from. False when memory is short; `p` is then as before.
  static bool coAlloc_(void*& p, unsigned long size) noexcept;
  /// Frees a block of that heap and nulls the pointer; null is fine.
  static void coFree_(void*& p) noexcept;

 protected:
  /// Forgets the block and sets the type.
  void Init(unsigned char type) noexcept;
  /// Adds `n` bytes to the capacity and zeroes everything behind the content; nothing when `n` is below 1. Raises the
  /// toolkit exception when memory is short.
  void Grow(long n);
  /// Makes room to append `n` bytes, growing by at least 1024.
  void EnsureBufferSize(long n);
  /// Frees the block.
  void Destroy() noexcept;
  /// Fills a header, the magic included.
  static void InitHeader(tagITK_COMPRESSION_HEADER& header, unsigned long uncompressedLength,
                         unsigned long compressedLength, unsigned long crc) noexcept;
  /// Copies the header out; false when `buffer` is not compressed.
  static bool GetHeader(const ITKBuffer& buffer, tagITK_COMPRESSION_HEADER& header) noexcept;
  /// The bytes behind the header, or null when `buffer` is not compressed.
  static unsigned char* GetDataStream(const ITKBuffer& buffer) noexcept;

 private:
  ByteBlock block_;
};

/// A fixed zeroed block of characters.
class QZSOAP_API ITKCharBuffer {
 public:
  /// Room for `n` characters and a zero byte; a negative `n` counts as 0.
  explicit ITKCharBuffer(long n) noexcept;
  ITKCharBuffer(const ITKCharBuffer&) = delete;
  ITKCharBuffer& operator=(const ITKCharBuffer&) = delete;
  /// Frees the block.
  ~ITKCharBuffer();

  /// The block, owned by this object; null when memory was short (logged).
  char* getBuffer() noexcept;

 private:
  char* data_;
};

/// Owner of one buffer on the heap.
class QZSOAP_API ITKBuffer00 {
 public:
  /// Makes an empty buffer; none when memory is short (logged).
  ITKBuffer00() noexcept;
  ITKBuffer00(const ITKBuffer00&) = delete;
  ITKBuffer00& operator=(const ITKBuffer00&) = delete;
  /// Deletes the buffer unless it was detached.
  ~ITKBuffer00();

  /// Hands the buffer to the caller, who deletes it; null when it was handed out before.
  ITKBuffer* detach() noexcept;
  /// The buffer, still owned; null after detach() and when memory was short.
  ITKBuffer* get() const noexcept { return buffer_; }
  /// The buffer, still owned.
  ITKBuffer* operator->() const noexcept { return buffer_; }
  /// The buffer, still owned.
  ITKBuffer& operator*() const noexcept { return *buffer_; }
  /// The buffer, still owned.
  operator ITKBuffer*() const noexcept { return buffer_; }

 private:
  ITKBuffer* buffer_;
};

/// @}
