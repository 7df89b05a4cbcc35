#include "References/Libraries/Rpc/PortalLogon.h"

#include <windows.h>

#include "References/Common/Ascii.h"
#include "References/Libraries/Rpc/TokenPort.h"
#include "References/Libraries/Wire/PortalForm.h"
#include "References/Libraries/Wire/PortalPage.h"

namespace qz::rpc {
namespace {

constexpr const char* kGet = "GET";
constexpr const char* kPost = "POST";

bool isPlain(unsigned char byte) { return IsCharAlphaNumericA(static_cast<char>(byte)) != FALSE; }

std::string withCookies(std::string_view headers, const ITKRTT& token) {
  ITKRTT copy(token);
  return std::string(headers) + TokenPort(copy).cookieLine();
}

std::vector<std::string> stringsOf(const std::vector<std::string_view>& views) { return {views.begin(), views.end()}; }

}  // namespace

std::optional<PortalLogon::Namespaces> PortalLogon::getNamespaces(ITKRTT& token) {
  auto reply = port_.request(gatewayUrl_ + wire::logonQuery(componentId_), kGet, std::string(wire::kNamespaceHeaders),
                             {}, &token);
  if (!reply || !takeCookies(gatewayUrl_.c_str(), reply->headers, token)) return std::nullopt;
  const auto found = wire::portalNamespaces(reply->page);
  if (!found) return std::nullopt;
  return Namespaces{stringsOf(found->names), stringsOf(found->displayNames), std::move(reply->headers)};
}

bool PortalLogon::logon(const PortalUser& user, ITKRTT& token) {
  token.setUserName(orEmpty(user.name));
  token.setPassword(orEmpty(user.password));
  const auto reply = port_.request(gatewayUrl_ + wire::logonQuery(componentId_), kPost, std::string(wire::kFormHeaders),
                                   form(user), &token);
  if (!reply || !takeCookies(gatewayUrl_.c_str(), reply->headers, token) || token.isEmpty()) return false;
  getContext(token);
  return true;
}

bool PortalLogon::logonAs(const PortalUser& user, ITKRTT& token) {
  const auto reply = port_.request(gatewayUrl_ + wire::logonAsQuery(componentId_), kPost,
                                   withCookies(wire::kFormHeaders, token), form(user), &token);
  if (!reply) return false;
  if (takeCookies(gatewayUrl_.c_str(), reply->headers, token) && !token.isEmpty()) return getContext(token);
  return wire::isUserAlreadyAuthenticated(reply->page);
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
  const auto context = reply ? wire::portalContextId(reply->page) : std::nullopt;
  if (context && !context->empty()) token.setPryContext(std::string(*context).c_str());
  return context.has_value();
}

bool PortalLogon::takeCookies(const char* gatewayUrl, const std::string& headers, ITKRTT& token) {
  const std::string url(viewOf(gatewayUrl));
  if (!token.createFromHTTPHeader(url.c_str(), headers.c_str())) return false;
  token.updateFromCookies(url.c_str());
  token.setURL(url.c_str());
  return true;
}

std::string PortalLogon::form(const PortalUser& user) const {
  return wire::logonBody(
      {viewOf(user.name), viewOf(user.password), viewOf(user.nameSpace), viewOf(user.nameSpaceDisplayName)},
      componentId_, isPlain);
}

}  // namespace qz::rpc
