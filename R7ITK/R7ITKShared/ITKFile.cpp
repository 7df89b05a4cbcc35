#include "ITKFile.h"

#include <utility>

#include "References/Common/Bytes.h"
#include "References/Libraries/Platform/OpenFile.h"

ITKFile::ITKFile(ITKFile&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_HANDLE_VALUE)) {}

ITKFile& ITKFile::operator=(ITKFile&& other) noexcept {
  if (this == &other) return *this;
  close();
  handle_ = std::exchange(other.handle_, INVALID_HANDLE_VALUE);
  return *this;
}

ITKFile::~ITKFile() { close(); }

bool ITKFile::openRead(const char* path) noexcept {
  return Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
}

bool ITKFile::openWrite(const char* path) noexcept { return Open(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS); }

bool ITKFile::openAppend(const char* path) noexcept {
  if (!Open(path, GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS)) return false;
  if (SetFilePointerEx(handle_, LARGE_INTEGER{}, nullptr, FILE_END)) return true;
  close();
  return false;
}

long ITKFile::read(void* data, long length) noexcept {
  if (data == nullptr || length < 0) return -1;
  DWORD got = 0;
  return ReadFile(handle_, data, static_cast<DWORD>(length), &got, nullptr) ? static_cast<long>(got) : -1;
}

bool ITKFile::write(const void* data, long length) noexcept {
  if (!isOpen() || length < 0 || (data == nullptr && length > 0)) return false;
  return qz::platform::writeAll(handle_, qz::bytesAt(data, length));
}

long ITKFile::getSize() const noexcept {
  LARGE_INTEGER size;
  if (!isOpen() || !GetFileSizeEx(handle_, &size)) return -1;
  return size.QuadPart <= LONG_MAX ? static_cast<long>(size.QuadPart) : -1;
}

void ITKFile::close() noexcept {
  if (isOpen()) CloseHandle(std::exchange(handle_, INVALID_HANDLE_VALUE));
}

bool ITKFile::isOpen() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }

HANDLE ITKFile::getHandle() const noexcept { return handle_; }

bool ITKFile::Open(const char* path, DWORD access, DWORD share, DWORD disposition) noexcept {
  close();
  if (path == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  handle_ = CreateFileA(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  return isOpen();
}
