#include "Tools/qzcall/Output.h"

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
  const std::filesystem::path file(wideOf(path));
  std::error_code ignored;
  const bool isNew = !std::filesystem::exists(file, ignored);
  if (!std::ofstream(file, std::ios::app)) return tl::unexpected<std::string>("--output: the file cannot be written");
  if (isNew) std::filesystem::remove(file, ignored);
  return {};
}

void writeTo(const std::string& path, const std::function<void(std::ostream&)>& write) {
  if (path.empty()) return write(std::cout);
  std::ofstream file(std::filesystem::path(wideOf(path)), std::ios::binary | std::ios::trunc);
  write(file);
  if (!file.flush()) throw std::runtime_error("--output: the file could not be written");
}

}  // namespace qzcall
