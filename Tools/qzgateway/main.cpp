// qzgateway: a gateway for demonstrations and tests. It answers real calls with a handful of operations.
#include "Tools/qzcall/Utf8Output.h"
#include "Tools/qzgateway/Gateway.h"
#include "Tools/qzgateway/Listing.h"
#include "Tools/qzgateway/Server.h"
//
#include <windows.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace {

std::atomic<qzgateway::Server*> runningServer{nullptr};

/// Windows calls this on a thread of its own; run() then returns and the program ends by itself. Requests that are being
/// served end first; who does not want to wait for them asks once more, and Windows ends the program.
BOOL WINAPI onConsoleEvent(DWORD) {
  qzgateway::Server* const server = runningServer.exchange(nullptr);
  if (server == nullptr) return FALSE;
  server->stop();
  return TRUE;
}

struct Options {
  std::string host = "127.0.0.1";
  int port = 8080;
  bool quiet = false;
  bool verbose = false;
  bool requireLogon = false;
  std::vector<std::string> namespaces;
  std::vector<std::string> users;
  std::string script;
  bool isOnlyChecked = false;
  bool isListed = false;
  std::string record;
  unsigned recordLimit = 256;

  qzgateway::Verbosity verbosity() const {
    using enum qzgateway::Verbosity;
    return quiet ? kQuiet : verbose ? kVerbose : kNormal;
  }
};

/// No address at all would mean every address of the machine.
std::string refuseNothing(const std::string& value) { return value.empty() ? "must not be empty" : ""; }

/// What makes a double of some other server.
void declareDouble(CLI::App& app, Options& options) {
  CLI::Option* const script = app.add_option("--script", options.script, "Answer calls by the rules of this file")
                                  ->type_name("FILE")
                                  ->check(refuseNothing, "", "");
  CLI::Option* const check = app.add_flag("--check", options.isOnlyChecked, "Only check the script")->needs(script);
  CLI::Option* const list = app.add_flag("--list", options.isListed, "Only list what is served")->excludes(check);
  CLI::Option* const record =
      app.add_option("--record", options.record, "Keep each exchange in this folder, passwords and cookies too")
          ->type_name("DIR")
          ->check(refuseNothing, "", "")
          ->excludes(check)
          ->excludes(list);
  app.add_option("--record-limit", options.recordLimit, "Most that the folder may hold")
      ->type_name("MB")
      ->check(CLI::Range(1U, 1U << 20U).description(""))
      ->capture_default_str()
      ->needs(record);
}

void declare(CLI::App& app, Options& options) {
  app.set_version_flag("--version", QZ_VERSION);
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return "qzgateway: " + std::string(error.what()) + "\nRun 'qzgateway --help' for the options.\n";
  });
  app.add_option("--host", options.host, "Address to listen on")->capture_default_str()->check(refuseNothing, "", "");
  app.add_option("--port", options.port, "Port to listen on, 0 for any free one")
      ->type_name("PORT")
      ->check(CLI::Range(0, 65535).description(""))
      ->capture_default_str();
  CLI::Option* const quiet = app.add_flag("--quiet", options.quiet, "Say nothing about requests");
  app.add_flag("--verbose", options.verbose, "Show the headers of each request")->excludes(quiet);
  app.add_option("--namespace", options.namespaces, "A namespace of the portal; several by repeating it")
      ->type_name("ID=NAME")
      ->allow_extra_args(false);
  app.add_option("--user", options.users, "A user of the portal; several by repeating it")
      ->type_name("NAME:PASSWORD[@NAMESPACE]")
      ->allow_extra_args(false);
  app.add_flag("--require-logon", options.requireLogon, "Refuse calls of sessions that nobody is logged on to");
  declareDouble(app, options);
  app.footer("The first line of the output is the port. Ctrl-C ends the gateway.\n\n" + qzgateway::builtIns() +
             "\n"
             "Without --user there is one user, demo, password demo; without --namespace one namespace, "
             "Demo=Demonstration.\n"
             "A password with an '@' is written with another '@' at its end.\n"
             "\n"
             "Examples:\n"
             "  qzgateway --port 0 --user ann:secret --require-logon\n"
             "  qzgateway --script prices.json --check\n"
             "  qzgateway --script prices.json --record exchanges --record-limit 20");
}

