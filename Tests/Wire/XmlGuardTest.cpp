#include "References/Libraries/Wire/XmlGuard.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "QzTypes.h"
#include "References/Libraries/Wire/TypedArgument.h"

namespace qz::wire {
namespace {

std::string repeated(int count, const char* text) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

XmlRisk riskOf(const std::string& text) {
  const auto risk = findXmlRisk(text);
  EXPECT_EQ(findXmlRisk(std::wstring(text.begin(), text.end())), risk) << text;
  return risk;
}

TEST(XmlGuard, SeesTheDeclarationWhereverAParserWould) {
  for (const char* text : {
           "<!DOCTYPE a><a/>",
           "<?xml version=\"1.0\"?>\r\n <!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>",
           "<!-- <a> --><!DOCTYPE a><a/>",
           "<!----><!DOCTYPE a><a/>",
           "<?p '?><!DOCTYPE a><a/>",
           "<?p <!-- ?><!DOCTYPE a --><a/>",
           "<!-- ?> ]]> --><!DOCTYPE a><a/>",
           "<!doctype html><html></html>",
           "<a><!DOCTYPE b></a>",
           "plain <!",
           "<a b='>' c=\"'\"><!ENTITY x 'y'></a>",
       })
    EXPECT_EQ(riskOf(text), XmlRisk::DocumentType) << text;
}

TEST(XmlGuard, LeavesTheWordAlone) {
  for (const char* text : {
           "",
           "<a>&lt;!DOCTYPE a&gt; DOCTYPE</a>",
           "<a><![CDATA[<!DOCTYPE a>]]></a>",
           "<a><!-- <!DOCTYPE a> --></a>",
           "<?p <!DOCTYPE a> ?><a/>",
           "<a b=\"x>y\" c='DOCTYPE'/>",
           "<!-- never closed <!DOCTYPE a>",
       })
    EXPECT_EQ(riskOf(text), XmlRisk::None) << text;
}

TEST(XmlGuard, BoundsTheNesting) {
  EXPECT_EQ(riskOf(repeated(256, "<a>") + repeated(256, "</a>")), XmlRisk::None);
  EXPECT_EQ(riskOf(repeated(257, "<a b='/'>")), XmlRisk::TooDeep);
  EXPECT_EQ(riskOf("<r>" + repeated(5000, "<a/><b></b>") + "</r>"), XmlRisk::None);
  EXPECT_EQ(riskOf(repeated(255, "<a>") + repeated(9, "<b/><c></c><!-- <d> -->")), XmlRisk::None);
}

struct ArgumentCase {
  const char* schemaType;
  const char* text;
  unsigned char type;
  std::string bytes;
};

TEST(TypedArgument, BecomesTheBytesOfItsType) {
  using namespace std::string_literals;
  const ArgumentCase cases[] = {
      {"xsd:int", " -2 ", ITKBufferType::DT_LONG, "\xFE\xFF\xFF\xFF"s},
      {"int", "4294967297", ITKBufferType::DT_LONG, "\1\0\0\0"s},
      {"xsd:int", "none", ITKBufferType::DT_LONG, "\0\0\0\0"s},
      {"xsd:short", "70000", ITKBufferType::DT_I2, "\x70\x11"s},
      {"xs:byte", "258", ITKBufferType::DT_I1, "\2"s},
      {"xsd:float", "+0.5e1x", ITKBufferType::DT_FLOAT, "\0\0\xA0\x40"s},
      {"xsd:float", "1e300", ITKBufferType::DT_FLOAT, "\0\0\x80\x7F"s},
      {"xsd:double", "-2", ITKBufferType::DT_DOUBLE, "\0\0\0\0\0\0\0\xC0"s},
      {"xsd:Int", "1", ITKBufferType::DT_TEXT, "1"},
      {"a:b:int", "1", ITKBufferType::DT_TEXT, "1"},
      {"", " x\xC3\xA4 ", ITKBufferType::DT_TEXT, " x\xC3\xA4 "},
      {"string", "", ITKBufferType::DT_TEXT, ""},
  };
  for (const auto& c : cases) {
    const auto argument = makeTypedArgument(c.schemaType, c.text);
    EXPECT_EQ(argument.type, c.type) << c.schemaType << " " << c.text;
    EXPECT_EQ(argument.bytes, c.bytes) << c.schemaType << " " << c.text;
  }
}

TEST(TypedArgument, FloatsOutOfRangeSaturate) {
  constexpr double infinite = std::numeric_limits<double>::infinity();
  EXPECT_EQ(parseDouble("1e400"), infinite);
  EXPECT_EQ(parseDouble("-1e99999999999999999999"), -infinite);
  EXPECT_EQ(parseDouble(std::string(400, '9')), infinite);
  EXPECT_EQ(parseDouble("1e-400"), 0);
  EXPECT_EQ(parseDouble("0." + std::string(400, '0') + "1"), 0);
  EXPECT_EQ(parseDouble("1" + std::string(400, '0') + "e-800"), 0);
  EXPECT_EQ(parseDouble("0.00001e400"), infinite);
  for (const char* none : {"", "-", "--1", "+-1", ",5", "e5"}) EXPECT_EQ(parseDouble(none), 0) << none;
}

}  // namespace
}  // namespace qz::wire
