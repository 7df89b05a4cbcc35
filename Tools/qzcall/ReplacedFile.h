// Files whose old content stays until the new one is complete.
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace qzcall {

/// Gives `write` a file beside `path` and puts it in the place of `path` when it is complete. Throws std::runtime_error
/// when that cannot be done; what `path` held is then unchanged.
void replaceFile(const std::string& path, const std::function<void(std::ostream&)>& write);

}  // namespace qzcall
