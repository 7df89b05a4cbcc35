// The zlib that lies beside the library and is loaded at run time.
#pragma once

#include <string>
#include <tl/expected.hpp>

#include "References/Libraries/Wire/CompressedBlock.h"

namespace qz::platform {

/// zlib as loaded. Valid until freeZlib().
struct LoadedZlib {
  void* module = nullptr;
  const char* (*version)() = nullptr;
  wire::ZlibFunctions functions{};
};

/// Why zlib is not there.
struct ZlibFailure {
  std::string text;               ///< what failed; the path of zlib1.dll when the system could not load it
  unsigned long systemError = 0;  ///< the system's reason for not loading it, else 0
};

/// Loads zlib1.dll from the folder of the module that contains this code, and from nowhere else, and finds its functions.
/// Any other version than 1.2.3 is refused. What was loaded stays so, however often it is asked for.
tl::expected<LoadedZlib, ZlibFailure> loadZlib();

/// Gives up what loadZlib() loaded. Not for the end of the process, where the system takes modules apart by itself.
void freeZlib() noexcept;

}  // namespace qz::platform
