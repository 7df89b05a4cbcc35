#include "References/Libraries/Platform/Identity.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <vector>

namespace qz::platform {
namespace {

using NameBuffer = std::array<char, 512>;

std::string computerName(COMPUTER_NAME_FORMAT kind) {
  NameBuffer name{};
  DWORD size = name.size();
  return GetComputerNameExA(kind, name.data(), &size) ? name.data() : "";
}

}  // namespace

std::string userName() {
  NameBuffer name{};
  DWORD size = name.size();
  return GetUserNameA(name.data(), &size) ? name.data() : "";
}

std::string userDomain() {
  NameBuffer name{};
  const DWORD size = GetEnvironmentVariableA("USERDOMAIN", name.data(), name.size());
  return size < name.size() ? name.data() : "";
}

std::string machineName() { return computerName(ComputerNameNetBIOS); }

std::string machineDomain() { return computerName(ComputerNameDnsDomain); }

std::string fileVersion(const char* path) {
  constexpr const char* kNone = "0.0.0.0";
  DWORD unused = 0;
  std::vector<char> block(GetFileVersionInfoSizeA(path, &unused));
  VS_FIXEDFILEINFO* info = nullptr;
  UINT size = 0;
  if (block.empty() || !GetFileVersionInfoA(path, 0, static_cast<DWORD>(block.size()), block.data()) ||
      !VerQueryValueA(block.data(), "\\", reinterpret_cast<void**>(&info), &size) || size < sizeof *info) {
    return kNone;
  }
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%d.%d.%d.%d", HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS),
                HIWORD(info->dwFileVersionLS), LOWORD(info->dwFileVersionLS));
  return text.data();
}

}  // namespace qz::platform
