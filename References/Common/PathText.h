// Rules about path texts.
#pragma once

#include <string_view>

namespace qz {

/// `path` up to its last backslash, which is dropped too; unchanged when it has none.
constexpr std::string_view cutAtLastBackslash(std::string_view path) { return path.substr(0, path.rfind('\\')); }

/// The part of `path` after its last backslash or slash.
constexpr std::string_view lastComponent(std::string_view path) { return path.substr(path.find_last_of("\\/") + 1); }

}  // namespace qz
