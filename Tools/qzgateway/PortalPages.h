// The pages of the portal. Texts in them are escaped.
#pragma once

#include <string>
#include <vector>

#include "Tools/qzgateway/Accounts.h"
#include "Tools/qzgateway/Reply.h"

namespace qzgateway {

/// What the logon page shows.
struct LogonPage {
  std::string action;       ///< what the form asks for, `logon` or `logonAs`
  std::string componentId;  ///< goes along with the form
  std::string user;         ///< already typed in
  std::string complaint;    ///< empty when there is none
};

/// The form in which a user types name and password. One namespace is a hidden field, of several the user chooses.
ReplyPointer logonPage(const LogonPage& page, const std::vector<Namespace>& namespaces);

/// For a user who has just logged on.
ReplyPointer loggedOnPage(const std::string& user);

/// For a user who logs on again.
ReplyPointer alreadyAuthenticatedPage(const std::string& user);

/// The portal itself, whose script knows the firewall context of the session.
/// @param context isFit(), or empty when the session has none
ReplyPointer contextPage(const std::string& context);

ReplyPointer loggedOffPage();

}  // namespace qzgateway
