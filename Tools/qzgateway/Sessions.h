// The sessions that the portal gives out, and which passports a call may come with.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "Tools/qzgateway/ExpiringTable.h"
#include "Tools/qzgateway/Reply.h"

namespace qzgateway {

/// The session of a user who has logged on.
struct PortalSession {
  Session session;
  std::string user;
  std::string nameSpace;
};

/// All sessions. May be used from any thread.
class Sessions {
 public:
  /// @param isLogonRequired whether calls need the passport of a user; otherwise they may come with any or none
  Sessions(const GatewayTime& time, bool isLogonRequired);

  /// Logs a user on.
  PortalSession begin(const std::string& user, const std::string& nameSpace);
  /// The session of a passport; nothing when no user has it, or no longer.
  std::optional<PortalSession> find(const std::string& passport);
  /// Whether a call may come with this passport. One that has been logged off, or was a user's and is so no longer, is
  /// never good.
  bool accepts(const std::string& passport);
  /// Logs a session off, be it a user's or one that a call began. Nothing for a passport that is not isFit(): no
  /// session has it.
  void end(const std::string& passport);

 private:
  struct Nothing {};

  std::mutex mutex_;
  ExpiringTable<PortalSession> users_;
  // Those that no user has; the passport of a user tells by itself.
  ExpiringTable<Nothing> loggedOff_;
  bool isLogonRequired_;
};

}  // namespace qzgateway
