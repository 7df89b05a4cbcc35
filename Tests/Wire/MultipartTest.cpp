#include "References/Libraries/Wire/Multipart.h"

#include <gtest/gtest.h>

#include "References/Common/Bytes.h"
#include "References/Libraries/Wire/RequestGuard.h"

namespace qz::wire {
namespace {

using namespace std::string_literals;

TEST(Multipart, IdentifiersCarryComputerAndSecond) {
  const auto ids = makeMultipartIds("PC-1", CivilTime{2024, 3, 5, 7, 8, 9, 0});
  EXPECT_EQ(ids.boundary, "TARVON.QZ.NIRA.PC-1.D20240305T07:08:09");
  EXPECT_EQ(ids.start, "<D20240305T07_08_09@qzRPC.tessel.example>");
}

TEST(Multipart, FramesEnvelopeAndRawArguments) {
  const std::string arguments = "\x07\x01\0--B\r\n"s;
  EXPECT_EQ(textOf(multipartBody({"B", "<S>"}, "<env/>", bytesOf(arguments)).bytes()),
            "\r\n--B\r\nContent-Type: text/xml; charset=utf-8;\r\nContent-ID: \"<S>\"\r\n\r\n<env/>\r\n--B\r\n" +
                arguments + "--B--\r\n");
  EXPECT_EQ(textOf(plainBody("<env/>").bytes()), "<env/>");
}

TEST(Multipart, HeaderLinesInTheirOrder) {
  const MultipartIds ids{"B", "<S>"};
  std::vector<std::string> expected{"Content-Type: text/xml\r\n", "Accept: */*\r\n",
                                    "Accept-Encoding: gxip, deflate\r\n", "MIME-Version: 1.0\r\n",
                                    "soapaction: \"urn:a\"\r\n"};
  EXPECT_EQ(requestHeaderLines(nullptr, "urn:a"), expected);
  expected[0] = "Content-Type: multipart/related; boundary=\"B\"; type=text/xml; start=\"<S>\"\r\n";
  EXPECT_EQ(loadTestHeaderLines(&ids, "urn:a", "", "ctx"), expected);
  expected.push_back("Set-Cookie: zot_passport=p1;pry=ctxX: y\r\n");
  EXPECT_EQ(loadTestHeaderLines(&ids, "urn:a", "p1", "ctx\r\nX: y"), expected);
}

TEST(RequestGuard, NamesTheTextWithTheLineBreak) {
  EXPECT_EQ(textWithLineBreak("http://h/x", "action"), "");
  EXPECT_EQ(textWithLineBreak("http://h/x\nHost: evil", "action"), "URL");
  EXPECT_EQ(textWithLineBreak("http://h/x", "a\rb"), "SOAP action");
}

}  // namespace
}  // namespace qz::wire
