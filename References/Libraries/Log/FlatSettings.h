// The flat layer's settings for those below its exported functions.
#pragma once

#include "CqzES.h"

namespace qz::log {

/// The flat layer's settings of this process, initialised or not.
CqzES& flatSettings();

/// The word that names this library in log lines.
inline constexpr const char* kComponent = "qzSOAP";

}  // namespace qz::log
