// How a command is run.
#pragma once

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// How a command ended.
struct Ended {
  int code;
  /// The work was left behind. It cannot be broken off, and the library must not be unloaded under it: the process has to
  /// be terminated.
  bool workUnderWay = false;
};

/// Runs a command, once in a process. Throws what its steps throw, and std::runtime_error when the standard output cannot
/// be written.
Ended run(const Command& command);

}  // namespace qzcall
