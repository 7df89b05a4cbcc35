// How the known session cookies get into a token: from a reply's headers and from the system's cookie store.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "References/Libraries/Platform/CookieStore.h"
#include "References/Libraries/Wire/CookieScan.h"

namespace qz::rpc {

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

/// Looks each known session cookie up in `texts` (a range of texts), the first text that holds it first, and stores
/// every value found, in the order of the table.
template <class Texts, class Token>
void storeSessionCookies(const Texts& texts, Token& token) {
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
template <class Token>
bool updateFromCookieStore(const char* url, Token& token) {
  const std::string address(url == nullptr ? "" : url);
  const auto own = platform::readStoredCookies(address);
  const auto stored = readCookiesOfPrefixes(address);
  const auto siteMinder = findStoredCookie(stored, wire::kSiteMinderCookie);
  if (!own && !siteMinder) return false;
  token.setURL(address.c_str());
  if (own) storeSessionCookies(std::vector<std::string_view>{*own}, token);
  if (siteMinder) {
    token.setSMSession(std::string(siteMinder->value).c_str());
    token.setSMSessionUrl(siteMinder->where->url.c_str());
  }
  return true;
}

}  // namespace qz::rpc
