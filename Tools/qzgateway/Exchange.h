// One HTTP request and what the gateway makes of it.
#pragma once

#include <string>

#include "Tools/qzgateway/Reply.h"

namespace qzgateway {

/// What the gateway looks at. Values of headers that are absent are empty.
struct HttpRequest {
  bool isPost = true;
  std::string query{};  ///< of the URL, as it was sent
  std::string contentType{};
  std::string soapAction{};
  std::string cookies{};
  std::string body{};
};

/// A served request: what to send, and what to say about it.
struct Served {
  ReplyPointer reply;
  std::string summary;          ///< for a person, without secrets; may hold what the client sent
  std::string interfaceName{};  ///< of a call that could be read
  std::string method{};         ///< the same
  std::string rule{};           ///< the rule that the reply comes from; empty when it comes from none
};

/// Text from outside as far as it fits into a line: 1000 bytes of it.
std::string cutToLine(std::string text);

/// The same, fit for a terminal: hidden characters and bytes that are no UTF-8 become question marks.
std::string printable(const std::string& text);

}  // namespace qzgateway
