#include "Tools/qzcall/InvokeCommand.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "Tools/qzcall/DryRun.h"
#include "Tools/qzcall/Invoke.h"
#include "Tools/qzcall/Json.h"
#include "Tools/qzcall/Output.h"
#include "Tools/qzcall/Session.h"
#include "Tools/qzcall/Table.h"
#include "Tools/qzcall/Terminal.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

/// Options as CLI11 stores them, before they are understood.
struct InvokeOptions {
  std::shared_ptr<CommonOptions> common;
  CallOptions call;
  std::vector<std::string> arguments;
  std::vector<std::string> cookies;
  std::string passport;
  std::string pryContext;
  bool noCompress = false;
  std::string user;  // whom the session is of
  bool isDry = false;
  std::string outputFile;
};

constexpr char kInvokeFooter[] =
    "Examples:\n"
    "  qzcall invoke --url http://127.0.0.1:8080/gateway --action urn:demo --interface Demo --method add \\\n"
    "                --arg long:40 --arg long:2\n"
    "  qzcall invoke --session s.json --async --timeout 60 --action urn:demo --interface Demo --method wait \\\n"
    "                --arg long:5\n"
    "  qzcall invoke --dry-run --url http://127.0.0.1:8080/gateway --action urn:demo --interface Demo --method add \\\n"
    "                --arg long:40 --arg long:2";

void declareCall(CLI::App& command, InvokeOptions& written) {
  CallOptions& call = written.call;
  addText(command, "--action", call.action, "SOAP action")->required();
  addText(command, "--interface", call.interfaceName, "Remote interface (class) name")
      ->required()
      ->check(refuseNothing, "", "");
  addText(command, "--method", call.methodName, "Remote method name")->required()->check(refuseNothing, "", "");
  addArguments(command, written.arguments);
  addText(command, "--handle", call.objectHandle, "Server-side object handle");
  command.add_flag("--keep-alive", call.keepAlive, "Ask the server to keep the object");
  command.add_flag("--no-compress", written.noCompress, "Send the arguments uncompressed");
}

void declareWaiting(CLI::App& command, CallOptions& call) {
  command.add_flag(
      "--async", call.conversation,
      "Make the call a conversation: ask again until the server has finished or the time limit has passed");
  command
      .add_option("--timeout", call.timeout,
                  "Time limit of the call in seconds; 0 for none, with --async for cancelling at the first reply")
      ->type_name("SECONDS")
      ->check(CLI::Range(0L, kLongestTimeout).description(""));
}

void declareToken(CLI::App& command, InvokeOptions& written) {
  addSession(command, *written.common, "Take the session from this file, if there is one, and keep it there");
  addText(command, "--passport", written.passport, "Passport id of a session");
  addText(command, "--pry", written.pryContext, "Application firewall context of a session");
  command.add_option("--cookie", written.cookies, "Session cookie, repeatable")
      ->allow_extra_args(false)
      ->type_name("NAME=VALUE");
}

/// What is sent is shown instead. The session file is read, and not written.
void declareDryRun(CLI::App& command, InvokeOptions& written) {
  CLI::Option* const dry = command.add_flag("--dry-run", written.isDry, "Show the request and send nothing");
  dry->excludes(command.get_option("--dump"));
  addOutput(command, written.outputFile, "With --dry-run: write the body of the request as it is to this file");
  command.get_option("--output")->needs(dry);
}

Understood readArguments(InvokeOptions& written) {
  return parseArguments(written.arguments).map([&](std::vector<WrittenArgument>&& arguments) {
    written.call.arguments = std::move(arguments);
  });
}

Understood addCookies(const std::vector<std::string>& cookies, ITKRTT& token) {
  for (const std::string& cookie : cookies) {
    const std::size_t equals = cookie.find('=');
    if (equals == std::string::npos || equals == 0 || cookie.find_first_of("\r\n") != std::string::npos)
      return tl::unexpected("--cookie: '" + forTerminal(cookie, 60) + "' is not of the form NAME=VALUE");
    token.setCookieValue(cookie.substr(0, equals).c_str(), cookie.substr(equals + 1).c_str());
  }
  return {};
}

