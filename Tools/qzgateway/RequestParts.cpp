#include "Tools/qzgateway/RequestParts.h"

#include <algorithm>

namespace qzgateway {
namespace {

constexpr char toLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, toLower, toLower);
}

bool startsWithIgnoringCase(std::string_view text, std::string_view head) {
  return equalsIgnoringCase(text.substr(0, head.size()), head);
}

std::string_view trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// The semicolon that ends the parameter at the head of `text`; one inside quotes does not.
std::size_t endOfParameter(std::string_view text) {
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '"') quoted = !quoted;
    if (text[i] == ';' && !quoted) return i;
  }
  return text.size();
}

std::string_view unquoted(std::string_view value) {
  return value.size() >= 2 && value.front() == '"' && value.back() == '"' ? value.substr(1, value.size() - 2) : value;
}

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

std::string headerParameter(std::string_view headerValue, std::string_view name) {
  while (true) {
    const std::size_t end = endOfParameter(headerValue);
    const std::string_view parameter = headerValue.substr(0, end);
    const std::size_t equals = parameter.find('=');
    if (equals != std::string_view::npos && equalsIgnoringCase(trim(parameter.substr(0, equals)), name))
      return std::string(unquoted(trim(parameter.substr(equals + 1))));
    if (end == headerValue.size()) return {};
    headerValue.remove_prefix(end + 1);
  }
}

tl::expected<RequestParts, std::string> splitRequest(std::string_view contentType, std::string_view body) {
  const auto refuse = [](const char* reason) { return tl::unexpected<std::string>(reason); };
  if (!startsWithIgnoringCase(trim(contentType), "multipart/related"))
    return refuse("the request is not multipart/related, so it carries no arguments");
  const std::string boundary = headerParameter(contentType, "boundary");
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
