#include "Tools/qzcall/Table.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>

#include "Tools/qzcall/Failure.h"
#include "Tools/qzcall/Values.h"

namespace qzcall {
namespace {

constexpr std::size_t kShownCharacters = 72;
/// A byte is shown as two digits and a blank.
constexpr std::size_t kShownBytes = kShownCharacters / 3;

std::string shownBytes(Bytes bytes) {
  std::string out;
  const Bytes head = bytes.first(std::min(bytes.size(), kShownBytes));
  for (const unsigned char& byte : head) out += (out.empty() ? "" : " ") + toHex({&byte, 1});
  return head.size() < bytes.size() ? out + " ..." : out;
}

template <class Number>
std::string shownNumber(const Argument& argument) {
  const auto number = numberIn<Number>(argument);
  if (!number) return shownBytes(argument.bytes);
  char text[64];
  return {text, std::to_chars(text, text + sizeof text, *number).ptr};
}

std::string shownList(const Argument& argument) {
  ITKBufferList list;
  if (!readList(argument, list)) return shownBytes(argument.bytes);
  return std::to_string(list.getCount()) + (list.getCount() == 1 ? " element" : " elements");
}

std::string shownValue(const Argument& argument) {
  switch (argument.type) {
    case ITKBufferType::DT_TEXT:
      return forTerminal(textOf(argument), kShownCharacters);
    case ITKBufferType::DT_I1:
      return shownNumber<std::int8_t>(argument);
    case ITKBufferType::DT_I2:
      return shownNumber<std::int16_t>(argument);
    case ITKBufferType::DT_LONG:
      return shownNumber<std::int32_t>(argument);
    case ITKBufferType::DT_FLOAT:
      return shownNumber<float>(argument);
    case ITKBufferType::DT_DOUBLE:
      return shownNumber<double>(argument);
    case ITKBufferType::DT_LIST:
      return shownList(argument);
    default:
      return shownBytes(argument.bytes);
  }
}

std::string padded(std::string text, std::size_t width) {
  if (text.size() < width) text.resize(width, ' ');
  return text;
}

std::string rightAligned(const std::string& text, std::size_t width) {
  return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

/// One named line; nothing at all for an empty value.
std::string row(const std::string& name, std::string_view value) {
  if (value.empty()) return {};
  return "  " + padded(name, 13) + forTerminal(value, std::numeric_limits<std::size_t>::max()) + "\n";
}

std::string rows(const std::string& heading, const Outcome::Pairs& pairs) {
  std::string out;
  for (const auto& [name, value] : pairs) out += row(out.empty() ? heading : "", name + " = " + value);
  return out;
}

std::string errorRows(const std::string& text) {
  std::string out;
  for (const std::string_view line : linesOf(text)) out += row(out.empty() ? "error" : "", line);
  return out;
}

std::string argumentRows(const Outcome::Arguments& arguments) {
  if (arguments.empty()) return {};
  std::string out = "\n     #  type            bytes  value\n";
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const Argument& argument = arguments[i];
    out += "  " + rightAligned(std::to_string(i), 4) + "  " + padded(typeName(argument.type), 10) + "  " +
           rightAligned(std::to_string(argument.bytes.size()), 9) + "  " + shownValue(argument) + "\n";
  }
  return out;
}

}  // namespace

std::string toTable(const Outcome& outcome) {
  const std::string call = outcome.interfaceName.empty() ? "" : outcome.interfaceName + "." + outcome.methodName;
  const std::string session = row("passport", outcome.token.getPassportID()) +
                              row("context", outcome.token.getPryContext()) +
                              rows("cookies", cookiesOf(outcome.token)) + rows("preferences", outcome.userPreferences);
  return row("outcome", verdictOn(outcome.result, outcome.errorSubCode)) + errorRows(outcome.errorText) +
         row("call", call) + row("handle", outcome.objectHandle) + argumentRows(outcome.arguments) +
         (session.empty() ? "" : "\n" + session);
}

}  // namespace qzcall
