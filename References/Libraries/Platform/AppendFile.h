// A file that is only ever extended.
#pragma once

#include <span>

namespace qz::platform {

/// Owner of a file handle that appends.
class AppendFile {
 public:
  /// What to do about a file that exists or not.
  enum class Existing { Extend, Refuse };
  /// What others may do to the file meanwhile: all, or nothing but read it.
  enum class Others { All, Read };

  /// Opens `path`, creating the file when it is missing. With Existing::Refuse a file that exists is left alone.
  explicit AppendFile(const char* path, Existing existing = Existing::Extend, Others others = Others::All);
  AppendFile(const AppendFile&) = delete;
  AppendFile& operator=(const AppendFile&) = delete;
  ~AppendFile();

  /// False when the file could not be opened.
  bool isOpen() const;
  /// Appends all bytes. After a failure this and all further bytes are dropped.
  void write(std::span<const char> bytes);

 private:
  void close();

  void* handle_;
};

}  // namespace qz::platform
