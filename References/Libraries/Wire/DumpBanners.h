// The lines that stand in a dump in front of each message.
#pragma once

#include <string_view>

namespace qz::wire {

// A call, or what goes to a gateway like one.
inline constexpr std::string_view kSentToGateway = "\r\n\r\nSent to Tarvon gateway:\r\n\r\n";
inline constexpr std::string_view kReceivedFromGateway = "\r\n\r\nReceived from Tarvon gateway:\r\n\r\n";
// A plain request; its URL follows as a line of its own.
inline constexpr std::string_view kSentToServer = "\r\n\r\nSent to remote http server:\r\n\r\n";
inline constexpr std::string_view kReceivedFromServer = "\r\n\r\nReceived from the http server:\r\n\r\n";

}  // namespace qz::wire
