// The gateway as a double of another server, by scripts.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <tuple>

#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/TestTime.h"
#include "Tests/Support/ToolPrograms.h"
#include "Tools/qzgateway/ScriptPlayer.h"

namespace {

using namespace std::string_literals;
using nlohmann::json;
using qz::test::FinishedTool;
using qz::test::RunningGateway;
using qz::test::runQzcall;
using qz::test::ScratchFile;
using qz::test::TestTime;
using Words = std::vector<std::string>;
namespace fs = std::filesystem;

// ---- reading

/// A script with one rule for every call.
std::string withReply(const std::string& reply) {
  return R"({"rules": [{"interface": "*", "method": "*", "reply": )" + reply + "}]}";
}

TEST(QzgatewayScript, IsRefusedWithPlaceAndReason) {
  const std::pair<std::string, const char*> kCases[] = {
      {"{", "the script is no JSON: parse error at line 1, column 2"},
      {"[]", "the script: must be an object"},
      {"{}", "/rules: is missing"},
      {R"({"rules": [], "unmatched": "drop"})", "/unmatched: must be \"builtin\" or \"fault\""},
      {R"({"rules": [], "unmatched": 1})", "/unmatched: must be a text"},
      {R"({"rules": [{"method": "m", "reply": {"drop": true}}]})", "/rules/0/interface: is missing"},
      {R"({"rules": [{"interface": "A", "method": "m", "reply": {"drop": true}, "repyl": 1}]})",
       "/rules/0/repyl: has no meaning here; there may"},
      {R"({"rules": [5, [{"interface": "A"}, {"interface": "A", "interface": "B"}]]})",
       "/rules/1/1/interface: stands there twice"},
      {R"({"rules": [{"interface": "*", "method": "m", "arguments": ["*", "..."], "reply": {"drop": true}},
                     {"interface": "A", "method": "m", "arguments": ["long:1"], "call": 2, "reply": {"drop": true}}]})",
       "/rules/1: has no effect: /rules/0 answers all calls"},
      {R"({"rules": [{"interface": "A", "method": "*", "call": 1, "reply": {"drop": true}},
                     {"interface": "A", "method": "m", "call": 1, "reply": {"drop": true}},
                     {"interface": "A", "method": "m", "call": 2, "reply": {"drop": true}},
                     {"interface": "A", "method": "m", "call": 1, "reply": {"drop": true}}]})",
       "/rules/3: has no effect: /rules/1 answers all calls"},
      {R"({"rules": [{"interface": "A", "method": "m", "call": 0, "reply": {"drop": true}}]})",
       "/rules/0/call: must be a"},
      {R"({"rules": [{"interface": "A", "method": "m", "arguments": ["...", "*"], "reply": {"drop": true}}]})",
       "/rules/0/arguments/1: nothing can follow"},
      {withReply("{}"), "/rules/0/reply: needs one of"},
      {withReply(R"({"drop": true, "arguments": []})"), "/rules/0/reply: needs one of"},
      {withReply(R"({"drop": false})"), "/rules/0/reply/drop: must be true"},
      {withReply(R"({"drop": true, "cookies": ["a=b"]})"), "/rules/0/reply/cookies: has no effect"},
      {withReply(R"({"arguments": [], "objectHandle": "a&lt;b"})"), "/rules/0/reply/objectHandle: must not have"},
      {withReply(R"({"drop": true, "delay": 3601})"), "/rules/0/reply/delay: must be a number of seconds"},
      {withReply(R"({"page": {"body": "abc"}, "truncate": 3})"),
       "/rules/0/reply/truncate: has no effect: the body has"},
      {withReply(R"({"drop": true, "polls": 1.5})"), "/rules/0/reply/polls: must be a whole number"},
      {withReply(R"({"arguments": ["long:x"]})"), "/rules/0/reply/arguments/0: 'long:x' is not a number"},
      {withReply(R"({"arguments": ["*"]})"), "/rules/0/reply/arguments/0: '*' is not of the form TYPE:VALUE"},
      {withReply(R"({"arguments": [{"type": "long"}]})"), "/rules/0/reply/arguments/0: needs a \"value\""},
      {withReply(R"({"arguments": [5]})"), "/rules/0/reply/arguments/0: must be a text TYPE:VALUE or an object"},
      {withReply(R"({"arguments": [{"type": "int", "value": 1}]})"), "arguments/0/type: must be one of binary, text"},
      {withReply(R"({"arguments": [{"type": "long", "value": 1.5}]})"),
       "arguments/0/value: 'long:1.5' is not a number"},
      {withReply(R"({"arguments": [{"type": "list", "value": ["byte:300"]}]})"),
       "arguments/0/value/0: 'byte:300' is out"},
      {withReply(R"({"arguments": ["file:no-such-file"]})"), "no-such-file' cannot be read"},
      {withReply(R"({"error": {"code": 0}})"), "/rules/0/reply/error/code: must not be 0"},
      {withReply(R"({"error": {"code": 4294967296}})"), "/rules/0/reply/error/code: must be a whole number"},
      {withReply(R"({"fault": {"code": "a>b"}})"), "/rules/0/reply/fault/code: must be a name"},
      {withReply(R"({"page": {"status": 100}})"), "/rules/0/reply/page/status: must be a whole number"},
      {withReply(R"({"page": {"headers": {"A": "b\r\nC: d"}}})"),
       "/rules/0/reply/page/headers/A: must not have control"},
      {withReply(R"({"page": {"headers": {"Content-length": "1"}}})"), "is written by the gateway itself"},
      {withReply(R"({"page": {"headers": ["a", "b"]}})"), "/rules/0/reply/page/headers: must be an object"},
      {withReply(R"({"page": {"status": 304, "body": "x"}})"), "has no body"},
      {withReply(R"({"arguments": [], "cookies": ["; path=/"]})"),
       "/rules/0/reply/cookies/0: must begin with NAME=VALUE"},
  };
  for (const auto& [text, complaint] : kCases) {
    const auto script = qzgateway::readScript(text, {});
    ASSERT_FALSE(script) << text;
    EXPECT_EQ(script.error().size(), 1U) << text;
    EXPECT_NE(script.error()[0].find(complaint), std::string::npos) << text << "\n" << script.error()[0];
  }
}

