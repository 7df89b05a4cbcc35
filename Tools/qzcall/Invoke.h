// One call through the library.
#pragma once

#include <string>

#include "ITKSOAP.h"
#include "Tools/qzcall/CommandLine.h"
#include "Tools/qzcall/Outcome.h"

namespace qzcall {

/// Makes the call and takes its outcome out of `reply`. Throws std::bad_alloc when the arguments do not fit into
/// memory.
/// @param options its arguments are handed over to the request
/// @param dumpFile path for the library, in the ANSI code page; empty for no dump
/// @param reply receives the reply; the outcome's arguments point into it
Outcome invoke(InvokeOptions& options, const std::string& dumpFile, ITKSOAP& reply);

}  // namespace qzcall
