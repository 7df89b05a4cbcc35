#include "RuntimeEngine/qzSOAP/InetCookies.h"

#include "References/Common/Ascii.h"
#include "References/Libraries/Platform/CookieStore.h"
#include "References/Libraries/Rpc/BufferListOps.h"
#include "References/Libraries/Rpc/TokenCookies.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"
#include "qzSOAP.h"

namespace {

constexpr const char* kSource = "RuntimeEngine/qzSOAP/InetCookies";

using qz::viewOf;
using qz::flat::guarded;
using qz::rpc::messageIn;

std::vector<std::string_view> textsOf(const CqzBufferList& list) {
  std::vector<std::string_view> texts;
  for (long i = 0; i < list.getCount(); ++i) texts.push_back(messageIn(*list.getAt(i)));
  return texts;
}

/// Index of the first text that holds the named cookie, and its value.
std::optional<std::pair<long, std::string>> find(const char* name, const CqzBufferList& list) {
  for (long i = 0; i < list.getCount(); ++i) {
    if (const auto value = qz::wire::cookieValue(messageIn(*list.getAt(i)), viewOf(name)))
      return std::pair(i, std::string(*value));
  }
  return std::nullopt;
}

}  // namespace

bool CINetCookies::extractCookiesFromHTTPHeader(const char* headers, CqzBufferList& list) noexcept {
  return guarded(kSource, "extractCookiesFromHTTPHeader", false, [&] {
    // A copy: the headers may be an element of the list.
    const std::string text(viewOf(headers));
    qz::rpc::storeCookieLines(text, list);
    return list.getCount() > 0;
  });
}

bool CINetCookies::updateFromCookies(const CqzBufferList& list, ITKRTT& token) noexcept {
  return guarded(kSource, "updateFromCookies", true, [&] {
    qz::rpc::storeSessionCookies(textsOf(list), token);
    return true;
  });
}

bool CINetCookies::updateFromCookies(const char* url, ITKRTT& token) noexcept {
  return guarded(kSource, "updateFromCookies", false, [&] {
    const std::string address(viewOf(url));
    if (!qz::rpc::updateFromCookieStore(address.c_str(), token)) return false;
    rpcSOAPGetPryContextAndCredentialFromPassportID(address.c_str(), nullptr, &token);
    return true;
  });
}

bool CINetCookies::readINetCookies(const char* url, CqzBuffer& text) noexcept {
  return guarded(kSource, "readINetCookies", false, [&] {
    const auto stored = qz::platform::readStoredCookies(std::string(viewOf(url)));
    if (stored) qz::rpc::setText(text, *stored);
    return stored.has_value();
  });
}

bool CINetCookies::readAllINetCookies(const char* url, CqzBufferList& urls, CqzBufferList& texts) noexcept {
  return guarded(kSource, "readAllINetCookies", false, [&] {
    const auto stored = qz::rpc::readCookiesOfPrefixes(viewOf(url));
    urls.removeAll();
    texts.removeAll();
    for (const auto& entry : stored) {
      qz::rpc::addText(urls, entry.url);
      qz::rpc::addText(texts, entry.text);
    }
    return !stored.empty();
  });
}

bool CINetCookies::readINetSMCookies(const char* url, CqzBuffer& value, CqzBuffer& urlPrefix) noexcept {
  return guarded(kSource, "readINetSMCookies", false, [&] {
    const auto stored = qz::rpc::readCookiesOfPrefixes(viewOf(url));
    const auto found = qz::rpc::findStoredCookie(stored, qz::wire::kSiteMinderCookie);
    if (!found) return false;
    qz::rpc::setText(value, found->value);
    qz::rpc::setText(urlPrefix, found->where->url);
    return true;
  });
}

bool CINetCookies::extractCookie(const char* name, const char* text, CqzBuffer& value) noexcept {
  return guarded(kSource, "extractCookie", false, [&] {
    const auto found = qz::wire::cookieValue(viewOf(text), viewOf(name));
    if (found) qz::rpc::setText(value, std::string(*found));
    return found.has_value();
  });
}

bool CINetCookies::extractCookie(const char* name, const CqzBufferList& texts, CqzBuffer& value) noexcept {
  return guarded(kSource, "extractCookie", false, [&] {
    const auto found = find(name, texts);
    if (found) qz::rpc::setText(value, found->second);
    return found.has_value();
  });
}

bool CINetCookies::extractCookie(const char* name, const CqzBufferList& urls, const CqzBufferList& texts,
                                 CqzBuffer& value, CqzBuffer& url) noexcept {
  return guarded(kSource, "extractCookie", false, [&] {
    const auto found = find(name, texts);
    if (!found) return false;
    const auto* const place = urls.getAt(found->first);
    qz::rpc::setText(url, place == nullptr ? std::string() : std::string(messageIn(*place)));
    qz::rpc::setText(value, found->second);
    return true;
  });
}
