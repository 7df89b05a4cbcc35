#include "Tools/qzcall/DecodeText.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "Tools/qzcall/DecodeParts.h"

namespace qzcall {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kAnyWidth = static_cast<std::size_t>(-1);
/// However narrow a terminal is, this much of a value is shown.
constexpr std::size_t kLeastValue = 16;

std::string rightAligned(const std::string& text, std::size_t width) {
  return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::size_t countOf(const Node& node, Kind kind) {
  return static_cast<std::size_t>(std::ranges::count(node.children, kind, &Node::kind));
}

constexpr std::pair<Kind, const char*> kTitles[] = {{Kind::unknown, "bytes of no known form"},
                                                    {Kind::multipart, "multipart body"},
                                                    {Kind::envelope, "SOAP envelope"},
                                                    {Kind::block, "compressed block"},
                                                    {Kind::zlib, "zlib stream"},
                                                    {Kind::listFile, "list file"},
                                                    {Kind::buffers, "buffer stream"},
                                                    {Kind::xmlText, "text"},
                                                    {Kind::request, "request"},
                                                    {Kind::reply, "reply"},
                                                    {Kind::list, "list"}};

bool isArgument(Kind kind) { return kind >= Kind::binary; }

/// What a part is called where it has no name, or what is said of it behind the name.
std::string titleOf(const Node& node) {
  if (node.kind == Kind::dump) return "dump file, " + counted(countOf(node, Kind::exchange), "exchange");
  if (node.kind == Kind::inflated)
    return "restored to " + counted(node.length, "byte") + ", in which the offsets below count";
  if (node.kind == Kind::other) return counted(node.value.size(), "byte");
  if (isArgument(node.kind)) return std::string(nameOf(node.kind)) + ", " + counted(node.value.size(), "byte");
  const auto* const titled = std::ranges::find(kTitles, node.kind, &std::pair<Kind, const char*>::first);
  return titled == std::end(kTitles) ? "" : titled->second;
}

std::string labelOf(const Node& node) {
  const std::string title = titleOf(node);
  const std::string name = forTerminal(node.name, 100);
  return name + (name.empty() || title.empty() ? "" : ", ") + title;
}

std::string spaced(const std::string& digits) {
  std::string out;
  for (std::size_t i = 0; i < digits.size(); i += 2) out += (i == 0 ? "" : " ") + digits.substr(i, 2);
  return out;
}

/// As much of a value as `room` characters have place for.
std::string shownValue(const Node& node, std::size_t room) {
  const Value value = valueOf(node, room);
  if (value.type == Value::Type::none) return {};
  if (value.type == Value::Type::number) return value.text;
  const bool isHex = value.type == Value::Type::hex;
  const bool isQuoted = !isHex && node.kind != Kind::headerLine && node.kind != Kind::checksum;
  const std::string text = isHex ? spaced(value.text) : forTerminal(value.text, kAnyWidth);
  const std::string quote = isQuoted ? "\"" : "";
  if (!value.cut && text.size() + 2 * quote.size() <= room) return quote + text + quote;
  constexpr std::string_view kMore = " ...";
  std::size_t end = std::min(text.size(), room - kMore.size() - 2 * quote.size());
  while (end > 0 && end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  if (isHex) end -= (end + 1) % 3;
  return quote + text.substr(0, end) + quote + std::string(kMore);
}

/// Writes the lines of a tree.
class TreeWriter {
 public:
  TreeWriter(std::ostream& out, std::size_t width) : out_(out), width_(width == 0 ? kAnyWidth : width) {}

  void write(const Node& node, std::size_t depth, bool isRestored) {
    writeLine(node, depth, isRestored);
    const bool isInside = isRestored || node.kind == Kind::inflated;
    for (const Node& child : node.children) write(child, depth + 1, isInside);
    for (const Fault& fault : node.faults)
      out_ << place(fault.offset, isRestored) << rightAligned("", kLengthWidth) << indent(depth + 1) << "! "
           << fault.text << '\n';
  }

 private:
  static constexpr std::size_t kLengthWidth = 10;

  static std::string place(std::uint64_t offset, bool isRestored) {
    return (isRestored ? "+" : " ") + hexOffset(offset);
  }
  // Parts that lie deeper than this stand below each other.
  static std::string indent(std::size_t depth) { return std::string(2 + 2 * std::min<std::size_t>(depth, 24), ' '); }

  void writeLine(const Node& node, std::size_t depth, bool isRestored) {
    std::string line = place(node.offset, isRestored || node.kind == Kind::inflated) +
                       rightAligned(std::to_string(node.length), kLengthWidth) + indent(depth) + labelOf(node);
    if (line.back() != ' ') line += "  ";
    line += shownValue(node, std::max(kLeastValue, width_ - std::min(width_, line.size())));
    line.erase(line.find_last_not_of(' ') + 1);
    out_ << line << '\n';
  }

  std::ostream& out_;
  std::size_t width_;
};

Json faultsOf(const Node& node) {
  Json faults = Json::array();
  for (const Fault& fault : node.faults) faults.push_back({{"offset", fault.offset}, {"text", fault.text}});
  return faults;
}

void addValue(Json& json, const Node& node) {
  Value value = valueOf(node);
  // Read as an integer, -0 would lose its sign.
  if (value.type == Value::Type::number) json["value"] = value.text == "-0" ? Json(-0.0) : Json::parse(value.text);
  if (value.type == Value::Type::text) json["value"] = std::move(value.text);
  if (value.type == Value::Type::hex) json["hex"] = std::move(value.text);
}

Json jsonOf(const Node& node) {
  Json json = {{"kind", nameOf(node.kind)}};
  if (!node.name.empty()) json["name"] = node.name;
  json["offset"] = node.offset;
  json["length"] = node.length;
  addValue(json, node);
  return json;
}

std::string onOneLine(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

/// Writes a part on a line of its own, and those below it, so that no more than one is in memory once more.
void writeJson(std::ostream& out, const Node& node, std::size_t depth) {
  const std::string line = onOneLine(jsonOf(node));
  out << std::string(depth, ' ') << std::string_view(line).substr(0, line.size() - 1);
  if (!node.faults.empty()) out << ",\"faults\":" << onOneLine(faultsOf(node));
  if (!node.children.empty()) {
    out << ",\"parts\":[\n";
    for (const Node& child : node.children) {
      writeJson(out, child, depth + 1);
      out << (&child == &node.children.back() ? "\n" : ",\n");
    }
    out << std::string(depth, ' ') << ']';
  }
  out << '}';
}

}  // namespace

void writeTree(std::ostream& out, const Node& root, std::size_t width) { TreeWriter(out, width).write(root, 0, false); }

void writeTreeJson(std::ostream& out, const Node& root) {
  writeJson(out, root, 0);
  out << '\n';
}

}  // namespace qzcall
