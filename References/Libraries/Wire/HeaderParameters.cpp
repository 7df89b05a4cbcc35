#include "References/Libraries/Wire/HeaderParameters.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "References/Common/Ascii.h"

namespace qz::wire {
namespace {

/// Takes the first line off `text`, without its line break.
std::string_view takeLine(std::string_view& text) {
  const auto end = text.find('\n');
  auto line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

bool continuesHeader(std::string_view rest) { return rest.starts_with(' ') || rest.starts_with('\t'); }

/// Takes one parameter off `rest`: the text up to the next semicolon that stands outside quotes.
std::string_view takeParameter(std::string_view& rest) {
  bool quoted = false;
  std::size_t end = 0;
  for (; end < rest.size() && (quoted || rest[end] != ';'); ++end) {
    if (rest[end] == '"') quoted = !quoted;
    if (quoted && rest[end] == '\\' && end + 1 < rest.size()) ++end;
  }
  const auto parameter = rest.substr(0, end);
  rest.remove_prefix(end < rest.size() ? end + 1 : end);
  return parameter;
}

std::string unquote(std::string_view text) {
  if (text.size() < 2 || !text.starts_with('"') || !text.ends_with('"')) return std::string(text);
  text = text.substr(1, text.size() - 2);
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size()) ++i;
    plain += text[i];
  }
  return plain;
}

}  // namespace

std::optional<std::string_view> headerValue(std::string_view rawHeaders, std::string_view name) {
  while (!rawHeaders.empty()) {
    const auto line = takeLine(rawHeaders);
    if (line.size() <= name.size() || line[name.size()] != ':') continue;
    if (!equalsIgnoringAsciiCase(line.substr(0, name.size()), name)) continue;
    const char* begin = line.data() + name.size() + 1;
    const char* end = line.data() + line.size();
    while (continuesHeader(rawHeaders)) {
      const auto more = takeLine(rawHeaders);
      end = more.data() + more.size();
    }
    return trimAscii({begin, static_cast<std::size_t>(end - begin)});
  }
  return std::nullopt;
}

std::string headerParameter(std::string_view value, std::string_view name) {
  takeParameter(value);
  while (!value.empty()) {
    const auto parameter = takeParameter(value);
    const auto equals = parameter.find('=');
    if (equals == std::string_view::npos) continue;
    if (equalsIgnoringAsciiCase(trimAscii(parameter.substr(0, equals)), name))
      return unquote(trimAscii(parameter.substr(equals + 1)));
  }
  return {};
}

ReplyFraming replyFraming(std::string_view rawHeaders) {
  constexpr std::string_view kMultipart = "multipart/related";
  const auto type = headerValue(rawHeaders, "Content-Type");
  if (!type || !equalsIgnoringAsciiCase(type->substr(0, kMultipart.size()), kMultipart)) return {};
  return {true, headerParameter(*type, "boundary")};
}

std::optional<std::uint64_t> declaredLength(std::string_view rawHeaders) {
  if (headerValue(rawHeaders, "Transfer-Encoding")) return std::nullopt;
  const auto value = headerValue(rawHeaders, "Content-Length");
  if (!value) return std::nullopt;
  std::uint64_t length = 0;
  const auto [end, error] = std::from_chars(value->data(), value->data() + value->size(), length);
  if (error != std::errc() || end != value->data() + value->size()) return std::nullopt;
  return length;
}

bool isDeflated(std::string_view rawHeaders) {
  const auto encoding = headerValue(rawHeaders, "Content-Encoding");
  return encoding && std::ranges::any_of(std::array<std::string_view, 3>{"deflate", "gzip", "x-gzip"},
                                         [&](auto known) { return equalsIgnoringAsciiCase(*encoding, known); });
}

}  // namespace qz::wire
