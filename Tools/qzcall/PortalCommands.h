// qzcall namespaces, logon, logon-as and logoff: sessions from the gateway's portal.
#pragma once

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// Declare the commands, as Command.h says.
Prepare declareNamespaces(CLI::App& command, std::shared_ptr<CommonOptions> common);
Prepare declareLogon(CLI::App& command, std::shared_ptr<CommonOptions> common);
Prepare declareLogonAs(CLI::App& command, std::shared_ptr<CommonOptions> common);
Prepare declareLogoff(CLI::App& command, std::shared_ptr<CommonOptions> common);

}  // namespace qzcall
