#include "References/Libraries/Platform/DebugOutput.h"

#include <windows.h>

#include <algorithm>
#include <array>

namespace qz::platform {

void debugOutput(std::string_view text) {
  std::array<wchar_t, 512> wide{};
  std::ranges::copy(text.substr(0, wide.size() - 1), wide.begin());
  OutputDebugStringW(wide.data());
}

}  // namespace qz::platform
