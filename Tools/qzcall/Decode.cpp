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

bool startsWithXml(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && text[first] == '<';
}

/// Bytes that begin with the mark of a list may be of three forms: of the one that takes them to their last byte, or, when
/// they are broken, of the one that takes most of them.
Form formOfList(Bytes bytes) {
  Form form = Form::list;
  std::size_t most = 0;
  for (const Form possible : {Form::list, Form::listFile, Form::buffer}) {
    const std::size_t end = endOfElements(bytes, possible);
    if (end > most) form = possible;
    most = std::max(most, end);
  }
  return form;
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

std::string utf8Of(std::uint32_t character) {
  const auto byte = [](std::uint32_t bits) { return static_cast<char>(static_cast<unsigned char>(bits)); };
  const auto rest = [&](unsigned shift) { return byte(0x80U | (character >> shift & 0x3FU)); };
  if (character < 0x80) return {byte(character)};
  if (character < 0x800) return {byte(0xC0U | character >> 6U), rest(0)};
  if (character < 0x10000) return {byte(0xE0U | character >> 12U), rest(6), rest(0)};
  return {byte(0xF0U | character >> 18U), rest(12), rest(6), rest(0)};
}

/// The character that "&#228;" or "&#xE4;" at the head of `text` stands for, and the length of that; "" for none.
std::pair<std::string, std::size_t> characterAt(std::string_view text) {
  const bool isHex = text.starts_with("&#x");
  const char* const digits = text.data() + (isHex ? 3 : 2);
  std::uint32_t code = 0;
  const auto [end, error] = std::from_chars(digits, text.data() + text.size(), code, isHex ? 16 : 10);
  const bool isClosed = error == std::errc() && end != text.data() + text.size() && *end == ';';
  std::string character = isClosed && code > 0 && code < 0x110000 ? utf8Of(code) : std::string();
  if (!isUtf8(character)) character.clear();
  return {character, character.empty() ? 0 : static_cast<std::size_t>(end + 1 - text.data())};
}

/// `text` with entities and references to characters undone, one level.
std::string unescaped(std::string_view text) {
  std::string out;
  for (std::size_t from = 0;;) {
    const std::size_t at = text.find("&#", from);
    const auto [character, length] =
        at == std::string_view::npos ? std::pair<std::string, std::size_t>() : characterAt(text.substr(at));
    if (at != std::string_view::npos && length == 0) {
      from = at + 2;
      continue;
    }
    out += qz::wire::decodeXml(text.substr(0, at));
    if (at == std::string_view::npos) return out;
    out += character;
    text.remove_prefix(at + length);
    from = 0;
  }
}

Value noValue(const Node& /*node*/, std::size_t /*most*/) { return {}; }
Value decimalOf(const Node& node, std::size_t /*most*/) { return unsignedValue(node.value, 10); }
Value hexNumberOf(const Node& node, std::size_t /*most*/) { return unsignedValue(node.value, 16); }
Value bytesOf(const Node& node, std::size_t most) { return hexValue(node.value, most); }
Value lineOf(const Node& node, std::size_t most) { return textOrHex(node.value, most); }
Value textOf(const Node& node, std::size_t most) { return textOrHex(withoutTerminator(node.value), most); }

template <class Number>
Value numberOf(const Node& node, std::size_t most) {
  return numberValue<Number>(node.value, most);
}

/// An element of a document that stands escaped in another one is escaped twice.
template <bool kTwice>
Value markupOf(const Node& node, std::size_t most) {
  if (!node.children.empty()) return {};
  Value value = textOrHex(node.value, most);
  if (value.type == Value::Type::text)
    value.text = unescaped(kTwice ? qz::wire::unescapeInnerBody(value.text) : value.text);
  return value;
}

struct KindEntry {
  Kind kind;
  const char* name;
  Value (*value)(const Node& node, std::size_t most);
};

constexpr KindEntry kKinds[] = {
    {Kind::unknown, "unknown", bytesOf},
    {Kind::dump, "dump", noValue},
    {Kind::exchange, "exchange", noValue},
    {Kind::request, "request", noValue},
    {Kind::reply, "reply", noValue},
    {Kind::headerLine, "headerLine", lineOf},
    {Kind::multipart, "multipart", noValue},
    {Kind::part, "part", noValue},
    {Kind::envelope, "envelope", noValue},
    {Kind::element, "element", markupOf<false>},
    {Kind::field, "field", markupOf<true>},
    {Kind::xmlText, "xmlText", markupOf<false>},
    {Kind::block, "block", noValue},
    {Kind::inflated, "inflated", noValue},
    {Kind::list, "list", noValue},
    {Kind::listFile, "listFile", noValue},
    {Kind::buffers, "buffers", noValue},
    {Kind::number, "number", decimalOf},
    {Kind::checksum, "checksum", hexNumberOf},
    {Kind::zlib, "zlib", noValue},
    {Kind::binary, "binary", bytesOf},
    {Kind::text, "text", textOf},
    {Kind::int8, "byte", numberOf<std::int8_t>},
    {Kind::int16, "short", numberOf<std::int16_t>},
    {Kind::int32, "long", numberOf<std::int32_t>},
    {Kind::float32, "float", numberOf<float>},
    {Kind::float64, "double", numberOf<double>},
    {Kind::other, "otherType", bytesOf},
};

const KindEntry& entryOf(Kind kind) { return *std::ranges::find(kKinds, kind, &KindEntry::kind); }

}  // namespace

std::optional<Form> formNamed(std::string_view name) {
  const auto* const known = std::ranges::find(kForms, name, &FormName::name);
  return known == std::end(kForms) ? std::nullopt : std::optional(known->form);
}

std::string formNames() {
  std::string names;
  for (const FormName& form : kForms) names += (names.empty() ? "" : ", ") + std::string(form.name);
  return names;
}

Form formOf(Bytes bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.starts_with("NIRA")) return Form::block;
  if (isDump(text)) return Form::dump;
  if (text.starts_with("--") || text.starts_with("\r\n--")) return Form::multipart;
  if (startsWithXml(text)) return Form::envelope;
  if (!bytes.empty() && bytes[0] == kListMark) return formOfList(bytes);
  return !bytes.empty() && endOfElements(bytes, Form::buffer) == bytes.size() ? Form::buffer : Form::any;
}

Decoded decode(Bytes bytes, Form form, const Limits& limits) {
  if (form == Form::any) form = formOf(bytes);
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

const char* nameOf(Kind kind) { return entryOf(kind).name; }

Value valueOf(const Node& node, std::size_t most) { return entryOf(node.kind).value(node, most); }

}  // namespace qzcall
