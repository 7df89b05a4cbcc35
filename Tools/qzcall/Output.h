// Where the bytes of a command go.
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// Declares -o and --output.
void addOutput(CLI::App& command, std::string& path, const char* description);

/// Finds out before the work whether the output file can be written. One that is there keeps what it holds until there is
/// something to write; where there is none, a trial is made and removed. "" is the standard output.
Understood checkOutput(const std::string& path);

/// Gives `write` the file to write to, which is emptied first, or the standard output. Throws std::runtime_error when
/// the file could not be written.
void writeTo(const std::string& path, const std::function<void(std::ostream&)>& write);

}  // namespace qzcall
