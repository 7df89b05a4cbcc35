// What the demonstration gateway does with a request, apart from HTTP.
#pragma once

#include <string>

#include "Tools/qzgateway/Reply.h"

namespace qzgateway {

/// A served request: what to send, and what to say about it.
struct Served {
  ReplyPointer reply;
  Session session;      ///< empty when the request was refused
  std::string summary;  ///< one line for a person, control characters replaced
};

/// Text from outside, fit for a line of output: control characters become question marks.
std::string printable(std::string text);

/// Decodes a request and runs the operation it asks for.
/// @param contentType value of the Content-Type header
/// @param body the whole body; released as soon as it has been decoded
Served serve(const std::string& contentType, std::string&& body);

}  // namespace qzgateway