/// The session of the file, with what the command line says of it.
Understood readToken(InvokeOptions& written) {
  const auto session = written.isDry ? storedSessionOf(*written.common) : sessionOf(*written.common);
  if (!session) return tl::unexpected(session.error());
  ITKRTT& token = written.call.token = session->token;
  written.user = session->user;
  if (const auto added = addCookies(written.cookies, token); !added) return added;
  if (!written.pryContext.empty()) token.setPryContext(written.pryContext.c_str());
  if (!written.passport.empty()) token.setPassportID(written.passport.c_str());
  return {};
}

Understood readDump(InvokeOptions& written) {
  return checkDump(*written.common).map([&](const std::string& path) { written.call.dumpFile = path; });
}

/// A call that failed before there was a reply leaves no token, and the session is what it was.
Understood keepSession(const InvokeOptions& written, const Outcome& outcome) {
  if (outcome.result != 0 && outcome.token.isEmpty()) return {};
  return saveSession(*written.common, {outcome.token, written.user});
}

int finish(const InvokeOptions& written, const Outcome& outcome) {
  const auto kept = keepSession(written, outcome);
  if (written.common->json) {
    writeJson(std::cout, outcome);
  } else {
    std::cout << toTable(outcome);
  }
  if (!kept) throw std::runtime_error(kept.error());
  return exitCodeOf(outcome.result);
}

Command commandOf(const std::shared_ptr<InvokeOptions>& written) {
  const auto work = [written]() -> Finish {
    const auto outcome = std::make_shared<Outcome>(invoke(written->call));
    return [written, outcome] { return finish(*written, *outcome); };
  };
  // A conversation has a limit of its own.
  const long limit = written->call.conversation ? 0 : written->call.timeout.value_or(0);
  return {work, limit, [written, limit] { return finish(*written, timedOut(limit)); }};
}

int showRequest(const InvokeOptions& written, const std::optional<DryRequest>& request) {
  if (!request) throw std::runtime_error("the library refuses to make this request; its log says why");
  if (!written.outputFile.empty())
    writeTo(written.outputFile, [&](std::ostream& out) {
      out.write(reinterpret_cast<const char*>(request->body.data()),
                static_cast<std::streamsize>(request->body.size()));
    });
  if (written.common->json) {
    writeRequestJson(std::cout, *request);
  } else {
    writeRequest(std::cout, *request, outputWidth());
  }
  return kSuccess;
}

Command dryRunOf(const std::shared_ptr<InvokeOptions>& written) {
  const auto work = [written]() -> Finish {
    const auto request = std::make_shared<std::optional<DryRequest>>(dryRun(written->call));
    return [written, request] { return showRequest(*written, *request); };
  };
  return {work, 0, nullptr};
}

Prepared prepare(const std::shared_ptr<InvokeOptions>& written) {
  CallOptions& call = written->call;
  call.face = written->common->face();
  call.compress = !written->noCompress;
  return readArguments(*written)
      .and_then([&] { return readToken(*written); })
      .and_then([&] { return readDump(*written); })
      .and_then([&] { return checkOutput(written->outputFile); })
      .map([&] { return written->isDry ? dryRunOf(written) : commandOf(written); });
}

}  // namespace

Prepare declareInvoke(CLI::App& command, std::shared_ptr<CommonOptions> common) {
  const auto written = std::make_shared<InvokeOptions>();
  written->common = std::move(common);
  addUrl(command, *written->common);
  declareCall(command, *written);
  declareToken(command, *written);
  declareWaiting(command, written->call);
  addDump(command, *written->common);
  declareDryRun(command, *written);
  addJson(command, *written->common);
  command.footer(kInvokeFooter);
  return [written] { return prepare(written); };
}

}  // namespace qzcall
