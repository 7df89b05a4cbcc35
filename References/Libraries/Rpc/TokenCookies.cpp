#include "References/Libraries/Rpc/TokenCookies.h"

#include <utility>

#include "References/Common/Ascii.h"
#include "References/Libraries/Platform/CookieStore.h"

namespace qz::rpc {

std::vector<wire::CookieView> cookieViews(const ITKCookieArray& cookies) {
  std::vector<wire::CookieView> views;
  views.reserve(static_cast<std::size_t>(cookies.getCount()));
  for (long i = 0; i < cookies.getCount(); ++i)
    views.push_back({textOf(cookies.getAt(i)->name), textOf(cookies.getAt(i)->value)});
  return views;
}

std::string cookieLineOf(const ITKRTT& token) {
  const auto line = wire::cookieHeaderLine(wire::kCookieLinePrefix, cookieViews(token.getCookies()));
  return wire::sanitizedCookieLine(line.value_or(""));
}

std::vector<StoredCookies> readCookiesOfPrefixes(std::string_view url) {
  std::vector<StoredCookies> stored;
  for (const auto prefix : wire::storePrefixes(url)) {
    std::string address(prefix);
    if (auto text = platform::readStoredCookies(address)) stored.push_back({std::move(address), *std::move(text)});
  }
  return stored;
}

std::optional<FoundCookie> findStoredCookie(const std::vector<StoredCookies>& stored, std::string_view name) {
  for (const auto& entry : stored) {
    if (const auto value = wire::cookieValue(entry.text, name)) return FoundCookie{&entry, *value};
  }
  return std::nullopt;
}

bool updateFromCookieStore(const char* url, ITKRTT& token) {
  const std::string address(viewOf(url));
  const auto own = platform::readStoredCookies(address);
  const auto stored = readCookiesOfPrefixes(address);
  const auto siteMinder = findStoredCookie(stored, wire::kSiteMinderCookie);
  if (!own && !siteMinder) return false;
  token.setURL(address.c_str());
  if (own) storeSessionCookies(std::vector{std::string_view(*own)}, token);
  if (siteMinder) {
    token.setSMSession(std::string(siteMinder->value).c_str());
    token.setSMSessionUrl(siteMinder->where->url.c_str());
  }
  return true;
}

}  // namespace qz::rpc