std::filesystem::path pathOf(const std::string& utf8) { return std::u8string(utf8.begin(), utf8.end()); }

/// What was wrong with a script has been told.
struct BadScript {};

qzgateway::Script loadScript(const std::string& name) {
  std::ifstream file(pathOf(name), std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  if (!file) throw CLI::ValidationError("--script: '" + name + "' cannot be read");
  auto script = qzgateway::readScript(text, pathOf(name).parent_path());
  if (script) return std::move(*script);
  for (const std::string& fault : script.error())
    std::cerr << "qzgateway: " << qzgateway::printable(name + ": " + fault) << '\n';
  throw BadScript();
}

/// @throws std::runtime_error
std::unique_ptr<qzgateway::Recorder> openRecorder(const Options& options) {
  if (options.record.empty()) return nullptr;
  const auto complain = [](const std::string& what) { std::cerr << "qzgateway: " + qzgateway::printable(what) + "\n"; };
  auto recorder =
      qzgateway::Recorder::open(pathOf(options.record), std::uintmax_t{options.recordLimit} << 20U, complain);
  if (!recorder) throw std::runtime_error("--record: '" + options.record + "' " + recorder.error());
  return std::move(*recorder);
}

/// What is told instead of serving.
int tell(const Options& options, const std::optional<qzgateway::Script>& script) {
  if (options.isListed)
    std::cout << qzgateway::builtIns() << (script ? "\n" + qzgateway::rulesOf(*script) : "");
  else
    std::cout << options.script << ": " << script->rules.size() << (script->rules.size() == 1 ? " rule" : " rules")
              << ", nothing wrong\n";
  return 0;
}

int serve(const Options& options, qzgateway::Accounts accounts, std::optional<qzgateway::Script> script) {
  qzgateway::Server server(
      {options.verbosity(), options.requireLogon, std::move(accounts), std::move(script), openRecorder(options)});
  const int port = server.bind(options.host, options.port);
  if (port == 0) {
    std::cerr << "qzgateway: cannot listen on " << options.host << " port " << options.port
              << "; another program may have the port, or the address is none of this machine\n";
    return 1;
  }
  runningServer = &server;
  SetConsoleCtrlHandler(onConsoleEvent, TRUE);
  std::cout << port << std::endl;
  const bool served = server.run();
  SetConsoleCtrlHandler(onConsoleEvent, FALSE);
  runningServer = nullptr;
  return served ? 0 : 1;
}

/// The arguments in UTF-8, the last one first.
std::vector<std::string> wordsOf(int count, wchar_t** arguments) {
  std::vector<std::string> words;
  for (int i = count - 1; i > 0; --i) {
    const std::u8string word = std::filesystem::path(arguments[i]).u8string();
    words.emplace_back(word.begin(), word.end());
  }
  return words;
}

}  // namespace

int wmain(int count, wchar_t** arguments) try {
  const qzcall::Utf8Output output;
  CLI::App app("A demonstration gateway: serves the interface Demo to clients of qzSOAP.", "qzgateway");
  Options options;
  declare(app, options);
  try {
    app.parse(wordsOf(count, arguments));
    auto accounts = qzgateway::Accounts::parse(options.namespaces, options.users);
    if (!accounts) throw CLI::ValidationError(accounts.error());
    std::optional<qzgateway::Script> script;
    if (!options.script.empty()) script = loadScript(options.script);
    if (options.isListed || options.isOnlyChecked) return tell(options, script);
    return serve(options, std::move(*accounts), std::move(script));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  } catch (const BadScript&) {
    return 2;
  }
} catch (const std::exception& error) {
  std::cerr << "qzgateway: " << error.what() << '\n';
  return 1;
}
