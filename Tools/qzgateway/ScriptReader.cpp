// Scripts as JSON.
#include <algorithm>
#include <limits>
#include <set>

#include "ITKBufferList.h"
#include "Tools/qzcall/Values.h"
#include "Tools/qzgateway/Script.h"
#include "Tools/qzgateway/ScriptItems.h"

namespace qzgateway {
namespace {

constexpr double kLongestDelay = 3600;
constexpr int kDeepestList = 16;
constexpr std::size_t kMostArguments = 255;
constexpr long kMostPolls = 1000000;

// ---- arguments

using qzcall::WrittenArgument;

std::optional<WrittenArgument> parsed(const Item& item, const std::string& written) {
  auto argument = qzcall::parseArgument(written);
  if (argument) return std::move(*argument);
  item.refuse(argument.error());
  return {};
}

std::optional<unsigned char> typeIn(Members& members) {
  const std::string name = members.text("type");
  for (unsigned char type = 0; type <= ITKBufferType::DT_COMPRESSED; ++type)
    if (qzcall::typeName(type) == name) return type;
  if (members.object().json.is_object())
    members.object().refuse(
        "\"type\" must be one of binary, text, byte, short, "
        "long, float, double, list, compressed");
  return {};
}

ArgumentsAnswer argumentsIn(const Item& list, int depth);

std::optional<WrittenArgument> listOf(const Item& value, int depth) {
  if (depth == kDeepestList) {
    value.refuse("lists must not lie more than " + std::to_string(kDeepestList) + " deep");
    return {};
  }
  ITKBufferList list;
  ITKBuffer stream;
  for (const WrittenArgument& argument : argumentsIn(value, depth + 1))
    if (list.add(ITKBuffer(argument.bytes.data(), static_cast<long>(argument.bytes.size()), argument.type)) < 0)
      throw std::bad_alloc();
  if (list.serializeTo(stream, 0) == 0) throw std::bad_alloc();
  const unsigned char* const bytes = stream.getBuffer();
  return WrittenArgument{ITKBufferType::DT_LIST, {bytes, bytes + stream.getLength()}};
}

/// A JSON value of a type that has such values.
std::optional<WrittenArgument> valueOf(const Item& value, unsigned char type, int depth) {
  if (type == ITKBufferType::DT_LIST) return listOf(value, depth);
  if (type == ITKBufferType::DT_TEXT) return parsed(value, "text:" + textIn(value));
  if (type != ITKBufferType::DT_BINARY && type != ITKBufferType::DT_COMPRESSED && value.json.is_number())
    return parsed(value, qzcall::typeName(type) + ":" + value.json.dump());
  value.refuse("is no value of the type " + qzcall::typeName(type));
  return {};
}

/// {"type": ..., "value": ...} or {"type": ..., "hex": ...}, as `qzcall --json` prints them.
/// @return nothing when it is wrong; without bytes when neither is there
std::optional<ArgumentPattern> typedIn(const Item& item, int depth) {
  Members members(item);
  const auto type = typeIn(members);
  if (!type) return {};
  std::optional<WrittenArgument> argument;
  const bool hasValue = members.has("value"), hasHex = members.has("hex");
  if (hasValue && hasHex) item.refuse("has both \"value\" and \"hex\"");
  if (hasValue) argument = valueOf(members["value"], *type, depth);
  if (hasHex) argument = parsed(members["hex"], "hex:" + textIn(members["hex"]));
  members.refuseOthers();
  if ((hasValue || hasHex) && !argument) return {};
  return ArgumentPattern{type, argument ? std::optional(std::move(argument->bytes)) : std::nullopt};
}

std::optional<ArgumentPattern> patternIn(const Item& item, int depth) {
  if (!item.json.is_string()) return typedIn(item, depth);
  auto argument = parsed(item, textIn(item));
  if (!argument) return {};
  return ArgumentPattern{argument->type, std::move(argument->bytes)};
}

ArgumentsAnswer argumentsIn(const Item& list, int depth = 0) {
  ArgumentsAnswer arguments;
  forEach(list, [&](const Item& item) {
    auto argument = patternIn(item, depth);
    if (!argument) return;
    if (!argument->bytes) return item.refuse("needs a \"value\" or \"hex\"");
    arguments.push_back({*argument->type, std::move(*argument->bytes)});
  });
  if (arguments.size() > kMostArguments)
    list.refuse("must not have more than " + std::to_string(kMostArguments) + " elements");
  return arguments;
}

ArgumentPatterns patternsIn(const Item& list) {
  ArgumentPatterns patterns;
  forEach(list, [&](const Item& item) {
    if (patterns.isMoreAllowed) return item.refuse("nothing can follow \"...\"");
    patterns.isMoreAllowed = item.json == "...";
    if (patterns.isMoreAllowed) return;
    auto pattern = item.json == "*" ? ArgumentPattern() : patternIn(item, 0);
    if (pattern) patterns.first.push_back(std::move(*pattern));
  });
  return patterns;
}

// ---- answers

ErrorAnswer errorIn(const Item& item) {
  using Limits = std::numeric_limits<std::int32_t>;
  Members members(item);
  members.require("code");
  const long code = members.number("code", Limits::min(), Limits::max()).value_or(1);
  if (code == 0) members["code"].refuse("must not be 0, which means that there is no error");
  ErrorAnswer answer{code, members.text("text")};
  members.refuseOthers();
  return answer;
}

FaultAnswer faultIn(const Item& item) {
  Members members(item);
  const bool isLogon = members.flag("logon");
  FaultAnswer answer{"Server", members.text("text", isLogon ? "Log on first." : "The script failed the call."), "",
                     isLogon};
  if (!isLogon) {
    answer.code = members.text("code", answer.code);
    if (!isName(answer.code)) members["code"].refuse("must be a name such as Client or Server");
    answer.detail = members.text("detail");
  }
  members.refuseOthers();
  return answer;
}

/// The library of the server writes these by itself.
bool isReserved(const std::string& header) {
  constexpr std::string_view kReserved[] = {"content-type", "content-length", "connection", "transfer-encoding",
                                            "keep-alive"};
  std::string lower = header;
  std::ranges::transform(lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; });
  return std::ranges::find(kReserved, lower) != std::end(kReserved);
}

std::vector<std::pair<std::string, std::string>> headersIn(const Item& item) {
  std::vector<std::pair<std::string, std::string>> headers;
  if (!item.json.is_object()) item.refuse("must be an object");
  for (const auto& [name, value] : item.json.items()) {
    const Item header = item.at(name, value);
    if (!isName(name)) header.refuse("is no name of a header");
    if (isReserved(name)) header.refuse("is written by the gateway itself");
    headers.emplace_back(name, headerTextIn(header));
  }
  return headers;
}

std::string bodyIn(Members& members) {
  const bool hasBody = members.has("body"), hasFile = members.has("file");
  if (hasBody && hasFile) members.object().refuse("has both \"body\" and \"file\"");
  if (hasBody)
    return members["body"].json.is_string() ? members["body"].json.get<std::string>() : textIn(members["body"]);
  if (!hasFile) return {};
  const auto content = parsed(members["file"], "file:" + textIn(members["file"]));
  return content ? std::string(content->bytes.begin(), content->bytes.end()) : std::string();
}

PageAnswer pageIn(const Item& item) {
  Members members(item);
  PageAnswer page;
  page.status = static_cast<int>(members.number("status", 200, 599).value_or(200));
  page.contentType = members.has("contentType") ? headerTextIn(members["contentType"]) : "text/html; charset=utf-8";
  page.body = bodyIn(members);
  if (members.has("headers")) page.headers = headersIn(members["headers"]);
  if ((page.status == 204 || page.status == 304) && !page.body.empty())
    item.refuse("a reply with the status " + std::to_string(page.status) + " has no body");
  members.refuseOthers();
  return page;
}

std::vector<std::string> cookiesIn(const Item& list) {
  std::vector<std::string> cookies;
  forEach(list, [&](const Item& item) {
    cookies.push_back(headerTextIn(item));
    const std::string& cookie = cookies.back();
    if (!isName(cookie.substr(0, cookie.find('='))) || cookie.find('=') == std::string::npos)
      item.refuse("must begin with NAME=VALUE");
  });
  return cookies;
}

std::chrono::duration<double> secondsIn(const Item& item) {
  const double seconds = item.json.is_number() ? item.json.get<double>() : -1;
  if (seconds >= 0 && seconds <= kLongestDelay) return std::chrono::duration<double>(seconds);
  item.refuse("must be a number of seconds from 0 to 3600");
  return {};
}

constexpr const char* kForms[] = {"arguments", "error", "fault", "page", "drop"};

/// The one form that the answer has.
void readForm(Members& members, Answer& answer) {
  const auto count = std::ranges::count_if(kForms, [&](const char* name) { return members.has(name); });
  if (count != 1 && members.object().json.is_object())
    members.object().refuse("needs one of arguments, error, fault, page and drop, and has " + std::to_string(count));
  if (members.has("arguments")) answer.form = argumentsIn(members["arguments"]);
  if (members.has("error")) answer.form = errorIn(members["error"]);
  if (members.has("fault")) answer.form = faultIn(members["fault"]);
  if (members.has("page")) answer.form = pageIn(members["page"]);
  if (members.flag("drop")) answer.form = NoAnswer();
}

/// What was written and can have no effect is a mistake.
void refuseWithDrop(Members& members, const char* name) {
  if (members.has(name) && members.has("drop")) members[name].refuse("has no effect beside \"drop\"");
}

Answer answerIn(const Item& item) {
  Members members(item);
  Answer answer;
  readForm(members, answer);
  if (members.has("delay")) answer.delay = secondsIn(members["delay"]);
  if (const auto at = members.number("truncate", 0, std::numeric_limits<std::int32_t>::max()))
    answer.truncateAt = static_cast<std::size_t>(*at);
  answer.polls = members.number("polls", 0, kMostPolls).value_or(0);
  if (members.has("objectHandle")) answer.objectHandle = textIn(members["objectHandle"]);
  if (members.has("cookies")) answer.cookies = cookiesIn(members["cookies"]);
  for (const char* const name : {"truncate", "cookies", "objectHandle"}) refuseWithDrop(members, name);
  if (members.has("objectHandle") && !members.has("arguments"))
    members["objectHandle"].refuse("goes with \"arguments\" only");
  members.refuseOthers();
  return answer;
}

// ---- rules

Rule ruleIn(const Item& item) {
  Members members(item);
  Rule rule;
  rule.name = members.text("name");
  for (const char* const name : {"interface", "method", "reply"}) members.require(name);
  rule.pattern.interfaceName = members.text("interface", "*");
  rule.pattern.method = members.text("method", "*");
  if (members.has("arguments")) rule.pattern.arguments = patternsIn(members["arguments"]);
  constexpr long kMost = std::numeric_limits<std::int32_t>::max();
  rule.pattern.call = members.number("call", 1, kMost);
  rule.pattern.times = members.number("times", 1, kMost);
  if (members.has("call") && members.has("times")) members["times"].refuse("has no effect beside \"call\"");
  if (members.has("reply")) rule.answer = answerIn(members["reply"]);
  members.refuseOthers();
  return rule;
}

bool isRestBuiltIn(Members& members) {
  const std::string word = members.text("unmatched", "builtin");
  if (word != "builtin" && word != "fault") members["unmatched"].refuse("must be \"builtin\" or \"fault\"");
  return word == "builtin";
}

Script scriptIn(const Item& item) {
  Members members(item);
  Script script;
  script.isRestBuiltIn = isRestBuiltIn(members);
  members.require("rules");
  if (members.has("rules")) forEach(members["rules"], [&](const Item& rule) { script.rules.push_back(ruleIn(rule)); });
  members.refuseOthers();
  return script;
}

/// Of two members with one name the parser keeps the later; whoever wrote both did not mean that.
class TwinFinder {
 public:
  bool operator()(int, Json::parse_event_t event, const Json& parsed) {
    if (event == Json::parse_event_t::object_start) names_.emplace_back();
    if (event == Json::parse_event_t::object_end) names_.pop_back();
    if (event == Json::parse_event_t::key && !names_.back().insert(parsed.get<std::string>()).second)
      twins_.push_back("the script: an object has two members \"" + parsed.get<std::string>() + "\"");
    return true;
  }
  const std::vector<std::string>& twins() const { return twins_; }

 private:
  std::vector<std::set<std::string>> names_;
  std::vector<std::string> twins_;
};

/// Without the parser's own prefix, which tells the kind of its exceptions in brackets.
std::string reasonIn(const Json::exception& error) {
  const std::string text = error.what();
  const std::size_t end = text.find("] ");
  return end == std::string::npos ? text : text.substr(end + 2);
}

}  // namespace

tl::expected<Script, std::vector<std::string>> readScript(std::string_view text) try {
  TwinFinder finder;
  const Json json = Json::parse(text, std::ref(finder));
  if (!finder.twins().empty()) return tl::unexpected(finder.twins());
  Faults faults;
  Script script = scriptIn({json, Json::json_pointer(), faults});
  if (!faults.texts().empty()) return tl::unexpected(faults.texts());
  return script;
} catch (const Json::exception& error) {
  return tl::unexpected(std::vector{"the script is no JSON: " + reasonIn(error)});
}

}  // namespace qzgateway
