// The gateway without a network: its view of requests, the portal, sessions and conversations under a clock of the test.
#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <tuple>

#include "References/Libraries/Wire/HeaderParameters.h"
#include "References/Libraries/Wire/PortalPage.h"
#include "Tests/Support/TestTime.h"
#include "Tools/qzcall/Values.h"
#include "Tools/qzgateway/Gateway.h"
#include "Tools/qzgateway/RequestParts.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using qz::test::TestTime;
using qzgateway::Accounts;
using qzgateway::Served;
using Texts = std::vector<std::string>;

/// A gateway with two namespaces and users.
struct Gate {
  explicit Gate(bool isLogonRequired = false, const Texts& namespaces = {"L=Ldap", "X=\"X\" & <Y>"})
      : gateway(*Accounts::parse(namespaces, {"ann:p&w@L", "b\xC3\xA4:s e=c@"}), isLogonRequired, time) {}

  TestTime time;
  qzgateway::Gateway gateway;
};

constexpr char kContentType[] = "Multipart/Related; type=text/xml; Boundary=\"B:1;x\"; start=\"<s>\"";
const std::string kEmptyList = "\x07\x00"s;

std::string bodyWith(const std::string& envelope, const std::string& attachment) {
  return "\r\n--B:1;x\r\nContent-Type: text/xml; charset=utf-8;\r\nContent-ID: \"<s>\"\r\n\r\n" + envelope +
         "\r\n--B:1;x\r\n" + attachment + "--B:1;x--\r\n";
}

TEST(QzgatewayRequest, TakesTheAttachmentAsItIs) {
  for (const std::string& attachment : {kEmptyList, "a\r\n--B:1;x\r\nb"s, "a--B:1;x--\r\n"s, "\r\n"s}) {
    const std::string body = bodyWith("<e/>", attachment);
    const auto parts = qzgateway::splitRequest(kContentType, body);
    ASSERT_TRUE(parts) << parts.error();
    EXPECT_EQ(parts->envelope, "<e/>");
    EXPECT_EQ(parts->arguments, attachment);
  }
}

TEST(QzgatewayRequest, RefusesABodyCutAnywhere) {
  const std::string body = bodyWith("<e/>", kEmptyList);
  for (std::size_t length = 0; length + 2 < body.size(); ++length) {
    const std::string cut = body.substr(0, length);
    EXPECT_FALSE(qzgateway::splitRequest(kContentType, cut)) << "cut at " << length;
  }
}

constexpr char kHeader[] = "<bus:relayHeader><bus:ZOT><id>p1</id></bus:ZOT></bus:relayHeader>";
constexpr char kInner[] =
    "&lt;qzSOAPBody&gt;&lt;className&gt;Demo&lt;/className&gt;&lt;methodName&gt;echo&lt;/methodName&gt;"
    "&lt;numArguments&gt;1&lt;/numArguments&gt;&lt;/qzSOAPBody&gt;";
const std::string kOneLong = "\x07\x01\x04\x04\x00\x00\x00\x2A\x00\x00\x00"s;

std::string call(const std::string& stream, const std::string& header = kHeader, const std::string& inner = kInner,
                 const std::string& prolog = "") {
  return bodyWith(prolog +
                      "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
                      "xmlns:bus=\"urn:b\"><SOAP-ENV:Header>" +
                      header + "</SOAP-ENV:Header><SOAP-ENV:Body><d>" + inner +
                      "</d></SOAP-ENV:Body></SOAP-ENV:Envelope>",
                  stream);
}

