// Calls whose server is asked again until it has finished.
#include <gmock/gmock.h>

#include <climits>
#include <regex>

#include "References/Common/Number.h"
#include "Tests/Support/CallFaces.h"
#include "Tests/Support/DebuggerWatch.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string kComplete = "conversationComplete", kWorking = "working";
const std::string kTimedOut = "Client side timeout. Operation aborted.";
const std::string kUnpackFailed = "Failed to unpack incoming messages";

/// The relay header of an answer, which the next request carries as it is.
std::string headerOf(const std::string& name) {
  return "<bus:relayHeader><bus:ZOT><id>passport-" + name + "</id></bus:ZOT><bus:PRY><contextID>context-" + name +
         "</contextID></bus:PRY></bus:relayHeader>";
}

std::string envelopeOf(const std::string& name, const std::string& status, const std::string& errorCode) {
  std::string body =
      runReply(innerBody("className=Reports", "methodName=poll", "objectHandle=" + name, "keepAlive=1",
                         "errorCode=" + errorCode, "errorText=", "timeout=7", "asyncMode=5", "timeInterval=6"));
  return replyEnvelope(headerOf(name), body.replace(body.find(kComplete), kComplete.size(), status));
}

/// An answer that sets a cookie of its name, in the system's own words.
ScriptedReply answer(const std::string& name, const std::string& status, unsigned long delay = 0,
                     const std::string& errorCode = "0") {
  return {httpReply("200 OK", "text/xml", envelopeOf(name, status, errorCode),
                    "Set-Cookie: usersessionid=cookie-" + name + "; path=/\r\n"),
          0, ScriptedReply::End::close, delay};
}

/// The number that a request gives for a field.
std::int64_t field(const std::string& request, const std::string& name) {
  const auto at = request.find("&lt;" + name + "&gt;");
  if (at == std::string::npos) return INT64_MIN;
  return parseInteger(std::string_view(request).substr(at + name.size() + 8));
}

std::string withoutNumbers(const std::string& text) {
  return std::regex_replace(text, std::regex("[0-9][-+.0-9e]*"), "N");
}

template <class Face>
class Conversation : public FaceTest<Face> {
 public:
  using Call = typename Face::Call;

  /// A conversation with one argument.
  Call& makeCall(const ScriptedServer& server, long limit) {
    auto& call = this->call("Reports", "run", 1, "handle", "", static_cast<const ITKRTT*>(nullptr), limit);
    call.setGatewayURL(server.url().c_str());
    call.setSoapAction("act");
    call.setAsyncMode(1);
    call.addParamText("x");
    return call;
  }

  static std::vector<std::string> outcome(Call& out) {
    const char* text = out.getErrorText();
    return {std::to_string(out.getErrorCode()), text == nullptr ? "" : text, out.getObjectHandle()};
  }

  /// Holds one against these answers, all of which must be asked for; its requests follow the outcome.
  std::vector<std::string> hold(const std::vector<ScriptedReply>& script, long limit) {
    ScriptedServer server(script);
    auto& out = this->call();
    const auto& in = makeCall(server, limit);
    const long code = Face::invoke(&in, &out, nullptr);
    EXPECT_EQ(code, out.getErrorCode());
    auto all = outcome(out);
    for (const auto& request : server.requests()) {
      EXPECT_THAT(request, HasSubstr("\r\nsoapaction: \"act.session\"\r\n"));
      EXPECT_EQ(field(request, "asyncMode"), 1);
      all.push_back(request);
    }
    return all;
  }
};
TYPED_TEST_SUITE(Conversation, BothCallFaces);

