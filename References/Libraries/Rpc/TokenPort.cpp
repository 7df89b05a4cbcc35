#include "References/Libraries/Rpc/TokenPort.h"

#include "References/Libraries/Rpc/TokenCookies.h"
#include "References/Libraries/Wire/CookieScan.h"

namespace qz::rpc {

std::string TokenPort::cookieLine() const { return cookieLineOf(token_); }

const char* TokenPort::userName() const { return token_.getUserName().c_str(); }

const char* TokenPort::password() const { return token_.getPassword().c_str(); }

void TokenPort::storeCredential(const std::string& user, const std::string& password) {
  if (!user.empty()) token_.setUserName(user.c_str());
  if (!password.empty()) token_.setPassword(password.c_str());
}

bool TokenPort::hasSiteMinderSession() const { return *token_.getSMSession() != '\0'; }

void TokenPort::takeReplyCookies(std::string_view rawHeaders) {
  storeSessionCookies(wire::cookieLines(rawHeaders), token_);
}

const char* TokenPort::passport() const { return token_.getPassportID(); }

const char* TokenPort::pryContext() const { return token_.getPryContext(); }

}  // namespace qz::rpc
