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

tl::expected<std::vector<unsigned char>, std::string> readAll(const std::string& path) {
  constexpr std::size_t kPiece = 65536;
  Input input(path);
  std::vector<unsigned char> bytes;
  for (std::size_t length = 0;;) {
    if (length + kPiece > static_cast<std::size_t>(std::numeric_limits<long>::max()))
      return tl::unexpected<std::string>("holds 2 GB or more");
    bytes.resize(length + kPiece);
    const auto got = input.read(bytes.data() + length, kPiece);
    if (!got) return tl::unexpected<std::string>("cannot be read");
    length += *got;
    bytes.resize(length);
    if (*got == 0) return bytes;
  }
}

}  // namespace qzcall
