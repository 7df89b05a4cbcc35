#include "Tools/qzgateway/RequestParts.h"

#include "References/Common/Ascii.h"
#include "References/Libraries/Wire/HeaderParameters.h"

namespace qzgateway {
namespace {

/// Drops `head` from the front of `text`; false when it does not stand there.
bool consume(std::string_view& text, std::string_view head) {
  if (!text.starts_with(head)) return false;
  text.remove_prefix(head.size());
  return true;
}

/// Drops `tail` from the end of `text`; false when it does not stand there.
bool consumeEnd(std::string_view& text, std::string_view tail) {
  if (!text.ends_with(tail)) return false;
  text.remove_suffix(tail.size());
  return true;
}

}  // namespace

bool isMultipartRelated(std::string_view contentType) {
  constexpr std::string_view kMultipart = "multipart/related";
  return qz::equalsIgnoringAsciiCase(qz::trimAscii(contentType).substr(0, kMultipart.size()), kMultipart);
}

tl::expected<RequestParts, std::string> splitRequest(std::string_view contentType, std::string_view body) {
  const auto refuse = [](const char* reason) { return tl::unexpected<std::string>(reason); };
  if (!isMultipartRelated(contentType))
    return refuse("the request is not multipart/related, so it carries no arguments");
  const std::string boundary = qz::wire::headerParameter(qz::trimAscii(contentType), "boundary");
  if (boundary.empty()) return refuse("the Content-Type names no boundary");
  const std::string mark = "--" + boundary + "\r\n";

  std::string_view rest = body;
  consume(rest, "\r\n");
  if (!consume(rest, mark)) return refuse("the body does not begin with the start mark");
  const std::size_t headersEnd = rest.find("\r\n\r\n");
  if (headersEnd == std::string_view::npos) return refuse("the first part's headers do not end");
  rest.remove_prefix(headersEnd + 4);

  const std::size_t envelopeEnd = rest.find("\r\n" + mark);
  if (envelopeEnd == std::string_view::npos) return refuse("the body has no second part");
  const std::string_view envelope = rest.substr(0, envelopeEnd);
  rest.remove_prefix(envelopeEnd + 2 + mark.size());

  consumeEnd(rest, "\r\n");
  if (!consumeEnd(rest, "--" + boundary + "--")) return refuse("the body does not end with the closing mark");
  if (rest.empty()) return refuse("the second part is empty");
  return RequestParts{envelope, rest};
}

}  // namespace qzgateway
