// The five entities of XML text.
#pragma once

#include <string>
#include <string_view>

namespace qz::wire {

/// `text` with & < > ' " written as &amp; &lt; &gt; &apos; &quot;.
std::string encodeXml(std::string_view text);

/// `text` with the five entities turned back into their characters, one level only: "&amp;lt;" becomes "&lt;". Any
/// other use of "&" stays as it is.
std::string decodeXml(std::string_view text);

}  // namespace qz::wire
