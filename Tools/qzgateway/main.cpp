// qzgateway: a gateway for demonstrations and tests. It answers real calls with a handful of operations.
#include "Tools/qzgateway/Server.h"
//
#include <windows.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iostream>

namespace {

std::atomic<qzgateway::Server*> runningServer{nullptr};

/// Windows calls this on a thread of its own; run() then returns and the program ends by itself.
BOOL WINAPI onConsoleEvent(DWORD) {
  qzgateway::Server* const server = runningServer.load();
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

  qzgateway::Verbosity verbosity() const {
    using enum qzgateway::Verbosity;
    return quiet ? kQuiet : verbose ? kVerbose : kNormal;
  }
};

/// No address at all would mean every address of the machine.
std::string refuseNothing(const std::string& value) { return value.empty() ? "must not be empty" : ""; }

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
  app.footer(
      "The first line of the output is the port. Ctrl-C ends the gateway.\n"
      "\n"
      "Operations of the interface Demo:\n"
      "  echo ...                the arguments, as they came\n"
      "  add LONG LONG           their sum\n"
      "  fail [LONG [TEXT]]      a server error with this code and text\n"
      "  fault [TEXT]            a SOAP fault\n"
      "  wait SECONDS [OUTCOME]  takes its time, as a conversation where the caller takes it so; OUTCOME is\n"
      "                          done, fail, fault, never (until cancelled) or stubborn (even then)\n"
      "  logon                   a SOAP fault that asks for a logon\n"
      "  page                    an HTML page instead of a reply\n"
      "\n"
      "Pages of the portal, under the same URL:\n"
      "  ?b_action=xts.run&m=portal/close.xts                        the portal and its firewall context\n"
      "  ?b_action=xts.run&m=portal/close.xts&h_ZOT_action=logon     logs a user on\n"
      "  ?b_action=xts.run&m=portal/close.xts&h_ZOT_action=logonAs   goes on as another user\n"
      "  ?b_action=xts.run&m=portal/logoff.xts&h_ZOT_action=logoff   logs off (POST)\n"
      "\n"
      "Without --user there is one user, demo, password demo; without --namespace one namespace, Demo=Demonstration.\n"
      "A password with an '@' is written with another '@' at its end.");
}

int serve(const Options& options, qzgateway::Accounts accounts) {
  qzgateway::Server server({options.verbosity(), options.requireLogon, std::move(accounts)});
  const int port = server.bind(options.host, options.port);
  if (port == 0) {
    std::cerr << "qzgateway: cannot listen on " << options.host << " port " << options.port << '\n';
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
  CLI::App app("A demonstration gateway: serves the interface Demo to clients of qzSOAP.", "qzgateway");
  Options options;
  declare(app, options);
  try {
    app.parse(wordsOf(count, arguments));
    auto accounts = qzgateway::Accounts::parse(options.namespaces, options.users);
    if (!accounts) throw CLI::ValidationError(accounts.error());
    return serve(options, std::move(*accounts));
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
} catch (const std::exception& error) {
  std::cerr << "qzgateway: " << error.what() << '\n';
  return 1;
}
