#include "Tools/qzcall/DoctorParts.h"

#include <windows.h>

#include "Tools/qzcall/Encoding.h"

namespace qzcall {

std::string systemText(unsigned long error) { return "system error " + std::to_string(error); }

std::wstring fileOf(void* module) {
  if (module == nullptr) return {};
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(static_cast<HMODULE>(module), path.data(), static_cast<DWORD>(path.size())));
  return path;
}

std::string versionOf(const std::wstring& path) {
  DWORD ignored = 0;
  std::vector<char> resource(GetFileVersionInfoSizeW(path.c_str(), &ignored));
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT size = 0;
  if (resource.empty() || !GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()) ||
      !VerQueryValueW(resource.data(), L"\\", reinterpret_cast<void**>(&fixed), &size))
    return {};
  std::string version;
  for (const DWORD half : {fixed->dwFileVersionMS, fixed->dwFileVersionLS})
    version += std::to_string(HIWORD(half)) + "." + std::to_string(LOWORD(half)) + ".";
  version.pop_back();
  return version;
}

std::string described(const std::wstring& path) {
  if (path.empty()) return "in a file that the system does not name";
  const std::string version = versionOf(path);
  return utf8Of(path) + (version.empty() ? ", without a version" : ", version " + version);
}

std::wstring folderOf(const std::wstring& path) { return path.substr(0, path.find_last_of(L'\\')); }

bool exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

}  // namespace qzcall
