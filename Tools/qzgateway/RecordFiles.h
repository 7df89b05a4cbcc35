// The files of a record. Several gateways may write into one folder at the same time.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace qzgateway {

/// Makes an empty file. One that is there already is left alone, with the error std::errc::file_exists.
std::error_code createNew(const std::filesystem::path& path);

/// Writes the pieces to the end of a file.
bool append(const std::filesystem::path& path, const std::vector<std::string_view>& pieces);

/// A text file to which programs add lines one by one.
class LineFile {
 public:
  /// Opens the file, or makes it.
  explicit LineFile(const std::filesystem::path& path);
  ~LineFile();
  LineFile(const LineFile&) = delete;
  LineFile& operator=(const LineFile&) = delete;

  bool isOpen() const;
  /// Adds a line, which has its line end; or nothing of it, and then returns false.
  bool add(const std::string& line);

 private:
  bool writeAtEnd(const std::string& line);

  void* handle_;
};

}  // namespace qzgateway
