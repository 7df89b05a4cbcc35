// Arguments as a script writes them.
#pragma once

#include "Tools/qzgateway/Script.h"
#include "Tools/qzgateway/ScriptItems.h"

namespace qzgateway {

/// A list of arguments, each with its value.
ArgumentsAnswer argumentsIn(const Item& list);

/// A list of patterns, the last of which may stand for all others.
ArgumentPatterns patternsIn(const Item& list);

/// Whether all arguments that `narrow` is for are also those of `wide`.
bool covers(const ArgumentPatterns& wide, const ArgumentPatterns& narrow);

}  // namespace qzgateway
