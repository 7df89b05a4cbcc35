#include "Tools/qzcall/ReplacedFile.h"

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "Tools/qzcall/Encoding.h"
#include "Tools/qzcall/Output.h"

namespace qzcall {
namespace {

namespace fs = std::filesystem;

void writeWhole(const fs::path& path, const std::function<void(std::ostream&)>& write) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  write(file);
  file.close();
  if (!file) throw std::runtime_error("--output: the file could not be written");
}

/// A device cannot be replaced.
bool isDevice(const fs::path& path) {
  HANDLE const file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool isOnDisk = GetFileType(file) == FILE_TYPE_DISK;
  CloseHandle(file);
  return !isOnDisk;
}

}  // namespace

void replaceFile(const std::string& path, const std::function<void(std::ostream&)>& write) {
  const fs::path target(wideOf(path));
  if (isDevice(target)) return writeTo(path, write);
  fs::path beside(target);
  beside += L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
  try {
    writeWhole(beside, write);
    std::error_code failure;
    fs::rename(beside, target, failure);
    if (failure) throw std::runtime_error("--output: the file could not be replaced, and is what it was");
  } catch (...) {
    std::error_code ignored;
    fs::remove(beside, ignored);
    throw;
  }
}

}  // namespace qzcall
