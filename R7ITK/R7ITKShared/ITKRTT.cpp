#include "ITKRTT.h"

#include <string>
#include <utility>

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "ITKes.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Platform/CookieStore.h"
#include "References/Libraries/Rpc/TokenCookies.h"
#include "References/Libraries/Wire/CookieScan.h"

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKRTT";
// Below this many cookies looking at each is quicker than an index.
constexpr std::size_t kScanned = 16;

using qz::viewOf;
using qz::rpc::textOf;

ITKString stringOf(std::string_view text) { return ITKString(text.data(), static_cast<long>(text.size())); }

bool sameText(const ITKString& a, const ITKString& b) { return a.shares(b) || textOf(a) == textOf(b); }

ITKString pathOf(const char* url) { return stringOf(qz::wire::cookiePath(viewOf(url))); }

// All records share the one text of the path: hostile headers must not multiply it.
void addAll(const std::vector<qz::wire::CookieView>& found, const ITKString& path, ITKCookieArray& cookies) {
  for (const auto& cookie : found) cookies.add({stringOf(cookie.name), stringOf(cookie.value), path});
}

void logLine(long level, const std::string& text, std::source_location at = std::source_location::current()) {
  getITKes().logText(level, kSource, static_cast<long>(at.line()), std::string_view(text));
}

}  // namespace

void ITKCookieArray::add(const char* name, const char* value, const char* path) noexcept {
  itk::guarded(kSource, [&] { Store({name, value, path}); });
}

void ITKCookieArray::add(const ITKCookie& cookie) noexcept {
  itk::guarded(kSource, [&] { Store(cookie); });
}

bool ITKCookieArray::setPath(const char* name, const char* path) noexcept {
  auto* cookie = Find(viewOf(name));
  if (cookie != nullptr) cookie->path = path;
  return cookie != nullptr;
}

const ITKCookie* ITKCookieArray::find(const char* name) const noexcept {
  return const_cast<ITKCookieArray*>(this)->Find(viewOf(name));
}

long ITKCookieArray::getCount() const noexcept { return static_cast<long>(records_.size()); }

const ITKCookie* ITKCookieArray::getAt(long index) const noexcept {
  return index < 0 || index >= getCount() ? nullptr : &records_[static_cast<std::size_t>(index)];
}

void ITKCookieArray::removeAll() noexcept {
  places_.clear();
  records_.clear();
}

bool ITKCookieArray::operator==(const ITKCookieArray& other) const noexcept {
  return std::ranges::equal(records_, other.records_, [](const ITKCookie& a, const ITKCookie& b) {
    return sameText(a.name, b.name) && sameText(a.value, b.value) && sameText(a.path, b.path);
  });
}

ITKCookie* ITKCookieArray::Find(std::string_view name) noexcept {
  if (places_.size() != records_.size()) {
    const auto hit = std::ranges::find_if(records_, [&](const ITKCookie& c) { return textOf(c.name) == name; });
    return hit == records_.end() ? nullptr : &*hit;
  }
  const auto hit = places_.find(name);
  return hit == places_.end() ? nullptr : &records_[hit->second];
}

void ITKCookieArray::Store(ITKCookie cookie) {
  if (auto* known = Find(textOf(cookie.name))) {
    known->value = std::move(cookie.value);
    known->path = std::move(cookie.path);
    return;
  }
  records_.push_back(std::move(cookie));
  if (records_.size() <= kScanned) return;
  for (auto i = places_.size(); i < records_.size(); ++i) places_.emplace(textOf(records_[i].name), i);
}

ITKRTT::ITKRTT() noexcept = default;

ITKRTT::ITKRTT(const ITKRTT* other) noexcept { *this = other; }

ITKRTT::ITKRTT(const ITKRTT& other) noexcept : ITKCredential() { *this = other; }

ITKRTT::~ITKRTT() = default;

ITKRTT& ITKRTT::operator=(const ITKRTT& other) noexcept {
  itk::guarded(kSource, [&] {
    auto cookies = other.cookies_;
    ITKCredential::operator=(other);
    url_ = other.url_;
    pryContext_ = other.pryContext_;
    cookies_ = std::move(cookies);
  });
  return *this;
}

