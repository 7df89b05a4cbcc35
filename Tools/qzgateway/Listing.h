// What the gateway serves, for a person.
#pragma once

#include <string>

#include "Tools/qzgateway/Script.h"

namespace qzgateway {

/// The built-in operations and the pages of the portal, as lines.
std::string builtIns();

/// The rules of a script, as lines.
std::string rulesOf(const Script& script);

}  // namespace qzgateway
