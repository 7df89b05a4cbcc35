// The toolkit's settings for those below the toolkit: some keys of its ini file hold for both faces.
#pragma once

#include "QzSettings.h"

namespace qz::log {

/// The toolkit's settings of this process, initialised or not.
QzSettings& toolkitSettings();

}  // namespace qz::log