ITKRTT& ITKRTT::operator=(const ITKRTT* other) noexcept {
  if (other != nullptr) return *this = *other;
  empty();
  return *this;
}

void ITKRTT::empty() noexcept {
  ITKCredential::empty();
  pryContext_.empty();
  cookies_.removeAll();
}

bool ITKRTT::isEmpty() const noexcept { return *getPassportID() == '\0'; }

bool ITKRTT::operator==(const ITKRTT& other) const noexcept {
  return ITKCredential::operator==(other) && url_.shares(other.url_) && pryContext_.shares(other.pryContext_) &&
         cookies_ == other.cookies_;
}

bool ITKRTT::operator==(const ITKRTT* other) const noexcept { return other == nullptr ? isEmpty() : *this == *other; }

const char* ITKRTT::getURL() const noexcept { return url_.c_str(); }
const char* ITKRTT::getPryContext() const noexcept { return pryContext_.c_str(); }
const char* ITKRTT::getPassportID() const noexcept { return getCookieValue("zot_passport"); }
const char* ITKRTT::getPry() const noexcept { return getCookieValue("pry"); }
const char* ITKRTT::getSessionSharing() const noexcept { return getCookieValue("vel-ssa"); }
const char* ITKRTT::getAsTicket() const noexcept { return getCookieValue("AS_TICKET"); }
const char* ITKRTT::getPwSession() const noexcept { return getCookieValue("pw_session"); }
const char* ITKRTT::getVTN() const noexcept { return getCookieValue("VTN"); }
const char* ITKRTT::getSMSession() const noexcept { return getCookieValue(qz::wire::kSiteMinderCookie); }
const char* ITKRTT::getSMSessionUrl() const noexcept { return getCookiePath(qz::wire::kSiteMinderCookie); }
const char* ITKRTT::getUserSessionID() const noexcept { return getCookieValue("usersessionid"); }

void ITKRTT::setURL(const char* url) noexcept { url_ = url; }
void ITKRTT::setPryContext(const char* context) noexcept { pryContext_ = context; }
void ITKRTT::setPassportID(const char* value) noexcept { setCookieValue("zot_passport", value); }
void ITKRTT::setPry(const char* value) noexcept { setCookieValue("pry", value); }
void ITKRTT::setSessionSharing(const char* value) noexcept { setCookieValue("vel-ssa", value); }
void ITKRTT::setAsTicket(const char* value) noexcept { setCookieValue("AS_TICKET", value); }
void ITKRTT::setPwSession(const char* value) noexcept { setCookieValue("pw_session", value); }
void ITKRTT::setVTN(const char* value) noexcept { setCookieValue("VTN", value); }
void ITKRTT::setSMSession(const char* value) noexcept { setCookieValue(qz::wire::kSiteMinderCookie, value); }
void ITKRTT::setSMSessionUrl(const char* url) noexcept { setCookiePath(qz::wire::kSiteMinderCookie, url); }
void ITKRTT::setUserSessionID(const char* value) noexcept { setCookieValue("usersessionid", value); }

const char* ITKRTT::getCookieValue(const char* name) const noexcept {
  const auto* cookie = cookies_.find(name);
  return cookie == nullptr ? "" : cookie->value.c_str();
}

void ITKRTT::setCookieValue(const char* name, const char* value) noexcept { cookies_.add(name, value, nullptr); }

const char* ITKRTT::getCookiePath(const char* name) const noexcept {
  const auto* cookie = cookies_.find(name);
  return cookie == nullptr ? "" : cookie->path.c_str();
}

void ITKRTT::setCookiePath(const char* name, const char* path) noexcept { cookies_.setPath(name, path); }

const ITKCookieArray& ITKRTT::getCookies() const noexcept { return cookies_; }

const char* ITKRTT::buildCookiePath(const char* url, ITKString& out) noexcept {
  out = pathOf(url);
  return out.c_str();
}

