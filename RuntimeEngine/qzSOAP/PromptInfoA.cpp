#include "RuntimeEngine/qzSOAP/PromptInfoA.h"

#include "References/Libraries/Rpc/HttpPortal.h"
#include "References/Libraries/Rpc/TokenCookies.h"
#include "RuntimeEngine/qzSOAP/FlatJournal.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"

namespace {

constexpr const char* kSource = "RuntimeEngine/qzSOAP/PromptInfoA";
constexpr const char* kComponentId = "pc";

using qz::flat::guarded;

struct Session : qz::rpc::PortalSession<qz::flat::FlatJournal> {
  Session(const std::string& gatewayUrl, const std::string& dumpFile)
      : PortalSession(kSource, gatewayUrl.c_str(), kComponentId, dumpFile.c_str()) {}
};

}  // namespace

CMPromptInfoA::CMPromptInfoA(const char* gatewayURL, const char* dumpFile)
    : gatewayUrl_(qz::viewOf(gatewayURL)), dumpFile_(qz::viewOf(dumpFile)) {}

bool CMPromptInfoA::getNamespaces(CqzBufferList& names, CqzBufferList& displayNames, CqzBufferList& cookies,
                                  ITKRTT& token) noexcept {
  return guarded(kSource, "getNamespaces", false, [&] {
    Session session(gatewayUrl_, dumpFile_);
    const auto reply = session.logon.askForNamespaces(token);
    if (!reply) return false;
    qz::rpc::storeCookieLines(reply->headers, cookies);
    return session.logon.takeSession(*reply, token) &&
           qz::rpc::readNamespaces(reply->page, session.journal, names, displayNames);
  });
}

bool CMPromptInfoA::logon(const char* user, const char* password, const char* ns, const char* nsDisplayName,
                          const CqzBufferList& /*cookies*/, ITKRTT& token) noexcept {
  return guarded(kSource, "logon", false, [&] {
    return Session(gatewayUrl_, dumpFile_).logon.logon({user, password, ns, nsDisplayName}, token);
  });
}

bool CMPromptInfoA::logonAs(const char* user, const char* password, const char* ns, const char* nsDisplayName,
                            ITKRTT& token) noexcept {
  return guarded(kSource, "logonAs", false, [&] {
    return Session(gatewayUrl_, dumpFile_).logon.logonAs({user, password, ns, nsDisplayName}, token);
  });
}

bool CMPromptInfoA::logoff(const ITKRTT& token) noexcept {
  return guarded(kSource, "logoff", false, [&] { return Session(gatewayUrl_, dumpFile_).logon.logoff(token); });
}

bool CMPromptInfoA::getPRYContextAndCredentialFromPassportID(ITKRTT& token) noexcept {
  return guarded(kSource, "getPRYContextAndCredentialFromPassportID", false,
                 [&] { return Session(gatewayUrl_, dumpFile_).logon.getContext(token); });
}

bool CMPromptInfoA::ExtractCookies(const char* responseHeaders, CqzBufferList& cookies, ITKRTT& token) noexcept {
  return guarded(kSource, "ExtractCookies", false, [&] {
    const std::string headers(qz::viewOf(responseHeaders));
    qz::rpc::storeCookieLines(headers, cookies);
    return qz::rpc::PortalLogon::takeCookies(gatewayUrl_.c_str(), headers, token);
  });
}

bool CMPromptInfoA::ExtractNamespaces(const char* html, CqzBufferList& names, CqzBufferList& displayNames) noexcept {
  return guarded(kSource, "ExtractNamespaces", false, [&] {
    qz::flat::FlatJournal journal(kSource);
    // A copy: the page may be an element of a list.
    return qz::rpc::readNamespaces(std::string(qz::viewOf(html)), journal, names, displayNames);
  });
}

const char* CMPromptInfoA::GetCookieValue(const char* name, const CqzBufferList& cookieStrings,
                                          CqzBuffer& out) noexcept {
  return guarded(kSource, "GetCookieValue", static_cast<const char*>(nullptr),
                 [&] { return qz::rpc::findEndedCookie(name, cookieStrings, out); });
}

void CMPromptInfoA::URLEncoding(const char* in, CqzBuffer& out) noexcept {
  guarded(kSource, "URLEncoding", 0, [&] {
    qz::rpc::setText(out, qz::rpc::formText(qz::viewOf(in)));
    return 0;
  });
}
