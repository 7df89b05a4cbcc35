// Plain HTTP requests through the library.
#pragma once

#include <string>
#include <vector>

#include "ITKRTT.h"
#include "Tools/qzcall/Command.h"
#include "Tools/qzcall/Failure.h"

namespace qzcall {

/// A request, sent as it stands here.
struct HttpRequest {
  std::string url;
  std::string verb;     ///< GET or POST
  std::string headers;  ///< lines, each with its CR LF
  std::vector<unsigned char> body;
};

/// What came of it.
struct HttpReply {
  Failure failure;
  std::string headers;  ///< raw, with the status line; "" when there was no reply
  std::string body;     ///< "" after a failure
};

/// Makes the request through `face` and waits for the reply. Throws std::bad_alloc when that does not fit into memory.
/// @param dumpFile path for the library, in the ANSI code page; empty for no dump
/// @param token whose cookies go along; null for none
HttpReply sendHttp(Face face, const HttpRequest& request, const std::string& dumpFile, ITKRTT* token);

}  // namespace qzcall
