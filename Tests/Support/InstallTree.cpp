#include "Tests/Support/InstallTree.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "Tests/Support/ChildProcess.h"

namespace qz::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kMissing = "(missing)";
constexpr std::string_view kHeading = "YYYYMMDD HH:MM:SS.MSD [PID:TID][FILE LINE] DESCRIPTION\r\r\n";

}  // namespace

InstallTree::InstallTree(std::string root) : root_(std::move(root)) {
  fs::create_directories(path("bin"));
  module_ = LoadLibraryA(install("zlib1.dll", "place.dll").c_str());
  EXPECT_NE(module_, nullptr) << GetLastError();
}

InstallTree::~InstallTree() {
  FreeLibrary(module_);
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

std::string InstallTree::freshFolder() {
  static int count = 0;
  const auto stem = (fs::temp_directory_path() / "qz").string() + std::to_string(GetCurrentProcessId()) + "_";
  // A test that was broken off may have left its folder to a process of the same number.
  while (fs::exists(stem + std::to_string(++count))) continue;
  return stem + std::to_string(count);
}

std::string InstallTree::install(const std::string& file, const std::string& name) const {
  std::array<char, MAX_PATH + 1> program{};
  GetModuleFileNameA(nullptr, program.data(), MAX_PATH);
  const auto target = path("bin\\" + (name.empty() ? file : name));
  fs::copy_file(fs::path(program.data()).parent_path() / file, target, fs::copy_options::overwrite_existing);
  return target;
}

std::string InstallTree::run(const std::vector<std::string>& commands, const std::string& program) const {
  install("qzSOAP.dll");
  ChildProcess child(install(program), commands, fs::temp_directory_path().string());
  EXPECT_EQ(child.wait(std::chrono::seconds(60)), 0) << child.output() << child.errors();
  return std::regex_replace(child.output(), std::regex("\r\n"), "\n");
}

std::string InstallTree::read(const std::string& relative) const {
  std::ifstream file(path(relative), std::ios::binary);
  return file ? std::string(std::istreambuf_iterator<char>(file), {}) : kMissing;
}

void InstallTree::write(const std::string& relative, const std::string& content) const {
  fs::create_directories(fs::path(path(relative)).parent_path());
  std::ofstream(path(relative), std::ios::binary) << content;
}

void InstallTree::configure(const std::string& switches, const std::string& toolkitVersion,
                            const std::string& flatVersion) const {
  write("configuration\\R7ITK.ini",
        "[R7ITK Common]\r\nVersion=" + toolkitVersion + "\r\n[R7ITK Internal Tracing]\r\n" + switches + "\r\n");
  write("configuration\\qz.ini",
        "[SOAP Common]\r\nVersion=" + flatVersion + "\r\n[SOAP Internal Tracing]\r\n" + switches + "\r\n");
}

std::string InstallTree::ini(const std::string& file, const std::string& section, const std::string& key) const {
  std::array<char, 1024> value{};
  GetPrivateProfileStringA(section.c_str(), key.c_str(), kMissing, value.data(), value.size(),
                           path("configuration\\" + file).c_str());
  return value.data();
}

std::string InstallTree::toolkitLogName() const {
  const std::regex name("R7ITK_\\d{4}-\\d\\d-\\d\\d\\.log");
  for (const auto& entry : fs::directory_iterator(path("Logs")))
    if (std::regex_match(entry.path().filename().string(), name)) return "Logs\\" + entry.path().filename().string();
  return kMissing;
}

std::string InstallTree::toolkitLog() const {
  const auto log = read(toolkitLogName());
  EXPECT_TRUE(log.starts_with(kHeading)) << log;
  return log.substr(std::min(kHeading.size(), log.size()));
}

std::string masked(std::string log) {
  const std::regex prefix(
      "(^|\n)(\\d{8} \\d\\d:\\d\\d:\\d\\d\\.\\d{3}|\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d) "
      "\\[(P?)[0-9A-F]+:(T?)[0-9A-F]+\\]");
  return std::regex_replace(log, prefix, "$1@[$3:$4]");
}

}  // namespace qz::test
