// Texts of logs and of the wire on the page of a report: as data, readable, and never markup or script.
#pragma once

#include <string>
#include <string_view>

namespace qzcall {

/// Text for HTML in one line. Control characters, characters that turn the direction of a text and bytes that are no
/// UTF-8 are written out as \n, \u200e, \xff.
std::string htmlText(std::string_view text);

/// The same as a JSON string in ASCII, without a character that could end a script element. Line feeds and tabs stay.
std::string scriptJson(std::string_view text);

}  // namespace qzcall
