#include <gtest/gtest.h>

#include <string>

#include "References/Libraries/Wire/Replace.h"
#include "References/Libraries/Wire/XmlEscape.h"

namespace qz::wire {
namespace {

struct ReplaceCase {
  const char* text;
  const char* pattern;
  const char* value;
  std::size_t count;
  const char* result;
};

TEST(ReplaceAll, FindsEveryPatternOnceAndInsertedTextNever) {
  const ReplaceCase cases[] = {{"$$a$$ and $$a$$", "$$a$$", "1", 2, "1 and 1"},
                               {"aaa", "aa", "a", 1, "aa"},
                               {"abc", "abc", "", 1, ""},
                               {"ab", "b", "bb", 1, "abb"},
                               {"abc", "", "x", 0, "abc"},
                               {"", "a", "x", 0, ""},
                               {"x$$y", "$$y", "$$y$$y", 1, "x$$y$$y"},
                               {"same", "same", "size", 1, "size"}};
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

TEST(XmlEscape, EncodesTheFiveAndDecodesOneLevel) {
  EXPECT_EQ(encodeXml("a<b & \"c\" > 'd'"), "a&lt;b &amp; &quot;c&quot; &gt; &apos;d&apos;");
  EXPECT_EQ(decodeXml("&amp;lt;"), "&lt;");
  EXPECT_EQ(decodeXml("&lt;&gt;&apos;&quot;&amp;"), "<>'\"&");
  EXPECT_EQ(decodeXml("&&amp;amp; &nbsp; &lt &"), "&&amp; &nbsp; &lt &");
}

// Decoding in order: the entity of "&" last, everything else before.
std::string decodedInOrder(std::string text) {
  replaceAll(text, "&lt;", "<");
  replaceAll(text, "&gt;", ">");
  replaceAll(text, "&apos;", "'");
  replaceAll(text, "&quot;", "\"");
  replaceAll(text, "&amp;", "&");
  return text;
}

TEST(XmlEscape, OnePassGivesWhatReplacingInOrderGives) {
  const std::string pieces[] = {"&", "amp;", "lt;", "&amp;", "&lt;", "&quot;", "apos;", "x"};
  for (const auto& a : pieces)
    for (const auto& b : pieces)
      for (const auto& c : pieces)
        for (const auto& d : pieces) {
          const auto text = a + b + c + d;
          EXPECT_EQ(decodeXml(text), decodedInOrder(text)) << text;
          EXPECT_EQ(decodeXml(encodeXml(text)), text);
        }
}

}  // namespace
}  // namespace qz::wire
