#include "Tools/qzcall/Json.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "Tools/qzcall/Values.h"

namespace qzcall {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kPiece = 65536;
constexpr int kDeepestList = 16;

/// On one line; bytes that are no UTF-8 become U+FFFD.
std::string oneLine(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

void writeHex(std::ostream& out, Bytes bytes) {
  out << '"';
  for (; !bytes.empty(); bytes = bytes.subspan(std::min(kPiece, bytes.size())))
    out << toHex(bytes.first(std::min(kPiece, bytes.size())));
  out << '"';
}

/// Length of the first piece of a text that is UTF-8; no character is cut in two.
std::size_t pieceOf(std::string_view text) {
  if (text.size() <= kPiece) return text.size();
  std::size_t length = kPiece;
  while ((static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U) --length;
  return length;
}

void writeText(std::ostream& out, std::string_view text) {
  out << '"';
  while (!text.empty()) {
    const std::size_t length = pieceOf(text);
    const std::string quoted = oneLine(text.substr(0, length));
    out << std::string_view(quoted).substr(1, quoted.size() - 2);
    text.remove_prefix(length);
  }
  out << '"';
}

/// JSON has no words for infinity and not-a-number.
template <class Number>
std::optional<Number> sayable(std::optional<Number> number) {
  if constexpr (std::is_floating_point_v<Number>)
    if (number && !std::isfinite(*number)) return std::nullopt;
  return number;
}

void writeArgument(std::ostream& out, const Argument& argument, int depth);

void writeList(std::ostream& out, const ITKBufferList& list, int depth) {
  out << '[';
  for (long i = 0; i < list.getCount(); ++i) {
    out << (i == 0 ? "" : ",");
    writeArgument(out, argumentIn(*list.getAt(i)), depth + 1);
  }
  out << ']';
}

/// Says one argument's value.
class ValueWriter {
 public:
  ValueWriter(std::ostream& out, const Argument& argument, int depth) : out_(out), argument_(argument), depth_(depth) {}

  /// Writes the member "value" if JSON can say it exactly.
  /// @return false when nothing was written
  bool write() {
    switch (argument_.type) {
      case ITKBufferType::DT_TEXT:
        return text();
      case ITKBufferType::DT_I1:
        return number<std::int8_t>();
      case ITKBufferType::DT_I2:
        return number<std::int16_t>();
      case ITKBufferType::DT_LONG:
        return number<std::int32_t>();
      case ITKBufferType::DT_FLOAT:
        return number<float>();
      case ITKBufferType::DT_DOUBLE:
        return number<double>();
      case ITKBufferType::DT_LIST:
        return list();
      default:
        return false;
    }
  }

 private:
  bool text() {
    if (!isUtf8(textOf(argument_))) return false;
    writeText(member(), textOf(argument_));
    return true;
  }

  template <class Number>
  bool number() {
    const auto value = sayable(numberIn<Number>(argument_));
    if (value) member() << oneLine(*value);
    return value.has_value();
  }

  bool list() {
    ITKBufferList elements;
    if (depth_ == kDeepestList || !readList(argument_, elements)) return false;
    writeList(member(), elements, depth_);
    return true;
  }

  std::ostream& member() { return out_ << "\"value\":"; }

  std::ostream& out_;
  const Argument& argument_;
  int depth_;
};

/// A value that JSON cannot say is given as the bytes it is made of.
void writeArgument(std::ostream& out, const Argument& argument, int depth) {
  out << "{\"type\":" << oneLine(typeName(argument.type)) << ',';
  if (!ValueWriter(out, argument, depth).write()) {
    out << "\"hex\":";
    writeHex(out, argument.bytes);
  }
  out << '}';
}

void writeArguments(std::ostream& out, const Outcome::Arguments& arguments) {
  const char* before = "\n    ";
  for (const Argument& argument : arguments) {
    out << before;
    writeArgument(out, argument, 0);
    before = ",\n    ";
  }
  if (!arguments.empty()) out << "\n  ";
}

Json toJson(const Outcome::Pairs& pairs) {
  Json out = Json::object();
  for (const auto& [name, value] : pairs) out[name] = value;
  return out;
}

}  // namespace

void writeJson(std::ostream& out, const Outcome& outcome) {
  const Json error = {{"code", outcome.errorCode}, {"subCode", outcome.errorSubCode}, {"text", outcome.errorText}};
  const Json token = {{"passport", outcome.token.getPassportID()},
                      {"pryContext", outcome.token.getPryContext()},
                      {"cookies", toJson(cookiesOf(outcome.token))}};
  out << "{\n  \"result\": " << outcome.result << ",\n  \"error\": " << oneLine(error)
      << ",\n  \"interface\": " << oneLine(outcome.interfaceName) << ",\n  \"method\": " << oneLine(outcome.methodName)
      << ",\n  \"objectHandle\": " << oneLine(outcome.objectHandle) << ",\n  \"arguments\": [";
  writeArguments(out, outcome.arguments);
  out << "],\n  \"token\": " << oneLine(token)
      << ",\n  \"userPreferences\": " << oneLine(toJson(outcome.userPreferences)) << "\n}\n";
}

}  // namespace qzcall
