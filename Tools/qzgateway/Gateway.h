// What the demonstration gateway does with a request, apart from HTTP.
#pragma once

#include <optional>
#include <string>

#include "Tools/qzgateway/Conversations.h"
#include "Tools/qzgateway/Exchange.h"
#include "Tools/qzgateway/Portal.h"
#include "Tools/qzgateway/ScriptPlayer.h"

namespace qzgateway {

/// The gateway: its portal and its calls. May be used from any thread.
class Gateway {
 public:
  /// @param isLogonRequired whether calls need the passport of a user who has logged on at the portal
  /// @param time must outlive it
  /// @param script what is answered before the built-in operations are asked; nothing for those alone
  Gateway(Accounts accounts, bool isLogonRequired, GatewayTime& time, std::optional<Script> script = {});

  /// Answers a request. The body is released as soon as it has been read.
  Served serve(HttpRequest&& request);

 private:
  Served serveCall(HttpRequest&& request);
  void answer(const Request& request, Served& served);
  bool isOfBuiltIn(const Request& request);

  const Accounts accounts_;
  GatewayTime& time_;
  Sessions sessions_;
  Conversations conversations_;
  std::optional<ScriptPlayer> player_;
  Portal portal_{accounts_, sessions_};
};

}  // namespace qzgateway
