// The command line of qzcall.
#pragma once

#include <string>
#include <tl/expected.hpp>
#include <utility>
#include <vector>

#include "Tools/qzcall/Arguments.h"

namespace qzcall {

/// Exit codes, the same for a person and a script.
enum ExitCode : int {
  kSuccess = 0,
  kServerError = 1,    ///< the server's own error, or a fault
  kUsage = 2,          ///< the command line is wrong; nothing was sent
  kLogonRequired = 3,  ///< the server asks for a logon
  kTransport = 4,      ///< the URL, the connection, the HTTP status or the form of the reply
  kTimeOut = 5         ///< the time limit has passed
};

/// The face of the library that makes a call.
enum class Face { toolkit, flat };

/// What `qzcall invoke` was asked to do.
struct InvokeOptions {
  Face face = Face::toolkit;
  std::string url;
  std::string action;
  std::string interfaceName;
  std::string methodName;
  std::vector<WrittenArgument> arguments;
  std::string objectHandle;
  bool keepAlive = false;
  bool compress = true;
  std::string passport;
  std::string pryContext;
  std::vector<std::pair<std::string, std::string>> cookies;
  long timeout = 0;
  std::string dumpFile;
  bool json = false;
};

/// Reads the command line (UTF-8, without the program's name).
/// @return the options, or the exit code when there is nothing to do: help was printed to stdout, or a complaint
/// to stderr
tl::expected<InvokeOptions, ExitCode> parseCommandLine(std::vector<std::string> words);

}  // namespace qzcall
