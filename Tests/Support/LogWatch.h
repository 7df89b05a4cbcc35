// What a test has made the library write to one of its logs.
#pragma once

#include <windows.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace qz::test {

/// The messages that this thread wrote to a log since the object was made. Other processes may write to the same file
/// meanwhile.
class LogWatch {
 public:
  explicit LogWatch(std::string path)
      : path_(std::move(path)), start_(std::ifstream(path_, std::ios::binary | std::ios::ate).tellg()) {
    char ids[64];
    std::snprintf(ids, sizeof ids, " [%lX:%lX][", GetCurrentProcessId(), GetCurrentThreadId());
    ids_ = ids;
  }

  /// Messages in order, one line each.
  std::string messages() const {
    std::ifstream file(path_, std::ios::binary);
    if (start_ > 0) file.seekg(start_);
    const std::string log(std::istreambuf_iterator<char>(file), {});
    std::string out;
    for (auto hit = log.find(ids_); hit != std::string::npos; hit = log.find(ids_, hit + 1)) {
      const auto message = log.find("] ", hit) + 2;
      out.append(log, message, log.find('\r', message) - message).append("\n");
    }
    return out;
  }

 private:
  std::string path_;
  std::streamoff start_;  // -1: no file yet
  std::string ids_;
};

}  // namespace qz::test
