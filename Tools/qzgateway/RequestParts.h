// The two parts of a call as they arrive over HTTP.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace qzgateway {

/// Views into the body of one request.
struct RequestParts {
  std::string_view envelope;
  std::string_view arguments;  ///< the argument stream, never empty
};

/// Whether a Content-Type is that of calls.
bool isMultipartRelated(std::string_view contentType);

/// Splits a request body into its parts. The first part has part headers and holds the envelope. The second is the
/// argument stream as it is, with neither part headers nor a line break before the closing mark, so it ends where the
/// body's closing mark stands and may itself contain anything, marks included.
/// @param contentType value of the request's Content-Type header
/// @return the parts, or a sentence that says what is wrong with the request
tl::expected<RequestParts, std::string> splitRequest(std::string_view contentType, std::string_view body);

}  // namespace qzgateway
