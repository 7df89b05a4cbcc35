#include "References/Libraries/Wire/Templates.h"

#include <gtest/gtest.h>

#include <array>

#include "References/Libraries/Wire/Replace.h"
#include "References/Libraries/Wire/XmlEscape.h"
#include "Tests/Support/Envelopes.h"

namespace qz::wire {
namespace {

const EnvelopeTemplates& usual() {
  static const EnvelopeTemplates templates(SCHEMA_HOST);
  return templates;
}

// Whole requests and replies are compared to the byte where the codec makes them.
TEST(Templates, TaskRepliesToTheByte) {
  EXPECT_EQ(usual().taskReply.text(),
            "<ns2:runResponse xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
            "xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\" "
            "xmlns:bus=\"http://schemas.tessel.example/schemas/relay/3/\" "
            "xmlns:ns2=\"http://schemas.tessel.example/schemas/tesselAdministrationConsoleService/1\">"
            "<result xsi:type=\"bus:asynchReply\"><primaryRequest xsi:type=\"bus:asynchRequest\" xsi:nil=\"true\"/>"
            "<secondaryRequests xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"bus:asynchSecondaryRequest[0]\"/>"
            "<status xsi:type=\"bus:asynchReplyStatusEnum\">conversationComplete</status></result></ns2:runResponse>");
  // The description of the wire format has the whole of it.
  EXPECT_NE(fillFault(usual(), {-5, 7, "bad $$severity$$"}).find("<messageString>bad $$severity$$</messageString>"),
            std::string::npos);
}

// Filling in one pass must give what one replacement after the other gives, whatever the values hold.
TEST(Templates, OnePassAgreesWithOrderedReplacement) {
  const EnvelopeTemplates templates("h.example:8080");
  const auto texts = std::to_array<std::string_view>({"", "plain", "$", "$$", "a$$b", "$$timeout$$", "$$vtn", "'x'",
                                                      "$$className$$", "&lt;$$$$", "$$cookieName$$",
                                                      "$$SOAP-ENV:Body$$", "$$numCookies$$$$", "$$passportID$$", "\""});
  const auto count = texts.size();
  for (std::size_t i = 0; i < count * count; ++i) {
    const CallFields call{texts[i % count], "run", texts[i / count], texts[(i + 3) % count], i % 2 == 1, -5, 30, 1,
                          2147483647,       3};
    const SessionFields session{texts[(i * 7) % count], texts[(i * 5 + 1) % count], texts[(i * 11 + 2) % count],
                                texts[(i / 3) % count]};
    Filling request(call), reply(call);
    fillRequest(templates, session, call, request);
    fillReplyBody(templates, call, reply);
    EXPECT_EQ(request.text.str(), fillEnvelope(templates, "", session, fillBody(templates.runRequest.text(), call)))
        << i;
    EXPECT_EQ(reply.text.str(), fillBody(templates.runReply.text(), call)) << i;
  }
}

TEST(Templates, LaterReplacementsFillValuesThatLookLikePlaceholders) {
  const CallFields call{
      "$$methodName$$", "$$objectHandle$$", "$$errorText$$", "$$timeout$$$$className$$", false, 0, 9, 0, 0, 0};
  EXPECT_EQ(fillBody("$$className$$|$$objectHandle$$|$$unknown$$", call), "9$$className$$|9$$className$$|$$unknown$$");
  std::string items = "before";
  EXPECT_TRUE(appendCookieItem(usual(), "$$cookieValue$$", "1", items));
  EXPECT_EQ(items, "before" + test::cookieItem("1", "1"));
  EXPECT_EQ(wrapInEnvelope(usual(), "$$contextID$$", "'b'"), test::requestEnvelope("$$contextID$$", "'b'"));
}

TEST(Templates, SchemaHostMustBeAHost) {
  for (const char* good : {"schemas.tessel.example", "host:8080", "a-b_c"}) EXPECT_TRUE(isSchemaHost(good)) << good;
  for (const char* bad : {"", "a b", "a\"b", "a/b", "a<b", "\xC3\xA4"}) EXPECT_FALSE(isSchemaHost(bad)) << bad;
  EXPECT_FALSE(isSchemaHost(std::string(256, 'a')));
}

TEST(ReplaceAll, FindsEveryPatternOnceAndInsertedTextNever) {
  const struct {
    const char *text, *pattern, *value;
    std::size_t count;
    const char* result;
  } cases[] = {{"$$a$$ and $$a$$", "$$a$$", "1", 2, "1 and 1"},
               {"aaa", "aa", "a", 1, "aa"},
               {"abc", "abc", "", 1, ""},
               {"abc", "", "x", 0, "abc"},
               {"x$$y", "$$y", "$$y$$y", 1, "x$$y$$y"}};
  for (const auto& c : cases) {
    std::string text = c.text;
    EXPECT_EQ(replaceAll(text, c.pattern, c.value), c.count) << c.text;
    EXPECT_EQ(text, c.result);
  }
}

TEST(ReplaceAll, PatternAndValueMayBePartsOfTheText) {
  std::string text = "ab-ab-cd";
  const std::string_view view = text;
  EXPECT_EQ(replaceAll(text, view.substr(0, 2), view.substr(5)), 2u);
  EXPECT_EQ(text, "-cd--cd-cd");
}

// Decoding in order: the entity of "&" last, everything else before.
std::string decodedInOrder(std::string text) {
  const char* const entities[][2] = {{"&lt;", "<"}, {"&gt;", ">"}, {"&apos;", "'"}, {"&quot;", "\""}, {"&amp;", "&"}};
  for (const auto& [name, character] : entities) replaceAll(text, name, character);
  return text;
}

TEST(XmlEscape, OnePassGivesWhatReplacingInOrderGives) {
  EXPECT_EQ(encodeXml("a<b & \"c\" > 'd'"), "a&lt;b &amp; &quot;c&quot; &gt; &apos;d&apos;");
  const std::string pieces[] = {"&", "amp;", "lt;", "&amp;", "&lt;", "&quot;", "apos;", "gt;", "<'>\""};
  for (const auto& a : pieces)
    for (const auto& b : pieces)
      for (const auto& c : pieces) {
        const auto text = a + b + c;
        EXPECT_EQ(decodeXml(text), decodedInOrder(text)) << text;
        EXPECT_EQ(decodeXml(encodeXml(text)), text);
      }
}

}  // namespace
}  // namespace qz::wire
