#include "References/Libraries/Wire/TagScan.h"

#include <initializer_list>

#include "References/Common/Ascii.h"
#include "References/Libraries/Wire/Replace.h"

namespace qz::wire {
namespace {

constexpr std::size_t npos = std::string_view::npos;
constexpr std::string_view kInnerOpen = "&lt;qzSOAPBody";
constexpr std::string_view kInnerClose = "&lt;/qzSOAPBody&gt;";

std::string_view opening(TagForm form) { return form == TagForm::Plain ? "<" : "&lt;"; }
std::string_view closing(TagForm form) { return form == TagForm::Plain ? ">" : "&gt;"; }

/// Index of the first `lead` + `name` + `tail` at or behind `from`, without putting the three together.
std::size_t findTag(std::string_view text, std::size_t from, std::string_view lead, std::string_view name,
                    std::string_view tail) {
  for (auto at = text.find(lead, from); at != npos; at = text.find(lead, at + 1)) {
    const auto rest = text.substr(at + lead.size());
    if (rest.starts_with(name) && rest.substr(name.size()).starts_with(tail)) return at;
  }
  return npos;
}

/// True when `startTag` holds `xmlns:prefix`, with or without blanks before its equals sign.
bool declares(std::string_view startTag, std::string_view prefix) {
  const auto at = findTag(startTag, 0, "xmlns:", prefix, {});
  if (at == npos) return false;
  const auto behind = startTag.substr(at + 6 + prefix.size());
  return (!behind.empty() && (behind.front() == '=' || isAsciiSpace(behind.front()))) || declares(behind, prefix);
}

}  // namespace

std::size_t findBeginTag(std::string_view text, std::size_t from, std::string_view name, TagForm form) {
  const auto at = findTag(text, from, opening(form), name, {});
  if (at == npos) return npos;
  const auto end = text.find(closing(form), at + opening(form).size() + name.size());
  return end == npos ? npos : end + closing(form).size();
}

std::size_t findEndTag(std::string_view text, std::size_t from, std::string_view name, TagForm form) {
  return findTag(text, from, form == TagForm::Plain ? "</" : "&lt;/", name, closing(form));
}

tl::expected<std::string_view, MissingTag> extractNodeValue(std::string_view text, std::string_view name,
                                                            TagForm form) {
  const auto begin = findBeginTag(text, 0, name, form);
  if (begin == npos) return tl::unexpected(MissingTag::Open);
  const auto end = findEndTag(text, begin, name, form);
  if (end == npos) return tl::unexpected(MissingTag::Close);
  return text.substr(begin, end - begin);
}

std::string missingTagText(MissingTag missing, std::string_view name) {
  return std::string(missing == MissingTag::Open ? "No open tag for node " : "No close tag for node ").append(name);
}

tl::expected<std::string_view, MissingTag> cutInnerBody(std::string_view body) {
  const auto open = body.find(kInnerOpen);
  if (open == npos) return tl::unexpected(MissingTag::Open);
  const auto close = body.find(kInnerClose, open + kInnerOpen.size());
  if (close == npos) return tl::unexpected(MissingTag::Close);
  return body.substr(open, close - open + kInnerClose.size());
}

std::string unescapeInnerBody(std::string_view escaped) {
  std::string text(escaped);
  replaceAll(text, "&lt;", "<");
  replaceAll(text, "&gt;", ">");
  replaceAll(text, "&amp;", "&");
  replaceAll(text, "&quot;", "\"");
  return text;
}

std::string withDeclaredPrefixes(std::string innerBody) {
  constexpr std::string_view name = "<qzSOAPBody";
  const auto startTag = std::string_view(innerBody).substr(0, innerBody.find('>'));
  if (!startTag.starts_with(name) || innerBody.find("xsi:") == npos || declares(startTag, "xsi")) return innerBody;
  std::string missing;
  for (const auto& [prefix, uri] : {std::pair{"xsi", "http://www.w3.org/2001/XMLSchema-instance"},
                                    {"xsd", "http://www.w3.org/2001/XMLSchema"},
                                    {"xs", "http://www.w3.org/2001/XMLSchema"},
                                    {"bus", "urn:bus"},
                                    {"SOAP-ENC", "http://schemas.xmlsoap.org/soap/encoding/"}}) {
    if (!declares(startTag, prefix)) missing.append(" xmlns:").append(prefix).append("=\"").append(uri).append("\"");
  }
  return innerBody.insert(name.size(), missing);
}

}  // namespace qz::wire
