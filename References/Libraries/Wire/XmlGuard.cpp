#include "References/Libraries/Wire/XmlGuard.h"

#include <algorithm>
#include <iterator>

namespace qz::wire {
namespace {

template <class Char>
class Scanner {
 public:
  using View = std::basic_string_view<Char>;

  explicit Scanner(View text) : rest_(text) {}

  XmlRisk run() {
    while (toNextTag()) {
      if (skipQuoted("<!--", "-->") || skipQuoted("<![CDATA[", "]]>") || skipQuoted("<?", "?>")) continue;
      if (startsWith("<!")) return XmlRisk::DocumentType;
      if (startsWith("</"))
        leave();
      else if (enter() > kMaxXmlDepth)
        return XmlRisk::TooDeep;
    }
    return XmlRisk::None;
  }

 private:
  bool toNextTag() {
    const auto at = rest_.find(Char('<'));
    if (at == View::npos) return false;
    rest_.remove_prefix(at);
    return true;
  }

  bool startsWith(std::string_view mark) const {
    return rest_.size() >= mark.size() && std::equal(mark.begin(), mark.end(), rest_.begin());
  }

  bool skipQuoted(std::string_view open, std::string_view close) {
    if (!startsWith(open)) return false;
    rest_.remove_prefix(open.size());
    const auto end = std::search(rest_.begin(), rest_.end(), close.begin(), close.end());
    const auto skipped = static_cast<std::size_t>(std::distance(rest_.begin(), end));
    rest_.remove_prefix(std::min(rest_.size(), skipped + close.size()));
    return true;
  }

  void leave() {
    if (depth_ > 0) --depth_;
    rest_.remove_prefix(2);
  }

  /// Walks over a start tag, whose attribute values may hold ">".
  std::size_t enter() {
    Char quote = 0;
    std::size_t at = 1;
    for (; at < rest_.size(); ++at) {
      const Char c = rest_[at];
      if (quote != 0)
        quote = c == quote ? Char(0) : quote;
      else if (c == Char('"') || c == Char('\''))
        quote = c;
      else if (c == Char('>'))
        break;
    }
    const bool empty = at < rest_.size() && rest_[at - 1] == Char('/');
    rest_.remove_prefix(at);
    return empty ? depth_ : ++depth_;
  }

  View rest_;
  std::size_t depth_ = 0;
};

}  // namespace

XmlRisk findXmlRisk(std::string_view text) { return Scanner<char>(text).run(); }
XmlRisk findXmlRisk(std::wstring_view text) { return Scanner<wchar_t>(text).run(); }

const char* describe(XmlRisk risk) {
  switch (risk) {
    case XmlRisk::DocumentType:
      return "Xml contains a document type declaration, which is refused.";
    case XmlRisk::TooDeep:
      return "Xml is nested too deeply.";
    case XmlRisk::None:
      break;
  }
  return "";
}

}  // namespace qz::wire
