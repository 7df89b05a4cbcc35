// Logging on to the gateway's portal without a browser: its forms are filled and its pages read.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ITKRTT.h"

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

/// The operations on one portal. Each changes the token step by step, and what a failed one has stored stays.
class PortalLogon {
 public:
  /// @param gatewayUrl every request's URL is this and a query
  /// @param componentId the portal's name for the calling component; may be empty
  PortalLogon(PortalPort& port, std::string_view gatewayUrl, std::string_view componentId)
      : port_(port), gatewayUrl_(gatewayUrl), componentId_(componentId) {}

  /// Namespaces that users can be of. A display name may be missing where the portal has a single namespace.
  struct Namespaces {
    std::vector<std::string> names;
    std::vector<std::string> displayNames;
    std::string headers;  ///< of the reply
  };

  /// Asks for the namespaces; the token takes the cookies of the reply. Nothing when the request fails, sets no cookie,
  /// or brings a page without namespaces.
  std::optional<Namespaces> getNamespaces(ITKRTT& token);
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
  std::string form(const PortalUser& user) const;

  PortalPort& port_;
  std::string gatewayUrl_;
  std::string componentId_;
};

}  // namespace qz::rpc
