#include "References/Libraries/Wire/Templates.h"

#include <gtest/gtest.h>

#include "Tests/Support/Envelopes.h"

namespace qz::wire {
namespace {

CallFields sampleCall() {
  CallFields call;
  call.className = "Reports & more";
  call.methodName = "run";
  call.errorText = "bad <thing>";
  call.errorCode = -5;
  call.timeout = 30;
  call.asyncMode = 1;
  call.timeInterval = 2147483647;
  call.numArguments = 3;
  return call;
}

std::string filledRequest(const EnvelopeTemplates& templates, const SessionFields& session, const CallFields& call) {
  Filling filling(call);
  fillRequest(templates, session, call, filling);
  EXPECT_EQ(filling.text.str().size(), filling.text.size());
  return filling.text.str();
}

std::string filledReply(const EnvelopeTemplates& templates, const CallFields& call) {
  Filling filling(call);
  fillReplyBody(templates, call, filling);
  return filling.text.str();
}

TEST(Templates, RequestToTheByte) {
  const EnvelopeTemplates templates(SCHEMA_HOST);
  const auto body = test::runRequest(test::innerBody("className=Reports & more", "methodName=run", "keepAlive=0",
                                                     "objectHandle=", "numArguments=3", "timeout=30", "asyncMode=1",
                                                     "timeInterval=2147483647"));
  SessionFields session;
  EXPECT_EQ(filledRequest(templates, session, sampleCall()),
            test::requestEnvelope(test::freshHeader("", "", "0", ""), body));
  session = {"", "pass", "ctx", "v&n"};
  EXPECT_EQ(filledRequest(templates, session, sampleCall()),
            test::requestEnvelope(test::freshHeader("pass", "ctx", "1", test::cookieItem("VTN", "v&n")), body));
  session.relayHeader = "<own header/>";
  EXPECT_EQ(filledRequest(templates, session, sampleCall()), test::requestEnvelope("<own header/>", body));
}

TEST(Templates, RepliesToTheByte) {
  const EnvelopeTemplates templates(SCHEMA_HOST);
  EXPECT_EQ(filledReply(templates, sampleCall()),
            test::runReply(test::innerBody("className=Reports & more", "methodName=run",
                                           "objectHandle=", "numArguments=3", "errorCode=-5", "errorText=bad <thing>",
                                           "timeout=30", "asyncMode=1", "timeInterval=2147483647")));
  EXPECT_EQ(templates.taskReply.text(),
            "<ns2:runResponse xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
            "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\" "
            "xmlns:bus=\"http://schemas.tessel.example/schemas/relay/3/\" "
            "xmlns:ns2=\"http://schemas.tessel.example/schemas/tesselAdministrationConsoleService/1\">"
            "<result xsi:type=\"bus:asynchReply\"><primaryRequest xsi:type=\"bus:asynchRequest\" xsi:nil=\"true\"/>"
            "<secondaryRequests xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"bus:asynchSecondaryRequest[0]\"/>"
            "<status xsi:type=\"bus:asynchReplyStatusEnum\">conversationComplete</status></result></ns2:runResponse>");
  EXPECT_EQ(fillFault(templates, {-5, 7, "bad $$severity$$"}),
            "<SOAP-ENV:Fault xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\"><faultcode>-5</faultcode>"
            "<faultstring>qz exception</faultstring><detail>"
            "<bus:exception xmlns:bus=\"http://schemas.tessel.example/schemas/relay/3/\"><severity>error</severity>"
            "<errorCode>7</errorCode><bus:message><nestingLevel>0</nestingLevel>"
            "<messageString>bad $$severity$$</messageString></bus:message></bus:exception></detail></SOAP-ENV:Fault>");
}

TEST(Templates, GenericEnvelopeKeepsItsCookiePlaceholders) {
  const EnvelopeTemplates templates(SCHEMA_HOST);
  for (const std::string passport : {"pass", "$$contextID$$"}) {
    SessionFields session;
    session.passportId = passport;
    session.contextId = "ctx";
    FilledText text;
    fillGeneric(templates, session, "<body>$$passportID$$</body>", text);
    EXPECT_EQ(text.str(), test::requestEnvelope(test::freshHeader(passport == "pass" ? "pass" : "ctx", "ctx",
                                                                  "$$numCookies$$", "$$cookieValues$$"),
                                                "<body>$$passportID$$</body>"));
  }
}

// Filling in one pass must give what one replacement after the other gives, whatever the values hold.
TEST(Templates, OnePassAgreesWithOrderedReplacement) {
  const EnvelopeTemplates templates("h.example:8080");
  const std::string_view texts[] = {"",
                                    "plain",
                                    "$",
                                    "$$",
                                    "a$$b",
                                    "'x'",
                                    "$$timeout$$",
                                    "$$className$$",
                                    "$$vtn",
                                    "$$SOAP-ENV:Body$$",
                                    "\"",
                                    "$$cookieName$$",
                                    "$$passportID$$",
                                    "&lt;$$$$",
                                    "$$numCookies$$$$"};
  constexpr std::size_t count = std::size(texts);
  for (std::size_t i = 0; i < count * count; ++i) {
    CallFields call = sampleCall();
    call.className = texts[i % count];
    call.objectHandle = texts[i / count];
    call.errorText = texts[(i + 3) % count];
    call.keepAlive = i % 2 == 1;
    const SessionFields session{texts[(i * 7) % count], texts[(i * 5 + 1) % count], texts[(i * 11 + 2) % count],
                                texts[(i / 3) % count]};
    EXPECT_EQ(filledRequest(templates, session, call),
              fillEnvelope(templates, "", session, fillBody(templates.runRequest.text(), call)))
        << i;
    EXPECT_EQ(filledReply(templates, call), fillBody(templates.runReply.text(), call)) << i;
  }
}

TEST(Templates, LaterReplacementsFillValuesThatLookLikePlaceholders) {
  CallFields call;
  call.className = "$$timeout$$";
  call.methodName = "$$className$$";
  call.timeout = 9;
  EXPECT_EQ(fillBody("$$className$$|$$methodName$$|$$className$$|$$unknown$$", call), "9|$$className$$|9|$$unknown$$");
}

TEST(Templates, OwnEnvelopeMayUseApostrophes) {
  const EnvelopeTemplates templates(SCHEMA_HOST);
  EXPECT_EQ(fillEnvelope(templates, "<e a='1'>it's $$passportID$$: $$SOAP-ENV:Body$$</e>", {"", "it's", "", ""}, "'b'"),
            "<e a=\"1\">it\"s it's: 'b'</e>");
}

TEST(Templates, CookieItemsAndSmallPieces) {
  const EnvelopeTemplates templates(SCHEMA_HOST);
  std::string items = "before";
  EXPECT_FALSE(appendCookieItem(templates, "a", "", items));
  EXPECT_TRUE(appendCookieItem(templates, "$$cookieValue$$", "1", items));
  EXPECT_EQ(items, "before" + test::cookieItem("1", "1"));
  EXPECT_EQ(nodeXml("a", "x<y"), "<a>x<y</a>");
  EXPECT_EQ(placeHolder("SOAP-ENV:Body"), "$$SOAP-ENV:Body$$");
}

TEST(Templates, SchemaHostMustBeAHost) {
  for (const char* good : {"schemas.tessel.example", "host:8080", "a-b_c"}) EXPECT_TRUE(isSchemaHost(good)) << good;
  for (const char* bad : {"", "a b", "a\"b", "a/b", "a<b", "\xC3\xA4"}) EXPECT_FALSE(isSchemaHost(bad)) << bad;
  EXPECT_FALSE(isSchemaHost(std::string(256, 'a')));
}

}  // namespace
}  // namespace qz::wire
