// What a browser, or a client that plays one, sends along with a request.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace qzgateway {

using Fields = std::map<std::string, std::string, std::less<>>;

/// Decodes a form, or the query of a URL: NAME=VALUE, joined by "&". Of several with one name the first counts.
/// @return the fields in UTF-8, or a sentence that says what is wrong with the text
tl::expected<Fields, std::string> decodeFields(std::string_view text);

/// What stands behind the "?" of a URL.
std::string queryOf(std::string_view url);

/// The value of the first field `name`; empty when there is none.
std::string_view fieldIn(const Fields& fields, std::string_view name);

/// The value of the first cookie `name` in the value of a Cookie header; empty when there is none.
std::string cookieIn(std::string_view cookies, std::string_view name);

/// The value of a Cookie header as it may be shown: of each cookie the name, and of its value the beginning.
std::string cutCookies(std::string_view cookies);

}  // namespace qzgateway
