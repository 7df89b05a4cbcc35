#include "Tools/qzcall/Output.h"

#include <windows.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "Tools/qzcall/Encoding.h"

namespace qzcall {

void addOutput(CLI::App& command, std::string& path, const char* description) {
  addText(command, "-o,--output", path, description)->type_name("FILE")->check(refuseNothing, "", "");
}

Understood checkOutput(const std::string& path) {
  if (path.empty()) return {};
  const std::wstring file = wideOf(path);
  const auto isOpened = [&](DWORD access, DWORD how, DWORD flags) {
    constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    HANDLE const handle = CreateFileW(file.c_str(), access, kShared, nullptr, how, flags, nullptr);
    return handle != INVALID_HANDLE_VALUE && CloseHandle(handle) != FALSE;
  };
  // The trial goes with its handle, so that nothing is removed but what was made here.
  if (isOpened(GENERIC_WRITE, OPEN_EXISTING, 0) ||
      isOpened(GENERIC_WRITE | DELETE, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE))
    return {};
  return tl::unexpected<std::string>("--output: the file cannot be written");
}

void writeTo(const std::string& path, const std::function<void(std::ostream&)>& write) {
  if (path.empty()) return write(std::cout);
  std::ofstream file(std::filesystem::path(wideOf(path)), std::ios::binary | std::ios::trunc);
  write(file);
  if (!file.flush()) throw std::runtime_error("--output: the file could not be written");
}

}  // namespace qzcall
