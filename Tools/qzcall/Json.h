// An outcome for programs.
#pragma once

#include <ostream>

#include "Tools/qzcall/Outcome.h"

namespace qzcall {

/// Writes `outcome` as one JSON object with a line end. Values go out piece by piece: one of any size takes no more
/// memory than a small one.
void writeJson(std::ostream& out, const Outcome& outcome);

}  // namespace qzcall
