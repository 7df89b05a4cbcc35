// The programs of the tools, run to their ends or beside a test.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "Tests/Support/ChildProcess.h"

namespace qz::test {

/// Nothing that the tools do takes longer.
inline constexpr std::chrono::seconds kToolLimit(40);

/// What a program left behind.
struct FinishedTool {
  int code;
  std::string output;
  std::string errors;
};

/// Runs one of the programs with these words.
inline FinishedTool runTool(const std::string& program, const std::vector<std::string>& words) {
  ChildProcess process(program, words);
  const int code = process.wait(kToolLimit);
  return {code, process.output(), process.errors()};
}

inline FinishedTool runQzcall(const std::vector<std::string>& words) { return runTool("qzcall.exe", words); }

/// A gateway on a free port.
class RunningGateway {
 public:
  /// @param more words of its command line
  explicit RunningGateway(std::vector<std::string> more = {})
      : process_("qzgateway.exe", withPort(std::move(more))), port_(process_.readLine(kToolLimit)) {}

  const std::string& port() const { return port_; }
  std::string url() const { return "http://127.0.0.1:" + port_ + "/gateway"; }
  /// What it has said of its requests so far.
  std::string log() { return process_.errors(); }

 private:
  static std::vector<std::string> withPort(std::vector<std::string> words) {
    words.insert(words.end(), {"--port", "0"});
    return words;
  }

  ChildProcess process_;
  std::string port_;
};

}  // namespace qz::test