TEST(QzgatewayRequest, IsAnsweredInProperMime) {
  const auto served = Gate().gateway.serve({.contentType = kContentType, .body = call(kOneLong)});
  const std::string boundary = qz::wire::headerParameter(served.reply->contentType, "boundary");
  EXPECT_EQ(served.reply->status, 200);
  EXPECT_EQ(served.reply->cookies[0], "zot_passport=p1; path=/; HttpOnly");
  EXPECT_TRUE(served.reply->head.starts_with("--" + boundary + "\r\nContent-Type: text/xml")) << served.reply->head;
  EXPECT_TRUE(served.reply->head.ends_with("\r\nContent-Length: 11\r\n\r\n")) << served.reply->head;
  EXPECT_EQ(qzcall::toHex(qzcall::argumentIn(served.reply->attachment).bytes), "070104040000002a000000");
  EXPECT_EQ(served.reply->tail, "\r\n--" + boundary + "--\r\n");
}

TEST(QzgatewayRequest, IsRefusedWithTheReason) {
  const std::string good = call(kOneLong);
  const std::tuple<const char*, std::string, const char*> kCases[] = {
      {"text/xml", good, "not multipart/related"},
      {"multipart/related; boundary=\"\"", good, "no boundary"},
      {"multipart/related; boundary=other", good, "start mark"},
      {kContentType, good + "trailing", "closing mark"},
      {kContentType, call(""), "second part is empty"},
      {kContentType, call("\x07\x01\x04\xFF\xFF\xFF\x7F\x2A"s), "argument stream"},
      {kContentType, call("\x07\x05" + kOneLong.substr(2)), "argument stream"},
      {kContentType, call("NIRA\x10\x00\x00\x00\xFF\xFF\xFF\x7F" + std::string(20, 'x')), "argument stream"},
      {kContentType, call("rubbish"), "argument stream"},
      {kContentType, call(kEmptyList), "announces 1 arguments, the stream holds 0"},
      {kContentType, call(kOneLong, kHeader, "no inner body"), "no qzSOAPBody"},
      {kContentType, call(kOneLong, kHeader, "a & b"), "no SOAP envelope"},
      {kContentType, call(kOneLong, "<bus:relayHeader/>"), "relay header"},
      {kContentType, call(kOneLong, kHeader, kInner, "<!DOCTYPE a [<!ENTITY e SYSTEM \"x\">]>"), "no SOAP envelope"},
  };
  for (const auto& [contentType, body, complaint] : kCases) {
    const auto served = Gate().gateway.serve({.contentType = contentType, .body = body});
    EXPECT_EQ(served.reply->status, 400) << complaint;
    EXPECT_NE(served.reply->head.find(complaint), std::string::npos) << served.reply->head;
  }
}

// ---- the portal

TEST(QzgatewayAccounts, AreReadAsWritten) {
  const std::tuple<Texts, Texts, const char*> kCases[] = {
      {{"L"}, {}, "write ID=NAME"},
      {{"a b=x"}, {}, "is no id"},
      {{"L="}, {}, "without a name"},
      {{"L=x", "L=y"}, {}, "already"},
      {{}, {"ann"}, "NAME:PASSWORD"},
      {{}, {":x"}, "NAME:PASSWORD"},
      {{}, {"ann:@Demo"}, "without a password"},
      {{}, {"ann:p@ss"}, "no namespace of this portal"},
      {{}, {"ann:p", "ann:q"}, "there already"},
  };
  for (const auto& [namespaces, users, complaint] : kCases) {
    const auto accounts = Accounts::parse(namespaces, users);
    ASSERT_FALSE(accounts) << complaint;
    EXPECT_NE(accounts.error().find(complaint), std::string::npos) << accounts.error();
    EXPECT_EQ(accounts.error().find("ss'"), std::string::npos) << "a password is shown: " << accounts.error();
  }
  const auto accounts = Accounts::parse({"L=Ldap", "X=x=y"}, {"ann:p:w@L", "ann:q@X", "bob:p@ss@"});
  EXPECT_EQ(accounts->namespaces()[1].displayName, "x=y");
  EXPECT_TRUE(accounts->isRight("ann", "p:w", "L") && accounts->isRight("bob", "p@ss", "X"));
  EXPECT_FALSE(accounts->isRight("ann", "p:w", "X") || accounts->isRight("ann", "", "L"));
  EXPECT_TRUE(Accounts::parse({}, {})->isRight("demo", "demo", "Demo"));
}

