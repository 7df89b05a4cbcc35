#include "References/Libraries/Wire/TypedArgument.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>

#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Common/Number.h"

namespace qz::wire {
namespace {

template <class Number>
TypedArgument pack(unsigned char type, Number value) {
  TypedArgument argument{type, std::string(sizeof value, '\0')};
  std::memcpy(argument.bytes.data(), &value, sizeof value);
  return argument;
}

/// True when a number that no double can hold is too large rather than too small.
bool isHuge(std::string_view digits) {
  const auto exponentAt = digits.find_first_of("eE");
  const auto mantissa = digits.substr(0, exponentAt);
  const auto point = std::min(mantissa.find('.'), mantissa.size());
  const auto first = mantissa.find_first_of("123456789");
  auto power = first < point ? static_cast<std::int64_t>(point - first) : -static_cast<std::int64_t>(first - point);
  if (exponentAt == std::string_view::npos) return power > 0;
  const auto exponent = parseInteger(digits.substr(exponentAt + 1));
  constexpr std::int64_t limit = std::numeric_limits<std::int32_t>::max();
  return std::clamp(exponent, -limit, limit) + power > 0;
}

}  // namespace

double parseDouble(std::string_view text) {
  while (!text.empty() && isAsciiSpace(text.front())) text.remove_prefix(1);
  const bool negative = !text.empty() && text.front() == '-';
  if (!text.empty() && (negative || text.front() == '+')) text.remove_prefix(1);
  if (text.empty() || text.front() == '-') return 0;
  double value = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failure == std::errc::result_out_of_range)
    value = isHuge({text.data(), end}) ? std::numeric_limits<double>::infinity() : 0;
  return negative ? -value : value;
}

TypedArgument makeTypedArgument(std::string_view schemaType, std::string_view text) {
  const auto colon = schemaType.find(':');
  if (colon != std::string_view::npos) schemaType.remove_prefix(colon + 1);
  if (schemaType == "int") return pack(ITKBufferType::DT_LONG, static_cast<std::int32_t>(parseLong(text)));
  if (schemaType == "short") return pack(ITKBufferType::DT_I2, static_cast<std::int16_t>(parseLong(text)));
  if (schemaType == "byte") return pack(ITKBufferType::DT_I1, static_cast<std::int8_t>(parseLong(text)));
  if (schemaType == "float") return pack(ITKBufferType::DT_FLOAT, static_cast<float>(parseDouble(text)));
  if (schemaType == "double") return pack(ITKBufferType::DT_DOUBLE, parseDouble(text));
  return {ITKBufferType::DT_TEXT, std::string(text)};
}

}  // namespace qz::wire
