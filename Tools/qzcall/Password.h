// The password of a logon: from a prompt, a file or the environment, never from the command line.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <tl/expected.hpp>

#include "Tools/qzcall/Command.h"

namespace qzcall {

/// A password in UTF-8, in one place of memory that is wiped when the password goes. What was moved from is of no use.
class Password {
 public:
  /// Longest password in bytes.
  static constexpr std::size_t kLimit = 1024;

  /// Empty.
  Password() : room_(std::make_unique<Room>()) {}
  ~Password();
  Password(Password&&) noexcept = default;
  Password& operator=(Password&&) = delete;

  /// Null-terminated; lives as long as the password.
  const char* c_str() const { return room_->bytes; }
  /// Where it is written: kLimit bytes, one more that finds a longer password out, and the terminating zero.
  char* data() { return room_->bytes; }

 private:
  struct Room {
    char bytes[kLimit + 2] = {};
  };
  std::unique_ptr<Room> room_;
};

/// Where a password comes from; the prompt when both are empty.
struct PasswordSource {
  std::string file;      ///< its first line is the password; "-" is the standard input
  std::string variable;  ///< of the environment
};

/// Declares --password-file and --password-env.
void addPassword(CLI::App& command, PasswordSource& source);

/// A complaint where the source is the prompt and there is no terminal.
Understood checkPassword(const PasswordSource& source);

/// Reads the password, asking for that of `user` on the terminal if need be. Nothing typed is shown, and an interrupt
/// leaves the terminal as it was.
/// @return the password, or a sentence that says why there is none: a password is UTF-8, at most Password::kLimit bytes
///   long, holds no zero and is not empty
tl::expected<Password, std::string> readPassword(const PasswordSource& source, const std::string& user);

}  // namespace qzcall
