// qzcall report: a page of trace logs.
#pragma once

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// Declares the command, as Command.h says.
Prepare declareReport(CLI::App& command, std::shared_ptr<CommonOptions> common);

}  // namespace qzcall
