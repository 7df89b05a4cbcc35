// Where modules lie.
#pragma once

#include <array>
#include <string_view>

namespace qz::platform {

/// Longest module path that is recognised, in characters.
inline constexpr std::size_t kPathLimit = 260;

/// Storage of a path with its terminating zero and one character that shows a path that is too long.
using PathBuffer = std::array<char, kPathLimit + 2>;

/// Full file name of a module.
/// @param module null means the program
/// @return a view of `out`, terminated by a zero; empty when the name is longer than kPathLimit or unknown
std::string_view modulePath(PathBuffer& out, void* module);

/// The module that contains this code: the library, or the program it is linked into.
void* ownModule();

/// Module handle of the program.
void* programModule();

}  // namespace qz::platform
