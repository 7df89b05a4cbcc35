#include "References/Libraries/Wire/Multipart.h"

#include <gtest/gtest.h>

#include "References/Libraries/Wire/RequestGuard.h"

namespace qz::wire {
namespace {

using namespace std::string_literals;

constexpr CivilTime kNow{2024, 3, 5, 7, 8, 9, 0};

std::string text(const MessageBody& body) { return {reinterpret_cast<const char*>(body.bytes().data()), body.size()}; }

TEST(Multipart, IdentifiersCarryComputerAndSecond) {
  const auto ids = makeMultipartIds("PC-1", kNow);
  EXPECT_EQ(ids.boundary, "TARVON.QZ.NIRA.PC-1.D20240305T07:08:09");
  EXPECT_EQ(ids.start, "<D20240305T07_08_09@qzRPC.tessel.example>");
}

TEST(Multipart, FramesEnvelopeAndRawArguments) {
  const std::string arguments = "\x07\x01\0--B\r\n"s;
  const auto body = multipartBody({"B", "<S>"}, "<env/>", std::as_bytes(std::span(arguments)));
  EXPECT_EQ(text(body),
            "\r\n--B\r\nContent-Type: text/xml; charset=utf-8;\r\nContent-ID: \"<S>\"\r\n\r\n<env/>\r\n--B\r\n" +
                arguments + "--B--\r\n");
  EXPECT_EQ(text(plainBody("<env/>")), "<env/>");
  EXPECT_EQ(plainBody("").size(), 0u);
}

TEST(Multipart, HeaderLinesInTheirOrder) {
  const MultipartIds ids{"B", "<S>"};
  const std::vector<std::string> rest{"Accept: */*\r\n", "Accept-Encoding: gxip, deflate\r\n", "MIME-Version: 1.0\r\n",
                                      "soapaction: \"urn:a\"\r\n"};
  auto expected = rest;
  expected.insert(expected.begin(), "Content-Type: text/xml\r\n");
  EXPECT_EQ(requestHeaderLines(nullptr, "urn:a"), expected);
  expected[0] = "Content-Type: multipart/related; boundary=\"B\"; type=text/xml; start=\"<S>\"\r\n";
  EXPECT_EQ(requestHeaderLines(&ids, "urn:a"), expected);
  EXPECT_EQ(loadTestHeaderLines(&ids, "urn:a", "", "ctx"), expected);
  expected.push_back("Set-Cookie: zot_passport=p1;pry=ctx\r\n");
  EXPECT_EQ(loadTestHeaderLines(&ids, "urn:a", "p1", "ctx"), expected);
}

TEST(RequestGuard, NamesTheTextWithTheLineBreak) {
  EXPECT_EQ(textWithLineBreak("http://h/x", "action"), "");
  EXPECT_EQ(textWithLineBreak("http://h/x\nHost: evil", "action"), "URL");
  EXPECT_EQ(textWithLineBreak("http://h/x", "a\r\nX: y"), "SOAP action");
}

TEST(RequestGuard, KnowsOneHeaderLine) {
  EXPECT_TRUE(isHeaderLine("Cookie: a=b\r\n"));
  EXPECT_FALSE(isHeaderLine("Cookie\r\n"));
  EXPECT_FALSE(isHeaderLine("Cookie: a=b\r\nX: y\r\n"));
  EXPECT_FALSE(isHeaderLine("Cookie: a=b\n"));
  EXPECT_FALSE(isHeaderLine(""));
}

}  // namespace
}  // namespace qz::wire
