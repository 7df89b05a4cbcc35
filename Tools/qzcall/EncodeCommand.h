// qzcall encode: argument streams from arguments.
#pragma once

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// Declares the command, as Command.h says.
Prepare declareEncode(CLI::App& command, std::shared_ptr<CommonOptions> common);

}  // namespace qzcall
