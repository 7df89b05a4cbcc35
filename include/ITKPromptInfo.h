/// @file
/// Logging on to the gateway's portal without a browser.
#pragma once

#include "ITKString.h"
#include "QzExport.h"

class ITKBuffer;
class ITKBufferList;
class ITKRTT;

/// @addtogroup toolkit
/// @{

/// Plays the forms of the gateway's portal: asks for the namespaces that users can be of, logs users on and off, and
/// fills a run-time token with the session.
///
/// Null texts mean "". User names, passwords and namespaces are sent byte by byte as they are given, and the portal takes
/// them for UTF-8. A failed request is logged at level 1 as "ITKSOAPSendGenericHTTP: URL=%s, HTTP error=%d" behind its
/// reason; the other failures are logged at level 1 in words. What a failed operation has stored in the token stays. No
/// operation logs a password, but the trace of the requests and the dump file hold the form that carries it.
class QZSOAP_API ITKPromptInfo {
 public:
  /// @param gatewayURL the portal; the URL of each request is this and a query
  /// @param componentId the portal's name for the calling component
  /// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
  ITKPromptInfo(const char* gatewayURL, const char* componentId, const char* dumpFile) noexcept;
  ITKPromptInfo(const ITKPromptInfo&) = delete;
  ITKPromptInfo& operator=(const ITKPromptInfo&) = delete;
  virtual ~ITKPromptInfo();

  /// Asks the portal for its namespaces.
  /// @param names receives their ids; emptied once the reply has set cookies
  /// @param displayNames their names for users are appended; a portal with a single namespace may give none
  /// @param token takes the session that the portal begins, and the gateway URL
  /// @return false when the request fails, its reply sets no cookie, or its page names no namespace
  bool getNamespaces(ITKBufferList& names, ITKBufferList& displayNames, ITKRTT& token) noexcept;

  /// Logs a user on and stores the session in the token: first user name and password, then cookies, gateway URL and PRY
  /// context.
  /// @param user name of the user
  /// @param password sent in the form
  /// @param ns id of the user's namespace
  /// @param nsDisplayName its name for users
  /// @param token its cookies are not sent, but replaced
  /// @return false when the request fails or its reply gives no passport; a context that cannot be had is only logged
  bool logon(const char* user, const char* password, const char* ns, const char* nsDisplayName, ITKRTT& token) noexcept;

  /// Logs a further user on in the session of the token, whose user name and password stay.
  /// @param user name of the further user
  /// @param password sent in the form
  /// @param ns id of the user's namespace
  /// @param nsDisplayName its name for users
  /// @param token its cookies are sent, and replaced by those that the reply sets, even if there are none
  /// @return as logon(), but false as well when the context cannot be had; true without a passport when the portal says
  ///   that the session has that user already
  bool logonAs(const char* user, const char* password, const char* ns, const char* nsDisplayName,
               ITKRTT& token) noexcept;

  /// Logs the session of the token off. The token stays as it is; emptying it is the caller's affair.
  /// @return false when the request fails
  bool logoff(const ITKRTT& token) noexcept;

  /// Asks the portal for the PRY context that belongs to the token's cookies, and stores it; an empty one leaves the
  /// token's own.
  /// @return false when the request fails or its page names no context
  bool getPRYContextAndCredentialFromPassportID(ITKRTT& token) noexcept;

 protected:
  /// Replaces the token's cookies by those that `responseHeaders` set, adds those that the system's store holds for
  /// `url`, and sets the token's URL. False, and no cookie left, when the headers set none.
  bool ExtractCookies(const char* url, const char* responseHeaders, ITKRTT& token) noexcept;
  /// Empties `names` and reads the namespaces of a page; `displayNames` is appended to. False, which is logged, when the
  /// page names none, or more than 16384.
  bool ExtractNamespaces(const char* html, ITKBufferList& names, ITKBufferList& displayNames) noexcept;
  /// Looks a cookie up in texts "name=value; ...": writes the value of the first text that has one, ended by ";", into
  /// `out` and returns `out`'s text. Null, with `out` unchanged, when no text has.
  const char* GetCookieValue(const char* name, const ITKBufferList& cookieStrings, ITKBuffer& out) noexcept;
  /// Stores `in` as a form carries it: every byte but letters and digits of the ANSI code page as "%" and two upper-case
  /// hexadecimal digits.
  void URLEncoding(const char* in, ITKString& out) noexcept;
  /// Appends "name=value" to a form, both encoded, behind an "&" unless `body` is empty. Nothing for an empty value.
  void AddURLToken(const char* name, const char* value, ITKString& body) noexcept;
  /// True when the page says that its session has a user already.
  bool IsUserAlreadyAuthenticated(const ITKBuffer& page) noexcept;

 private:
  ITKString gatewayUrl_;
  ITKString dumpFile_;
  ITKString componentId_;
};

/// @}
