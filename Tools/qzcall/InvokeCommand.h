// qzcall invoke: one remote call.
#pragma once

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// Declares the command, as Command.h says.
Prepare declareInvoke(CLI::App& command, std::shared_ptr<CommonOptions> common);

}  // namespace qzcall
