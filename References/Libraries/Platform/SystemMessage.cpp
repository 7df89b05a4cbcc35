#include "References/Libraries/Platform/SystemMessage.h"

#include <windows.h>

#include <array>

#include "References/Common/Ascii.h"

namespace qz::platform {

tl::expected<std::string, unsigned long> systemMessage(unsigned long code, void* module) {
  std::array<char, 1024> text{};
  const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                      (module != nullptr ? FORMAT_MESSAGE_FROM_HMODULE : 0);
  const DWORD size = FormatMessageA(flags, module, code, 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
  if (size == 0) return tl::unexpected(static_cast<unsigned long>(GetLastError()));
  return std::string(trimAscii({text.data(), size}));
}

}  // namespace qz::platform
