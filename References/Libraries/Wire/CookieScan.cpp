#include "References/Libraries/Wire/CookieScan.h"

#include <algorithm>

#include "References/Common/Ascii.h"

namespace qz::wire {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kSetCookie = "Set-Cookie: ";
constexpr std::string_view kSetCookieLower = "set-cookie: ";
constexpr std::string_view kSeparator = "; ";
constexpr std::string_view kLineEnd = "\r\n";

constexpr std::string_view between(std::string_view text, std::size_t begin, std::size_t end) {
  return text.substr(begin, end - begin);
}

}  // namespace

std::vector<std::string_view> cookieLines(std::string_view headers) {
  std::vector<std::string_view> lines;
  std::size_t end = 0;
  for (auto hit = headers.find(kSetCookie); hit != kNone; hit = headers.find(kSetCookie, end)) {
    end = headers.find(kLineEnd, hit);
    lines.push_back(between(headers, hit, end));
    if (end == kNone) return lines;
    end += kLineEnd.size();
  }
  // The lower-case spelling is looked up from the start each time, so that it can only ever give its first line.
  if (const auto hit = headers.find(kSetCookieLower); hit != kNone) {
    lines.push_back(between(headers, hit, headers.find(kLineEnd, hit)));
  }
  return lines;
}

std::vector<CookieView> headerCookies(std::string_view headers) {
  std::vector<CookieView> cookies;
  std::size_t end = 0;
  for (auto hit = findIgnoringAsciiCase(headers, kSetCookie); hit != kNone;
       hit = findIgnoringAsciiCase(headers, kSetCookie, end + 1)) {
    const auto name = hit + kSetCookie.size();
    const auto equals = headers.find('=', name + 1);
    if (equals == kNone) break;
    end = std::min(headers.find(kSeparator, equals + 1), headers.size());
    cookies.push_back({between(headers, name, equals), between(headers, equals + 1, end)});
  }
  return cookies;
}

std::vector<CookieView> splitCookies(std::string_view text) {
  std::vector<CookieView> cookies;
  auto equals = text.find('=');
  if (equals == 0) return cookies;
  for (std::size_t name = 0; equals != kNone; equals = text.find('=', name)) {
    const auto end = std::min(text.find(';', equals + 1), text.size());
    cookies.push_back({between(text, name, equals), between(text, equals + 1, end)});
    name = end + kSeparator.size();
    if (name >= text.size()) break;
  }
  return cookies;
}

std::optional<std::string_view> cookieValue(std::string_view text, std::string_view name) {
  const auto hit = name.empty() ? kNone : text.find(name);
  if (hit == kNone || hit + name.size() == text.size()) return std::nullopt;
  const auto value = hit + name.size() + 1;
  return between(text, value, std::min(text.find(';', value), text.size()));
}

std::optional<std::string_view> endedCookieValue(std::string_view text, std::string_view name) {
  const auto value = cookieValue(text, name);
  // A value that ends before the text does was ended by the separator.
  return value && value->data() + value->size() != text.data() + text.size() ? value : std::nullopt;
}

std::string_view cookiePath(std::string_view url) {
  const auto slashes = url.find("//");
  if (slashes == kNone) return {};
  const auto path = url.find('/', slashes + 2);
  if (path == kNone) return {};
  return between(url, path, std::min(url.find('/', path + 1), url.size()));
}

std::vector<std::string_view> storePrefixes(std::string_view url) {
  std::vector<std::string_view> prefixes;
  const auto scheme = url.find("://");
  if (scheme == kNone) return prefixes;
  for (auto slash = url.find('/', scheme + 3); slash != kNone; slash = url.find('/', slash + 1)) {
    prefixes.push_back(url.substr(0, slash + 1));
  }
  return prefixes;
}

std::optional<std::string> cookieHeaderLine(std::string_view prefix, std::span<const CookieView> cookies) {
  if (cookies.empty()) return std::nullopt;
  auto size = prefix.size() + kLineEnd.size();
  for (const auto& cookie : cookies) size += cookie.name.size() + 1 + cookie.value.size() + kSeparator.size();
  std::string line;
  line.reserve(size);
  line += prefix;
  for (const auto& cookie : cookies) {
    if (cookie.name != kUnsentCookie) line.append(cookie.name).append("=").append(cookie.value).append(kSeparator);
  }
  line.resize(line.size() - std::min(line.size(), kSeparator.size()));
  return line += kLineEnd;
}

std::string sanitizedCookieLine(std::string_view line) {
  if (line.find(':') == kNone) return {};
  std::string safe;
  safe.reserve(line.size() + kLineEnd.size());
  std::ranges::copy_if(line, std::back_inserter(safe), [](char c) { return c != '\r' && c != '\n'; });
  return safe += kLineEnd;
}

}  // namespace qz::wire
