// Sessions in files: the token between one command and the next.
#pragma once

#include <string>
#include <tl/expected.hpp>

#include "ITKRTT.h"
#include "Tools/qzcall/Command.h"

namespace qzcall {

/// The token that a command begins with: that of its session file, if it has one and the file exists, with its own URL in
/// place of the file's, if it has one.
/// @return a complaint that begins with the option when the file is damaged, cannot be read, or could not be replaced,
/// or when there is no URL
tl::expected<ITKRTT, std::string> sessionOf(const CommonOptions& common);

/// Replaces the session file by the one of `token`, if the command has a session file: URL, user name, context and all
/// cookies with their paths, never the password. Nobody ever sees half a file, and nobody but its owner can read it. Of
/// two commands that save at the same time the later one wins.
/// @return a complaint; the file is then what it was
Understood saveSession(const CommonOptions& common, const ITKRTT& token);

}  // namespace qzcall
