#include "Tools/qzcall/Session.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "Tools/qzcall/Encoding.h"
#include "Tools/qzcall/OwnerOnlyFile.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

using Json = nlohmann::ordered_json;

/// Servers choose their cookies' bytes; those that are no UTF-8 are told in hexadecimal digits.
Json toJson(const std::string& text) {
  if (isUtf8(text)) return text;
  return {{"hex", toHex({reinterpret_cast<const unsigned char*>(text.data()), text.size()})}};
}

std::optional<std::string> textIn(const Json& json) {
  if (json.is_string()) return json.get<std::string>();
  const auto bytes = json.is_object() ? fromHex(json.value("hex", "-")) : std::nullopt;
  return bytes ? std::optional<std::string>({bytes->begin(), bytes->end()}) : std::nullopt;
}

std::string textAt(const Json& json, const std::string& name) {
  if (!json.is_object()) throw std::invalid_argument("there is no object with a member \"" + name + "\"");
  const auto text = textIn(json.value(name, Json()));
  // The token's texts end at their first zero byte.
  if (!text || text->find('\0') != std::string::npos) throw std::invalid_argument("\"" + name + "\" is no text");
  return *text;
}

Json toJson(const ITKCookieArray& cookies) {
  Json out = Json::array();
  for (long i = 0; i < cookies.getCount(); ++i) {
    const ITKCookie& cookie = *cookies.getAt(i);
    out.push_back({{"name", toJson(cookie.name.c_str())},
                   {"value", toJson(cookie.value.c_str())},
                   {"path", toJson(cookie.path.c_str())}});
  }
  return out;
}

std::string contentOf(const Session& session) {
  const ITKRTT& token = session.token;
  const Json json = {{"url", toJson(token.getURL())},
                     {"user", toJson(session.user)},
                     {"context", toJson(token.getPryContext())},
                     {"cookies", toJson(token.getCookies())}};
  return json.dump(2) + "\n";
}

Session sessionIn(const Json& json) {
  Session session;
  ITKRTT& token = session.token;
  session.user = textAt(json, "user");
  token.setURL(textAt(json, "url").c_str());
  token.setPryContext(textAt(json, "context").c_str());
  const Json cookies = json.value("cookies", Json());
  if (!cookies.is_array()) throw std::invalid_argument("\"cookies\" is no list");
  for (const Json& cookie : cookies) {
    const std::string name = textAt(cookie, "name");
    token.setCookieValue(name.c_str(), textAt(cookie, "value").c_str());
    token.setCookiePath(name.c_str(), textAt(cookie, "path").c_str());
  }
  return session;
}

std::string complaint(const std::string& file, const std::string& what) {
  return "--session: '" + forTerminal(file, 200) + "' " + what;
}

/// The library's own prefix tells the kind of its exceptions in brackets.
std::string reasonIn(const char* what) {
  const std::string text = what;
  const std::size_t end = text.starts_with('[') ? text.find("] ") : std::string::npos;
  return end == std::string::npos ? text : text.substr(end + 2);
}

tl::expected<Session, std::string> load(const std::string& file) {
  const std::filesystem::path path(wideOf(file));
  std::ifstream stream(path, std::ios::binary);
  if (!stream && !std::filesystem::exists(path)) return Session();
  const std::string content{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) return tl::unexpected(complaint(file, "cannot be read"));
  // A script may have made the file, to have its name for itself.
  if (content.empty()) return Session();
  try {
    return sessionIn(Json::parse(content));
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    return tl::unexpected(complaint(file, "is no session file: " + reasonIn(error.what())));
  }
}

/// Does something that replaces the file.
template <class Replace>
Understood replacing(const std::string& file, Replace&& replace) {
  try {
    replace();
    return {};
  } catch (const std::system_error& error) {
    return tl::unexpected(complaint(file, "cannot be replaced: " + error.code().message()));
  }
}

/// Scheme, host and port of a URL, in lower case.
std::string serverOf(std::string_view url) {
  const std::size_t host = url.find("://");
  std::string server(url.substr(0, host == std::string_view::npos ? host : url.find_first_of("/?#", host + 3)));
  std::ranges::transform(server, server.begin(), [](unsigned char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
  return server;
}

Understood checkServer(const CommonOptions& common, const ITKRTT& token) {
  if (common.url.empty() || *token.getURL() == '\0' || serverOf(common.url) == serverOf(token.getURL())) return {};
  return tl::unexpected("--url: the session is of " + forTerminal(serverOf(token.getURL()), 200) +
                        ", and its cookies do not go to another server");
}

}  // namespace

tl::expected<Session, std::string> storedSessionOf(const CommonOptions& common, OtherServer otherServer) {
  Session session;
  if (!common.sessionFile.empty()) {
    auto loaded = load(common.sessionFile);
    if (!loaded) return loaded;
    session = std::move(*loaded);
  }
  if (otherServer == OtherServer::refuse) {
    if (const auto checked = checkServer(common, session.token); !checked) return tl::unexpected(checked.error());
  }
  if (!common.url.empty()) session.token.setURL(common.url.c_str());
  if (*session.token.getURL() != '\0') return session;
  return tl::unexpected<std::string>(common.sessionFile.empty() ? "--url is required"
                                                                : "--url is required: the session has none yet");
}

tl::expected<Session, std::string> sessionOf(const CommonOptions& common, OtherServer otherServer) {
  auto session = storedSessionOf(common, otherServer);
  if (!session || common.sessionFile.empty()) return session;
  const auto replaceable = replacing(common.sessionFile, [&] { OwnerOnlyFile trial(wideOf(common.sessionFile)); });
  if (!replaceable) return tl::unexpected(replaceable.error());
  return session;
}

Understood saveSession(const CommonOptions& common, const Session& session) {
  if (common.sessionFile.empty()) return {};
  return replacing(common.sessionFile, [&] { OwnerOnlyFile(wideOf(common.sessionFile)).complete(contentOf(session)); });
}

}  // namespace qzcall
