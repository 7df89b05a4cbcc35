/// @file
/// What the raw headers of a reply say.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qz::wire {

/// Value of the first header `name` (compared without case), white space trimmed, folded lines included; nothing when
/// the header is absent. The view points into `rawHeaders`.
std::optional<std::string_view> headerValue(std::string_view rawHeaders, std::string_view name);

/// Value of parameter `name` (compared without case) in a header value such as `type; name="a; b"`, quotes and escapes
/// removed; empty when it is absent.
std::string headerParameter(std::string_view value, std::string_view name);

/// How the body of a reply is framed.
struct ReplyFraming {
  bool isMultipart = false;
  std::string boundary;  ///< empty unless multipart, and empty when a multipart reply fails to name it
};

/// Reads the framing from the Content-Type header.
ReplyFraming replyFraming(std::string_view rawHeaders);

/// Number of body bytes that the headers announce; nothing when they announce none, or announce chunks.
std::optional<std::uint64_t> declaredLength(std::string_view rawHeaders);

/// True when the body is announced as deflated, be it with the frame of zlib or that of gzip.
bool isDeflated(std::string_view rawHeaders);

}  // namespace qz::wire
