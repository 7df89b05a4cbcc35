// An outcome for a person.
#pragma once

#include <string>

#include "Tools/qzcall/Outcome.h"

namespace qzcall {

/// A table, with control characters made visible and long values cut.
std::string toTable(const Outcome& outcome);

}  // namespace qzcall
