// What a gateway answers by a script: rules for calls, in the order in which they are tried.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>
#include <variant>
#include <vector>

#include "Tools/qzcall/Arguments.h"

namespace qzgateway {

/// One argument that a rule wants; what is not said may be anything.
struct ArgumentPattern {
  std::optional<unsigned char> type;
  std::optional<std::vector<unsigned char>> bytes;
};

/// All arguments that a rule wants, in order.
struct ArgumentPatterns {
  std::vector<ArgumentPattern> first;
  bool isMoreAllowed = false;  ///< whether any number of others may follow
};

/// Which calls a rule is for.
struct CallPattern {
  std::string interfaceName;  ///< "*" for any
  std::string method;         ///< "*" for any
  std::optional<ArgumentPatterns> arguments;
  /// Only the call with this number, from 1, of all that fit otherwise; whether another rule answers them or not.
  std::optional<long> call;
  /// How many calls the rule answers; nothing for all.
  std::optional<long> times;
};

/// A server error beside the envelope.
struct ErrorAnswer {
  long code;
  std::string text;
};

/// A SOAP fault.
struct FaultAnswer {
  std::string code;
  std::string text;
  std::string detail;
  bool isLogon;  ///< asks for a logon; code and detail are then those of such a fault
};

/// What is no reply to a call, as it is.
struct PageAnswer {
  int status;
  std::string contentType;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers;
};

/// The connection ends without a reply.
struct NoAnswer {};

/// The call's output arguments.
using ArgumentsAnswer = std::vector<qzcall::WrittenArgument>;

/// How a call is answered.
struct Answer {
  std::variant<ArgumentsAnswer, ErrorAnswer, FaultAnswer, PageAnswer, NoAnswer> form;
  std::chrono::duration<double> delay{};    ///< before each reply
  std::optional<std::size_t> truncateAt;    ///< ends the connection behind so many bytes of the last reply's body
  long polls = 0;                           ///< replies to a conversation that are not its last
  std::optional<std::string> objectHandle;  ///< otherwise the call's own
  std::vector<std::string> cookies;         ///< values of Set-Cookie headers
};

struct Rule {
  std::string name;  ///< for a person; may be empty
  CallPattern pattern;
  Answer answer;
};

struct Script {
  std::vector<Rule> rules;
  bool isRestBuiltIn = true;  ///< whether the built-in operations get the calls that no rule is for; otherwise a fault
};

/// Reads a script, a JSON text in UTF-8. Files that it names are read at once.
/// @param folder where they are looked for, unless the script says that itself; none means the working folder
/// @return the script, or all that is wrong with it: each a JSON pointer and a reason, or where the text is no JSON
tl::expected<Script, std::vector<std::string>> readScript(std::string_view text, const std::filesystem::path& folder);

}  // namespace qzgateway
