#include "References/Libraries/Wire/LogLine.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "References/Common/PathText.h"
#include "References/Libraries/Wire/ErrorText.h"

namespace {

using namespace qz::wire;
using namespace std::string_view_literals;

const LogPlace kPlace = {{2026, 3, 7, 4, 5, 6, 78}, 0xAB1, 0x2C, "qzSOAP", "RuntimeEngine/qzSOAP/INET", 42};

TEST(LogLine, PrefixesOfBothLayers) {
  PrefixBuffer out;
  EXPECT_EQ(flatTextPrefix(out, kPlace), "2026-03-07 04:05:06 [AB1:2C][qzSOAP:RuntimeEngine/qzSOAP/INET L42] ");
  EXPECT_EQ(flatDumpPrefix(out, kPlace, 5),
            "2026-03-07 04:05:06 [P2737:T44][qzSOAP:RuntimeEngine/qzSOAP/INET L42] Byte stream of size 5\r\n");
  EXPECT_EQ(toolkitTextPrefix(out, kPlace), "20260307 04:05:06.078 [AB1:2C][INET L42] ");
  EXPECT_EQ(toolkitDumpPrefix(out, kPlace, 2147483647),
            "20260307 04:05:06.078 [AB1:2C][INET L42] Byte stream of size 2147483647\r\n");
}

TEST(LogLine, TextsOfAnyLengthFitThePrefix) {
  const std::string huge(100000, 's');
  const LogPlace place = {{99999, 12, 31, 23, 59, 59, 999}, 0xFFFFFFFF, 0xFFFFFFFF, huge, huge, -2147483647};
  PrefixBuffer out;
  for (const auto format : {flatTextPrefix, toolkitTextPrefix})
    EXPECT_TRUE(format(out, place).ends_with(" L-2147483647] "));
  for (const auto format : {flatDumpPrefix, toolkitDumpPrefix})
    EXPECT_TRUE(format(out, place, 7).ends_with("] Byte stream of size 7\r\n"));
  EXPECT_EQ(flatTextPrefix(out, {}), "0-00-00 00:00:00 [0:0][: L0] ");
}

TEST(LogLine, PathParts) {
  const std::pair<const char*, const char*> names[] = {
      {"R7ITK/R7ITKShared/ITKRTT", "ITKRTT"}, {"a\\b/c\\d", "d"}, {"plain", "plain"}, {"ends/", ""}, {"", ""}};
  for (const auto& [path, name] : names) EXPECT_EQ(qz::lastComponent(path), name) << path;
  const std::pair<const char*, const char*> folders[] = {
      {"C:\\root\\bin\\lib.dll", "C:\\root\\bin"}, {"C:\\lib.dll", "C:"}, {"C:", "C:"}, {"a/b", "a/b"}, {"", ""}};
  for (const auto& [path, folder] : folders) EXPECT_EQ(qz::cutAtLastBackslash(path), folder) << path;
}

std::string storedInTextMode(std::string_view text) {
  std::string stored;
  TextModeWriter writer([&](std::span<const char> chunk) { stored.append(chunk.begin(), chunk.end()); });
  writer.put(text);
  writer.flush();
  return stored;
}

TEST(TextModeWriter, PutsACarriageReturnBeforeEachLineFeed) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {""sv, ""sv}, {"a\r\n"sv, "a\r\r\n"sv}, {"\n\n"sv, "\r\n\r\n"sv}, {"a\0\n\x1a"sv, "a\0\r\n\x1a"sv}};
  for (const auto& [text, stored] : cases) EXPECT_EQ(storedInTextMode(text), stored);
  // Line ends on, before and behind the edge of a chunk, and a text of many chunks.
  for (const std::size_t length : {8190u, 8191u, 8192u, 8193u, 100000u}) {
    const std::string line(length, 'x');
    EXPECT_EQ(storedInTextMode(line + "\n" + line), line + "\r\n" + line) << length;
  }
}

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
