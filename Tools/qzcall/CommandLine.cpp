#include "Tools/qzcall/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <limits>

#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

/// Options as CLI11 stores them, before they are understood.
struct RawOptions {
  InvokeOptions invoke;
  std::vector<std::string> faces;
  std::vector<std::string> arguments;
  std::vector<std::string> cookies;
  bool noCompress = false;
};

constexpr char kFooter[] =
    "Exit codes: 0 success, 1 the server's error or fault, 2 usage, 3 logon required, 4 transport or URL, 5 time-out.\n"
    "\n"
    "Example:\n"
    "  qzcall invoke --url http://127.0.0.1:8080/gateway --action urn:demo --interface Demo --method add \\\n"
    "                --arg long:40 --arg long:2";

/// `--handle --json` is a forgotten handle, not one of that name.
std::string refuseOption(const std::string& value) {
  return value.starts_with("--") ? "'" + forTerminal(value, 60) + "' is an option, not a value" : "";
}

std::string refuseNothing(const std::string& value) { return value.empty() ? "must not be empty" : ""; }

std::string refuseOtherFace(const std::string& value) {
  return value == "toolkit" || value == "flat" ? "" : "must be toolkit or flat";
}

void declareFace(CLI::App& app, RawOptions& raw) {
  const auto note = [&raw](const std::string& face) { raw.faces.push_back(face); };
  app.add_option_function<std::string>("--face", note,
                                       "Face of the library that makes the call: toolkit (the default) or flat")
      ->type_name("FACE")
      ->check(refuseOtherFace, "", "");
}

void declareInvoke(CLI::App& app, RawOptions& raw) {
  CLI::App& invoke = *app.add_subcommand("invoke", "Make one remote call and print its outcome");
  declareFace(app, raw);
  declareFace(invoke, raw);
  InvokeOptions& options = raw.invoke;
  const auto text = [&](const char* name, std::string& value, const char* description) {
    return invoke.add_option(name, value, description)->check(refuseOption, "", "");
  };
  const auto list = [&](const char* name, std::vector<std::string>& values, const char* description) {
    return invoke.add_option(name, values, description)->allow_extra_args(false);
  };
  text("--url", options.url, "Gateway URL, http:// or https://")->required();
  text("--action", options.action, "SOAP action")->required();
  text("--interface", options.interfaceName, "Remote interface (class) name")->required()->check(refuseNothing, "", "");
  text("--method", options.methodName, "Remote method name")->required()->check(refuseNothing, "", "");
  list("--arg", raw.arguments,
       "Argument, in order: text:WORDS, long:N, short:N, byte:N, float:X, double:X, hex:DIGITS, file:PATH")
      ->type_name("TYPE:VALUE");
  text("--handle", options.objectHandle, "Server-side object handle");
  invoke.add_flag("--keep-alive", options.keepAlive, "Ask the server to keep the object");
  invoke.add_flag("--no-compress", raw.noCompress, "Send the arguments uncompressed");
  text("--passport", options.passport, "Passport id of a session");
  text("--pry", options.pryContext, "Application firewall context of a session");
  list("--cookie", raw.cookies, "Session cookie, repeatable")->type_name("NAME=VALUE");
  invoke.add_option("--timeout", options.timeout, "Time limit of the call in seconds, 0 for none")
      ->type_name("SECONDS")
      ->check(CLI::Range(0L, std::numeric_limits<long>::max() / 1000).description(""));
  text("--dump", options.dumpFile, "Append the raw exchange to this file")->type_name("FILE");
  invoke.add_flag("--json", options.json, "Print one JSON object instead of a table");
  invoke.footer(kFooter);
}

using Understood = tl::expected<void, std::string>;

Understood readFace(RawOptions& raw) {
  if (raw.faces.size() > 1) return tl::unexpected<std::string>("--face: given before and behind 'invoke'");
  if (!raw.faces.empty() && raw.faces[0] == "flat") raw.invoke.face = Face::flat;
  return {};
}

Understood readArguments(RawOptions& raw) {
  for (const std::string& written : raw.arguments) {
    auto argument = parseArgument(written);
    if (!argument) return tl::unexpected("--arg: " + argument.error());
    raw.invoke.arguments.push_back(std::move(*argument));
  }
  return {};
}

Understood readCookies(RawOptions& raw) {
  for (const std::string& cookie : raw.cookies) {
    const std::size_t equals = cookie.find('=');
    if (equals == std::string::npos || equals == 0 || cookie.find_first_of("\r\n") != std::string::npos)
      return tl::unexpected("--cookie: '" + forTerminal(cookie, 60) + "' is not of the form NAME=VALUE");
    raw.invoke.cookies.emplace_back(cookie.substr(0, equals), cookie.substr(equals + 1));
  }
  return {};
}

Understood understand(RawOptions& raw) {
  raw.invoke.compress = !raw.noCompress;
  return readFace(raw).and_then([&] { return readArguments(raw); }).and_then([&] { return readCookies(raw); });
}

/// CLI11 has exit codes of its own; here every complaint is a usage error.
ExitCode explain(const CLI::App& app, const CLI::ParseError& error) {
  return app.exit(error, std::cout, std::cerr) == 0 ? kSuccess : kUsage;
}

std::string complaint(const std::string& what) {
  return "qzcall: " + what + "\nRun 'qzcall invoke --help' for the options.\n";
}

/// CLI11 would only say that the command is missing.
bool isUnknownCommand(const std::vector<std::string>& words) {
  return !words.empty() && !words[0].starts_with('-') && words[0] != "invoke";
}

}  // namespace

tl::expected<InvokeOptions, ExitCode> parseCommandLine(std::vector<std::string> words) {
  if (isUnknownCommand(words)) {
    std::cerr << complaint("There is no command '" + forTerminal(words[0], 60) + "'; the one command is 'invoke'");
    return tl::unexpected(kUsage);
  }
  CLI::App app("Makes remote calls through qzSOAP from the command line.", "qzcall");
  app.require_subcommand(1);
  app.set_version_flag("--version", QZ_VERSION);
  app.failure_message([](const CLI::App*, const CLI::Error& error) { return complaint(error.what()); });
  RawOptions raw;
  declareInvoke(app, raw);
  try {
    std::reverse(words.begin(), words.end());
    app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    return tl::unexpected(explain(app, error));
  }
  const auto understood = understand(raw);
  if (understood) return std::move(raw.invoke);
  std::cerr << "qzcall: " << understood.error() << '\n';
  return tl::unexpected(kUsage);
}

}  // namespace qzcall
