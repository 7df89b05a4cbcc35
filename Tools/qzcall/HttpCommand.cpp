#include "Tools/qzcall/HttpCommand.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>

#include "Tools/qzcall/Failure.h"
#include "Tools/qzcall/HttpRequest.h"
#include "Tools/qzcall/Input.h"
#include "Tools/qzcall/Outcome.h"
#include "Tools/qzcall/Output.h"
#include "Tools/qzcall/Session.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

using Json = nlohmann::ordered_json;

struct HttpOptions {
  std::shared_ptr<CommonOptions> common;
  std::string verb;
  std::vector<std::string> headers;
  std::string bodyFile;
  std::string outputFile;
  bool include = false;
};

/// What the work needs.
struct Task {
  HttpRequest request;
  ITKRTT token;
  std::string dumpFile;
};

constexpr char kHttpFooter[] =
    "Example:\n"
    "  qzcall http --session s.json --header 'Accept: text/html' --include";

std::string refuseOtherVerb(const std::string& value) {
  return value == "GET" || value == "POST" ? "" : "must be GET or POST";
}

bool isHeaderLine(const std::string& line) {
  return line.find(':') != 0 && line.find(':') != std::string::npos && line.find_first_of("\r\n") == std::string::npos;
}

tl::expected<std::string, std::string> headerLines(const std::vector<std::string>& headers) {
  std::string lines;
  for (const std::string& line : headers) {
    if (!isHeaderLine(line))
      return tl::unexpected("--header: '" + forTerminal(line, 60) + "' is not of the form NAME: VALUE");
    lines += line + "\r\n";
  }
  return lines;
}

/// The headers of a reply with one empty line behind them.
std::string wholeHeaders(const std::string& raw) {
  const std::size_t end = raw.find_last_not_of("\r\n");
  return end == std::string::npos ? "" : raw.substr(0, end + 1) + "\r\n\r\n";
}

Json headersIn(const std::string& raw) {
  Json out = Json::array();
  for (const std::string_view line : linesOf(raw)) {
    const std::size_t colon = line.find(':');
    if (out.empty() && line.starts_with("HTTP/")) continue;
    if (colon == std::string_view::npos) continue;
    std::string_view value = line.substr(colon + 1);
    value.remove_prefix(std::min(value.find_first_not_of(' '), value.size()));
    out.push_back({{"name", line.substr(0, colon)}, {"value", value}});
  }
  return out;
}

std::string jsonOf(const HttpReply& reply) {
  const std::string_view raw = reply.headers;
  Json json = {{"result", reply.failure.code},
               {"error", toJson(reply.failure)},
               {"statusLine", raw.substr(0, raw.find_first_of("\r\n"))},
               {"headers", headersIn(reply.headers)}};
  if (isUtf8(reply.body)) {
    json["body"] = reply.body;
  } else {
    json["bodyHex"] = toHex({reinterpret_cast<const unsigned char*>(reply.body.data()), reply.body.size()});
  }
  return pretty(json);
}

void write(std::ostream& out, const HttpOptions& written, const HttpReply& reply) {
  if (written.common->json) {
    out << jsonOf(reply);
  } else {
    if (written.include) out << wholeHeaders(reply.headers);
    out << reply.body;
  }
}

void writeOutput(const HttpOptions& written, const HttpReply& reply) {
  writeTo(written.outputFile, [&](std::ostream& out) { write(out, written, reply); });
}

int finish(const HttpOptions& written, const HttpReply& reply) {
  const bool hasFailed = reply.failure.code != 0;
  if (!hasFailed || written.common->json || written.include) writeOutput(written, reply);
  if (hasFailed && !written.common->json) complain(reply.failure);
  return exitCodeOf(reply.failure.code);
}

Finish send(const std::shared_ptr<HttpOptions>& written, const std::shared_ptr<Task>& task) {
  HttpRequest& request = task->request;
  if (!written->bodyFile.empty()) {
    auto body = readAll(written->bodyFile);
    if (!body)
      return [what = "--body: '" + forTerminal(written->bodyFile, 200) + "' " + body.error()] {
        return complainOfUsage(what);
      };
    request.body = std::move(*body);
  }
  const auto reply =
      std::make_shared<HttpReply>(sendHttp(written->common->face(), request, task->dumpFile, &task->token));
  return [written, reply] { return finish(*written, *reply); };
}

Understood readRequest(const HttpOptions& written, Task& task) {
  return headerLines(written.headers).map([&](const std::string& lines) {
    const char* const usual = written.bodyFile.empty() ? "GET" : "POST";
    task.request = {task.token.getURL(), written.verb.empty() ? usual : written.verb, lines, {}};
  });
}

Prepared prepare(const std::shared_ptr<HttpOptions>& written) {
  const auto task = std::make_shared<Task>();
  return storedSessionOf(*written->common)
      .map([&](const Session& session) { task->token = session.token; })
      .and_then([&] { return readRequest(*written, *task); })
      .and_then([&] { return checkOutput(written->outputFile); })
      .and_then([&] { return checkDump(*written->common); })
      .map([&](const std::string& path) {
        task->dumpFile = path;
        return Command{[written, task] { return send(written, task); }, 0, nullptr};
      });
}

}  // namespace

Prepare declareHttp(CLI::App& command, std::shared_ptr<CommonOptions> common) {
  const auto written = std::make_shared<HttpOptions>();
  written->common = std::move(common);
  addUrl(command, *written->common);
  addSession(command, *written->common, "Send the cookies of this session; its URL is the one when there is no --url");
  addText(command, "--verb", written->verb, "GET or POST; with a body POST is the default, otherwise GET")
      ->check(refuseOtherVerb, "", "");
  command.add_option("--header", written->headers, "Header line, repeatable")
      ->allow_extra_args(false)
      ->type_name("NAME: VALUE");
  addText(command, "--body", written->bodyFile, "Send the content of this file, - for the standard input")
      ->type_name("FILE")
      ->check(refuseNothing, "", "");
  addOutput(command, written->outputFile, "Write what comes back to this file");
  CLI::Option* const include =
      command.add_flag("--include", written->include, "Show the headers of the reply too, also of a failed one");
  addDump(command, *written->common);
  addJson(command, *written->common);
  command.get_option("--json")->excludes(include);
  command.footer(kHttpFooter);
  return [written] { return prepare(written); };
}

}  // namespace qzcall
