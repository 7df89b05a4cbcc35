#include "References/Libraries/Platform/LinkedZlib.h"

#include <zlib.h>

namespace qz::platform {

const wire::ZlibFunctions& linkedZlib() noexcept {
  static constexpr wire::ZlibFunctions functions{&compress2, &uncompress, &crc32};
  return functions;
}

}  // namespace qz::platform
