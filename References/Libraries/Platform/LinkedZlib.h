// The zlib that is linked into the library.
#pragma once

#include "References/Libraries/Wire/CompressedBlock.h"

namespace qz::platform {

/// Its functions; valid for the life of the process.
const wire::ZlibFunctions& linkedZlib() noexcept;

}  // namespace qz::platform
