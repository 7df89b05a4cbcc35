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

}  // namespace

void replaceFile(const std::string& path, const std::function<void(std::ostream&)>& write) {
  const fs::path target(wideOf(path));
  // A device cannot be replaced.
  if (fs::exists(target) && !fs::is_regular_file(target)) return writeTo(path, write);
  fs::path beside(target);
  beside += L"." + std::to_wstring(GetCurrentProcessId()) + L".tmp";
  try {
    writeWhole(beside, write);
    fs::rename(beside, target);
  } catch (...) {
    std::error_code ignored;
    fs::remove(beside, ignored);
    throw;
  }
}

}  // namespace qzcall
