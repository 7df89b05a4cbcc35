#include "Tools/qzcall/ReportTree.h"

#include <charconv>
#include <utility>

#include "Tools/qzcall/Decode.h"
#include "Tools/qzcall/ReportText.h"

namespace qzcall {
namespace {

/// Bytes of a value that the page has.
constexpr std::size_t kMostOfValue = 4096;
constexpr std::size_t kMostOfName = 300;
constexpr std::size_t kMostOfFact = 400;
/// Bytes of JSON for a request, and as many for its reply.
constexpr std::size_t kMostOfMessage = std::size_t{512} << 10;
constexpr Limits kLimits{.depth = 48, .nodes = 50000, .inflated = std::size_t{8} << 20};

std::string_view localNameOf(std::string_view name) { return name.substr(name.rfind(':') + 1); }

std::string textOf(const Node& node) { return valueOf(node, kMostOfFact).text; }

bool isMessage(const Node& node) { return node.kind == Kind::request || node.kind == Kind::reply; }

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
    if (isMessage(node)) beginMessage();
    const bool isLong = node.name.size() > kMostOfName;
    out_ += '[';
    out_ += scriptJson(isLong ? node.name.substr(0, kMostOfName) + "..." : node.name);
    out_ += ',' + scriptJson(nameOf(node.kind)) + ',';
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
    const Node* const leftOut = writeChildren(node);
    out_ += "],[";
    for (const Fault& fault : node.faults) writeFault(fault);
    if (leftOut != nullptr && !std::exchange(isCut_, true))
      writeFault({leftOut->offset, "too large for the page: what begins here was left out"});
    if (out_.back() == ',') out_.pop_back();
    out_ += ']';
  }

  /// Returns the first part for which there is no room.
  const Node* writeChildren(const Node& node) {
    for (const Node& child : node.children) {
      if (out_.size() > end_ && !(isMessage(child) && messages_ < kMessages)) return &child;
      if (&child != &node.children.front()) out_ += ',';
      write(child);
    }
    return nullptr;
  }

  void writeFault(const Fault& fault) {
    out_ += '[' + std::to_string(fault.offset) + ',' + scriptJson(fault.text) + "],";
  }

  /// Each of the two messages of an exchange has room of its own.
  void beginMessage() {
    if (messages_ == kMessages) return;
    ++messages_;
    end_ = out_.size() + kMostOfMessage;
    isCut_ = false;
  }

  static constexpr std::size_t kMessages = 2;
  std::string out_;
  std::size_t end_ = kMostOfMessage;
  std::size_t messages_ = 0;
  bool isCut_ = false;
};

void findFacts(const Node& node, ExchangeFacts& facts) {
  const bool isReply = node.kind == Kind::reply;
  if (isReply) facts.hasReply = true;
  if (isReply || node.kind == Kind::request) return FactFinder(facts, isReply).find(node);
  for (const Node& child : node.children) findFacts(child, facts);
}

}  // namespace

ExchangeTree treeOfExchange(std::string_view exchange) {
  const Bytes bytes(reinterpret_cast<const unsigned char*>(exchange.data()), exchange.size());
  const Decoded decoded = decode(bytes, Form::dump, kLimits);
  ExchangeTree tree;
  findFacts(decoded.root, tree.facts);
  TreeJson json;
  json.write(decoded.root);
  tree.json = json.take();
  return tree;
}

}  // namespace qzcall