TEST(QzgatewayForm, IsDecodedToUtf8OrRefused) {
  const std::pair<const char*, const char*> kCases[] = {
      {"a=1&b=2&a=3\r\n", "a=1;b=2;"}, {"a=%41%2b+b%3D&&=x&c", "a=A+ b=;c=;"},
      {"a=\xC3%A4", "a=\xC3\xA4;"},    {"a=%C3", "not UTF-8"},
      {"a=%4", "hexadecimal"},         {"%-1=a", "hexadecimal"},
      {"a=%0x", "hexadecimal"},        {"a=b%00c", "zero byte"}};
  for (const auto& [written, expected] : kCases) {
    const auto fields = qzgateway::decodeFields(written);
    std::string out = fields ? "" : fields.error();
    if (fields)
      for (const auto& [name, value] : *fields) out.append(name).append("=").append(value).append(";");
    EXPECT_NE(out.find(expected), std::string::npos) << written << " -> " << out;
  }
  EXPECT_EQ(qzgateway::cookieIn("xa=1; a=2=3; a=4", "a"), "2=3");
  EXPECT_EQ(qzgateway::cutCookies("a=secret; b=0123456789abcdef0123"), "a=sec...; b=01234567...");
}

/// What a request came to, in a few words.
std::string verdict(const Served& served) {
  const std::string& page = served.reply->head;
  std::string out = std::to_string(served.reply->status);
  if (page.find("zotAuthUserRecoverable") != std::string::npos) out += " logon fault";
  if (qz::wire::portalNamespaces(page)) out += " logon page";
  if (qz::wire::isUserAlreadyAuthenticated(page)) out += " authenticated";
  if (const auto context = qz::wire::portalContextId(page)) out += context->empty() ? " no context" : " context";
  for (const std::string& cookie : served.reply->cookies)
    if (cookie.starts_with("zot_passport=")) out += cookie.starts_with("zot_passport=;") ? " cleared" : " passport";
  return out;
}

/// Someone with a browser, who can make calls too.
struct Visitor {
  Gate& gate;
  std::string passport = "";

  std::string get(const std::string& query) { return take(query, false, ""); }
  std::string post(const std::string& query, const std::string& form = "\r\n") { return take(query, true, form); }
  std::string echo() {
    return verdict(gate.gateway.serve(
        {.contentType = kContentType,
         .body = call(kOneLong, "<bus:relayHeader><bus:ZOT><id>" + passport + "</id></bus:ZOT></bus:relayHeader>")}));
  }

 private:
  std::string take(const std::string& query, bool isPost, const std::string& form) {
    const Served served = gate.gateway.serve({.isPost = isPost,
                                              .query = "b_action=xts.run&m=portal/" + query,
                                              .cookies = "zot_passport=" + passport,
                                              .body = form});
    const std::string out = verdict(served);
    if (out.ends_with(" passport"))
      passport = std::regex_replace(served.reply->cookies[0], std::regex("^.*?=|;.*"), "");
    return out;
  }
};

constexpr char kLogon[] = "close.xts&h_ZOT_action=logon", kLogonAs[] = "close.xts&h_ZOT_action=logonAs";
constexpr char kContext[] = "close.xts", kLogoff[] = "logoff.xts&h_ZOT_action=logoff";
constexpr char kAnn[] = "ZOTUsername=ann&ZOTPassword=p%26w&ZOTNamespace=L\r\n";
constexpr char kBae[] = "ZOTUsername=b\xC3%A4&ZOTPassword=s%20e%3Dc&ZOTNamespace=X";

