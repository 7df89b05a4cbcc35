// One call through the library.
#pragma once

#include <string>

#include "Tools/qzcall/CommandLine.h"
#include "Tools/qzcall/Outcome.h"

namespace qzcall {

/// Makes the call through the face that the options name. Throws std::bad_alloc when the arguments do not fit into
/// memory.
/// @param options its arguments are used up
/// @param dumpFile path for the library, in the ANSI code page; empty for no dump
Outcome invoke(InvokeOptions& options, const std::string& dumpFile);

}  // namespace qzcall
