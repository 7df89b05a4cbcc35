#include "References/Libraries/Wire/HeaderParameters.h"

#include <gtest/gtest.h>

#include "References/Libraries/Wire/ResponseStatus.h"

namespace qz::wire {
namespace {

std::string withType(std::string_view value) {
  return "HTTP/1.1 200 OK\r\nServer: s\r\nContent-Type: " + std::string(value) + "\r\nContent-Length: 5\r\n\r\n";
}

TEST(HeaderParameters, FramingOfAReply) {
  const std::string cases[] = {
      withType("multipart/related; boundary=B1"),
      withType("multipart/related; type=\"text/xml\"; boundary=\"a;b\\\"c\"; start=s"),
      withType("Multipart/Related;BOUNDARY= \"B 2\" "),
      "HTTP/1.1 200 OK\r\ncontent-type: multipart/related;\r\n\tboundary=folded\r\nX: boundary=no\r\n\r\n",
      withType("multipart/related"),
      withType("multipart/related; boundary="),
      withType("multipart/related; xboundary=no"),
      withType("multipart/mixed; boundary=B"),
      withType("text/xml; boundary=B"),
      "HTTP/1.1 200 OK\r\nX-Content-Type: multipart/related; boundary=B\r\n\r\n",
      "HTTP/1.1 200 OK\r\nContent-Type : multipart/related; boundary=B",
      "",
  };
  const std::pair<bool, const char*> expected[] = {{true, "B1"}, {true, "a;b\"c"}, {true, "B 2"}, {true, "folded"},
                                                   {true, ""},   {true, ""},       {true, ""},    {false, ""},
                                                   {false, ""},  {false, ""},      {false, ""},   {false, ""}};
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const auto framing = replyFraming(cases[i]);
    EXPECT_EQ(framing.isMultipart, expected[i].first) << cases[i];
    EXPECT_EQ(framing.boundary, expected[i].second) << cases[i];
  }
}

TEST(HeaderParameters, AnnouncedLength) {
  const auto length = [](std::string_view headers) { return declaredLength(headers); };
  EXPECT_EQ(length("HTTP/1.1 200 OK\r\ncontent-length:  17 \r\n\r\n"), 17u);
  EXPECT_EQ(length("HTTP/1.1 200 OK\r\nContent-Length: 18446744073709551615\r\n"), 18446744073709551615u);
  for (const char* none : {"HTTP/1.1 200 OK\r\n\r\n", "H\r\nContent-Length: -1\r\n", "H\r\nContent-Length: 12x\r\n",
                           "H\r\nContent-Length: 99999999999999999999\r\n", "H\r\nContent-Length:\r\n",
                           "H\r\nTransfer-Encoding: chunked\r\nContent-Length: 5\r\n"})
    EXPECT_EQ(length(none), std::nullopt) << none;
}

TEST(HeaderParameters, DeflatedReply) {
  EXPECT_TRUE(isDeflated("HTTP/1.1 200 OK\r\ncontent-encoding: Deflate\r\n"));
  EXPECT_FALSE(isDeflated("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n"));
  EXPECT_FALSE(isDeflated("HTTP/1.1 200 OK\r\nAccept-Encoding: deflate\r\n"));
}

TEST(ResponseStatus, Verdicts) {
  using enum StatusVerdict;
  const auto html = withType("text/html"), plain = withType("text/plain");
  struct Case {
    unsigned long status;
    unsigned long lastAccepted;
    bool siteMinder;
    const std::string& headers;
    StatusVerdict expected;
  };
  for (const Case& c :
       {Case{200, 202, false, plain, read}, Case{200, 202, true, html, read}, Case{200, 202, true, plain, notLoggedOn},
        Case{201, 202, true, plain, read}, Case{202, 202, true, plain, read}, Case{203, 202, false, html, refuse},
        Case{204, 202, false, html, refuse}, Case{204, 206, false, html, read}, Case{207, 206, false, html, refuse},
        Case{500, 202, true, plain, readFault}, Case{302, 202, false, html, refuse},
        Case{401, 202, false, html, refuse}, Case{503, 202, false, html, refuse}, Case{0, 202, false, html, refuse}})
    EXPECT_EQ(judgeStatus(c.status, c.lastAccepted, c.siteMinder, c.headers), c.expected) << c.status;
  EXPECT_EQ(statusMessage(404, "Not Found"), "404 - Not Found ");
  EXPECT_EQ(contextLine("http://h/", ""), "URL: http://h/, SOAP action: ");
}

TEST(ResponseStatus, ContentTypeIsComparedAsWritten) {
  EXPECT_TRUE(checkContentType("X: y\r\nContent-Type: text/xml"));
  EXPECT_TRUE(checkContentType("Content-Type: application/soap\r\nX: text/html"));
  EXPECT_FALSE(checkContentType("content-type: text/xml"));
  EXPECT_FALSE(checkContentType("Content-Type: TEXT/XML"));
}

}  // namespace
}  // namespace qz::wire
