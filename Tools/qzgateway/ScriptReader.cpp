// Scripts as JSON.
#include <algorithm>
#include <limits>
#include <set>

#include "References/Common/Ascii.h"
#include "Tools/qzgateway/ScriptArguments.h"

namespace qzgateway {
namespace {

constexpr double kLongestDelay = 3600;
constexpr long kMostPolls = 1000000;

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
  return std::ranges::any_of(kReserved,
                             [&](std::string_view reserved) { return qz::equalsIgnoringAsciiCase(header, reserved); });
}

std::vector<std::pair<std::string, std::string>> headersIn(const Item& item) {
  std::vector<std::pair<std::string, std::string>> headers;
  if (!item.json.is_object()) {
    item.refuse("must be an object");
    return headers;
  }
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
  if (!hasFile || !members["file"].json.is_string()) return hasFile ? textIn(members["file"]) : "";
  const auto content = fileNamed(textIn(members["file"]), members["file"]);
  return {content.begin(), content.end()};
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

/// The codec writes a handle into the reply's XML as it is.
std::string handleIn(const Item& item) {
  std::string handle = headerTextIn(item);
  if (handle.find_first_of("<&") != std::string::npos)
    item.refuse("must not have \"<\" or \"&\": a reply cannot carry them there");
  return handle;
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
  if (members.has("objectHandle")) answer.objectHandle = handleIn(members["objectHandle"]);
  if (members.has("cookies")) answer.cookies = cookiesIn(members["cookies"]);
  for (const char* const name : {"truncate", "cookies", "objectHandle"}) refuseWithDrop(members, name);
  const auto* const page = std::get_if<PageAnswer>(&answer.form);
  if (page != nullptr && answer.truncateAt && *answer.truncateAt >= page->body.size())
    members["truncate"].refuse("has no effect: the body has only " + std::to_string(page->body.size()) + " bytes");
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

/// Whether all calls that the one is for, whatever their number, are calls that the other is for.
bool coversCalls(const CallPattern& wide, const CallPattern& narrow) {
  const auto isWider = [](const std::string& a, const std::string& b) { return a == "*" || a == b; };
  const ArgumentPatterns any{{}, true};
  return isWider(wide.interfaceName, narrow.interfaceName) && isWider(wide.method, narrow.method) &&
         covers(wide.arguments.value_or(any), narrow.arguments.value_or(any));
}

/// Whether a rule leaves nothing to one that stands behind it. Two numbers of calls mean the same call only where both
/// rules count the same calls.
bool leavesNothing(const CallPattern& first, const CallPattern& behind) {
  if (first.times || !coversCalls(first, behind)) return false;
  return !first.call || (first.call == behind.call && coversCalls(behind, first));
}

void refuseIdleRules(const Item& list, const std::vector<Rule>& rules) {
  for (std::size_t i = 1; i < rules.size(); ++i)
    for (std::size_t before = 0; before < i; ++before)
      if (leavesNothing(rules[before].pattern, rules[i].pattern))
        list.at(std::to_string(i), list.json[i])
            .refuse("has no effect: /rules/" + std::to_string(before) + " answers all calls that it is for");
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
  if (members.has("rules")) {
    forEach(members["rules"], [&](const Item& rule) { script.rules.push_back(ruleIn(rule)); });
    if (item.faults.texts().empty()) refuseIdleRules(members["rules"], script.rules);
  }
  members.refuseOthers();
  return script;
}

/// Of two members with one name the parser keeps the later; whoever wrote both did not mean that.
class TwinFinder {
 public:
  explicit TwinFinder(Faults& faults) : faults_(faults) {}

  bool operator()(int, Json::parse_event_t event, const Json& parsed) {
    using Event = Json::parse_event_t;
    if (event == Event::key) {
      takeName(parsed.get<std::string>());
    } else if (event == Event::object_end || event == Event::array_end) {
      levels_.pop_back();
    } else {
      passElement();
      if (event != Event::value) levels_.push_back({event == Event::array_start, 0, "", {}});
    }
    return true;
  }

 private:
  struct Level {
    bool isList;
    std::size_t passed;
    std::string step;  // to the element that is being read
    std::set<std::string> names;
  };

  void passElement() {
    if (!levels_.empty() && levels_.back().isList) levels_.back().step = std::to_string(levels_.back().passed++);
  }

  void takeName(const std::string& name) {
    levels_.back().step = name;
    if (levels_.back().names.insert(name).second) return;
    Json::json_pointer place;
    for (const Level& level : levels_) place /= level.step;
    faults_.add(place, "stands there twice");
  }

  Faults& faults_;
  std::vector<Level> levels_;
};

/// Without the parser's own prefix, which tells the kind of its exceptions in brackets.
std::string reasonIn(const Json::exception& error) {
  const std::string text = error.what();
  const std::size_t end = text.find("] ");
  return end == std::string::npos ? text : text.substr(end + 2);
}

}  // namespace

tl::expected<Script, std::vector<std::string>> readScript(std::string_view text,
                                                          const std::filesystem::path& folder) try {
  Faults faults;
  TwinFinder finder(faults);
  const Json json = Json::parse(text, std::ref(finder));
  if (!faults.texts().empty()) return tl::unexpected(faults.texts());
  Script script = scriptIn({json, Json::json_pointer(), folder, faults});
  if (!faults.texts().empty()) return tl::unexpected(faults.texts());
  return script;
} catch (const Json::exception& error) {
  return tl::unexpected(std::vector{"the script is no JSON: " + reasonIn(error)});
}

}  // namespace qzgateway
