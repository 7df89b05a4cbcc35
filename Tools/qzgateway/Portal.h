// Logging on and off with a browser, or with a client that plays one.
#pragma once

#include <string>
#include <string_view>

#include "Tools/qzgateway/Accounts.h"
#include "Tools/qzgateway/Exchange.h"
#include "Tools/qzgateway/FormFields.h"
#include "Tools/qzgateway/Sessions.h"

namespace qzgateway {

/// The portal's pages lie under the gateway's URL; the query tells which is wanted:
///   b_action=xts.run, m=portal/close.xts    the portal, whose script knows the firewall context
///     and h_ZOT_action=logon                the logon page; posted, logs a user on
///     and h_ZOT_action=logonAs              the same; posted, puts another user into the session
///   b_action=xts.run, m=portal/logoff.xts   posted, logs the session off
/// Who is not logged on gets the logon page instead of the portal. A refused logon sets no cookie, so the client keeps
/// the session that it has.
class Portal {
 public:
  /// Both must outlive it.
  Portal(const Accounts& accounts, Sessions& sessions) : accounts_(accounts), sessions_(sessions) {}

  /// Whether a query asks for a page of the portal, known or not.
  static bool isAskedBy(std::string_view query);

  Served serve(const HttpRequest& request);

 private:
  Served openPage(const Fields& query, const std::string& passport);
  Served context(const Fields& query, const std::string& passport);
  Served askForLogon(const Fields& query);
  Served logon(const Fields& form, bool isSwitch, const std::string& passport);
  Served begin(const std::string& user, const std::string& nameSpace);
  Served logoff(const std::string& passport);

  std::string namespaceIn(const Fields& form) const;
  std::string complaintAbout(const Fields& form, const std::string& nameSpace) const;

  const Accounts& accounts_;
  Sessions& sessions_;
};

}  // namespace qzgateway
