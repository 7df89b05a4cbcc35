#include "Tools/qzcall/Outcome.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <variant>

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "Tools/qzcall/CommandLine.h"

namespace qzcall {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kShownCharacters = 72;
constexpr int kDeepestList = 16;

std::string typeName(unsigned char type) {
  constexpr const char* kNames[] = {"binary", "text", "byte", "short", "long", "float", "double", "list", "compressed"};
  return type < std::size(kNames) ? kNames[type] : "type " + std::to_string(type);
}

std::string_view asText(Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

/// Text arguments are sent with their terminating zero, which is no part of what was said.
std::string_view withoutTerminator(std::string_view text) {
  if (!text.empty() && text.back() == '\0') text.remove_suffix(1);
  return text;
}

/// The number in `bytes`, if they have the size of one.
template <class Number>
std::optional<Number> numberIn(Bytes bytes) {
  if (bytes.size() != sizeof(Number)) return std::nullopt;
  Number number;
  std::memcpy(&number, bytes.data(), sizeof number);
  return number;
}

/// The elements of a nested list; they belong to `list`. Nothing when the bytes are no list.
std::optional<std::vector<OutputArgument>> elementsOf(Bytes bytes, ITKBufferList& list) {
  ITKBuffer stream(0L, ITKBufferType::DT_LIST);
  stream.write(bytes.data(), static_cast<long>(bytes.size()));
  if (list.serializeFrom(stream) == 0) return std::nullopt;
  std::vector<OutputArgument> elements;
  for (long i = 0; i < list.getCount(); ++i) {
    const ITKBuffer& element = *list.getAt(i);
    elements.push_back({element.getType(), {element.getBuffer(), static_cast<std::size_t>(element.getLength())}});
  }
  return elements;
}

// ---- JSON

Json toJson(const OutputArgument& argument, int depth);

template <class Number>
std::optional<Json> jsonNumber(Bytes bytes) {
  const auto number = numberIn<Number>(bytes);
  if (!number) return std::nullopt;
  // JSON has no words for infinity and not-a-number.
  if constexpr (std::is_floating_point_v<Number>)
    if (!std::isfinite(*number)) return std::nullopt;
  return Json(*number);
}

std::optional<Json> jsonText(Bytes bytes) {
  const std::string_view text = withoutTerminator(asText(bytes));
  if (!isUtf8(text)) return std::nullopt;
  return Json(text);
}

std::optional<Json> jsonList(Bytes bytes, int depth) {
  ITKBufferList list;
  const auto elements = depth < kDeepestList ? elementsOf(bytes, list) : std::nullopt;
  if (!elements) return std::nullopt;
  Json out = Json::array();
  for (const OutputArgument& element : *elements) out.push_back(toJson(element, depth + 1));
  return out;
}

std::optional<Json> jsonValue(const OutputArgument& argument, int depth) {
  switch (argument.type) {
    case ITKBufferType::DT_TEXT:
      return jsonText(argument.bytes);
    case ITKBufferType::DT_I1:
      return jsonNumber<std::int8_t>(argument.bytes);
    case ITKBufferType::DT_I2:
      return jsonNumber<std::int16_t>(argument.bytes);
    case ITKBufferType::DT_LONG:
      return jsonNumber<std::int32_t>(argument.bytes);
    case ITKBufferType::DT_FLOAT:
      return jsonNumber<float>(argument.bytes);
    case ITKBufferType::DT_DOUBLE:
      return jsonNumber<double>(argument.bytes);
    case ITKBufferType::DT_LIST:
      return jsonList(argument.bytes, depth);
    default:
      return std::nullopt;
  }
}

/// A value that JSON cannot say is given as the bytes it is made of.
Json toJson(const OutputArgument& argument, int depth) {
  Json out = {{"type", typeName(argument.type)}};
  if (auto value = jsonValue(argument, depth)) {
    out["value"] = std::move(*value);
  } else {
    out["hex"] = toHex(argument.bytes);
  }
  return out;
}

Json toJson(const Outcome::Pairs& pairs) {
  Json out = Json::object();
  for (const auto& [name, value] : pairs) out[name] = value;
  return out;
}

// ---- table

template <class Number>
std::string shownNumber(Bytes bytes) {
  const auto number = numberIn<Number>(bytes);
  if (!number) return "0x" + toHex(bytes.first(std::min<std::size_t>(bytes.size(), kShownCharacters / 2)));
  char text[64];
  return {text, std::to_chars(text, text + sizeof text, *number).ptr};
}

std::string shownBytes(Bytes bytes) {
  std::string out;
  const Bytes head = bytes.first(std::min<std::size_t>(bytes.size(), kShownCharacters / 3));
  for (const unsigned char& byte : head) out += (out.empty() ? "" : " ") + toHex({&byte, 1});
  return head.size() < bytes.size() ? out + " ..." : out;
}

std::string shownList(Bytes bytes) {
  ITKBufferList list;
  const auto elements = elementsOf(bytes, list);
  if (!elements) return shownBytes(bytes);
  return std::to_string(elements->size()) + (elements->size() == 1 ? " element" : " elements");
}

std::string shownValue(const OutputArgument& argument) {
  switch (argument.type) {
    case ITKBufferType::DT_TEXT:
      return forTerminal(withoutTerminator(asText(argument.bytes)), kShownCharacters);
    case ITKBufferType::DT_I1:
      return shownNumber<std::int8_t>(argument.bytes);
    case ITKBufferType::DT_I2:
      return shownNumber<std::int16_t>(argument.bytes);
    case ITKBufferType::DT_LONG:
      return shownNumber<std::int32_t>(argument.bytes);
    case ITKBufferType::DT_FLOAT:
      return shownNumber<float>(argument.bytes);
    case ITKBufferType::DT_DOUBLE:
      return shownNumber<double>(argument.bytes);
    case ITKBufferType::DT_LIST:
      return shownList(argument.bytes);
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

std::string meaningOf(long result) {
  switch (result) {
    case E_OK:
      return "success";
    case E_FAULT:
      return "the server answered with a fault";
    case E_LOGON:
      return "the server asks for a logon";
    case E_PROXY:
      return "the request could not be sent or the reply not be read";
    case E_HTTP:
      return "the connection or the HTTP request failed";
    case E_TIMEOUT:
      return "the time limit has passed";
    case E_URL:
      return "the URL cannot be used";
    default:
      return "the server reports an error";
  }
}

std::string verdict(const Outcome& outcome) {
  std::string out = meaningOf(outcome.result);
  if (outcome.result != E_OK) out += ", code " + std::to_string(outcome.result);
  if (outcome.errorSubCode != 0) out += ", detail " + std::to_string(outcome.errorSubCode);
  return out;
}

std::string errorRows(const std::string& text) {
  std::string out;
  for (const std::string_view line : linesOf(text)) out += row(out.empty() ? "error" : "", line);
  return out;
}

std::string argumentRows(const std::vector<OutputArgument>& arguments) {
  if (arguments.empty()) return {};
  std::string out = "\n     #  type            bytes  value\n";
  for (std::size_t i = 0; i < arguments.size(); ++i)
    out += "  " + rightAligned(std::to_string(i), 4) + "  " + padded(typeName(arguments[i].type), 10) + "  " +
           rightAligned(std::to_string(arguments[i].bytes.size()), 9) + "  " + shownValue(arguments[i]) + "\n";
  return out;
}

}  // namespace

int exitCodeOf(long result) {
  switch (result) {
    case E_OK:
      return kSuccess;
    case E_LOGON:
      return kLogonRequired;
    case E_PROXY:
    case E_HTTP:
    case E_URL:
      return kTransport;
    case E_TIMEOUT:
      return kTimeOut;
    default:
      return kServerError;
  }
}

std::string toJson(const Outcome& outcome) {
  Json arguments = Json::array();
  for (const OutputArgument& argument : outcome.arguments) arguments.push_back(toJson(argument, 0));
  const Json out = {
      {"result", outcome.result},
      {"error", {{"code", outcome.errorCode}, {"subCode", outcome.errorSubCode}, {"text", outcome.errorText}}},
      {"interface", outcome.interfaceName},
      {"method", outcome.methodName},
      {"objectHandle", outcome.objectHandle},
      {"arguments", std::move(arguments)},
      {"token",
       {{"passport", outcome.passport}, {"pryContext", outcome.pryContext}, {"cookies", toJson(outcome.cookies)}}},
      {"userPreferences", toJson(outcome.userPreferences)},
  };
  return out.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string toTable(const Outcome& outcome) {
  const std::string call = outcome.interfaceName.empty() ? "" : outcome.interfaceName + "." + outcome.methodName;
  const std::string session = row("passport", outcome.passport) + row("context", outcome.pryContext) +
                              rows("cookies", outcome.cookies) + rows("preferences", outcome.userPreferences);
  return row("outcome", verdict(outcome)) + errorRows(outcome.errorText) + row("call", call) +
         row("handle", outcome.objectHandle) + argumentRows(outcome.arguments) +
         (session.empty() ? "" : "\n" + session);
}

}  // namespace qzcall
