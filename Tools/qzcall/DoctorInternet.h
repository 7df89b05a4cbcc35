// Which proxy the system's Internet component uses.
#pragma once

#include <string>

namespace qzcall {

/// What is set for connections of this user. An empty text: there is none, or it is switched off.
struct ProxySettings {
  bool isDetected = false;  ///< what the network announces comes first
  std::string script;       ///< URL of the script that chooses next
  std::string server;       ///< proxies for everything else
  std::string bypass;       ///< hosts that are reached without `server`
};

/// The ways in which a proxy is found, in the order in which they are tried.
std::string proxyText(const ProxySettings& proxy);

}  // namespace qzcall
