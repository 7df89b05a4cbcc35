// qzcall decode: what a file holds.
#pragma once

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// Declares the command, as Command.h says.
Prepare declareDecode(CLI::App& command, std::shared_ptr<CommonOptions> common);

}  // namespace qzcall
