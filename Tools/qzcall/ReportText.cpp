#include "Tools/qzcall/ReportText.h"

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

enum class Lines { one, many };

std::string writtenOut(std::uint32_t character) {
  if (character == '\n') return "\\n";
  if (character == '\r') return "\\r";
  if (character == '\t') return "\\t";
  char text[16];
  std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(character));
  return text;
}

std::string readable(std::string_view text, Lines lines) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    const std::string_view sequence = text.substr(0, length == 0 ? 1 : length);
    const bool isLayout = lines == Lines::many && (text.starts_with('\n') || text.starts_with('\t'));
    if (lines == Lines::many && text.starts_with("\r\n")) {
      // A line end is shown by the line's end.
    } else if (length == 0) {
      out += "\\x" + toHex({reinterpret_cast<const unsigned char*>(text.data()), 1});
    } else if (const std::uint32_t character = characterOf(sequence); isHidden(character) && !isLayout) {
      out += writtenOut(character);
    } else {
      out += sequence;
    }
    text.remove_prefix(sequence.size());
  }
  return out;
}

std::string_view entityOf(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return {};
  }
}

}  // namespace

std::string htmlText(std::string_view text) {
  std::string out;
  for (const char c : readable(text, Lines::one)) {
    const std::string_view entity = entityOf(c);
    out += entity.empty() ? std::string_view(&c, 1) : entity;
  }
  return out;
}

std::string scriptJson(std::string_view text) {
  const std::string json = nlohmann::json(readable(text, Lines::many)).dump(-1, ' ', true);
  std::string out;
  out.reserve(json.size());
  for (const char c : json) {
    if (c == '<') {
      out += "\\u003c";
    } else if (c == '>') {
      out += "\\u003e";
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace qzcall
