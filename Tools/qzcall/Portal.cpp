#include "Tools/qzcall/Portal.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "ITKBufferList.h"
#include "ITKSOAPAPI.h"
#include "ITKSOAPError.h"
#include "ITKes.h"
#include "Tools/qzcall/HttpRequest.h"
#include "qzSOAP.h"

namespace qzcall {
namespace {

template <class List>
std::vector<Namespace> pairsOf(const List& ids, const List& displayNames) {
  std::vector<Namespace> out;
  for (long i = 0; i < ids.getCount(); ++i)
    out.push_back(
        {ids.getAt(i)->getStrBuffer(), i < displayNames.getCount() ? displayNames.getAt(i)->getStrBuffer() : ""});
  return out;
}

using Found = std::optional<std::vector<Namespace>>;

Found toolkitNamespaces(const char* url, const char* dumpFile, ITKRTT& token) {
  ITKBufferList ids, displayNames;
  if (!ITKrpcSOAPGetNamespaces(url, dumpFile, ids, displayNames, token)) return std::nullopt;
  return pairsOf(ids, displayNames);
}

Found flatNamespaces(const char* url, const char* dumpFile, ITKRTT& token) {
  const CqzBufferList00 ids, displayNames, cookies;
  if (ids == nullptr || displayNames == nullptr || cookies == nullptr) throw std::bad_alloc();
  if (!rpcSOAPGetNamespaces(url, dumpFile, ids, displayNames, cookies, &token)) return std::nullopt;
  return pairsOf(*ids, *displayNames);
}

/// A portal that has answered leaves its URL in the token, once it has set a cookie.
bool hasAnswered(const ITKRTT& token) { return *token.getURL() != '\0'; }

/// Tells whether `token` is of another session.
bool isOther(const ITKRTT& token, const ITKRTT& session) {
  return !token.isEmpty() && std::string_view(token.getPassportID()) != session.getPassportID();
}

/// Path of the log to which `face` writes why something failed.
std::string pathOfLog(Face face) {
  if (face == Face::toolkit) return getITKes().getLogFilePath();
  char path[QZ_PATH_LIMIT + 1] = {};
  CqzES& settings = rpcSOAP_GetES();
  if (settings.getIniKeyString("LogFilePath", path, sizeof path, nullptr, "SOAP Internal Tracing", nullptr) == nullptr)
    settings.buildRuntimePath(path, sizeof path, "Logs\\qzSOAP.log");
  return path;
}

/// The same with slashes, which are shown as they are.
std::string logOf(Face face) {
  std::string path = pathOfLog(face);
  std::ranges::replace(path, '\\', '/');
  return path;
}

Failure noLogon(const std::string& user) {
  return {E_LOGON, 0, "the portal did not let '" + user + "' in; the name, the password or the namespace may be wrong"};
}

}  // namespace

Failure Portal::explained(const ITKRTT& token, Failure otherwise) const {
  if (!hasAnswered(token)) {
    // What the library has tried must not be repeated, with a password least of all; a page can be asked for again.
    const std::string page =
        address_.url + "?b_action=xts.run&m=portal/close.xts&h_ZOT_action=logon&ui.compid=" + address_.component;
    const HttpReply reply = sendHttp(address_.face, {page, "GET", "", {}}, address_.dumpFile, nullptr);
    if (reply.failure.code != E_OK) return reply.failure;
    if (!ITKRTT().createFromHTTPHeader(page.c_str(), reply.headers.c_str()))
      otherwise.text += "; its page for a logon sets no cookie, so this may be no portal";
  }
  otherwise.text += "; the log tells more: " + logOf(address_.face);
  return otherwise;
}

tl::expected<std::vector<Namespace>, Failure> Portal::namespaces() const {
  ITKRTT token;
  auto found = address_.face == Face::flat ? flatNamespaces(address_.url.c_str(), dumpFile(), token)
                                           : toolkitNamespaces(address_.url.c_str(), dumpFile(), token);
  if (found) return std::move(*found);
  return tl::unexpected(explained(token, {E_PROXY, 0, "the portal's page names no namespace"}));
}

PortalResult Portal::logon(const PortalUser& user) const {
  ITKRTT token;
  const auto& [name, password, nameSpace] = user;
  const bool done =
      address_.face == Face::flat
          ? rpcSOAPSilentLogon(address_.url.c_str(), name.c_str(), password, nameSpace.id.c_str(),
                               nameSpace.displayName.c_str(), dumpFile(), nullptr, &token)
          : ITKrpcSOAPSilentLogon(address_.url.c_str(), name.c_str(), password, nameSpace.id.c_str(),
                                  nameSpace.displayName.c_str(), dumpFile(), address_.component.c_str(), token);
  if (done) return Session{token, name};
  return tl::unexpected(explained(token, noLogon(name)));
}

PortalResult Portal::logonAs(const PortalUser& user, const Session& session) const {
  ITKRTT token(session.token);
  token.setURL("");
  const auto& [name, password, nameSpace] = user;
  const bool done =
      address_.face == Face::flat
          ? rpcSOAPSilentLogonAs(address_.url.c_str(), name.c_str(), password, nameSpace.id.c_str(),
                                 nameSpace.displayName.c_str(), dumpFile(), &token)
          : ITKrpcSOAPSilentLogonAs(address_.url.c_str(), name.c_str(), password, nameSpace.id.c_str(),
                                    nameSpace.displayName.c_str(), dumpFile(), address_.component.c_str(), token);
  // Without a firewall context the library calls a logon a failure, but the portal has let the user in.
  if (isOther(token, session.token)) return Session{token, name};
  if (done) return session;
  return tl::unexpected(explained(token, noLogon(name)));
}

std::optional<Failure> Portal::logoff(const Session& session) const {
  const ITKRTT& token = session.token;
  const bool done = address_.face == Face::flat ? rpcSOAPSilentLogoff(address_.url.c_str(), dumpFile(), &token)
                                                : ITKrpcSOAPSilentLogoff(address_.url.c_str(), dumpFile(), token);
  if (done) return std::nullopt;
  return explained(ITKRTT(), {E_PROXY, 0, "the portal refused to log the session off"});
}

}  // namespace qzcall
