// The terminal that the program may write to.
#pragma once

#include <cstddef>

namespace qzcall {

/// True when the standard output is a terminal.
bool isOutputTerminal();

/// Characters in a line of the standard output: the terminal's, 120 for a file or a pipe.
std::size_t outputWidth();

}  // namespace qzcall
