/// @file
/// Text with shared, counted storage.
#pragma once

#include "QzExport.h"

/// @addtogroup shared
/// @{

/// Immutable-looking text whose copies share one storage until one of them changes.
///
/// Copying and assigning from another ITKString share the storage; everything built from a `const char*` gets storage
/// of its own, even when the text is equal. All empty texts share one storage. The counts are interlocked, so copies
/// may live on different threads; one object belongs to one thread at a time. Out of memory: logged at level 1, the
/// object keeps the text it had (a new object is empty).
class QZSOAP_API ITKString {
 public:
  /// The empty text.
  ITKString() noexcept;
  /// Copies `text` up to its zero byte; null means the empty text.
  ITKString(const char* text) noexcept;
  /// Copies `length` bytes of `text`; null or a length below 1 means the empty text. Zero bytes inside are kept.
  ITKString(const char* text, long length) noexcept;
  /// Shares the storage of `other`.
  ITKString(const ITKString& other) noexcept;
  /// Takes over the storage of `other`, which becomes empty.
  ITKString(ITKString&& other) noexcept;
  ~ITKString();

  /// Shares the storage of `other`; assigning to itself changes nothing.
  ITKString& operator=(const ITKString& other) noexcept;
  /// Takes over the storage of `other`.
  ITKString& operator=(ITKString&& other) noexcept;
  /// Copies `text` into new storage, even when the text is the same; null means the empty text. `text` may point into
  /// this object.
  ITKString& operator=(const char* text) noexcept;

  /// The text with its zero byte; never null, valid until this object changes or ends.
  operator const char*() const noexcept;
  /// The text with its zero byte; never null, valid until this object changes or ends.
  const char* c_str() const noexcept;
  /// Length in bytes.
  long getLength() const noexcept;
  /// 1 when the length is 0, else 0.
  int isEmpty() const noexcept;
  /// Becomes the shared empty text.
  void empty() noexcept;

  /// Appends `length` bytes; null or a length below 1 appends nothing. `text` may point into this object.
  ITKString& append(const char* text, long length) noexcept;
  /// Appends `text` up to its zero byte; null appends nothing.
  ITKString& operator+=(const char* text) noexcept;
  /// Appends the whole of `text`, zero bytes inside included.
  ITKString& operator+=(const ITKString& text) noexcept;

  /// Index of the first `pattern` at or after `start` (from 0), or -1. A null pattern is never found; an empty one is
  /// found at `start`. A start outside the text gives -1.
  long find(const char* pattern, long start = 0) const noexcept;
  /// As find() without regard to the case of ASCII letters.
  long findNoCase(const char* pattern, long start = 0) const noexcept;
  /// The part from `start` on, at most `count` bytes; what lies outside the text is cut off.
  ITKString mid(long start, long count) const noexcept;

  /// Replaces every `pattern` by `value` and returns how many there were. Inserted text is not searched again. A null
  /// value means ""; a null or empty pattern replaces nothing and returns 0. Both may point into this object.
  long replace(const char* pattern, const char* value) noexcept;
  /// Replaces & < > " ' by the five XML entities.
  void encodeXML() noexcept;
  /// Replaces the five XML entities by their characters, each once: "&amp;lt;" becomes "&lt;".
  void decodeXML() noexcept;

  /// True when both objects use the same storage: one is a copy of the other, or both are empty.
  bool shares(const ITKString& other) const noexcept;

  /// Not offered: through the conversion to `const char*` it would silently compare addresses. Compare texts with
  /// strcmp, storage with shares().
  bool operator==(const ITKString&) const = delete;

 private:
  struct Storage;

  Storage* storage_;
};

/// @}
