// The wall clock.
#pragma once

#include "References/Common/CivilTime.h"

namespace qz::platform {

/// The current local time.
CivilTime localTime();

}  // namespace qz::platform