/// The rules' JSON as a script without built-in operations.
qzgateway::Script rules(const std::string& list, const fs::path& folder = {}) {
  auto script = qzgateway::readScript(R"({"unmatched": "fault", "rules": [)" + list + "]}", folder);
  if (!script) throw std::invalid_argument(script.error().front());
  return *script;
}

TEST(QzgatewayScript, MatchesArguments) {
  const std::pair<const char*, bool> kCases[] = {
      {R"(["long:5", "text:a"])", true},
      {R"([{"type": "long", "value": 5}, {"type": "text"}])", true},
      {R"(["*", "*"])", true},
      {R"(["*", "..."])", true},
      {R"(["*", "*", "..."])", true},
      {R"(["*"])", false},
      {R"([])", false},
      {R"(["*", "*", "*", "..."])", false},
      {R"(["long:6", "*"])", false},
      {R"(["hex:05000000", "*"])", false},
      {R"([{"type": "short"}, "*"])", false},
  };
  ITKSOAP call;
  const std::int32_t five = 5;
  call.setInterfaceName("A");
  call.setMethodName("m");
  call.addParam(ITKBufferType::DT_LONG, &five, sizeof five);
  call.addParam(ITKBufferType::DT_TEXT, "a", 2);
  for (const auto& [patterns, isFitting] : kCases) {
    const auto script =
        rules(R"({"interface": "A", "method": "*", "arguments": )"s + patterns + R"(, "reply": {"drop": true}})");
    EXPECT_EQ(qzgateway::fits(script.rules[0].pattern, call), isFitting) << patterns;
  }
}

TEST(QzgatewayScript, ReadsFilesThatLieBesideIt) {
  const ScratchFile file("abc");
  const fs::path path = file.path();
  const auto script = rules(
      R"({"interface": "A", "method": "m", "reply": {"arguments": ["file:)" + path.filename().string() + R"("]}})",
      path.parent_path());
  const auto& arguments = std::get<qzgateway::ArgumentsAnswer>(script.rules[0].answer.form);
  EXPECT_EQ(std::string(arguments[0].bytes.begin(), arguments[0].bytes.end()), "abc");
}

