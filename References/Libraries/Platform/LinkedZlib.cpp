#include "References/Libraries/Platform/LinkedZlib.h"

#include <zlib.h>

namespace qz::platform {

const wire::ZlibFunctions& linkedZlib() noexcept {
  static constexpr wire::ZlibFunctions functions{&crc32, &compress2, &uncompress};
  return functions;
}

}  // namespace qz::platform
