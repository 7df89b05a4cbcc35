// Programs of the build, run by a test.
#pragma once

#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace qz::test {

/// One program beside the running test. It and everything that it starts ends with this object at the latest, also when
/// the test itself is killed.
class ChildProcess {
 public:
  /// Starts `program` (a full path, or a file name in the test's own folder) with `arguments` in UTF-8. Throws
  /// std::runtime_error when that fails.
  /// @param currentFolder the program's current folder; empty means the test's
  ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
               const std::string& currentFolder = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// The next line of the standard output without its line end. Throws when none comes within `limit`.
  std::string readLine(std::chrono::milliseconds limit);

  /// Waits for the end and returns the exit code. A program that takes longer than `limit` is ended and reported by an
  /// exception.
  int wait(std::chrono::milliseconds limit);

  /// Does what Ctrl-C on its console would do; it need not have one.
  void interrupt();

  /// What came so far; all of it after wait().
  std::string output();
  std::string errors();

 private:
  /// One output pipe and the thread that empties it.
  struct Stream {
    HANDLE readEnd = nullptr;
    std::string text;
    bool ended = false;
    std::thread reader;
  };

  HANDLE openPipe(Stream& stream);
  void drain(Stream& stream);
  void start(const std::string& program, const std::vector<std::string>& arguments, const std::string& currentFolder,
             HANDLE out, HANDLE err);
  std::string copyOf(const Stream& stream);

  HANDLE job_ = nullptr;
  HANDLE process_ = nullptr;
  std::mutex mutex_;
  std::condition_variable changed_;
  Stream output_;
  Stream errors_;
};

}  // namespace qz::test