const char* ITKRTT::buildHTTPCookieHeader(ITKBuffer& out, const char* prefix) const noexcept {
  return itk::guarded(kSource, "", [&] {
    const auto cookies = qz::rpc::cookieViews(cookies_);
    if (const auto line = qz::wire::cookieHeaderLine(viewOf(prefix), cookies)) out.write(line->c_str(), true);
    return out.getStrBuffer();
  });
}

bool ITKRTT::createFromHTTPHeader(const char* url, const char* headers) noexcept {
  return itk::guarded(kSource, false, [&] {
    // Built aside: the texts given may belong to a cookie of this token.
    ITKCookieArray cookies;
    addAll(qz::wire::headerCookies(viewOf(headers)), pathOf(url), cookies);
    cookies_ = std::move(cookies);
    return cookies_.getCount() > 0;
  });
}

bool ITKRTT::createFromCookies(const char* url) noexcept {
  const ITKString address(url);
  empty();
  setURL(address.c_str());
  return updateFromCookies(address.c_str());
}

bool ITKRTT::updateFromCookies(const char* url) noexcept {
  return itk::guarded(kSource, false, [&] {
    ITKBufferList texts;
    ITKBufferList urls;
    return readAllINetCookies(url, texts, urls) && extractCookie(texts, urls, cookies_) > 0;
  });
}

void ITKRTT::setAllInternetCookies() noexcept {
  itk::guarded(kSource, [&] {
    for (long i = 0; i < cookies_.getCount(); ++i) {
      const auto& cookie = *cookies_.getAt(i);
      const auto data = std::string(textOf(cookie.value)).append(";Path=").append(textOf(cookie.path));
      const auto error = qz::platform::writeStoredCookie(getURL(), cookie.name.c_str(), data);
      if (!error) continue;
      logLine(ITKLog::Error, "failed to set internet cookie, error = " + std::to_string(static_cast<long>(*error)));
      logLine(ITKLog::Error, std::string("failed to set: url=") + getURL() + "; name=" + cookie.name.c_str() +
                                 "; value=" + data + ";");
    }
  });
}

void ITKRTT::cleanAllInternetCookies() noexcept {
  itk::guarded(kSource, [] {
    if (const auto error = qz::platform::endBrowserSession())
      logLine(ITKLog::Error, "failed to set internet option: error=" + std::to_string(static_cast<long>(*error)));
  });
}

bool ITKRTT::readAllINetCookies(const char* url, ITKBufferList& cookieStrings, ITKBufferList& urls) noexcept {
  return itk::guarded(kSource, false, [&] {
    // Read first: the URL may be an element of a list.
    const auto found = qz::rpc::readCookiesOfPrefixes(viewOf(url));
    cookieStrings.removeAll();
    urls.removeAll();
    for (const auto& stored : found) {
      cookieStrings.add(stored.text.c_str());
      urls.add(stored.url.c_str());
      logLine(ITKLog::Information,
              "Cookies of url " + stored.url + " (" + std::to_string(stored.text.size()) + " bytes):");
      logLine(ITKLog::Information, stored.text);
    }
    return cookieStrings.getCount() > 0;
  });
}

long ITKRTT::extractCookie(const ITKBufferList& cookieStrings, const ITKBufferList& urls,
                           ITKCookieArray& cookies) noexcept {
  for (long i = 0; i < cookieStrings.getCount(); ++i) {
    const auto* url = urls.getAt(i);
    extractCookie(cookieStrings.getAt(i)->getStrBuffer(), url == nullptr ? nullptr : url->getStrBuffer(), cookies);
  }
  return cookies.getCount();
}

long ITKRTT::extractCookie(const ITKBufferList& cookieStrings, const char* url, ITKCookieArray& cookies) noexcept {
  for (long i = 0; i < cookieStrings.getCount(); ++i) {
    extractCookie(cookieStrings.getAt(i)->getStrBuffer(), url, cookies);
  }
  return cookies.getCount();
}

void ITKRTT::extractCookie(const char* cookieString, const char* url, ITKCookieArray& cookies) noexcept {
  itk::guarded(kSource, [&] { addAll(qz::wire::splitCookies(viewOf(cookieString)), pathOf(url), cookies); });
}