// ---- playing

/// A script and its callers.
struct Play {
  explicit Play(const std::string& list) : player(rules(list), time) {}

  /// Rule and end of the reply to a call, as its status and error.
  std::string call(const char* method, const char* handle = "", bool isConversation = false, long timeout = 60,
                   const std::string& passport = "p1") {
    ITKSOAP call;
    call.setInterfaceName("A");
    call.setMethodName(method);
    call.setObjectHandle(handle);
    call.setTimeoutLimit(timeout);
    auto played = player.play({call, {passport, "c"}, false, isConversation});
    const std::string& text = played->reply->head;
    std::string out = played->rule + ", " + std::to_string(played->reply->status);
    if (text.find(">working<") != std::string::npos) out += " working";
    if (text.find("errorCode&gt;125") != std::string::npos) out += " cancelled";
    std::smatch handleInReply;
    std::regex_search(text, handleInReply, std::regex("objectHandle&gt;(\\w*)"));
    last = handleInReply[1];
    return out;
  }

  TestTime time;
  qzgateway::ScriptPlayer player;
  std::string last;  ///< handle in the last reply
};

TEST(QzgatewayScript, CountsTheCallsOfEachRule) {
  Play play(R"({"interface": "A", "method": "m", "call": 2, "reply": {"error": {"code": 5}}},
               {"interface": "A", "method": "m", "call": 3, "reply": {"fault": {}}},
               {"interface": "A", "method": "m", "times": 2, "name": "first", "reply": {"arguments": []}},
               {"interface": "*", "method": "m", "reply": {"page": {"status": 503}}})");
  for (const char* const expected :
       {"rule 3 'first', 200", "rule 1, 200", "rule 2, 500", "rule 3 'first', 200", "rule 4, 503", "rule 4, 503"})
    EXPECT_EQ(play.call("m"), expected);
  EXPECT_EQ(play.call("other"), "no rule, 500");
}

TEST(QzgatewayScript, PollsBeforeTheLastReply) {
  Play play(R"({"interface": "A", "method": "m", "reply": {"arguments": [], "polls": 2, "delay": 0.5}})");
  EXPECT_EQ(play.call("m", "mine", true), "rule 1, 200 working");
  const std::string id = play.last;
  EXPECT_EQ(play.call("m", id.c_str(), true, 60, "p2"), "rule 1, 200 working") << "somebody else's is a new one";
  EXPECT_EQ(play.call("m", id.c_str(), true), "rule 1, 200 working");
  EXPECT_EQ(play.call("m", id.c_str(), true), "rule 1, 200");
  EXPECT_EQ(play.last, "mine") << "with which the conversation began";
  EXPECT_EQ(play.call("m", "h"), "rule 1, 200") << "no conversation";
  EXPECT_EQ(play.last, "h");
  EXPECT_EQ(play.time.passed().count(), 5 * 500);
  EXPECT_EQ(play.call("m", "", true), "rule 1, 200 working");
  EXPECT_EQ(play.call("m", play.last.c_str(), true, -1), "rule 1, 200 cancelled");
}

// ---- the real programs

constexpr char kScript[] = R"({"rules": [
  {"interface": "Stock", "method": "price", "arguments": ["text:QZ"],
   "reply": {"arguments": ["double:1.5", {"type": "list", "value": ["text:a", {"type": "short", "value": 2}]}],
             "objectHandle": "h7", "cookies": ["VTN=yes; path=/"]}},
  {"interface": "Stock", "method": "error", "reply": {"error": {"code": 77, "text": "<sold> & out"}}},
  {"interface": "Stock", "method": "fault",
   "reply": {"fault": {"code": "Client", "text": "no\u0001<way>", "detail": "d"}}},
  {"interface": "Stock", "method": "logon", "reply": {"fault": {"logon": true, "text": "Who are you?"}}},
  {"interface": "Stock", "method": "page", "reply": {"page": {"status": 503, "body": "busy"}}},
  {"interface": "Stock", "method": "drop", "reply": {"drop": true}},
  {"interface": "Stock", "method": "cut", "reply": {"arguments": ["text:abc"], "truncate": 1500}},
  {"interface": "Stock", "method": "slow", "reply": {"arguments": ["long:1"], "polls": 2, "delay": 0.1}}]})";

