#include "Tools/qzcall/Decode.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <utility>

#include "References/Libraries/Wire/TagScan.h"
#include "References/Libraries/Wire/XmlEscape.h"
#include "Tools/qzcall/DecodeParts.h"
#include "Tools/qzcall/DumpFile.h"

namespace qzcall {
namespace {

constexpr unsigned char kListMark = 7;

struct FormName {
  std::string_view name;
  Form form;
  Kind kind;
  void (*read)(Level& level, const Piece& piece);
};

void readAnyMultipart(Level& level, const Piece& piece) { readMultipart(level, piece, {}, false); }

void refuse(Level& level, const Piece& piece) {
  level.node().value = piece.bytes;
  level.fault(piece.offset, piece.bytes.empty() ? "there are no bytes" : "nothing known begins like this");
}

constexpr FormName kForms[] = {{"block", Form::block, Kind::block, readBlock},
                               {"list", Form::list, Kind::list, readList},
                               {"listfile", Form::listFile, Kind::listFile, readListFile},
                               {"buffer", Form::buffer, Kind::buffers, readBuffers},
                               {"envelope", Form::envelope, Kind::envelope, readEnvelope},
                               {"multipart", Form::multipart, Kind::multipart, readAnyMultipart},
                               {"dump", Form::dump, Kind::dump, readDump}};

constexpr const char* kKindNames[] = {
    "unknown", "dump",    "exchange", "request",  "reply", "headerLine", "multipart", "part",     "envelope", "element",
    "field",   "xmlText", "block",    "inflated", "list",  "listFile",   "buffers",   "number",   "checksum", "zlib",
    "binary",  "text",    "byte",     "short",    "long",  "float",      "double",    "otherType"};
static_assert(std::size(kKindNames) == static_cast<std::size_t>(Kind::other) + 1);

bool startsWithXml(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && text[first] == '<';
}

/// Bytes that begin with the mark of a list may be of three forms; the one that fits them without a fault, and to
/// their last byte, is theirs.
Form formOfList(Bytes bytes, const Limits& limits) {
  for (const Form form : {Form::list, Form::listFile, Form::buffer}) {
    const Decoded decoded = decode(bytes, form, limits);
    if (firstFault(decoded.root) == nullptr && decoded.root.children.back().name != kBehindTheEnd) return form;
  }
  return areBuffers(bytes) ? Form::buffer : Form::list;
}

/// The bytes of a text up to a place where no character is cut in two. A longer run of bytes that go on with a
/// character is no UTF-8, and stays: that it is no text must not depend on where it is cut.
std::string_view headOf(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  constexpr std::size_t kMostBehindFirst = 3;
  const std::size_t least = most - std::min(most, kMostBehindFirst);
  std::size_t end = most;
  while (end > least && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end);
}

Value hexValue(Bytes bytes, std::size_t most) {
  const Bytes head = bytes.first(std::min(bytes.size(), most));
  return {Value::Type::hex, toHex(head), head.size() < bytes.size()};
}

Value textValue(Bytes bytes, std::size_t most) {
  const std::string_view whole(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const std::string_view text = headOf(whole, most);
  return {Value::Type::text, std::string(text), text.size() < whole.size()};
}

template <class Number>
Value numberValue(Bytes bytes, std::size_t most) {
  Number number{};
  if (bytes.size() != sizeof number) return hexValue(bytes, most);
  std::memcpy(&number, bytes.data(), sizeof number);
  if constexpr (std::is_floating_point_v<Number>)
    if (!std::isfinite(number)) return hexValue(bytes, most);
  char text[64];
  return {Value::Type::number, {text, std::to_chars(text, text + sizeof text, number).ptr}};
}

Value unsignedValue(Bytes bytes, int base) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes.data(), std::min(bytes.size(), sizeof number));
  char text[16];
  const std::string digits(text, std::to_chars(text, text + sizeof text, number, base).ptr);
  if (base == 10) return {Value::Type::number, digits};
  return {Value::Type::text, "0x" + std::string(8 - digits.size(), '0') + digits};
}

/// Bytes that hold no text are told as bytes.
Value textOrHex(Bytes bytes, std::size_t most) {
  Value value = textValue(bytes, most);
  return isUtf8(value.text) ? value : hexValue(bytes, most);
}

Bytes withoutTerminator(Bytes bytes) {
  return !bytes.empty() && bytes.back() == 0 ? bytes.first(bytes.size() - 1) : bytes;
}

Value unescapedValue(Value value, bool twice) {
  if (value.type != Value::Type::text) return value;
  value.text = qz::wire::decodeXml(twice ? qz::wire::unescapeInnerBody(value.text) : value.text);
  return value;
}

}  // namespace

std::optional<Form> formNamed(std::string_view name) {
  const auto* const known = std::ranges::find(kForms, name, &FormName::name);
  return known == std::end(kForms) ? std::nullopt : std::optional(known->form);
}

Form formOf(Bytes bytes, const Limits& limits) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.starts_with("NIRA")) return Form::block;
  if (isDump(text)) return Form::dump;
  if (text.starts_with("--") || text.starts_with("\r\n--")) return Form::multipart;
  if (startsWithXml(text)) return Form::envelope;
  if (!bytes.empty() && bytes[0] == kListMark) return formOfList(bytes, limits);
  return areBuffers(bytes) ? Form::buffer : Form::any;
}

Decoded decode(Bytes bytes, Form form, const Limits& limits) {
  if (form == Form::any) form = formOf(bytes, limits);
  const auto* const known = std::ranges::find(kForms, form, &FormName::form);
  const bool isKnown = known != std::end(kForms);
  Decoded decoded;
  decoded.root.kind = isKnown ? known->kind : Kind::unknown;
  decoded.root.length = bytes.size();
  Budget budget{limits, decoded.inflated};
  Level level(decoded.root, budget);
  (isKnown ? known->read : refuse)(level, {bytes, 0});
  return decoded;
}

const Fault* firstFault(const Node& root) {
  for (const Node& child : root.children)
    if (const Fault* const fault = firstFault(child)) return fault;
  return root.faults.empty() ? nullptr : &root.faults.front();
}

const char* nameOf(Kind kind) { return kKindNames[static_cast<std::size_t>(kind)]; }

Value valueOf(const Node& node, std::size_t most) {
  switch (node.kind) {
    case Kind::number:
      return unsignedValue(node.value, 10);
    case Kind::checksum:
      return unsignedValue(node.value, 16);
    case Kind::int8:
      return numberValue<std::int8_t>(node.value, most);
    case Kind::int16:
      return numberValue<std::int16_t>(node.value, most);
    case Kind::int32:
      return numberValue<std::int32_t>(node.value, most);
    case Kind::float32:
      return numberValue<float>(node.value, most);
    case Kind::float64:
      return numberValue<double>(node.value, most);
    case Kind::text:
      return textOrHex(withoutTerminator(node.value), most);
    case Kind::headerLine:
      return textOrHex(node.value, most);
    case Kind::xmlText:
    case Kind::element:
    case Kind::field:
      if (!node.children.empty()) return {};
      return unescapedValue(textOrHex(node.value, most), node.kind == Kind::field);
    case Kind::binary:
    case Kind::other:
    case Kind::unknown:
      return hexValue(node.value, most);
    default:
      return {};
  }
}

}  // namespace qzcall
