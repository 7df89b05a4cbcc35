#include "Tools/qzcall/ReportTree.h"

#include <charconv>
#include <nlohmann/json.hpp>

#include "Tools/qzcall/Decode.h"

namespace qzcall {
namespace {

/// Bytes of a value that the page has.
constexpr std::size_t kMostOfValue = 4096;
constexpr Limits kLimits{.depth = 48, .nodes = 4000, .inflated = std::size_t{8} << 20};

std::string_view localNameOf(std::string_view name) { return name.substr(name.rfind(':') + 1); }

std::string textOf(const Node& node) {
  constexpr std::size_t kMost = 1000;
  return valueOf(node, kMost).text;
}

long numberIn(std::string_view text) {
  long value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

/// Collects the facts of one message.
class FactFinder {
 public:
  FactFinder(ExchangeFacts& facts, bool isReply) : facts_(facts), isReply_(isReply) {}

  void find(const Node& node) {
    if (node.kind == Kind::headerLine) takeHeader(textOf(node));
    if (node.kind == Kind::element || node.kind == Kind::field) takeElement(node);
    for (const Node& child : node.children) find(child);
  }

 private:
  void takeHeader(const std::string& line) {
    if (isReply_) {
      if (facts_.httpStatus == 0) facts_.httpStatus = numberIn(line);
      return;
    }
    if (line.starts_with("URL:")) facts_.url = line.substr(4);
    if (line.starts_with("soapaction: ")) facts_.action = unquoted(line.substr(12));
    if (line.starts_with("Content-Type: multipart/") && facts_.boundary.empty()) facts_.boundary = line;
  }

  void takeElement(const Node& node) {
    const std::string_view name = localNameOf(node.name);
    if (isReply_ && node.kind == Kind::element) takeReplyElement(node, name);
    if (node.kind != Kind::field) return;
    if (name == "className") keepFirst(facts_.interfaceName, node);
    if (name == "methodName") keepFirst(facts_.methodName, node);
    if (name == "objectHandle") (isReply_ ? facts_.replyHandle : facts_.requestHandle) = textOf(node);
    if (isReply_ && name == "errorCode") facts_.errorCode = numberIn(textOf(node));
    if (isReply_ && name == "errorText") facts_.errorText = textOf(node);
  }

  void takeReplyElement(const Node& node, std::string_view name) {
    if (name == "Fault") facts_.isFault = true;
    if (facts_.isFault && name == "faultstring") facts_.errorText = textOf(node);
    if (name == "status") facts_.isWorking = textOf(node) == "working";
  }

  static void keepFirst(std::string& fact, const Node& node) {
    if (fact.empty()) fact = textOf(node);
  }
  static std::string unquoted(const std::string& text) {
    const bool isQuoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return isQuoted ? text.substr(1, text.size() - 2) : text;
  }

  ExchangeFacts& facts_;
  bool isReply_;
};

/// Writes nodes as arrays: name, kind, value or null, bytes of the value where it is cut, offset, length, parts, faults
class TreeJson {
 public:
  std::string take() { return std::move(out_); }

  void write(const Node& node) {
    out_ += '[';
    out_ += scriptJson(node.name) + ',' + scriptJson(nameOf(node.kind)) + ',';
    writeValue(node);
    out_ += ',' + std::to_string(node.offset) + ',' + std::to_string(node.length);
    if (!node.children.empty() || !node.faults.empty()) writeParts(node);
    out_ += ']';
  }

 private:
  void writeValue(const Node& node) {
    const Value value = valueOf(node, kMostOfValue);
    if (value.type == Value::Type::none) {
      out_ += "null,0";
      return;
    }
    out_ += scriptJson(value.type == Value::Type::hex ? "0x" + value.text : value.text);
    out_ += value.cut ? ',' + std::to_string(node.value.size()) : ",0";
  }

  void writeParts(const Node& node) {
    out_ += ",[";
    for (const Node& child : node.children) {
      if (&child != &node.children.front()) out_ += ',';
      write(child);
    }
    out_ += "],[";
    for (const Fault& fault : node.faults) {
      if (&fault != &node.faults.front()) out_ += ',';
      out_ += '[' + std::to_string(fault.offset) + ',' + scriptJson(fault.text) + ']';
    }
    out_ += ']';
  }

  std::string out_;
};

void findFacts(const Node& node, ExchangeFacts& facts) {
  const bool isReply = node.kind == Kind::reply;
  if (isReply) facts.hasReply = true;
  if (isReply || node.kind == Kind::request) return FactFinder(facts, isReply).find(node);
  for (const Node& child : node.children) findFacts(child, facts);
}

}  // namespace

ExchangeTree treeOfExchange(Bytes exchange) {
  const Decoded decoded = decode(exchange, Form::dump, kLimits);
  ExchangeTree tree;
  findFacts(decoded.root, tree.facts);
  TreeJson json;
  json.write(decoded.root);
  tree.json = json.take();
  return tree;
}

std::string scriptJson(std::string_view text) {
  const std::string json = nlohmann::json(text).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
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
