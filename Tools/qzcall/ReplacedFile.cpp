#include "Tools/qzcall/ReplacedFile.h"

#include <windows.h>

#include <filesystem>
#include <stdexcept>

#include "Tools/qzcall/Encoding.h"
#include "Tools/qzcall/Output.h"

namespace qzcall {
namespace {

namespace fs = std::filesystem;

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
  if (isDevice(wideOf(path))) return writeTo(path, write);
  const std::string beside = path + "." + std::to_string(GetCurrentProcessId()) + ".tmp";
  const fs::path made(wideOf(beside));
  std::error_code failure;
  try {
    writeTo(beside, write);
    fs::rename(made, wideOf(path), failure);
    if (failure) throw std::runtime_error("--output: the file could not be replaced, and is what it was");
  } catch (...) {
    fs::remove(made, failure);
    throw;
  }
}

}  // namespace qzcall