Words invokeWords(const std::string& url, const std::string& name, const Words& more) {
  const std::size_t dot = name.find('.');
  Words words = {
      "invoke", "--url", url, "--action", "urn:s", "--interface", name.substr(0, dot), "--method", name.substr(dot + 1),
      "--json"};
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

class ScriptedGateway : public testing::TestWithParam<const char*> {
 protected:
  FinishedTool call(const RunningGateway& gateway, const std::string& name, const Words& more = {}) const {
    Words words = invokeWords(gateway.url(), name, more);
    words.insert(words.begin(), {"--face", GetParam()});
    return runQzcall(words);
  }
};

TEST_P(ScriptedGateway, AnswersAsItsScriptSays) {
  const ScratchFile script(kScript);
  const RunningGateway gateway({"--script", script.path()});
  const std::tuple<const char*, Words, int, long, const char*> kCases[] = {
      {"Stock.error", {}, 1, 77, "<sold> & out"},
      {"Stock.fault", {}, 1, -1, "no?<way>"},
      {"Stock.logon", {}, 3, -2, "Who are you?"},
      {"Stock.page", {}, 4, -4, "503"},
      {"Stock.drop", {}, 4, -3, ""},
      {"Stock.cut", {}, 4, -3, ""},
      {"Stock.price", {"--arg", "text:XX"}, 1, -1, "There is no interface 'Stock'"},
      {"Stock.slow", {"--async", "--timeout", "20"}, 0, 0, ""},
      {"Demo.add", {"--arg", "long:1", "--arg", "long:2"}, 0, 0, ""},
  };
  for (const auto& [name, more, exitCode, code, text] : kCases) {
    const FinishedTool finished = call(gateway, name, more);
    EXPECT_EQ(finished.code, exitCode) << name << finished.output << finished.errors;
    const json error = json::parse(finished.output)["error"];
    EXPECT_EQ(error["code"], code) << name;
    EXPECT_NE(error["text"].get<std::string>().find(text), std::string::npos) << name << error;
  }
  const json out = json::parse(call(gateway, "Stock.price", {"--arg", "text:QZ"}).output);
  EXPECT_EQ(out["arguments"].dump(),
            R"([{"type":"double","value":1.5},{"type":"list","value":[{"type":"text","value":"a"},)"
            R"({"type":"short","value":2}]}])");
  EXPECT_EQ(out["objectHandle"], "h7");
  EXPECT_EQ(out["token"]["cookies"]["VTN"], "yes");
}

INSTANTIATE_TEST_SUITE_P(BothFaces, ScriptedGateway, testing::Values("toolkit", "flat"),
                         [](const auto& face) { return std::string(face.param); });

FinishedTool runGateway(const Words& words) {
  qz::test::ChildProcess process("qzgateway.exe", words);
  const int code = process.wait(qz::test::kToolLimit);
  return {code, process.output(), process.errors()};
}

TEST(QzgatewayProgram, ChecksAndListsScripts) {
  const ScratchFile good(kScript), bad(R"({"rules": [{"interface": 1}], "x": 2})");
  EXPECT_EQ(runGateway({"--script", good.path(), "--check"}).code, 0);
  const FinishedTool refused = runGateway({"--script", bad.path()});
  EXPECT_EQ(refused.code, 2);
  for (const char* const part : {"/rules/0/interface: must be a text", "/rules/0/reply: is missing", "/x: has no"})
    EXPECT_NE(refused.errors.find(part), std::string::npos) << refused.errors;
  const FinishedTool list = runGateway({"--list", "--script", good.path()});
  EXPECT_NE(list.output.find("  2  Stock.error -> error 77 '<sold> & out'"), std::string::npos) << list.output;
  EXPECT_NE(list.output.find("  echo ..."), std::string::npos) << list.output;
  for (const Words& words : {Words{"--script", "no-such-file"}, Words{"--check"}, Words{"--list", "--record", "d"},
                             Words{"--script", good.path(), "--list", "--check"}})
    EXPECT_EQ(runGateway(words).code, 2) << words.back();
}

}  // namespace
