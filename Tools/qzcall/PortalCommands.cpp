#include "Tools/qzcall/PortalCommands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

#include "Tools/qzcall/Encoding.h"
#include "Tools/qzcall/Failure.h"
#include "Tools/qzcall/Outcome.h"
#include "Tools/qzcall/Password.h"
#include "Tools/qzcall/Portal.h"
#include "Tools/qzcall/Session.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

using Json = nlohmann::ordered_json;

/// Options of all these commands, and what becomes of them.
struct PortalOptions {
  std::shared_ptr<CommonOptions> common;
  PortalUser user;
  bool isNamespaceGiven = false;
  std::string component = kDefaultComponent;
  PasswordSource source;
  std::string dumpFile;
  Session session;

  std::string url() const { return session.token.getURL(); }
  Portal portal() const { return Portal({common->face(), url(), component, dumpFile}); }
};

using Shared = std::shared_ptr<PortalOptions>;

std::string shown(std::string_view text) { return forTerminal(text, std::numeric_limits<std::size_t>::max()); }

/// Who is logged on, as the beginning of a sentence; a call alone may begin a session too.
std::string whoIn(const Session& session) { return session.user.empty() ? "the session" : shown(session.user); }

Understood readSession(PortalOptions& written, OtherServer otherServer = OtherServer::accept) {
  return sessionOf(*written.common, otherServer).map([&](const Session& session) { written.session = session; });
}

/// The session that must be there already.
Understood readLiveSession(PortalOptions& written) {
  const std::string& file = written.common->sessionFile;
  if (!std::filesystem::exists(std::filesystem::path(wideOf(file))))
    return tl::unexpected("--session: there is no file '" + forTerminal(file, 200) + "'");
  if (const auto read = readSession(written, OtherServer::refuse); !read) return read;
  if (!written.session.token.isEmpty()) return {};
  return tl::unexpected("--session: nobody is logged on in '" + forTerminal(file, 200) + "'");
}

Understood checkComponent(const PortalOptions& written) {
  if (written.common->face() == Face::toolkit || written.component == kDefaultComponent) return {};
  return tl::unexpected<std::string>("--component: the flat face always asks as the component 'pc'");
}

Understood checkNamespace(const PortalOptions& written) {
  if (written.user.nameSpace.displayName.empty() || written.isNamespaceGiven) return {};
  return tl::unexpected<std::string>("--namespace-name: goes with --namespace");
}

Understood readDump(PortalOptions& written) {
  return checkDump(*written.common).map([&](const std::string& path) { written.dumpFile = path; });
}

/// How a command that has failed ends.
int finishWith(const CommonOptions& common, const Failure& failure, Json json) {
  if (common.json) {
    json["error"] = toJson(failure);
    std::cout << pretty(json);
  } else {
    complain(failure);
  }
  return exitCodeOf(failure.code);
}

// ---- namespaces

Json toJson(const std::vector<Namespace>& namespaces) {
  Json json = Json::array();
  for (const Namespace& one : namespaces) json.push_back({{"id", one.id}, {"displayName", one.displayName}});
  return json;
}

std::string toTable(const std::vector<Namespace>& namespaces) {
  std::size_t width = 0;
  for (const Namespace& one : namespaces) width = std::max(width, shown(one.id).size());
  std::string out;
  for (const Namespace& one : namespaces) {
    const std::string id = shown(one.id);
    out += id;
    if (!one.displayName.empty()) out += std::string(width + 2 - id.size(), ' ') + shown(one.displayName);
    out += '\n';
  }
  return out;
}

Finish askForNamespaces(const Shared& written) {
  const auto found = written->portal().namespaces();
  return [written, found] {
    if (!found) return finishWith(*written->common, found.error(), Json::object());
    std::cout << (written->common->json ? pretty(toJson(*found)) : toTable(*found));
    return int{kSuccess};
  };
}

// ---- logon and logon-as

Finish usageFinish(const std::string& what) {
  return [what] { return complainOfUsage(what); };
}

/// Where nobody has named a namespace, the portal's only one is meant.
/// @return how the command ends when there is no such thing
std::optional<Finish> chooseNamespace(const Shared& written) {
  if (written->isNamespaceGiven) return std::nullopt;
  const auto found = written->portal().namespaces();
  if (!found)
    return [written, failure = found.error()] { return finishWith(*written->common, failure, Json::object()); };
  if (found->size() > 1)
    return usageFinish("--namespace is required: the portal has several, and nobody was logged on\n" + toTable(*found));
  written->user.nameSpace = found->front();
  return std::nullopt;
}

/// The session without the secrets in it.
Json toJson(const PortalOptions& written, const Session& session) {
  const ITKRTT& token = session.token;
  Json cookies = Json::array();
  for (const auto& cookie : cookiesOf(token)) cookies.push_back(cookie.first);
  return {{"loggedOn", true},      {"user", session.user},         {"namespace", written.user.nameSpace.id},
          {"url", token.getURL()}, {"passport", !token.isEmpty()}, {"pryContext", token.getPryContext()},
          {"cookies", cookies},    {"error", toJson(Failure())}};
}

std::string toText(const CommonOptions& common, const Session& session) {
  const ITKRTT& token = session.token;
  std::string cookies;
  for (const auto& cookie : cookiesOf(token)) cookies += (cookies.empty() ? "" : ", ") + shown(cookie.first);
  std::string out = whoIn(session) + " is logged on at " + shown(token.getURL()) + "\n";
  if (*token.getPryContext() != '\0') out += "  context  " + shown(token.getPryContext()) + "\n";
  out += "  cookies  " + cookies + "\n";
  return common.sessionFile.empty() ? out : out + "  session  " + shown(common.sessionFile) + "\n";
}

