// The cookies of a token, and how the known session cookies get into it: from a reply's headers and from the system's
// cookie store.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ITKRTT.h"
#include "References/Libraries/Rpc/BufferListOps.h"
#include "References/Libraries/Wire/CookieScan.h"

namespace qz::rpc {

/// The bytes of `text`; valid until it changes.
inline std::string_view textOf(const ITKString& text) {
  return {text.c_str(), static_cast<std::size_t>(text.getLength())};
}

/// All cookies in order; valid until the array changes.
std::vector<wire::CookieView> cookieViews(const ITKCookieArray& cookies);

/// The "Cookie: " line of a token as SessionToken::cookieLine() describes it.
std::string cookieLineOf(const ITKRTT& token);

/// Cookies that the system's store holds for one prefix of a URL.
struct StoredCookies {
  std::string url;   ///< the prefix, with its last slash
  std::string text;  ///< "name=value; name=value"
};

/// Asks the store for every prefix of `url` that ends with a slash, shortest first; prefixes without cookies are left
/// out.
std::vector<StoredCookies> readCookiesOfPrefixes(std::string_view url);

/// The first of `stored` that holds the named cookie, and its value.
struct FoundCookie {
  const StoredCookies* where;  ///< one of the elements given
  std::string_view value;      ///< part of its text
};

/// Looks the named cookie up; nothing when no text holds it.
std::optional<FoundCookie> findStoredCookie(const std::vector<StoredCookies>& stored, std::string_view name);

/// Replaces the content of a face's list by the cookie lines of raw response headers, as wire::cookieLines() finds them.
/// @param headers must not stand in the list
/// @throws std::bad_alloc when the list could not take all of them
template <class BufferList>
void storeCookieLines(std::string_view headers, BufferList& list) {
  list.removeAll();
  for (const auto line : wire::cookieLines(headers)) addText(list, line);
}

/// Looks each known session cookie up in `texts` (a range of texts), the first text that holds it first, and stores
/// every value found, in the order of the table.
template <class Texts>
void storeSessionCookies(const Texts& texts, ITKRTT& token) {
  for (const char* name : wire::kSessionCookies) {
    for (const auto& text : texts) {
      if (const auto value = wire::cookieValue(text, name)) {
        token.setCookieValue(name, std::string(*value).c_str());
        break;
      }
    }
  }
}

/// Fills the token from the system's store: URL, known session cookies, and the SiteMinder session with the prefix at
/// which it was found. False, and nothing changed, when the store holds nothing for the URL.
bool updateFromCookieStore(const char* url, ITKRTT& token);

}  // namespace qz::rpc
