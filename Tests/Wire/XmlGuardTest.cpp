#include "References/Libraries/Wire/XmlGuard.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>

#include "QzTypes.h"
#include "References/Libraries/Wire/TypedArgument.h"

namespace qz::wire {
namespace {

using namespace std::string_literals;

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

TEST(XmlGuard, SeesTheDeclarationWhereAParserWould) {
  for (const char* text :
       {"<?xml version=\"1.0\"?>\r\n <!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>", "<!----><!DOCTYPE a><a/>",
        "<?p <!-- '?><!DOCTYPE a --><a/>", "<!-- <a> ?> ]]> --><!DOCTYPE a><a/>", "<!doctype html><html></html>",
        "plain <!", "<a b='>' c=\"'\"><!ENTITY x 'y'></a>"})
    EXPECT_EQ(riskOf(text), XmlRisk::DocumentType) << text;
  for (const char* text :
       {"", "<a b=\"x>y\" c='DOCTYPE'>&lt;!DOCTYPE a&gt; DOCTYPE</a>", "<a><![CDATA[<!DOCTYPE a>]]></a>",
        "<a><!-- <!DOCTYPE a> --></a>", "<?p <!DOCTYPE a> ?><a/>", "<!-- never closed <!DOCTYPE a>"})
    EXPECT_EQ(riskOf(text), XmlRisk::None) << text;
}

TEST(XmlGuard, BoundsTheNesting) {
  EXPECT_EQ(riskOf(repeated(256, "<a>") + repeated(256, "</a>")), XmlRisk::None);
  EXPECT_EQ(riskOf(repeated(257, "<a b='/'>")), XmlRisk::TooDeep);
  EXPECT_EQ(riskOf("<r>" + repeated(5000, "<a/><b></b>") + "</r>"), XmlRisk::None);
  EXPECT_EQ(riskOf(repeated(255, "<a>") + repeated(9, "<b/><c></c><!-- <d> -->")), XmlRisk::None);
}

TEST(TypedArgument, BecomesTheBytesOfItsType) {
  const std::tuple<const char*, const char*, unsigned char, std::string> cases[] = {
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
  for (const auto& [schemaType, text, type, bytes] : cases) {
    const auto argument = makeTypedArgument(schemaType, text);
    EXPECT_EQ(argument.type, type) << schemaType << " " << text;
    EXPECT_EQ(argument.bytes, bytes) << schemaType << " " << text;
  }
}

TEST(TypedArgument, FloatsOutOfRangeSaturate) {
  constexpr double infinite = std::numeric_limits<double>::infinity();
  for (const auto& huge : {"1e400"s, std::string(400, '9'), "0.00001e400"s})
    EXPECT_EQ(parseDouble(huge), infinite) << huge;
  EXPECT_EQ(parseDouble("-1e99999999999999999999"), -infinite);
  for (const auto& none : {"1e-400"s, "0." + std::string(400, '0') + "1", "1" + std::string(400, '0') + "e-800", ""s,
                           "-"s, "--1"s, "+-1"s, ",5"s, "e5"s})
    EXPECT_EQ(parseDouble(none), 0) << none;
}

}  // namespace
}  // namespace qz::wire
