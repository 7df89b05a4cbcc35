// What the commands of qzcall have in common.
//
// A command is one function, `Prepare declareX(CLI::App& command, std::shared_ptr<CommonOptions> common)`, and a line in
// the table of CommandLine.cpp that names it. It goes through four steps:
//
//   declare   The function declares its options on `command`: those of its own, stored in an object that its Prepare
//             shares, and the common ones it wants by addUrl() and the like, which store in `common`. It sets a footer
//             with an example. All commands share one `common`; the words are for one of them.
//   prepare   Once the words have been read, its Prepare checks what CLI11 cannot and returns the Command, or a sentence
//             that begins with the option's name: exit code 2, and nothing was sent. checkDump() comes last here, as it
//             makes the file.
//   work      Asks, sends, waits. Runs on a thread of its own, and is left behind when the user interrupts or the limit
//             passes: it writes no file that matters and nothing to the standard output, and what it uses it owns.
//             What must be undone then (a prompt, a line on the terminal) has an InterruptAction.
//   finish    What the work returns: writes files, prints to std::cout, returns the exit code. Runs on the main thread,
//             and an interrupt lets it come to its end, so that nobody reads half an output. That std::cout could be
//             written to is checked by the caller.
//
// Exceptions of both steps end the program with kTransport and their text.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace qzcall {

/// Exit codes, the same for a person and a script.
enum ExitCode : int {
  kSuccess = 0,
  kServerError = 1,    ///< the server's own error, or a fault
  kFaulty = 1,         ///< what was looked at is broken
  kUsage = 2,          ///< the command line is wrong; nothing was sent
  kLogonRequired = 3,  ///< the server asks for a logon
  kTransport = 4,      ///< the URL, the connection, the HTTP status or the form of the reply; output, memory
  kTimeOut = 5,        ///< the time limit has passed
  kInterrupted = 130   ///< the user has interrupted
};

/// The face of the library that does the work.
enum class Face { toolkit, flat };

/// Options that several commands have. Texts are UTF-8 unless they say otherwise.
struct CommonOptions {
  std::vector<std::string> faces;  ///< as given, "toolkit" or "flat"; before and behind the command's name
  std::string url;
  std::string dumpFile;
  std::string sessionFile;
  bool json = false;

  Face face() const { return !faces.empty() && faces.front() == "flat" ? Face::flat : Face::toolkit; }
};

/// Declares --face, --url, --dump, --session or --json.
void addFace(CLI::App& app, CommonOptions& common);
CLI::Option* addUrl(CLI::App& command, CommonOptions& common);
void addDump(CLI::App& command, CommonOptions& common);
void addSession(CLI::App& command, CommonOptions& common, const char* description);
void addJson(CLI::App& command, CommonOptions& common);
/// Declares --arg; parseArguments() understands what is written.
void addArguments(CLI::App& command, std::vector<std::string>& written);

/// Declares an option with a text that may not be another option: `--handle --json` is a forgotten handle.
CLI::Option* addText(CLI::App& command, const char* name, std::string& value, const char* description);
/// A CLI11 check that refuses the empty text.
std::string refuseNothing(const std::string& value);

using Understood = tl::expected<void, std::string>;

/// Makes the dump file if there is none: the library works without its dump if need be, and who asked for one wants to
/// know before.
/// @return its path for the library, in the ANSI code page, "" when none was asked for; or a complaint
tl::expected<std::string, std::string> checkDump(const CommonOptions& common);

/// The last step of a command.
using Finish = std::function<int()>;

/// A command that is ready to run.
struct Command {
  std::function<Finish()> work;
  long limit = 0;  ///< seconds that the work may take, 0 for any time
  Finish late;     ///< comes in place of what the work would return when that has passed
};

using Prepared = tl::expected<Command, std::string>;
using Prepare = std::function<Prepared()>;

}  // namespace qzcall
