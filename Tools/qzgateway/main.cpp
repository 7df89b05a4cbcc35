// qzgateway: a gateway for demonstrations and tests. It answers real calls with a handful of operations.
#include "Tools/qzgateway/Server.h"
//
#include <windows.h>

#include <CLI/CLI.hpp>
#include <atomic>
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
  app.footer(
      "The first line of the output is the port. Ctrl-C ends the gateway.\n"
      "\n"
      "Operations of the interface Demo:\n"
      "  echo ...                the arguments, as they came\n"
      "  add LONG LONG           their sum\n"
      "  fail [LONG [TEXT]]      a server error with this code and text\n"
      "  fault [TEXT]            a SOAP fault\n"
      "  logon                   a SOAP fault that asks for a logon\n"
      "  page                    an HTML page instead of a reply");
}

int serve(const Options& options) {
  qzgateway::Server server(options.verbosity());
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

}  // namespace

int main(int count, char** words) try {
  CLI::App app("A demonstration gateway: serves the interface Demo to clients of qzSOAP.", "qzgateway");
  Options options;
  declare(app, options);
  try {
    app.parse(count, words);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  }
  return serve(options);
} catch (const std::exception& error) {
  std::cerr << "qzgateway: " << error.what() << '\n';
  return 1;
}
