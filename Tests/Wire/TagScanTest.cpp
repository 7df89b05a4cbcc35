#include "References/Libraries/Wire/TagScan.h"

#include <gtest/gtest.h>

#include <chrono>

namespace qz::wire {
namespace {

std::string valueOf(std::string_view text, std::string_view name, TagForm form) {
  const auto value = extractNodeValue(text, name, form);
  return value ? std::string(*value) : missingTagText(value.error(), name);
}

TEST(TagScan, FindsNodesByTheirText) {
  const std::string noOpen = "No open tag for node a", noClose = "No close tag for node a";
  for (const auto& [text, expected] : {std::pair<const char*, std::string>{"<a b='1'>x</a>", "x"},
                                       {"<a></a>", ""},
                                       {"<r><a>1<b>&lt;</b></a><a>2</a></r>", "1<b>&lt;</b>"},
                                       {"<aString>s</aString><a>7</a>", "s</aString><a>7"},
                                       {"<a/><b>x</b></a>", "<b>x</b>"},
                                       {"</a><a>x</a>", "x"},
                                       {"x<a", noOpen},
                                       {"&lt;a&gt;x&lt;/a&gt;", noOpen},
                                       {"<a>x</a >", noClose},
                                       {"<a>x</A>", noClose}})
    EXPECT_EQ(valueOf(text, "a", TagForm::Plain), expected) << text;
  for (const auto& [text, expected] :
       {std::pair<const char*, std::string>{"&lt;a t=1&gt;&amp;lt;&lt;/a&gt;", "&amp;lt;"},
        {"<a>x</a>", noOpen},
        {"&lt;a&gt;x&lt;/a", noClose}})
    EXPECT_EQ(valueOf(text, "a", TagForm::Escaped), expected) << text;
}

TEST(TagScan, InnerBodyIsCutAndUnescaped) {
  EXPECT_EQ(cutInnerBody("x&lt;qzSOAPBody a=\"1\"&gt;y&lt;/qzSOAPBody&gt;z"),
            "&lt;qzSOAPBody a=\"1\"&gt;y&lt;/qzSOAPBody&gt;");
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
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace qz::wire