TEST(QzgatewayPortal, LogsUsersOnAndOff) {
  Gate gate(true);
  Visitor visitor{gate};
  EXPECT_EQ(visitor.echo(), "500 logon fault");
  EXPECT_EQ(visitor.get(kContext), "200 logon page");
  for (const char* const wrong :
       {"", "ZOTUsername=ann&ZOTPassword=p&ZOTNamespace=L", "ZOTUsername=ann&ZOTPassword=p%26w",
        "ZOTUsername=ann&ZOTPassword=p%26w&ZOTNamespace=X", "ZOTUsername=ann&ZOTPassword=p%26w&ZOTNamespace=Y"})
    EXPECT_EQ(visitor.post(kLogon, wrong), "200 logon page") << wrong;
  EXPECT_EQ(visitor.post(kLogonAs, kAnn), "200 logon page") << "there is no session";
  EXPECT_EQ(visitor.post(kLogon, kAnn), "200 passport");
  EXPECT_EQ(visitor.get(kContext), "200 context");
  EXPECT_EQ(visitor.echo(), "200 passport");

  const std::string first = visitor.passport;
  EXPECT_EQ(visitor.post(kLogonAs, kAnn), "200 authenticated");
  EXPECT_EQ(visitor.post(kLogonAs, "ZOTUsername=ann"), "200 logon page");
  EXPECT_EQ(visitor.post(kLogonAs, kBae), "200 passport");
  EXPECT_NE(visitor.passport, first);
  EXPECT_EQ((Visitor{gate, first}.echo()), "500 logon fault");
  EXPECT_EQ(visitor.echo(), "200 passport");

  EXPECT_EQ(visitor.post(kLogoff), "200 cleared");
  EXPECT_EQ(visitor.get(kContext), "200 logon page");
  EXPECT_EQ(visitor.echo(), "500 logon fault");
}

TEST(QzgatewayPortal, KnowsWhichPassportsAreGood) {
  Gate gate;
  Visitor user{gate}, caller{gate, "mine"};
  EXPECT_EQ(Visitor{gate}.echo(), "200 passport");
  EXPECT_EQ(caller.echo(), "200 passport");
  EXPECT_EQ(caller.get(kContext), "200 no context");
  caller.post(kLogoff);
  EXPECT_EQ(caller.echo(), "500 logon fault");
  EXPECT_EQ(caller.get(kContext), "200 logon page");
  user.post(kLogon, kAnn);
  for (int i = 0; i < 2; ++i) {
    gate.time.wait(29min);
    EXPECT_EQ(user.echo(), "200 passport");
  }
  gate.time.wait(31min);
  EXPECT_EQ(user.echo(), "500 logon fault") << "nobody used the session";
  EXPECT_EQ(caller.get("other.xts") + caller.post("close.xts") + caller.get(kLogoff), "404405405");
  EXPECT_EQ(caller.post(kLogon, "a=%"), "400");
}

TEST(QzgatewayTable, DropsWhatIsIdleForLongest) {
  TestTime time;
  qzgateway::ExpiringTable<int> table(time, 2, 5min);
  for (int i = 0; i < 3; ++i) {
    table.put("abc"s.substr(static_cast<std::size_t>(i), 1), i);
    time.wait(1min);
    table.find("a");
  }
  EXPECT_TRUE(table.find("a") != nullptr && table.find("b") == nullptr && table.find("c") != nullptr);
}

// ---- conversations

std::string field(const char* name, const std::string& value) {
  return "&lt;" + std::string(name) + "&gt;" + value + "&lt;/" + name + "&gt;";
}

/// One caller's conversation about `wait`.
struct Talk {
  Gate& gate;
  std::string handle = "";
  std::string passport = "p1";

  /// Status or error code of the reply, and how long it took.
  std::string round(const std::string& arguments, int timeout = 9, int interval = 9000,
                    const char* action = "a.session") {
    const auto before = gate.time.passed();
    const Served served = gate.gateway.serve(
        {.contentType = kContentType, .soapAction = action, .body = request(arguments, timeout, interval)});
    const std::string text = served.reply->head;
    std::smatch found;
    std::string out = std::to_string(served.reply->status);
    if (std::regex_search(text, found, std::regex("StatusEnum\">([a-zA-Z]+)"))) out = found[1];
    if (std::regex_search(text, found, std::regex("errorCode&gt;([1-9]\\d*)"))) out += " error " + found[1].str();
    if (std::regex_search(text, found, std::regex("objectHandle&gt;(\\w*)"))) handle = found[1];
    return out + " after " + std::to_string((gate.time.passed() - before).count());
  }

