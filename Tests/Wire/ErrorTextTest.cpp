#include "References/Libraries/Wire/ErrorText.h"

#include <gtest/gtest.h>

namespace {

using namespace qz::wire;
using namespace std::string_view_literals;

TEST(CsvLine, QuotesEveryFieldAndDoublesInnerQuotes) {
  const std::string_view fields[] = {"", "plain", "a,b", "say \"no\"", "two\r\nlines", "\"", "M\xC3\xBCller", "a\0b"sv};
  EXPECT_EQ(csvLine(fields),
            "\"\",\"plain\",\"a,b\",\"say \"\"no\"\"\",\"two\r\nlines\",\"\"\"\",\"M\xC3\xBCller\",\"a b\"\r\n");
}

TEST(CsvLine, TitlesOfTheErrorLog) {
  EXPECT_EQ(csvLine(kErrorLogTitles),
            "\"GUID\",\"Stack\",\"Date Time\",\"Component\",\"Version Information\",\"Module\",\"File\",\"Procedure\","
            "\"Line Number\",\"Source\",\"Error Number\",\"Error Description\",\"User Domain\\User Name\","
            "\"Machine Domain\\Machine Name\",\"Previous User Domain\\Previous User Name\","
            "\"Previous Machine Domain\\Previous Machine Name\",\"Process Id\",\"Thread Id\"\r\n");
}

TEST(ErrorText, Templates) {
  EXPECT_EQ(unknownMessage(0x20000001, 317),
            "Unknown message 536870913 (0x20000001) [FormatMessage returned 317 (0x13d)]");
  EXPECT_EQ(unknownMessage(0xFFFFFFFF, 5), "Unknown message -1 (0xffffffff) [FormatMessage returned 5 (0x5)]");
  EXPECT_EQ(failedHresult(0x80004005, "Unspecified"), "Failed HRESULT [0x80004005] :Unspecified");
  EXPECT_EQ(failedHresult(0x1234, ""), "Failed HRESULT [0x00001234] :-- message description not found --");
  EXPECT_EQ(systemError(2, "File not found."), "System error [ 0x00000002, File not found. ]");
  EXPECT_EQ(systemError(2, ""), "System error [ 0x00000002, -- message description not found -- ]");
}

TEST(ErrorText, XmlFormEscapesItsTexts) {
  EXPECT_EQ(errorInformationXml("a/b", "op<1>", 7, -3, "x & \"y\""),
            "<errorInformation><applicationErrorSource>a/b:op&lt;1&gt;:7</applicationErrorSource>"
            "<applicationErrorParameters></applicationErrorParameters>"
            "<componentErrorNumber>-3</componentErrorNumber>"
            "<componentErrorText>x &amp; &quot;y&quot;</componentErrorText></errorInformation>");
}

}  // namespace