TYPED_TEST(Conversation, WithoutTimeAsksTwice) {
  const auto information = TypeParam::logMore("LogInfo");
  ScriptedServer server({answer("one", kWorking), answer("two", kWorking)});
  auto &in = this->makeCall(server, 0), &out = this->call();
  in.setComressParams(0);
  out.setComressParams(0);
  const auto log = TypeParam::watchLog();
  const DebuggerWatch debugger;
  EXPECT_EQ(TypeParam::invoke(&in, &out, nullptr), E_TIMEOUT);
  EXPECT_THAT(this->outcome(out), ElementsAre("-5", kTimedOut, "two"));

  const auto raw = server.requests();
  EXPECT_EQ(field(raw.at(0), "timeout"), 0);
  EXPECT_EQ(field(raw.at(1), "timeout"), -1);
  EXPECT_THAT(raw.at(1), HasSubstr("<SOAP-ENV:Header>" + headerOf("one") + "</SOAP-ENV:Header>"));
  EXPECT_THAT(raw.at(0), HasSubstr(std::string("\r\n\7\1\1\2\0\0\0x\0--", 13)));
  EXPECT_THAT(raw.at(1), HasSubstr(std::string("\r\n\7\0--", 6))) << "the arguments go once";

  const std::string thread = std::to_string(GetCurrentThreadId());
  EXPECT_EQ(debugger.text(), "ASync RPC call: No time remaining, call cancel requested, Thread=" + thread + "\n");
  const auto lines = withoutNumbers(log.messages());
  EXPECT_THAT(lines, HasSubstr(TypeParam::logged("SendRequestAsync", "Attempt N - Waited N seconds")));
  EXPECT_THAT(lines, HasSubstr(TypeParam::logged("SendRequestAsync", kTimedOut)));

  EXPECT_EQ(in.getTimeoutLimit(), 0);
  EXPECT_EQ(in.getTimeInterval(), 0);
  EXPECT_STREQ(in.getMethodName(), "run");
  EXPECT_STREQ(in.getSoapAction(), "act");
  EXPECT_EQ(in.getNumParams(), 1);
  EXPECT_STREQ(in.getPassportId(), "");
  EXPECT_STREQ(out.getSoapAction(), "act");
}

TYPED_TEST(Conversation, EndsWithTheFirstReplyThatIsFinal) {
  const std::string fields = innerBody("objectHandle=one", "errorCode=0");
  for (const long limit : {0L, LONG_MAX, -1L, LONG_MIN}) {
    for (const ScriptedReply& reply :
         {answer("one", kComplete), answer("one", " " + kComplete + "\r\n"),
          ScriptedReply{httpReply("200 OK", "text/xml", replyEnvelope(headerOf("one"), fields))}}) {
      const auto all = this->hold({reply}, limit);
      ASSERT_EQ(all.size(), 4u) << all[1];
      EXPECT_THAT(all, ElementsAre("0", "", "one", testing::_));
      EXPECT_EQ(field(all[3], "timeout"), limit);
      EXPECT_EQ(field(all[3], "timeInterval"), limit == -1 ? -1000 : limit);
    }
  }
  EXPECT_EQ(this->hold({answer("one", kComplete, 0, "4711")}, 9)[0], "4711");
}

TYPED_TEST(Conversation, ThirdRoundWithCookiesOfTheSecond) {
  const auto information = TypeParam::logMore("LogInfo");
  const auto log = TypeParam::watchLog();
  const DebuggerWatch debugger;
  // An error of the server in a reply that is not final is no reason to stop asking.
  const std::vector<ScriptedReply> script = {answer("one", kWorking, 60, "4711"), answer("two", "", 60),
                                             answer("three", kComplete)};
  const auto all = this->hold(script, 3600);
  ASSERT_EQ(all.size(), 6u) << all[1];
  EXPECT_EQ(std::vector(all.begin(), all.begin() + 3), (std::vector<std::string>{"0", "", "three"}));
  EXPECT_EQ(field(all[3], "timeInterval"), 3600000);
  EXPECT_THAT(all[4], HasSubstr("Cookie: usersessionid=cookie-one; zot_passport=passport-one\r\n"));
  EXPECT_THAT(all[5], HasSubstr("Cookie: usersessionid=cookie-two; zot_passport=passport-two\r\n"));
  EXPECT_THAT(all[5], HasSubstr(headerOf("two")));
  for (const std::size_t round : {4u, 5u}) {
    EXPECT_EQ(field(all[round], "timeout"), 3600) << "not what the server says";
    EXPECT_LE(field(all[round], "timeInterval"), field(all[round - 1], "timeInterval") - 50);
    EXPECT_GT(field(all[round], "timeInterval"), 3500000);
  }
  const std::string shown = debugger.text(), thread = std::to_string(GetCurrentThreadId());
  const std::string line = "ASync RPC call: Time limit=3600; Waited for = [0-9.]+, Thread=" + thread + "\n";
  EXPECT_TRUE(std::regex_match(shown, std::regex(line + line))) << shown;
  std::string lines = withoutNumbers(log.messages());
  const auto attempt = TypeParam::logged("SendRequestAsync", "Attempt N - Waited N seconds");
  const auto first = lines.find(attempt), second = lines.find(attempt, first + 1);
  EXPECT_NE(lines.find(TypeParam::logged("SendRequestAsync", "Async call complete"), second), std::string::npos);
}

