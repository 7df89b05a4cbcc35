// Sessions in files: the token between one command and the next.
#pragma once

#include <string>
#include <tl/expected.hpp>

#include "ITKRTT.h"
#include "Tools/qzcall/Command.h"

namespace qzcall {

/// What there is of a session between two commands.
struct Session {
  /// Without the user's name when it comes from a file: the library would answer a server that asks for HTTP credentials
  /// with that name and an empty password.
  ITKRTT token;
  std::string user;  ///< for display; empty when nobody has logged on
};

/// What a command does with the session of another server than the one it goes to.
enum class OtherServer {
  refuse,  ///< it would send the cookies there
  accept   ///< it sends nothing of the session
};

/// The session that a command begins with: that of its session file, if it has one and the file exists and is not empty,
/// with its own URL in place of the file's, if it has one. For a command that does not save it.
/// @return a complaint that begins with the option when the file is damaged or cannot be read, when there is no URL, or
/// when the session is of another server and that matters
tl::expected<Session, std::string> storedSessionOf(const CommonOptions& common,
                                                   OtherServer otherServer = OtherServer::refuse);

/// The same for a command that saves it: a file that could not be replaced is a complaint too.
tl::expected<Session, std::string> sessionOf(const CommonOptions& common,
                                             OtherServer otherServer = OtherServer::refuse);

/// Replaces the session file by the one of `session`, if the command has a session file: URL, user name, context and all
/// cookies with their paths, never the password. Nobody ever sees half a file, and nobody but its owner can read it. Of
/// two commands that save at the same time the later one wins.
/// @return a complaint; the file is then what it was
Understood saveSession(const CommonOptions& common, const Session& session);

}  // namespace qzcall
