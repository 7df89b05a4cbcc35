#include "Tools/qzgateway/RandomId.h"

#include <random>

namespace qzgateway {

std::string randomId() {
  // The generator of the system by its name: what stands in by default is the runtime's choice.
  std::random_device source("rand_s");
  constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  for (int words = 4; words > 0; --words)
    for (auto bits = std::uint64_t{source()} | 0x1'0000'0000U; bits > 1; bits >>= 4U) out += kDigits[bits % 16];
  return out;
}

}  // namespace qzgateway
