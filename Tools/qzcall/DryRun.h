// The request of a call that is not made.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "Tools/qzcall/Invoke.h"

namespace qzcall {

/// A request as it would be sent, but for what the system adds to every request: the lines Host, User-Agent,
/// Content-Length and Connection.
struct DryRequest {
  std::string url;
  std::string headers;  ///< header lines, each with its line end
  std::vector<unsigned char> body;
};

/// The request that a call would begin with, made by the face that the options name.
/// @param options its arguments are used up
/// @return nothing when the library refuses to make it; its log says why
/// @throws std::runtime_error for a URL to which the call would send nothing
std::optional<DryRequest> dryRun(CallOptions& options);

/// Writes the request for a person, the body as a tree. Lines are cut to `width` characters.
void writeRequest(std::ostream& out, const DryRequest& request, std::size_t width);

/// Writes it as one JSON object with a line end: url, verb, headers and the tree of the body.
void writeRequestJson(std::ostream& out, const DryRequest& request);

}  // namespace qzcall
