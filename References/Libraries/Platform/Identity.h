// Who runs this process, where, and in which version.
#pragma once

#include <string>

namespace qz::platform {

/// Log-on name of the user; empty when unknown, like the ones below.
std::string userName();
/// Domain of the user.
std::string userDomain();
/// Name of this computer.
std::string machineName();
/// Network domain of this computer.
std::string machineDomain();

/// Version of a program or library file as "major.minor.build.revision", or "0.0.0.0" when it has none.
std::string fileVersion(const char* path);

}  // namespace qz::platform
