// Envelopes, and the documents that stand escaped inside of them.
#include <algorithm>

#include "Tools/qzcall/DecodeParts.h"

namespace qzcall {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kBlank = " \t\r\n";

/// How the brackets of tags are written.
struct Brackets {
  std::string_view open;
  std::string_view close;
  Kind kind;  ///< of the elements
};

constexpr Brackets kPlain{"<", ">", Kind::element};
constexpr Brackets kEscaped{"&lt;", "&gt;", Kind::field};

bool isNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c < 0; }

std::string_view localName(std::string_view name) { return name.substr(name.find(':') + 1); }

bool isBlank(std::string_view text) { return text.find_first_not_of(kBlank) == kNone; }

/// Reads a text of tags into the tree.
class XmlReader {
 public:
  XmlReader(Level& level, const Piece& piece, const Brackets& brackets)
      : budget_(level.budget()), piece_(piece), text_(piece.text()), brackets_(brackets) {
    open_.push_back({&level.node(), 0});
  }

  void read() {
    while (!stopped_ && at_ < text_.size()) {
      const std::size_t tag = nextTag();
      if (tag == kNone) break;
      at_ = tag + brackets_.open.size();
      takeTag(tag);
    }
    if (stopped_) return;
    addText(text_.size());
    if (open_.size() > 1) stop(text_.size(), "the text ends inside of " + described(*open_.back().node));
  }

 private:
  struct Open {
    Node* node;
    std::size_t content;  ///< where its content, or what follows its last child, begins
  };

  std::size_t nextTag() const {
    for (std::size_t tag = text_.find(brackets_.open, at_); tag != kNone;
         tag = text_.find(brackets_.open, tag + brackets_.open.size())) {
      const std::string_view behind = text_.substr(tag + brackets_.open.size());
      // Between elements of an escaped document an escaped bracket may as well be one of a text.
      if (&brackets_ == &kPlain || (!behind.empty() && (isNameStart(behind[0]) || behind[0] == '/'))) return tag;
    }
    return kNone;
  }

  void takeTag(std::size_t tag) {
    const std::string_view behind = text_.substr(at_);
    if (behind.starts_with("!--")) return passOver(tag, "--", "a comment");
    if (behind.starts_with("![CDATA[")) return takeCharacters(tag);
    if (behind.starts_with('?')) return passOver(tag, "?", "an instruction");
    if (behind.starts_with('!')) return stop(tag, "the text declares a document type, which the library refuses");
    if (behind.starts_with('/')) return takeEndTag(tag);
    takeStartTag(tag);
  }

  /// Goes on behind what ends with `mark` and a bracket.
  std::size_t endOf(std::size_t tag, std::string_view mark, const char* what) {
    const std::string end = std::string(mark) + std::string(brackets_.close);
    const std::size_t found = text_.find(end, at_);
    if (found == kNone) {
      stop(tag, std::string("the text ends inside of ") + what);
    } else {
      at_ = found + end.size();
    }
    return found;
  }

  void passOver(std::size_t tag, std::string_view mark, const char* what) {
    addText(tag);
    endOf(tag, mark, what);
    open_.back().content = at_;
  }

  void takeCharacters(std::size_t tag) {
    addText(tag);
    const std::size_t end = endOf(tag, "]]", "a CDATA section");
    if (end != kNone) addChild(Kind::text, "CDATA", tag, at_, piece_.from(tag + 9, end - tag - 9).bytes);
    open_.back().content = at_;
  }

  /// The bracket that closes the tag; one inside of quotes does not.
  std::size_t closeOf() const {
    char quote = '\0';
    for (std::size_t i = at_; i < text_.size(); ++i) {
      if (quote == '\0' && text_.substr(i).starts_with(brackets_.close)) return i;
      if (text_[i] == quote) {
        quote = '\0';
      } else if (quote == '\0' && (text_[i] == '"' || text_[i] == '\'')) {
        quote = text_[i];
      }
    }
    return kNone;
  }

