// Logging on to the gateway's portal without a browser: its forms are filled and its pages read.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "ITKRTT.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Rpc/BufferListOps.h"
#include "References/Libraries/Rpc/Journal.h"
#include "References/Libraries/Wire/CookieScan.h"
#include "References/Libraries/Wire/PortalPage.h"

namespace qz::rpc {

/// What the portal answered.
struct PortalReply {
  std::string headers;  ///< raw
  std::string page;
};

/// How requests get to the portal.
class PortalPort {
 public:
  virtual ~PortalPort() = default;

  /// Makes one request and waits for its reply; nothing when it failed, which has been logged then.
  /// @param headers header lines, each with its line end
  /// @param token whose HTTP credentials are sent and taken back; null: none. Its cookies are not sent.
  virtual std::optional<PortalReply> request(const std::string& url, const char* verb, const std::string& headers,
                                             std::string_view body, ITKRTT* token) = 0;
};

/// Who logs on, in UTF-8; null means "".
struct PortalUser {
  const char* name;
  const char* password;
  const char* nameSpace;
  const char* nameSpaceDisplayName;
};

/// The operations on one portal. Each changes the token step by step, and what a failed one has stored stays; the log
/// then says why it failed.
class PortalLogon {
 public:
  /// @param gatewayUrl every request's URL is this and a query
  /// @param componentId the portal's name for the calling component; may be empty
  PortalLogon(PortalPort& port, Journal& journal, std::string_view gatewayUrl, std::string_view componentId)
      : port_(port), journal_(journal), gatewayUrl_(gatewayUrl), componentId_(componentId) {}

  /// Asks for the page with the namespaces; takeSession() and readNamespaces() go on. Nothing when the request fails.
  std::optional<PortalReply> askForNamespaces(ITKRTT& token);
  /// takeCookies() from a reply, whose failure is logged.
  bool takeSession(const PortalReply& reply, ITKRTT& token);
  /// Logs a user on: the token takes name, password, cookies and firewall context. False without a passport.
  bool logon(const PortalUser& user, ITKRTT& token);
  /// Logs a user on in the session of the token, whose credential stays. True also when the portal says that the session
  /// has a user already.
  bool logonAs(const PortalUser& user, ITKRTT& token);
  /// Logs the session off; the token stays as it is.
  bool logoff(const ITKRTT& token);
  /// Asks for the firewall context that belongs to the token's cookies; an empty one leaves the token's own. False when
  /// the request fails or its page names none.
  bool getContext(ITKRTT& token);

  /// Takes the cookies that a reply sets into the token, then those that the system holds for the gateway, then the
  /// gateway's URL. False when the reply sets none.
  static bool takeCookies(const char* gatewayUrl, const std::string& headers, ITKRTT& token);

 private:
  /// takeCookies() for a logon, which needs a passport: the reason why there is none, or null.
  const char* takePassport(const PortalReply& reply, ITKRTT& token) const;
  std::string form(const PortalUser& user) const;

  PortalPort& port_;
  Journal& journal_;
  std::string gatewayUrl_;
  std::string componentId_;
};

/// `text` as a form carries it.
std::string formText(std::string_view text);
/// Appends "name=value" to a form, both as a form carries them; nothing for an empty value.
void addFormToken(std::string_view name, std::string_view value, std::string& form);

/// Looks a cookie up in the texts of a list: writes the first value that is ended by ";" into `out` and returns `out`'s
/// text, or null when there is none.
template <class BufferList, class Buffer>
const char* findEndedCookie(const char* name, const BufferList& texts, Buffer& out) {
  for (long i = 0; i < texts.getCount(); ++i) {
    if (const auto value = wire::endedCookieValue(messageIn(*texts.getAt(i)), viewOf(name))) {
      setText(out, std::string(*value));
      return out.getStrBuffer();
    }
  }
  return nullptr;
}

/// Most namespaces that a page may name. Users choose from them; a page with more is none for users.
inline constexpr std::size_t kMostNamespaces = 16384;

/// Fills two lists of a face with the namespaces of a page; `names` is emptied first, `displayNames` is not. False, and
/// the reason logged, when the page names none or too many.
/// @throws std::bad_alloc when a list could not take all of them
template <class BufferList>
bool readNamespaces(std::string_view page, Journal& journal, BufferList& names, BufferList& displayNames) {
  const auto refuse = [&](const char* why) {
    journal.text(kError, "ExtractNamespaces", why);
    return false;
  };
  names.removeAll();
  const auto found = wire::portalNamespaces(page);
  if (!found) return refuse("The portal's page names no namespace");
  if (found->names.size() > kMostNamespaces) return refuse("The portal's page names too many namespaces");
  for (const auto name : found->names) addText(names, name);
  for (const auto displayName : found->displayNames) addText(displayNames, displayName);
  return true;
}

}  // namespace qz::rpc
