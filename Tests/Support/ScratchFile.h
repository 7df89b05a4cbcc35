// A file for one test.
#pragma once

#include <windows.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace qz::test {

/// A file in the temporary folder, removed at the end.
class ScratchFile {
 public:
  /// Makes the file with this content.
  explicit ScratchFile(std::string_view content = {}) {
    char folder[MAX_PATH], name[MAX_PATH];
    GetTempPathA(MAX_PATH, folder);
    GetTempFileNameA(folder, "qzt", 0, name);
    path_ = name;
    std::ofstream(path_, std::ios::binary) << content;
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  ~ScratchFile() { DeleteFileA(path_.c_str()); }

  /// Its full path.
  const char* path() const { return path_.c_str(); }

  /// What it holds now.
  std::string content() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string path_;
};

}  // namespace qz::test