TYPED_TEST(Conversation, AsksToCancelWhenItsTimeIsOver) {
  const auto all = this->hold({answer("one", kWorking), answer("two", kWorking, 1100), answer("three", kWorking)}, 1);
  ASSERT_EQ(all.size(), 6u) << all[1];
  EXPECT_EQ(all[1], kTimedOut);
  EXPECT_EQ(field(all[4], "timeout"), 1);
  EXPECT_EQ(field(all[5], "timeout"), -1);
  EXPECT_EQ(field(all[5], "timeInterval"), 0);
  EXPECT_EQ(this->hold({answer("one", kWorking), answer("two", kComplete)}, 0)[0], "0") << "the server's own end";
  EXPECT_EQ(this->hold({answer("one", kWorking)}, -1)[0], "-5") << "asked to cancel from the beginning";
}

TYPED_TEST(Conversation, SecondRoundFails) {
  const auto faultWith = [](const std::string& header) {
    return ScriptedReply{httpReply("500 Oops", "text/xml", faultEnvelope(header))};
  };
  auto cut = answer("two", kComplete);
  cut.bytes.resize(cut.bytes.size() - 40);
  struct Case {
    ScriptedReply reply;
    long code;
    std::string text;  ///< begins so
  };
  for (const auto& [reply, code, text] :
       {Case{faultWith("<bus:ZOT><id>p</id></bus:ZOT>"), E_FAULT, "[it broke]"},
        Case{faultWith(""), E_PROXY, "[it broke]\r\n" + kUnpackFailed}, Case{cut, E_PROXY, ""}}) {
    const auto all = this->hold({answer("one", kWorking, 0, "4711"), reply}, 5);
    EXPECT_EQ(all[0], std::to_string(code)) << reply.bytes;
    EXPECT_EQ(all[1].substr(0, text.size()), text);
    EXPECT_EQ(all[2], "one") << "the last reply that could be read";
  }
}

TYPED_TEST(Conversation, OfItsOwnClient) {
  ScriptedServer server({answer("one", kWorking, 20), answer("two", kComplete)});
  auto& call = this->makeCall(server, 5);
  call.setAsyncMode(0);
  typename TypeParam::Client client(nullptr, ITKRTT(), 0);
  std::string progress;
  client.setProgressHandler(
      [](void* context, long attempts, double waited, long limit) {
        EXPECT_GE(waited, 0.01);
        *static_cast<std::string*>(context) += std::to_string(attempts) + " of " + std::to_string(limit) + " s";
      },
      &progress);
  EXPECT_EQ(client.SendRequestAsync(&call, &call), E_OK) << "one object may be both";
  EXPECT_EQ(progress, "1 of 5 s");
  EXPECT_THAT(this->outcome(call), ElementsAre("0", "", "two"));
  EXPECT_STREQ(call.getPassportId(), "passport-two");
  EXPECT_STREQ(call.getRTT().getUserSessionID(), "cookie-two");
  EXPECT_EQ(client.SendRequestAsync(nullptr, &call), E_PROXY);
  EXPECT_STREQ(call.getErrorText(), "NULL pointer passed in");
  EXPECT_EQ(client.SendRequestAsync(&call, nullptr), E_PROXY);
}

}  // namespace
}  // namespace qz::test
