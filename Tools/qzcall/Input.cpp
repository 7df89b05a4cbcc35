#include "Tools/qzcall/Input.h"

#include <windows.h>

#include <limits>

#include "Tools/qzcall/Encoding.h"

namespace qzcall {

Input::Input(const std::string& path)
    : isStandard_(path == "-"),
      handle_(isStandard_ ? GetStdHandle(STD_INPUT_HANDLE)
                          : CreateFileW(wideOf(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_EXISTING, 0, nullptr)) {}

Input::~Input() {
  if (!isStandard_ && handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
}

std::optional<std::size_t> Input::read(void* into, std::size_t size) {
  DWORD got = 0;
  if (ReadFile(handle_, into, static_cast<DWORD>(size), &got, nullptr)) return got;
  // A pipe whose other end is closed has come to its end.
  return GetLastError() == ERROR_BROKEN_PIPE ? std::optional<std::size_t>(0) : std::nullopt;
}

std::optional<std::uint64_t> Input::size() const {
  LARGE_INTEGER size{};
  if (GetFileType(handle_) != FILE_TYPE_DISK || !GetFileSizeEx(handle_, &size)) return std::nullopt;
  return static_cast<std::uint64_t>(size.QuadPart);
}

bool Input::moveTo(std::uint64_t offset) {
  LARGE_INTEGER to{};
  to.QuadPart = static_cast<LONGLONG>(offset);
  return SetFilePointerEx(handle_, to, nullptr, FILE_BEGIN) != FALSE;
}

tl::expected<std::vector<unsigned char>, std::string> readAll(const std::string& path) {
  constexpr std::size_t kPiece = 65536;
  constexpr std::size_t kMost = std::numeric_limits<long>::max();
  const auto tooLong = tl::unexpected<std::string>("holds 2 GB or more");
  Input input(path);
  std::vector<unsigned char> bytes;
  if (const auto size = input.size()) {
    if (*size > kMost - kPiece) return tooLong;
    // A vector that grows would at the end be in memory three times.
    bytes.reserve(static_cast<std::size_t>(*size) + kPiece);
  }
  for (;;) {
    const std::size_t length = bytes.size();
    if (length > kMost - kPiece) return tooLong;
    bytes.resize(length + kPiece);
    const auto got = input.read(bytes.data() + length, kPiece);
    if (!got) return tl::unexpected<std::string>("cannot be read");
    bytes.resize(length + *got);
    if (*got == 0) return bytes;
  }
}

}  // namespace qzcall
