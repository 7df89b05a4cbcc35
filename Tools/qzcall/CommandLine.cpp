#include "Tools/qzcall/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "Tools/qzcall/DecodeCommand.h"
#include "Tools/qzcall/DoctorCommand.h"
#include "Tools/qzcall/EncodeCommand.h"
#include "Tools/qzcall/HttpCommand.h"
#include "Tools/qzcall/InvokeCommand.h"
#include "Tools/qzcall/PortalCommands.h"
#include "Tools/qzcall/ReportCommand.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

struct Declaration {
  const char* name;
  const char* description;
  Prepare (*declare)(CLI::App& command, std::shared_ptr<CommonOptions> common);
  bool hasFace = true;  ///< does its work through one of the faces
};

constexpr Declaration kCommands[] = {
    {"invoke", "Make one remote call and print its outcome", declareInvoke},
    {"namespaces", "List the namespaces that users of the portal can be of", declareNamespaces},
    {"logon", "Log a user on at the portal and keep the session", declareLogon},
    {"logon-as", "Log another user on in a session", declareLogonAs},
    {"logoff", "End a session", declareLogoff},
    {"http", "Make one plain HTTP request", declareHttp},
    {"decode", "Show what a file of streams, envelopes or exchanges holds", declareDecode, false},
    {"encode", "Make an argument stream of arguments", declareEncode, false},
    {"report", "Make a page of trace logs, to read them in a browser", declareReport, false},
    {"doctor", "Say whether the installation is sound", declareDoctor, false},
};

constexpr char kFooter[] =
    "Exit codes: 0 success, 1 the server's error or fault, or a broken file or installation, 2 usage,\n"
    "3 logon required, 4 transport or URL, 5 time-out, 130 interrupted.\n"
    "\n"
    "Example:\n"
    "  qzcall invoke --url http://127.0.0.1:8080/gateway --action urn:demo --interface Demo --method echo \\\n"
    "                --arg text:hello\n"
    "\n"
    "'qzcall COMMAND --help' shows the options of a command.";

std::string complaint(const std::string& command, const std::string& what) {
  return "qzcall: " + what + "\nRun 'qzcall " + (command.empty() ? command : command + " ") +
         "--help' for the options.\n";
}

/// CLI11 would only say that the command is missing.
bool isUnknownCommand(const std::vector<std::string>& words) {
  return !words.empty() && !words[0].starts_with('-') &&
         std::ranges::none_of(kCommands, [&](const Declaration& known) { return words[0] == known.name; });
}

std::string namesOfCommands() {
  std::string names;
  for (const Declaration& known : kCommands) names += (names.empty() ? "" : ", ") + std::string(known.name);
  return names;
}

/// CLI11 has exit codes of its own; here every complaint is a usage error.
ExitCode explain(const CLI::App& app, const CLI::ParseError& error) {
  return app.exit(error, std::cout, std::cerr) == 0 ? kSuccess : kUsage;
}

/// CLI11 complains of what is missing first, even where that is only because its name is misspelt.
std::string whatIsWrong(const CLI::App& app, const CLI::Error& error) {
  const auto unknown = app.remaining(true);
  if (!unknown.empty()) return "'" + forTerminal(unknown.front(), 60) + "' is not expected here";
  const bool isCommandMissing = app.get_subcommands().empty() && error.get_name() == "RequiredError";
  return isCommandMissing ? "A subcommand is required: " + namesOfCommands() : error.what();
}

/// The command whose name was read; empty before there is one.
std::string chosen(const CLI::App& app) {
  const auto commands = app.get_subcommands();
  return commands.empty() ? "" : commands.front()->get_name();
}

/// The program with all its commands.
class Program {
 public:
  Program() {
    app_.require_subcommand(1);
    // On Linux a path begins with what marks an option on Windows.
    app_.allow_windows_style_options(false);
    app_.set_version_flag("--version", QZ_VERSION);
    app_.footer(kFooter);
    app_.failure_message(
        [this](const CLI::App*, const CLI::Error& error) { return complaint(chosen(app_), whatIsWrong(app_, error)); });
    addFace(app_, *common_);
    for (const Declaration& known : kCommands) declare(known);
  }

  tl::expected<Command, ExitCode> read(std::vector<std::string> words) {
    try {
      std::reverse(words.begin(), words.end());
      app_.parse(std::move(words));
    } catch (const CLI::ParseError& error) {
      return tl::unexpected(explain(app_, error));
    }
    return prepare().map_error([this](const std::string& what) {
      std::cerr << complaint(chosen(app_), what);
      return kUsage;
    });
  }

 private:
  void declare(const Declaration& known) {
    CLI::App* const command = app_.add_subcommand(known.name, known.description);
    if (known.hasFace) addFace(*command, *common_);
    prepares_[command] = known.declare(*command, common_);
  }

  Prepared prepare() const {
    const CLI::App* const command = app_.get_subcommands().front();
    if (!common_->faces.empty() && command->get_option_no_throw("--face") == nullptr)
      return tl::unexpected("--face: '" + chosen(app_) + "' does not ask for a face");
    if (common_->faces.size() > 1) return tl::unexpected("--face: given before and behind '" + chosen(app_) + "'");
    return prepares_.at(command)();
  }

  CLI::App app_{"Makes remote calls through qzSOAP from the command line.", "qzcall"};
  std::shared_ptr<CommonOptions> common_ = std::make_shared<CommonOptions>();
  std::map<const CLI::App*, Prepare> prepares_;
};

}  // namespace

tl::expected<Command, ExitCode> parseCommandLine(std::vector<std::string> words) {
  if (!isUnknownCommand(words)) return Program().read(std::move(words));
  std::cerr << complaint("", "There is no command '" + forTerminal(words[0], 60) + "'; there is " + namesOfCommands());
  return tl::unexpected(kUsage);
}

}  // namespace qzcall
