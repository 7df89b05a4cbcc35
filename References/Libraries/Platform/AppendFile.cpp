#include "References/Libraries/Platform/AppendFile.h"

#include <windows.h>

#include <algorithm>

namespace qz::platform {
namespace {

void* open(const char* path, AppendFile::Existing existing, AppendFile::Others others) {
  const DWORD creation = existing == AppendFile::Existing::Refuse ? CREATE_NEW : OPEN_ALWAYS;
  const DWORD change = others == AppendFile::Others::All ? FILE_SHARE_WRITE | FILE_SHARE_DELETE : 0;
  // Append access without write access makes the system move to the end within each write.
  return CreateFileA(path, FILE_APPEND_DATA | SYNCHRONIZE, FILE_SHARE_READ | change, nullptr, creation,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

AppendFile::AppendFile(const char* path, Existing existing, Others others) : handle_(open(path, existing, others)) {}

AppendFile::~AppendFile() { close(); }

bool AppendFile::isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

void AppendFile::write(std::span<const char> bytes) {
  while (isOpen() && !bytes.empty()) {
    DWORD written = 0;
    const auto size = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1u << 30));
    if (!WriteFile(handle_, bytes.data(), size, &written, nullptr) || written == 0) close();
    bytes = bytes.subspan(written);
  }
}

void AppendFile::close() {
  if (isOpen()) CloseHandle(handle_);
  handle_ = INVALID_HANDLE_VALUE;
}

}  // namespace qz::platform
