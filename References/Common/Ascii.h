// ASCII text helpers that no locale can change.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace qz {

/// True for blank, tab, line feed, vertical tab, form feed and carriage return; false for every byte from 0x80 on.
constexpr bool isAsciiSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// True for '0' to '9'.
constexpr bool isAsciiDigit(char c) { return c >= '0' && c <= '9'; }

/// Maps 'A'-'Z' to 'a'-'z' and leaves every other byte alone.
constexpr char toAsciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// True for the bytes of which the names of headers consist.
constexpr bool isTokenByte(char c) {
  return isAsciiDigit(c) || (toAsciiLower(c) >= 'a' && toAsciiLower(c) <= 'z') ||
         std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

/// Drops white space on both sides.
constexpr std::string_view trimAscii(std::string_view text) {
  while (!text.empty() && isAsciiSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isAsciiSpace(text.back())) text.remove_suffix(1);
  return text;
}

/// Equality without regard to ASCII case.
constexpr bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, toAsciiLower, toAsciiLower);
}

/// Index of the first `pattern` at or after `from` without regard to ASCII case, or npos.
constexpr std::size_t findIgnoringAsciiCase(std::string_view text, std::string_view pattern, std::size_t from = 0) {
  if (from > text.size()) return std::string_view::npos;
  const auto rest = text.substr(from);
  const auto hit = std::ranges::search(rest, pattern, {}, toAsciiLower, toAsciiLower);
  if (hit.empty() && !pattern.empty()) return std::string_view::npos;
  return from + static_cast<std::size_t>(hit.begin() - rest.begin());
}

/// The text behind `pointer`, which may be null.
constexpr std::string_view viewOf(const char* pointer) {
  return pointer == nullptr ? std::string_view() : std::string_view(pointer);
}

/// `pointer`, or the empty string when it is null.
constexpr const char* orEmpty(const char* pointer) { return pointer == nullptr ? "" : pointer; }

}  // namespace qz
