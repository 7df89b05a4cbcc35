// How calls of a report ended.
#pragma once

#include <optional>

#include "Tools/qzcall/ReportCall.h"

namespace qzcall {

/// Says how a call ended, whose last round is there.
/// @param code what it returned, if the log tells
/// @param tellsCode the log would have told it
void judge(Call& call, std::optional<long> code, bool tellsCode);

}  // namespace qzcall
