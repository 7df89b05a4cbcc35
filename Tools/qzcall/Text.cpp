#include "Tools/qzcall/Text.h"

#include <charconv>

namespace qzcall {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

unsigned char byteAt(std::string_view text, std::size_t i) { return static_cast<unsigned char>(text[i]); }

bool isContinuation(unsigned char byte) { return (byte & 0xC0U) == 0x80U; }

std::string escaped(std::string_view sequence) {
  if (sequence == "\n") return "\\n";
  if (sequence == "\r") return "\\r";
  if (sequence == "\t") return "\\t";
  std::string out;
  for (std::size_t i = 0; i < sequence.size(); ++i) {
    out += "\\x";
    out += kDigits[byteAt(sequence, i) >> 4U];
    out += kDigits[byteAt(sequence, i) & 15U];
  }
  return out;
}

int digitValue(char c) {
  int value = -1;
  std::from_chars(&c, &c + 1, value, 16);
  return value;
}

}  // namespace

std::size_t sequenceLength(std::string_view text) {
  const unsigned char lead = byteAt(text, 0);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if (!isContinuation(byteAt(text, i))) return 0;
  const unsigned char second = byteAt(text, 1);
  const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool outside = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
  return overlong || outside ? 0 : length;
}

std::uint32_t characterOf(std::string_view sequence) {
  const unsigned char lead = byteAt(sequence, 0);
  if (sequence.size() == 1) return lead;
  std::uint32_t character = lead & (0x7FU >> sequence.size());
  for (std::size_t i = 1; i < sequence.size(); ++i) character = character << 6U | (byteAt(sequence, i) & 0x3FU);
  return character;
}

bool isHidden(std::uint32_t character) {
  const auto isIn = [character](std::uint32_t first, std::uint32_t last) {
    return character >= first && character <= last;
  };
  // Those from U+0080 to U+009F act on a terminal like their seven-bit twins.
  return character < 0x20 || isIn(0x7F, 0x9F) || character == 0x61C || isIn(0x200E, 0x200F) || isIn(0x2028, 0x202E) ||
         isIn(0x2066, 0x2069) || character == 0xFEFF;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = sequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string toHex(Bytes bytes) {
  std::string out;
  out.reserve(bytes.size() * 2);
  for (const unsigned char byte : bytes) {
    out += kDigits[byte >> 4U];
    out += kDigits[byte & 15U];
  }
  return out;
}

std::optional<std::vector<unsigned char>> fromHex(std::string_view digits) {
  if (digits.size() % 2 != 0) return std::nullopt;
  std::vector<unsigned char> out;
  out.reserve(digits.size() / 2);
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const int high = digitValue(digits[i]);
    const int low = digitValue(digits[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    out.push_back(static_cast<unsigned char>(high * 16 + low));
  }
  return out;
}

std::string forTerminal(std::string_view text, std::size_t limit) {
  const std::size_t total = text.size();
  std::string out;
  for (std::size_t shown = 0; !text.empty(); ++shown) {
    if (shown == limit) return out + "... (" + std::to_string(total) + " bytes in all)";
    const std::size_t length = sequenceLength(text);
    const std::string_view sequence = text.substr(0, length == 0 ? 1 : length);
    if (sequence == "\\") {
      out += "\\\\";
    } else {
      out += length == 0 || isHidden(characterOf(sequence)) ? escaped(sequence) : std::string(sequence);
    }
    text.remove_prefix(sequence.size());
  }
  return out;
}

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = text.find_first_of("\r\n");
    lines.push_back(text.substr(0, end));
    if (end == std::string_view::npos) break;
    text.remove_prefix(text.substr(end, 2) == "\r\n" ? end + 2 : end + 1);
  }
  while (!lines.empty() && lines.back().empty()) lines.pop_back();
  return lines;
}

}  // namespace qzcall
