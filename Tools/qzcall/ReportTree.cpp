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
/// Bytes of JSON for the parts of a request, and as many for those of its reply.
constexpr std::size_t kRoomOfMessage = std::size_t{512} << 10;
constexpr Limits kLimits{.depth = 48, .nodes = 50000, .inflated = std::size_t{8} << 20};

std::string_view localNameOf(std::string_view name) { return name.substr(name.rfind(':') + 1); }

std::string textOf(const Node& node) { return valueOf(node, kMostOfFact).text; }

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

/// Writes nodes as arrays: name, kind, value or null, bytes of the value where it is cut, offset, length, parts, faults.
/// Where either of the last two is not empty, both are there.
class TreeJson {
 public:
  /// Adds the messages of a dump. They have room of their own, beside those of others.
  void add(const Node& dump) {
    end_ = parts_.size() + kRoomOfMessage;
    isCut_ = false;
    for (const Node& exchange : dump.children) {
      writeChildren(exchange, faults_);
      for (const Fault& fault : exchange.faults) writeFault(fault, faults_);
    }
    for (const Fault& fault : dump.faults) writeFault(fault, faults_);
  }

  /// All of them, as parts of one exchange.
  std::string take() const {
    return std::string("[\"\",\"exchange\",null,0,0,0,[")
               .append(withoutComma(parts_))
               .append("],[")
               .append(withoutComma(faults_)) +
           "]]";
  }

 private:
  void write(const Node& node) {
    const bool isLong = node.name.size() > kMostOfName;
    parts_ += '[';
    parts_ += scriptJson(isLong ? node.name.substr(0, kMostOfName) + "..." : node.name);
    parts_ += ',' + scriptJson(nameOf(node.kind)) + ',';
    writeValue(node);
    parts_ += ',' + std::to_string(node.offset) + ',' + std::to_string(node.length);
    if (!node.children.empty() || !node.faults.empty()) writeParts(node);
    parts_ += "],";
  }

  void writeValue(const Node& node) {
    const Value value = valueOf(node, kMostOfValue);
    if (value.type == Value::Type::none) {
      parts_ += "null,0";
      return;
    }
    parts_ += scriptJson(value.type == Value::Type::hex ? "0x" + value.text : value.text);
    parts_ += value.cut ? ',' + std::to_string(node.value.size()) : ",0";
  }

  void writeParts(const Node& node) {
    std::string faults;
    parts_ += ",[";
    writeChildren(node, faults);
    if (parts_.back() == ',') parts_.pop_back();
    for (const Fault& fault : node.faults) writeFault(fault, faults);
    parts_ += "],[";
    parts_ += withoutComma(faults);
    parts_ += ']';
  }

  void writeChildren(const Node& node, std::string& faults) {
    for (const Node& child : node.children) {
      if (parts_.size() <= end_) {
        write(child);
      } else if (!std::exchange(isCut_, true)) {
        writeFault({child.offset, "too large for the page: what begins here was left out"}, faults);
      }
    }
  }

  static void writeFault(const Fault& fault, std::string& faults) {
    faults += '[' + std::to_string(fault.offset) + ',' + scriptJson(fault.text) + "],";
  }
  static std::string_view withoutComma(std::string_view list) { return list.substr(0, list.size() - !list.empty()); }

  std::string parts_;
  std::string faults_;
  std::size_t end_ = 0;
  bool isCut_ = false;
};

/// The first message of its kind counts: what seems to follow it stands in a text, or in a request that is broken.
const Node* messageIn(const Node& dump, Kind kind) {
  for (const Node& exchange : dump.children)
    for (const Node& message : exchange.children)
      if (message.kind == kind) return &message;
  return nullptr;
}

void takeMessage(std::string_view text, bool isReply, ExchangeFacts& facts, TreeJson& json) {
  if (text.empty()) return;
  const Bytes bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  const Decoded decoded = decode(bytes, Form::dump, kLimits);
  if (const Node* const message = messageIn(decoded.root, isReply ? Kind::reply : Kind::request))
    FactFinder(facts, isReply).find(*message);
  json.add(decoded.root);
}

}  // namespace

ExchangeTree treeOfExchange(std::string_view request, std::string_view reply) {
  ExchangeTree tree;
  TreeJson json;
  takeMessage(request, false, tree.facts, json);
  takeMessage(reply, true, tree.facts, json);
  tree.facts.hasReply = !reply.empty();
  tree.json = json.take();
  return tree;
}

}  // namespace qzcall
