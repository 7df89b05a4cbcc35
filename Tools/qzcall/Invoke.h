// One call through the library.
#pragma once

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "ITKRTT.h"
#include "Tools/qzcall/Arguments.h"
#include "Tools/qzcall/Command.h"
#include "Tools/qzcall/Outcome.h"

namespace qzcall {

/// The longest time limit, in seconds: as milliseconds it is still a long.
inline constexpr long kLongestTimeout = std::numeric_limits<long>::max() / 1000;

/// A call to make.
struct CallOptions {
  Face face = Face::toolkit;
  ITKRTT token;  ///< with the gateway's URL
  std::string action;
  std::string interfaceName;
  std::string methodName;
  std::vector<WrittenArgument> arguments;
  std::string objectHandle;
  bool keepAlive = false;
  bool compress = true;
  bool conversation = false;    ///< ask the server until it has finished
  std::optional<long> timeout;  ///< seconds; the longest for a conversation, otherwise none, when it is not given
  std::string dumpFile;         ///< path in the ANSI code page; empty: no dump
};

/// Makes the call through the face that the options name. A conversation shows its progress on a terminal. Throws
/// std::bad_alloc when the arguments do not fit into memory.
/// @param options its arguments are used up
Outcome invoke(CallOptions& options);

/// The request of a call, as the library stores it for load tests.
struct StoredRequest {
  std::string headers;  ///< header lines, each with its line end
  std::vector<unsigned char> body;
};

/// Stores the request that a call would begin with, a conversation its first one; sends nothing.
/// @param options its arguments are used up
/// @return nothing when the library refuses; its log says why
std::optional<StoredRequest> storeRequest(CallOptions& options);

}  // namespace qzcall
