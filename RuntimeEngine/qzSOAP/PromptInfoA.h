// The flat face's way to the gateway's portal.
#pragma once

#include <string>

#include "CqzBuffer.h"
#include "CqzBufferList.h"
#include "ITKRTT.h"

/// What ITKPromptInfo is to the toolkit, for the component "pc". Failures are reported under the operation's name.
class CMPromptInfoA {
 public:
  /// @param gatewayURL the portal; null means ""
  /// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
  CMPromptInfoA(const char* gatewayURL, const char* dumpFile);
  virtual ~CMPromptInfoA() = default;

  /// As ITKPromptInfo::getNamespaces().
  /// @param cookies receives the reply's cookie lines
  bool getNamespaces(CqzBufferList& names, CqzBufferList& displayNames, CqzBufferList& cookies, ITKRTT& token) noexcept;
  /// As ITKPromptInfo::logon().
  /// @param cookies not sent
  bool logon(const char* user, const char* password, const char* ns, const char* nsDisplayName,
             const CqzBufferList& cookies, ITKRTT& token) noexcept;
  /// As ITKPromptInfo::logonAs().
  bool logonAs(const char* user, const char* password, const char* ns, const char* nsDisplayName,
               ITKRTT& token) noexcept;
  /// As ITKPromptInfo::logoff().
  bool logoff(const ITKRTT& token) noexcept;
  /// As ITKPromptInfo::getPRYContextAndCredentialFromPassportID().
  bool getPRYContextAndCredentialFromPassportID(ITKRTT& token) noexcept;

 protected:
  /// Takes the session that `responseHeaders` begin into the token, and their cookie lines into `cookies`. False when
  /// they set none.
  bool ExtractCookies(const char* responseHeaders, CqzBufferList& cookies, ITKRTT& token) noexcept;
  /// As ITKPromptInfo::ExtractNamespaces().
  bool ExtractNamespaces(const char* html, CqzBufferList& names, CqzBufferList& displayNames) noexcept;
  /// As ITKPromptInfo::GetCookieValue().
  const char* GetCookieValue(const char* name, const CqzBufferList& cookieStrings, CqzBuffer& out) noexcept;
  /// As ITKPromptInfo::URLEncoding().
  void URLEncoding(const char* in, CqzBuffer& out) noexcept;

 private:
  std::string gatewayUrl_;
  std::string dumpFile_;
};
