// Replies as gateways send them, for tests.
#pragma once

#include <string>
#include <string_view>

namespace qz::test {

/// An envelope around an escaped inner body, with a relay header.
inline std::string replyEnvelope(std::string_view innerFields) {
  return std::string(
             "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
             "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" "
             "xmlns:bus=\"http://gateway.example/schemas/relay/3/\"><SOAP-ENV:Header><bus:relayHeader>"
             "<bus:ZOT><id>passport-1</id></bus:ZOT></bus:relayHeader></SOAP-ENV:Header><SOAP-ENV:Body>"
             "&lt;qzSOAPBody&gt;")
      .append(innerFields)
      .append("&lt;/qzSOAPBody&gt;</SOAP-ENV:Body></SOAP-ENV:Envelope>");
}

/// An escaped field of the inner body.
inline std::string field(std::string_view name, std::string_view value) {
  return std::string("&lt;").append(name).append("&gt;").append(value).append("&lt;/").append(name).append("&gt;");
}

}  // namespace qz::test
