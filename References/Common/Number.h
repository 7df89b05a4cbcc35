// Decimal numbers in text, the same whatever the host's locale.
#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

#include "References/Common/Ascii.h"

namespace qz {

/// The number at the head of `text`: leading white space, an optional sign, digits; whatever follows is ignored.
/// No digits give 0; a number beyond 64 bits saturates.
constexpr std::int64_t parseInteger(std::string_view text) {
  while (!text.empty() && isAsciiSpace(text.front())) text.remove_prefix(1);
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  using Limits = std::numeric_limits<std::int64_t>;
  std::int64_t value = 0;
  for (; !text.empty() && isAsciiDigit(text.front()); text.remove_prefix(1)) {
    const int digit = text.front() - '0';
    if (negative) {
      if (value < (Limits::min() + digit) / 10) return Limits::min();
      value = value * 10 - digit;
    } else {
      if (value > (Limits::max() - digit) / 10) return Limits::max();
      value = value * 10 + digit;
    }
  }
  return value;
}

/// The low 32 bits of parseInteger().
constexpr long parseLong(std::string_view text) {
  return static_cast<long>(static_cast<std::int32_t>(static_cast<std::uint64_t>(parseInteger(text)) & 0xFFFFFFFFU));
}

/// Decimal text of an integer in its own small storage.
class DecimalText {
 public:
  /// Formats `value`.
  explicit DecimalText(std::int64_t value) {
    size_ =
        static_cast<std::size_t>(std::to_chars(text_.data(), text_.data() + text_.size(), value).ptr - text_.data());
  }
  /// The digits; live as long as this object.
  std::string_view view() const { return {text_.data(), size_}; }

 private:
  std::array<char, 24> text_{};
  std::size_t size_ = 0;
};

/// Text of a number as "%g" writes it: six digits, an exponent only where that is shorter.
class GeneralText {
 public:
  /// Formats `value`.
  explicit GeneralText(double value) {
    constexpr int kDigits = 6;
    char* const begin = text_.data();
    const auto end = std::to_chars(begin, begin + text_.size(), value, std::chars_format::general, kDigits).ptr;
    size_ = static_cast<std::size_t>(end - begin);
  }
  /// The text; lives as long as this object.
  std::string_view view() const { return {text_.data(), size_}; }

 private:
  std::array<char, 16> text_{};  // "-1.23457e-308"
  std::size_t size_ = 0;
};

}  // namespace qz