 private:
  std::string request(const std::string& stream, int timeout, int interval) const {
    return call(stream, "<bus:relayHeader><bus:ZOT><id>" + passport + "</id></bus:ZOT></bus:relayHeader>",
                "&lt;qzSOAPBody&gt;" + field("className", "Demo") + field("methodName", "wait") +
                    field("objectHandle", handle) + field("numArguments", std::to_string(stream[1])) +
                    field("timeout", std::to_string(timeout)) + field("asyncMode", "1") +
                    field("timeInterval", std::to_string(interval)) + "&lt;/qzSOAPBody&gt;");
  }
};

/// Arguments of `wait`: a double, and a text unless it is empty.
std::string seconds(double number, const std::string& outcome = "") {
  std::string stream = outcome.empty() ? "\x07\x01"s : "\x07\x02"s;
  stream.append("\x06\x08\0\0\0"s).append(reinterpret_cast<const char*>(&number), sizeof number);
  if (!outcome.empty()) stream.append("\x01"s).append(1, static_cast<char>(outcome.size())).append("\0\0\0"s + outcome);
  return stream;
}

TEST(QzgatewayConversation, TakesItsTimeAndNoMore) {
  Gate gate;
  Talk talk{gate};
  EXPECT_EQ(talk.round(seconds(2.5, "fail")), "working after 1000");
  EXPECT_EQ(talk.round(kEmptyList, 9, 300), "working after 300");
  EXPECT_EQ((Talk{gate, talk.handle, "p2"}.round(kEmptyList)), "500 after 0") << "somebody else's";
  EXPECT_EQ(talk.round(kEmptyList), "working after 1000");
  EXPECT_EQ(talk.round(kEmptyList), "conversationComplete error 12 after 200");
  EXPECT_EQ(talk.handle, "");
  EXPECT_EQ(talk.round(seconds(0.5)), "conversationComplete after 500");
  EXPECT_EQ(talk.round(seconds(0.5, "fault")), "500 after 500");
  EXPECT_EQ(talk.round(seconds(3), 9, 9000, "a"), "conversationComplete after 3000") << "no conversation";
}

TEST(QzgatewayConversation, EndsWhenItIsCancelledOrLeftAlone) {
  Gate gate;
  Talk never{gate}, stubborn{gate}, left{gate};
  EXPECT_EQ(never.round(seconds(0, "never")), "working after 1000");
  EXPECT_EQ(Talk{never}.round(kEmptyList, -1, 0), "conversationComplete error 125 after 0");
  EXPECT_EQ(never.round(kEmptyList), "500 after 0") << "it is over";
  EXPECT_EQ(stubborn.round(seconds(0, "stubborn"), 0, 0), "working after 0");
  EXPECT_EQ(stubborn.round(kEmptyList, -1, 0), "working after 0");
  EXPECT_EQ(left.round(seconds(3)), "working after 1000");
  gate.time.wait(6min);
  EXPECT_EQ(left.round(kEmptyList), "500 after 0");
}

TEST(QzgatewayConversation, RefusesWrongArguments) {
  Gate gate;
  for (const std::string& wrong :
       {seconds(-1), seconds(3601), seconds(1, "soon"), seconds(std::nan("")), kEmptyList, "\x07\x01\x01\x01\0\0\0x"s})
    EXPECT_EQ(Talk{gate}.round(wrong), "conversationComplete error 22 after 0");
  EXPECT_EQ(Talk{gate}.round(seconds(1, "never"), 9, 9, "a"), "conversationComplete error 22 after 0");
}

}  // namespace
