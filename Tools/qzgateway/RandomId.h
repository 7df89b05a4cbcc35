// Ids that nobody can guess.
#pragma once

#include <string>

namespace qzgateway {

/// 128 bits of the system's random generator as 32 hexadecimal digits.
std::string randomId();

}  // namespace qzgateway
