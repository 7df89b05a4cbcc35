#include "Tools/qzgateway/Sessions.h"

#include "Tools/qzgateway/RandomId.h"

namespace qzgateway {
namespace {

using namespace std::chrono_literals;

/// No session that a call began has a passport with this at its front: they go on with a hexadecimal digit.
constexpr std::string_view kPassportOfUser = "demo:u";

}  // namespace

Sessions::Sessions(const GatewayTime& time, bool isLogonRequired)
    : users_(time, 1000, 30min), loggedOff_(time, 10000, 24h), isLogonRequired_(isLogonRequired) {}

PortalSession Sessions::begin(const std::string& user, const std::string& nameSpace) {
  PortalSession begun{{std::string(kPassportOfUser) + randomId(), "CAF-" + randomId()}, user, nameSpace};
  const std::lock_guard lock(mutex_);
  users_.put(begun.session.passport, begun);
  return begun;
}

std::optional<PortalSession> Sessions::find(const std::string& passport) {
  const std::lock_guard lock(mutex_);
  const PortalSession* const found = users_.find(passport);
  return found == nullptr ? std::nullopt : std::optional(*found);
}

bool Sessions::accepts(const std::string& passport) {
  const std::lock_guard lock(mutex_);
  if (users_.find(passport) != nullptr) return true;
  return !isLogonRequired_ && !passport.starts_with(kPassportOfUser) && loggedOff_.find(passport) == nullptr;
}

void Sessions::end(const std::string& passport) {
  const std::lock_guard lock(mutex_);
  users_.erase(passport);
  if (isFit(passport) && !passport.starts_with(kPassportOfUser)) loggedOff_.put(passport, {});
}

}  // namespace qzgateway
