// Finding elements in envelope text without parsing it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <tl/expected.hpp>

namespace qz::wire {

/// How tags are written: "<name>" or "&lt;name&gt;".
enum class TagForm { Plain, Escaped };

/// Which tag of an element is missing.
enum class MissingTag { Open, Close };

/// Index just behind the first start tag at or behind `from` whose name begins with `name`, or npos. Attributes are
/// skipped; an empty-element tag counts as a start tag.
std::size_t findBeginTag(std::string_view text, std::size_t from, std::string_view name, TagForm form);

/// Index at which the first end tag of `name` at or behind `from` begins, or npos.
std::size_t findEndTag(std::string_view text, std::size_t from, std::string_view name, TagForm form);

/// What stands between the first start tag of `name` and the first end tag behind it, as it is.
tl::expected<std::string_view, MissingTag> extractNodeValue(std::string_view text, std::string_view name, TagForm form);

/// "No open tag for node " or "No close tag for node ", and the name.
std::string missingTagText(MissingTag missing, std::string_view name);

/// Cuts the escaped `qzSOAPBody` element out of an envelope's body, its tags included.
tl::expected<std::string_view, MissingTag> cutInnerBody(std::string_view body);

/// Unescapes an inner body: first &lt; then &gt; then &amp; then &quot;, so that "&amp;quot;" becomes a double quote.
std::string unescapeInnerBody(std::string_view escaped);

/// The namespace declarations that an unescaped inner body needs to be a document of its own are put into its start tag
/// when it uses the prefix `xsi` without declaring it.
std::string withDeclaredPrefixes(std::string innerBody);

}  // namespace qz::wire
