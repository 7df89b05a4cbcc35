// Failures as the library tells them.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace qzcall {

/// Code, detail code and text of an error object; code 0 is none.
struct Failure {
  long code = 0;
  long subCode = 0;
  std::string text;
};

/// The object that is called "error" in the output of all commands.
nlohmann::ordered_json toJson(const Failure& failure);

/// `json` on several lines, with a line end; bytes that are no UTF-8 become U+FFFD.
std::string pretty(const nlohmann::ordered_json& json);

/// What `code` means, for a person, with the numbers behind it unless it is E_OK.
std::string verdictOn(long code, long subCode);

/// Tells a person of `failure`, on the standard error.
void complain(const Failure& failure);

/// Complains of something that only the work has found wrong with the command line. `what` may end with a line end.
/// @return the exit code
int complainOfUsage(const std::string& what);

}  // namespace qzcall
