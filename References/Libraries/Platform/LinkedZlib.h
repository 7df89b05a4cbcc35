// The zlib that is linked into the library.
#pragma once

#include "References/Libraries/Wire/CompressedBlock.h"

namespace qz::platform {

/// Its functions; valid for the life of the process.
const wire::ZlibFunctions& linkedZlib() noexcept;
/// The same with an `uncompress` that takes gzip streams as well, their checksum included.
const wire::ZlibFunctions& linkedZlibAndGzip() noexcept;

}  // namespace qz::platform