  void takeStartTag(std::size_t tag) {
    const std::size_t close = closeOf();
    if (close == kNone) return stop(tag, "the text ends inside of a tag");
    const std::string_view inside = text_.substr(at_, close - at_);
    const std::string name(inside.substr(0, inside.find_first_of(" \t\r\n/")));
    if (name.empty() || !isNameStart(name[0])) return stop(tag, "a tag without a name");
    if (open_.size() > budget_.left.depth) return stop(tag, "<" + shown(name) + "> is nested too deeply to be opened");
    addText(tag);
    at_ = close + brackets_.close.size();
    Node* const node = addChild(brackets_.kind, name, tag, at_, {});
    if (node == nullptr) return;
    if (inside.ends_with('/')) {
      open_.back().content = at_;
    } else {
      open_.push_back({node, at_});
    }
  }

  void takeEndTag(std::size_t tag) {
    const std::size_t close = text_.find(brackets_.close, at_);
    if (close == kNone) return stop(tag, "the text ends inside of a tag");
    std::string_view name = text_.substr(at_ + 1, close - at_ - 1);
    name = name.substr(0, name.find_last_not_of(kBlank) + 1);
    if (open_.size() == 1) return stop(tag, "</" + shown(name) + "> closes nothing");
    if (name != open_.back().node->name)
      return stop(tag, "</" + shown(name) + "> stands inside of " + described(*open_.back().node));
    at_ = close + brackets_.close.size();
    closeElement(tag);
  }

  void closeElement(std::size_t contentEnd) {
    const Open element = open_.back();
    Node& node = *element.node;
    if (node.children.empty()) {
      node.value = piece_.bytes.subspan(element.content, contentEnd - element.content);
      readInner(node, piece_.from(element.content, contentEnd - element.content));
    } else {
      addText(contentEnd);
    }
    open_.pop_back();
    node.length = piece_.offset + at_ - node.offset;
    open_.back().content = at_;
  }

  /// A call's own fields are a document that stands escaped in an element called data.
  void readInner(Node& node, const Piece& content) {
    if (&brackets_ != &kPlain || localName(node.name) != "data" || !content.text().starts_with(kEscaped.open)) return;
    Level inner(node, budget_);
    XmlReader(inner, content, kEscaped).read();
  }

  /// What stands between elements, up to `end`, unless it is blank.
  void addText(std::size_t end) {
    const std::size_t begin = open_.back().content;
    const std::string_view between = text_.substr(begin, end - begin);
    if (!isBlank(between)) addChild(Kind::xmlText, "", begin, end, piece_.bytes.subspan(begin, end - begin));
  }

  Node* addChild(Kind kind, std::string name, std::size_t begin, std::size_t end, Bytes value) {
    Level level(*open_.back().node, budget_);
    Node* const node = level.add(kind, std::move(name), piece_.from(begin, end - begin));
    if (node == nullptr) stopped_ = true;
    if (node != nullptr) node->value = value;
    return node;
  }

  void stop(std::size_t at, std::string text) {
    stopped_ = true;
    open_.back().node->faults.push_back({piece_.offset + at, std::move(text)});
  }

  static std::string shown(std::string_view name) { return forTerminal(name, 60); }
  static std::string described(const Node& element) {
    return "<" + shown(element.name) + ">, which begins at " + hexOffset(element.offset);
  }

  Budget& budget_;
  const Piece& piece_;
  std::string_view text_;
  const Brackets& brackets_;
  std::vector<Open> open_;  // a part's siblings come only when it is closed, so that the pointers stay good
  std::size_t at_ = 0;
  bool stopped_ = false;
};

}  // namespace

void readEnvelope(Level& level, const Piece& piece) {
  const bool hasMark = piece.text().starts_with("\xEF\xBB\xBF");
  const Piece text = piece.from(hasMark ? 3 : 0);
  if (text.text().find("<SOAP-ENV:Envelope") == kNone)
    level.fault(text.offset, "there is no <SOAP-ENV:Envelope, by which an envelope is found");
  XmlReader(level, text, kPlain).read();
}

}  // namespace qzcall
