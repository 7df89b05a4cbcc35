// The command line of qzcall. What a command is made of stands in Command.h.
#pragma once

#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// Reads the command line (UTF-8, without the program's name).
/// @return the command, or the exit code when there is nothing to do: help was printed to stdout, or a complaint
/// to stderr
tl::expected<Command, ExitCode> parseCommandLine(std::vector<std::string> words);

}  // namespace qzcall
