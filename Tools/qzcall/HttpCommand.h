// qzcall http: one plain HTTP request.
#pragma once

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// Declares the command, as Command.h says.
Prepare declareHttp(CLI::App& command, std::shared_ptr<CommonOptions> common);

}  // namespace qzcall
