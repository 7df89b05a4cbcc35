#include "References/Libraries/Rpc/PortalLogon.h"

#include <windows.h>

#include "References/Common/Ascii.h"
#include "References/Libraries/Rpc/TokenCookies.h"
#include "References/Libraries/Wire/PortalForm.h"
#include "References/Libraries/Wire/PortalPage.h"

namespace qz::rpc {
namespace {

constexpr const char* kGet = "GET";
constexpr const char* kPost = "POST";

bool isPlain(unsigned char byte) { return IsCharAlphaNumericA(static_cast<char>(byte)) != FALSE; }

std::string withCookies(std::string_view headers, const ITKRTT& token) {
  return std::string(headers) + cookieLineOf(token);
}

constexpr const char* kNoCookies = "The portal's reply sets no cookies";

}  // namespace

std::optional<PortalReply> PortalLogon::askForNamespaces(ITKRTT& token) {
  return port_.request(gatewayUrl_ + wire::logonQuery(componentId_), kGet, std::string(wire::kNamespaceHeaders), {},
                       &token);
}

bool PortalLogon::takeSession(const PortalReply& reply, ITKRTT& token) {
  const bool taken = takeCookies(gatewayUrl_.c_str(), reply.headers, token);
  if (!taken) journal_.text(kError, "ExtractCookies", kNoCookies);
  return taken;
}

bool PortalLogon::logon(const PortalUser& user, ITKRTT& token) {
  // Taken before the token changes: who logs on again may give its own texts.
  const auto body = form(user);
  const std::string password(viewOf(user.password));
  token.setUserName(orEmpty(user.name));
  token.setPassword(password.c_str());
  const auto reply =
      port_.request(gatewayUrl_ + wire::logonQuery(componentId_), kPost, std::string(wire::kFormHeaders), body, &token);
  if (!reply) return false;
  if (const char* reason = takePassport(*reply, token)) {
    journal_.text(kError, "logon", reason);
    return false;
  }
  getContext(token);
  return true;
}

bool PortalLogon::logonAs(const PortalUser& user, ITKRTT& token) {
  const auto reply = port_.request(gatewayUrl_ + wire::logonAsQuery(componentId_), kPost,
                                   withCookies(wire::kFormHeaders, token), form(user), &token);
  if (!reply) return false;
  const char* reason = takePassport(*reply, token);
  if (reason == nullptr) return getContext(token);
  const bool known = wire::isUserAlreadyAuthenticated(reply->page);
  journal_.text(known ? kInformation : kError, "logonAs", known ? "The user is already authenticated" : reason);
  return known;
}

bool PortalLogon::logoff(const ITKRTT& token) {
  return port_
      .request(gatewayUrl_ + std::string(wire::kLogoffQuery), kPost, withCookies(wire::kFormHeaders, token),
               wire::kLogoffBody, nullptr)
      .has_value();
}

bool PortalLogon::getContext(ITKRTT& token) {
  const auto reply = port_.request(gatewayUrl_ + wire::contextQuery(componentId_), kGet,
                                   withCookies(wire::kContextHeaders, token), {}, nullptr);
  if (!reply) return false;
  const auto context = wire::portalContextId(reply->page);
  if (!context) journal_.text(kError, "getPRYContextAndCredentialFromPassportID", "The portal's page names no context");
  if (context && !context->empty()) token.setPryContext(std::string(*context).c_str());
  return context.has_value();
}

const char* PortalLogon::takePassport(const PortalReply& reply, ITKRTT& token) const {
  if (!takeCookies(gatewayUrl_.c_str(), reply.headers, token)) return kNoCookies;
  return token.isEmpty() ? "The portal's reply gives no passport" : nullptr;
}

bool PortalLogon::takeCookies(const char* gatewayUrl, const std::string& headers, ITKRTT& token) {
  const std::string url(viewOf(gatewayUrl));
  if (!token.createFromHTTPHeader(url.c_str(), headers.c_str())) return false;
  token.updateFromCookies(url.c_str());
  token.setURL(url.c_str());
  return true;
}

std::string formText(std::string_view text) { return wire::urlEncoded(text, isPlain); }

void addFormToken(std::string_view name, std::string_view value, std::string& form) {
  wire::addUrlToken(name, value, isPlain, form);
}

std::string PortalLogon::form(const PortalUser& user) const {
  return wire::logonBody(
      {viewOf(user.name), viewOf(user.password), viewOf(user.nameSpace), viewOf(user.nameSpaceDisplayName)},
      componentId_, isPlain);
}

}  // namespace qz::rpc
