#include <gtest/gtest.h>

#include <string>

#include "References/Libraries/Wire/Replace.h"
#include "References/Libraries/Wire/XmlEscape.h"

namespace qz::wire {
namespace {

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
