// What must not reach an XML parser.
#pragma once

#include <cstddef>
#include <string_view>

namespace qz::wire {

/// Why a text is kept from the parser.
enum class XmlRisk {
  None,
  DocumentType,  ///< it declares a document type, and with it may define entities
  TooDeep        ///< its elements are nested deeper than a recursive reader can bear
};

/// Nesting that no message needs.
inline constexpr std::size_t kMaxXmlDepth = 256;

/// Looks through `text` outside comments, CDATA sections and processing instructions. Text that is not well-formed may
/// count as harmless: the parser refuses it.
XmlRisk findXmlRisk(std::string_view text);
/// The same for the text as the parser gets it.
XmlRisk findXmlRisk(std::wstring_view text);

/// The reason as a sentence; "" for none.
const char* describe(XmlRisk risk);

}  // namespace qz::wire
