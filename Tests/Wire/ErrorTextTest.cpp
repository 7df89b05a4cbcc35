#include "References/Libraries/Wire/ErrorText.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace qz::wire;
using namespace std::string_view_literals;

// What a spreadsheet makes of a line, written from the rules of the format and not from the writer.
std::vector<std::string> readCsv(std::string_view text) {
  std::vector<std::string> fields(1);
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool doubled = quoted && text.substr(i, 2) == "\"\"";
    if (doubled) {
      fields.back() += text[i++];
    } else if (text[i] == '"') {
      quoted = !quoted;
    } else if (!quoted && text[i] == ',') {
      fields.emplace_back();
    } else if (!quoted && text.substr(i) == "\r\n") {
      break;
    } else {
      fields.back() += text[i];
    }
  }
  return fields;
}

TEST(CsvLine, ReadsBackWhateverItHolds) {
  const std::string_view fields[] = {"", "plain", "a,b", "say \"no\"", "two\r\nlines", "\"", ",\",\"", "M\xC3\xBCller"};
  const auto line = csvLine(fields);
  EXPECT_EQ(readCsv(line), std::vector<std::string>(std::begin(fields), std::end(fields)));
  EXPECT_TRUE(line.ends_with("\"\r\n"));
  const std::string_view zero[] = {"a\0b"sv};
  EXPECT_EQ(csvLine(zero), "\"a b\"\r\n");
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

TEST(ErrorText, WinsockNamesAtTheEdgesOfTheTable) {
  const std::pair<long, const char*> names[] = {{10004, "WSAEINTR"},
                                                {10009, "WSAEBADF"},
                                                {10035, "WSAEWOULDBLOCK"},
                                                {10071, "WSAEREMOTE"},
                                                {10093, "WSANOTINITIALISED"},
                                                {10101, "WSAEDISCON"},
                                                {10112, "WSAEREFUSED"},
                                                {11004, "WSANO_DATA"},
                                                {10003, "WINSOCK error 10003"},
                                                {10023, "WINSOCK error 10023"},
                                                {11005, "WINSOCK error 11005"},
                                                {0, "WINSOCK error 0"},
                                                {-1, "WINSOCK error -1"}};
  for (const auto& [code, name] : names) EXPECT_EQ(winsockErrorName(code), name);
}

}  // namespace
