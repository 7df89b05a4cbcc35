#include "References/Libraries/Platform/OpenFile.h"

#include <algorithm>
#include <climits>
#include <memory>

namespace qz::platform {
namespace {

// Some drivers refuse a single transfer of hundreds of megabytes.
constexpr std::size_t kLargestTransfer = 16 * 1024 * 1024;

}  // namespace

bool failWith(unsigned long error) noexcept {
  SetLastError(error);
  return false;
}

bool writeAll(HANDLE file, std::span<const std::byte> bytes) noexcept {
  while (!bytes.empty()) {
    DWORD written = 0;
    const auto part = static_cast<DWORD>(std::min(bytes.size(), kLargestTransfer));
    if (!WriteFile(file, bytes.data(), part, &written, nullptr)) return false;
    if (written == 0) return failWith(ERROR_WRITE_FAULT);
    bytes = bytes.subspan(written);
  }
  return true;
}

bool readAll(HANDLE file, std::span<std::byte> bytes) noexcept {
  while (!bytes.empty()) {
    DWORD got = 0;
    const auto part = static_cast<DWORD>(std::min(bytes.size(), kLargestTransfer));
    if (!ReadFile(file, bytes.data(), part, &got, nullptr)) return false;
    if (got == 0) return failWith(ERROR_HANDLE_EOF);
    bytes = bytes.subspan(got);
  }
  return true;
}

std::optional<std::uint64_t> bytesLeft(HANDLE file) noexcept {
  LARGE_INTEGER size, at;
  if (GetFileType(file) != FILE_TYPE_DISK || !GetFileSizeEx(file, &size) ||
      !SetFilePointerEx(file, LARGE_INTEGER{}, &at, FILE_CURRENT))
    return std::nullopt;
  return at.QuadPart < size.QuadPart ? static_cast<std::uint64_t>(size.QuadPart - at.QuadPart) : 0;
}

std::optional<std::string> readFile(const char* path) {
  if (path == nullptr) return std::nullopt;
  struct Close {
    void operator()(void* handle) const { CloseHandle(handle); }
  };
  constexpr DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
  auto* handle = CreateFileA(path, GENERIC_READ, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return std::nullopt;
  const std::unique_ptr<void, Close> file(handle);
  const auto size = bytesLeft(file.get());
  if (!size || *size > LONG_MAX) return std::nullopt;
  std::string content(static_cast<std::size_t>(*size), '\0');
  if (!readAll(file.get(), std::as_writable_bytes(std::span(content)))) return std::nullopt;
  return content;
}

}  // namespace qz::platform
