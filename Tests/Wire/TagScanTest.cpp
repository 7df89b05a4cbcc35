#include "References/Libraries/Wire/TagScan.h"

#include <gtest/gtest.h>

#include <chrono>

namespace qz::wire {
namespace {

struct NodeCase {
  TagForm form;
  const char* text;
  const char* name;
  const char* value;  ///< null: missing
  MissingTag missing = MissingTag::Open;
};

TEST(TagScan, FindsNodesByTheirText) {
  const NodeCase cases[] = {
      {TagForm::Plain, "<a>x</a>", "a", "x"},
      {TagForm::Plain, "<a b='1'>x</a>", "a", "x"},
      {TagForm::Plain, "<a></a>", "a", ""},
      {TagForm::Plain, "<r><a>1<b>&lt;</b></a><a>2</a></r>", "a", "1<b>&lt;</b>"},
      {TagForm::Plain, "<errorCodeString>s</errorCodeString><errorCode>7</errorCode>", "errorCode",
       "s</errorCodeString><errorCode>7"},
      {TagForm::Plain, "<a/><b>x</b></a>", "a", "<b>x</b>"},
      {TagForm::Plain, "</a><a>x</a>", "a", "x"},
      {TagForm::Plain, "x<a", "a", nullptr},
      {TagForm::Plain, "<a>x</a >", "a", nullptr, MissingTag::Close},
      {TagForm::Plain, "<a>x</A>", "a", nullptr, MissingTag::Close},
      {TagForm::Plain, "&lt;a&gt;x&lt;/a&gt;", "a", nullptr},
      {TagForm::Plain, "", "a", nullptr},
      {TagForm::Escaped, "&lt;a&gt;x&lt;/a&gt;", "a", "x"},
      {TagForm::Escaped, "&lt;a t=1&gt;&amp;lt;&lt;/a&gt;", "a", "&amp;lt;"},
      {TagForm::Escaped, "<a>x</a>", "a", nullptr},
      {TagForm::Escaped, "&lt;a&gt;x&lt;/a", "a", nullptr, MissingTag::Close},
  };
  for (const auto& c : cases) {
    const auto value = extractNodeValue(c.text, c.name, c.form);
    if (c.value != nullptr)
      EXPECT_EQ(value.value_or("(missing)"), c.value) << c.text;
    else
      EXPECT_TRUE(!value && value.error() == c.missing) << c.text;
  }
}

TEST(TagScan, PositionsAreThoseOfTheWholeText) {
  const std::string_view text = "..<a >1</a><a>2</a>";
  EXPECT_EQ(findBeginTag(text, 0, "a", TagForm::Plain), 6u);
  EXPECT_EQ(findEndTag(text, 6, "a", TagForm::Plain), 7u);
  EXPECT_EQ(findBeginTag(text, 7, "a", TagForm::Plain), 14u);
  EXPECT_EQ(findBeginTag(text, 15, "a", TagForm::Plain), std::string_view::npos);
  EXPECT_EQ(findBeginTag(text, 99, "a", TagForm::Plain), std::string_view::npos);
  EXPECT_EQ(findBeginTag("&lt;a&lt;a&gt;", 0, "a", TagForm::Escaped), 14u);
}

TEST(TagScan, EnvelopeNeedsHeaderAndBody) {
  const auto parts = cutHeaderAndBody("<SOAP-ENV:Header> h </SOAP-ENV:Header><SOAP-ENV:Body><b/></SOAP-ENV:Body>");
  ASSERT_TRUE(parts);
  EXPECT_EQ(parts->header, " h ");
  EXPECT_EQ(parts->body, "<b/>");
  EXPECT_EQ(cutHeaderAndBody("<SOAP-ENV:Header/><SOAP-ENV:Body></SOAP-ENV:Body>").error(),
            "No close tag for node SOAP-ENV:Header");
  EXPECT_EQ(cutHeaderAndBody("<SOAP-ENV:Header></SOAP-ENV:Header>").error(), "No open tag for node SOAP-ENV:Body");
}

TEST(TagScan, InnerBodyIsCutAndUnescaped) {
  const auto inner = cutInnerBody("x&lt;qzSOAPBody a=\"1\"&gt;y&lt;/qzSOAPBody&gt;z");
  ASSERT_TRUE(inner);
  EXPECT_EQ(*inner, "&lt;qzSOAPBody a=\"1\"&gt;y&lt;/qzSOAPBody&gt;");
  EXPECT_EQ(cutInnerBody("&lt;/qzSOAPBody&gt;").error(), MissingTag::Open);
  EXPECT_EQ(cutInnerBody("&lt;qzSOAPBody&gt;").error(), MissingTag::Close);
  EXPECT_EQ(unescapeInnerBody("&lt;a&gt;&amp;quot;&amp;lt;&apos;&quot;"), "<a>\"&lt;&apos;\"");
}

TEST(TagScan, PrefixesAreDeclaredOnlyWhereTheyAreMissing) {
  const std::string uses = "<argument xsi:type=\"xsd:int\">1</argument></qzSOAPBody>";
  const auto declared = withDeclaredPrefixes("<qzSOAPBody a=\"1\" xmlns:xs=\"u\">" + uses);
  EXPECT_TRUE(declared.starts_with("<qzSOAPBody xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""));
  EXPECT_TRUE(declared.ends_with(" a=\"1\" xmlns:xs=\"u\">" + uses));
  EXPECT_EQ(declared.find("xmlns:xs="), declared.rfind("xmlns:xs="));
  for (const auto& text : {"<qzSOAPBody xmlns:xsi = 'u'>" + uses, std::string("<qzSOAPBody></qzSOAPBody>")})
    EXPECT_EQ(withDeclaredPrefixes(text), text);
}

TEST(TagScan, HostileTextTakesLinearTime) {
  std::string text;
  for (int i = 0; i < 1'000'000; ++i) text += "&lt;errorCod";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(extractNodeValue(text, "errorCode", TagForm::Escaped));
  EXPECT_FALSE(cutHeaderAndBody(text));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace qz::wire
