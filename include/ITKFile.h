/// @file
/// One open file.
#pragma once

#include <windows.h>

#include "QzExport.h"

/// @addtogroup toolkit
/// @{

/// Owner of one file handle; closes it at the end. File names go to the system as they are given (ANSI). Failures are
/// told by the results alone; GetLastError() then holds the reason.
class QZSOAP_API ITKFile {
 public:
  /// No file.
  ITKFile() noexcept = default;
  /// Takes over the handle of `other`, which then has none.
  ITKFile(ITKFile&& other) noexcept;
  /// Closes the own file and takes over the handle of `other`.
  ITKFile& operator=(ITKFile&& other) noexcept;
  /// Closes the file.
  ~ITKFile();

  /// Opens an existing file for reading; others may read and write it. False when it cannot be opened, as for null.
  bool openRead(const char* path) noexcept;
  /// Creates the file or empties an existing one, for writing; others may read it.
  bool openWrite(const char* path) noexcept;
  /// Opens the file for writing at its end, creating it when missing; others may read it.
  bool openAppend(const char* path) noexcept;

  /// Reads up to `length` bytes at the current position; returns how many were read (0 at the end), -1 on failure.
  long read(void* data, long length) noexcept;
  /// Writes all `length` bytes; false at the first failure, or when no file is open.
  bool write(const void* data, long length) noexcept;
  /// Size in bytes; -1 when it cannot be had or exceeds 2,147,483,647.
  long getSize() const noexcept;
  /// Closes the file, if one is open.
  void close() noexcept;
  /// True while a file is open.
  bool isOpen() const noexcept;
  /// The handle, still owned by this object; INVALID_HANDLE_VALUE when no file is open.
  HANDLE getHandle() const noexcept;

 private:
  bool Open(const char* path, DWORD access, DWORD share, DWORD disposition) noexcept;

  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

/// @}
