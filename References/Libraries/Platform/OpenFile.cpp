#include "References/Libraries/Platform/OpenFile.h"

#include <algorithm>

namespace qz::platform {
namespace {

// Some drivers refuse a single transfer of hundreds of megabytes.
constexpr std::size_t kLargestTransfer = 16 * 1024 * 1024;

}  // namespace

bool writeAll(HANDLE file, std::span<const std::byte> bytes) noexcept {
  while (!bytes.empty()) {
    DWORD written = 0;
    const auto part = static_cast<DWORD>(std::min(bytes.size(), kLargestTransfer));
    if (!WriteFile(file, bytes.data(), part, &written, nullptr) || written == 0) return false;
    bytes = bytes.subspan(written);
  }
  return true;
}

bool readAll(HANDLE file, std::span<std::byte> bytes) noexcept {
  while (!bytes.empty()) {
    DWORD got = 0;
    const auto part = static_cast<DWORD>(std::min(bytes.size(), kLargestTransfer));
    if (!ReadFile(file, bytes.data(), part, &got, nullptr) || got == 0) return false;
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

}  // namespace qz::platform
