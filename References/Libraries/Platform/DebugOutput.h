// What a debugger shows of this process.
#pragma once

#include <string_view>

namespace qz::platform {

/// Shows ASCII text, at most 511 characters of it, to a debugger as wide text.
void debugOutput(std::string_view text);

}  // namespace qz::platform
