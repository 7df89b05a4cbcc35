#include "Tools/qzgateway/FormFields.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <utility>

namespace qzgateway {
namespace {

constexpr std::size_t kMostShown = 8;

/// Cuts the piece before the next `mark` off the front of `text`.
std::string_view cut(std::string_view& text, char mark) {
  const std::size_t end = text.find(mark);
  const std::string_view piece = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return piece;
}

/// The character that two hexadecimal digits at the front of `text` stand for; -1 when none stand there.
int hexByte(std::string_view text) {
  int value = -1;
  const std::string_view digits = text.substr(0, 2);
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  return digits.size() == 2 && error == std::errc() && end == digits.data() + 2 && digits[0] != '-' ? value : -1;
}

bool isUtf8(const std::string& text) {
  return text.empty() || MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()),
                                             nullptr, 0) != 0;
}

tl::expected<std::string, std::string> decoded(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i] == '+' ? ' ' : text[i];
      continue;
    }
    const int byte = hexByte(text.substr(i + 1));
    if (byte < 0) return tl::unexpected<std::string>("a \"%\" is not followed by two hexadecimal digits");
    out += static_cast<char>(byte);
    i += 2;
  }
  // Pages are made with the library's strings, which end there.
  if (out.find('\0') != std::string::npos) return tl::unexpected<std::string>("a field holds a zero byte");
  if (!isUtf8(out)) return tl::unexpected<std::string>("a field is not UTF-8");
  return out;
}

std::pair<std::string_view, std::string_view> cutCookie(std::string_view& cookies) {
  std::string_view cookie = cut(cookies, ';');
  while (cookie.starts_with(' ')) cookie.remove_prefix(1);
  const std::string_view name = cut(cookie, '=');
  return {name, cookie};
}

}  // namespace

tl::expected<Fields, std::string> decodeFields(std::string_view text) {
  while (text.ends_with('\n') || text.ends_with('\r')) text.remove_suffix(1);
  Fields fields;
  while (!text.empty()) {
    std::string_view field = cut(text, '&');
    auto name = decoded(cut(field, '='));
    auto value = name.and_then([&](const std::string&) { return decoded(field); });
    if (!value) return tl::unexpected(value.error());
    if (!name->empty()) fields.emplace(std::move(*name), std::move(*value));
  }
  return fields;
}

std::string queryOf(std::string_view url) {
  const std::size_t mark = url.find('?');
  return std::string(mark == std::string_view::npos ? "" : url.substr(mark + 1));
}

std::string_view fieldIn(const Fields& fields, std::string_view name) {
  const auto at = fields.find(name);
  return at == fields.end() ? std::string_view() : at->second;
}

std::string cookieIn(std::string_view cookies, std::string_view name) {
  while (!cookies.empty())
    if (const auto [found, value] = cutCookie(cookies); found == name) return std::string(value);
  return {};
}

std::string cutCookies(std::string_view cookies) {
  std::string out;
  while (!cookies.empty()) {
    const auto [name, value] = cutCookie(cookies);
    const std::size_t shown = std::min(kMostShown, value.size() / 2);
    out.append(out.empty() ? "" : "; ").append(name).append("=").append(value.substr(0, shown)).append("...");
  }
  return out;
}

}  // namespace qzgateway
