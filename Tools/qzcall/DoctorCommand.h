// qzcall doctor: whether an installation is sound.
#pragma once

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// Declares the command, as Command.h says.
Prepare declareDoctor(CLI::App& command, std::shared_ptr<CommonOptions> common);

}  // namespace qzcall
