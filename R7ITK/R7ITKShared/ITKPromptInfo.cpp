#include "ITKPromptInfo.h"

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "ITKRTT.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/ToolkitJournal.h"
#include "References/Libraries/Rpc/HttpPortal.h"

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKPromptInfo";

using itk::guarded;
using Session = qz::rpc::PortalSession<itk::ToolkitJournal>;

}  // namespace

ITKPromptInfo::ITKPromptInfo(const char* gatewayURL, const char* componentId, const char* dumpFile) noexcept
    : gatewayUrl_(gatewayURL), dumpFile_(dumpFile), componentId_(componentId) {}

ITKPromptInfo::~ITKPromptInfo() = default;

bool ITKPromptInfo::getNamespaces(ITKBufferList& names, ITKBufferList& displayNames, ITKRTT& token) noexcept {
  return guarded(kSource, false, [&] {
    Session session(kSource, gatewayUrl_, componentId_, dumpFile_);
    const auto reply = session.logon.askForNamespaces(token);
    return reply && session.logon.takeSession(*reply, token) &&
           qz::rpc::readNamespaces(reply->page, session.journal, names, displayNames);
  });
}

bool ITKPromptInfo::logon(const char* user, const char* password, const char* ns, const char* nsDisplayName,
                          ITKRTT& token) noexcept {
  return guarded(kSource, false, [&] {
    return Session(kSource, gatewayUrl_, componentId_, dumpFile_)
        .logon.logon({user, password, ns, nsDisplayName}, token);
  });
}

bool ITKPromptInfo::logonAs(const char* user, const char* password, const char* ns, const char* nsDisplayName,
                            ITKRTT& token) noexcept {
  return guarded(kSource, false, [&] {
    return Session(kSource, gatewayUrl_, componentId_, dumpFile_)
        .logon.logonAs({user, password, ns, nsDisplayName}, token);
  });
}

bool ITKPromptInfo::logoff(const ITKRTT& token) noexcept {
  return guarded(kSource, false,
                 [&] { return Session(kSource, gatewayUrl_, componentId_, dumpFile_).logon.logoff(token); });
}

bool ITKPromptInfo::getPRYContextAndCredentialFromPassportID(ITKRTT& token) noexcept {
  return guarded(kSource, false,
                 [&] { return Session(kSource, gatewayUrl_, componentId_, dumpFile_).logon.getContext(token); });
}

bool ITKPromptInfo::ExtractCookies(const char* url, const char* responseHeaders, ITKRTT& token) noexcept {
  return guarded(kSource, false,
                 [&] { return qz::rpc::PortalLogon::takeCookies(url, qz::orEmpty(responseHeaders), token); });
}

bool ITKPromptInfo::ExtractNamespaces(const char* html, ITKBufferList& names, ITKBufferList& displayNames) noexcept {
  return guarded(kSource, false, [&] {
    itk::ToolkitJournal journal(kSource);
    // A copy: the page may be an element of a list.
    return qz::rpc::readNamespaces(std::string(qz::viewOf(html)), journal, names, displayNames);
  });
}

const char* ITKPromptInfo::GetCookieValue(const char* name, const ITKBufferList& cookieStrings,
                                          ITKBuffer& out) noexcept {
  return guarded(kSource, static_cast<const char*>(nullptr),
                 [&] { return qz::rpc::findEndedCookie(name, cookieStrings, out); });
}

void ITKPromptInfo::URLEncoding(const char* in, ITKString& out) noexcept {
  guarded(kSource, [&] { out = qz::rpc::formText(qz::viewOf(in)).c_str(); });
}

void ITKPromptInfo::AddURLToken(const char* name, const char* value, ITKString& body) noexcept {
  guarded(kSource, [&] {
    std::string form(body.c_str());
    qz::rpc::addFormToken(qz::viewOf(name), qz::viewOf(value), form);
    body = form.c_str();
  });
}

bool ITKPromptInfo::IsUserAlreadyAuthenticated(const ITKBuffer& page) noexcept {
  return qz::wire::isUserAlreadyAuthenticated(qz::rpc::messageIn(page));
}