int finishLogon(const PortalOptions& written, const PortalResult& result) {
  const CommonOptions& common = *written.common;
  if (!result)
    return finishWith(common, result.error(),
                      {{"loggedOn", false}, {"user", written.user.name}, {"url", written.url()}});
  const auto kept = saveSession(common, *result);
  std::cout << (common.json ? pretty(toJson(written, *result)) : toText(common, *result));
  if (!kept) throw std::runtime_error(kept.error());
  return kSuccess;
}

using LogOn = PortalResult (*)(const Portal& portal, const PortalUser& user, const Session& session);

Finish logOn(const Shared& written, LogOn logOn) {
  const auto password = readPassword(written->source, written->user.name);
  if (!password) return usageFinish(password.error());
  if (auto ended = chooseNamespace(written)) return std::move(*ended);
  PortalUser user = written->user;
  user.password = password->c_str();
  const PortalResult result = logOn(written->portal(), user, written->session);
  return [written, result] { return finishLogon(*written, result); };
}

PortalResult logOnAnew(const Portal& portal, const PortalUser& user, const Session& /*session*/) {
  return portal.logon(user);
}

PortalResult logOnAs(const Portal& portal, const PortalUser& user, const Session& session) {
  return portal.logonAs(user, session);
}

// ---- logoff

int finishLogoff(const PortalOptions& written, const std::optional<Failure>& failure) {
  const CommonOptions& common = *written.common;
  Json json = {{"loggedOff", !failure}, {"user", written.session.user}, {"url", written.url()}};
  if (failure) return finishWith(common, *failure, std::move(json));
  json["error"] = toJson(Failure());
  std::cout << (common.json ? pretty(json) : whoIn(written.session) + " is logged off\n");
  std::error_code error;
  std::filesystem::remove(std::filesystem::path(wideOf(common.sessionFile)), error);
  if (error) throw std::runtime_error("--session: the file could not be removed: " + error.message());
  return kSuccess;
}

Finish logOff(const Shared& written) {
  const auto failure = written->portal().logoff(written->session);
  return [written, failure] { return finishLogoff(*written, failure); };
}

// ---- what the commands have in common

Shared declareCommon(CLI::App& command, std::shared_ptr<CommonOptions> common, const char* session) {
  const auto written = std::make_shared<PortalOptions>();
  written->common = std::move(common);
  addUrl(command, *written->common);
  addSession(command, *written->common, session);
  addDump(command, *written->common);
  addJson(command, *written->common);
  return written;
}

void declareUser(CLI::App& command, PortalOptions& written) {
  addText(command, "--user", written.user.name, "Name of the user")->required()->check(refuseNothing, "", "");
  addText(command, "--namespace", written.user.nameSpace.id,
          "Id of the user's namespace; by default the only one that the portal has, with '' none is sent")
      ->type_name("ID")
      ->each([&written](const std::string&) { written.isNamespaceGiven = true; });
  addText(command, "--namespace-name", written.user.nameSpace.displayName, "Name of that namespace for users");
  addText(command, "--component", written.component, "Name under which to ask; pc by default")->type_name("ID");
  addPassword(command, written.source);
}

Prepared ready(const Shared& written, Finish (*work)(const Shared&)) {
  return readDump(*written).map([&] { return Command{[written, work] { return work(written); }, 0, nullptr}; });
}

Prepared readyToLogOn(const Shared& written, Finish (*work)(const Shared&)) {
  return checkComponent(*written)
      .and_then([&] { return checkNamespace(*written); })
      .and_then([&] { return checkPassword(written->source); })
      .and_then([&] { return ready(written, work); });
}

}  // namespace

Prepare declareNamespaces(CLI::App& command, std::shared_ptr<CommonOptions> common) {
  const Shared written = declareCommon(command, std::move(common), "Take the URL from the session in this file");
  command.footer("Example:\n  qzcall namespaces --url http://127.0.0.1:8080/gateway");
  return [written] { return readSession(*written).and_then([&] { return ready(written, askForNamespaces); }); };
}

Prepare declareLogon(CLI::App& command, std::shared_ptr<CommonOptions> common) {
  const Shared written = declareCommon(command, std::move(common), "Keep the session in this file");
  declareUser(command, *written);
  command.footer("Example:\n  qzcall logon --url http://127.0.0.1:8080/gateway --user demo --session s.json");
  return [written] {
    return readSession(*written).and_then(
        [&] { return readyToLogOn(written, [](const Shared& given) { return logOn(given, logOnAnew); }); });
  };
}

Prepare declareLogonAs(CLI::App& command, std::shared_ptr<CommonOptions> common) {
  const Shared written = declareCommon(command, std::move(common), "Log on in the session in this file");
  declareUser(command, *written);
  command.get_option("--session")->required();
  command.footer("Example:\n  qzcall logon-as --session s.json --user guest");
  return [written] {
    return readLiveSession(*written).and_then(
        [&] { return readyToLogOn(written, [](const Shared& given) { return logOn(given, logOnAs); }); });
  };
}

Prepare declareLogoff(CLI::App& command, std::shared_ptr<CommonOptions> common) {
  const Shared written = declareCommon(command, std::move(common), "End the session in this file, and remove it");
  command.get_option("--session")->required();
  command.footer("Example:\n  qzcall logoff --session s.json");
  return [written] { return readLiveSession(*written).and_then([&] { return ready(written, logOff); }); };
}

}  // namespace qzcall
