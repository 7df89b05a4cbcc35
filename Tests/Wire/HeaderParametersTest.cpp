#include "References/Libraries/Wire/HeaderParameters.h"

#include <gtest/gtest.h>

#include "References/Libraries/Wire/ResponseStatus.h"
#include "References/Libraries/Wire/SoapHeaders.h"

namespace qz::wire {
namespace {

std::string withType(std::string_view value) {
  return "HTTP/1.1 200 OK\r\nServer: s\r\nContent-Type: " + std::string(value) + "\r\nContent-Length: 5\r\n\r\n";
}

TEST(HeaderParameters, FramingOfAReply) {
  const std::pair<std::string, const char*> multipart[] = {
      {withType("multipart/related; type=\"text/xml\"; boundary=\"a;b\\\"c\"; start=s"), "a;b\"c"},
      {withType("Multipart/Related;BOUNDARY= \"B 2\" "), "B 2"},
      {"H\r\ncontent-type: multipart/related;\r\n\tboundary=folded\r\nX: boundary=no\r\n\r\n", "folded"},
      {withType("multipart/related; xboundary=no; boundary="), ""}};
  for (const auto& [headers, boundary] : multipart) {
    EXPECT_TRUE(replyFraming(headers).isMultipart) << headers;
    EXPECT_EQ(replyFraming(headers).boundary, boundary) << headers;
  }
  for (const std::string& headers : {withType("multipart/mixed; boundary=B"), std::string(),
                                     std::string("H\r\nX-Content-Type: multipart/related; boundary=B\r\n\r\n"),
                                     std::string("H\r\nContent-Type : multipart/related; boundary=B")})
    EXPECT_FALSE(replyFraming(headers).isMultipart) << headers;
}

TEST(HeaderParameters, AnnouncedLengthAndEncoding) {
  EXPECT_EQ(declaredLength("HTTP/1.1 200 OK\r\ncontent-length:  17 \r\n\r\n"), 17u);
  EXPECT_EQ(declaredLength("H\r\nContent-Length: 18446744073709551615\r\n"), 18446744073709551615u);
  for (const char* none : {"H\r\n\r\n", "H\r\nContent-Length: -1\r\n", "H\r\nContent-Length: 12x\r\n",
                           "H\r\nContent-Length: 99999999999999999999\r\n", "H\r\nContent-Length:\r\n",
                           "H\r\nTransfer-Encoding: chunked\r\nContent-Length: 5\r\n"})
    EXPECT_EQ(declaredLength(none), std::nullopt) << none;
  EXPECT_TRUE(isDeflated("H\r\ncontent-encoding: Deflate\r\n"));
  EXPECT_TRUE(isDeflated("H\r\nContent-Encoding: gzip\r\n"));
  EXPECT_FALSE(isDeflated("H\r\nContent-Encoding: identity\r\nAccept-Encoding: deflate\r\n"));
}

TEST(ResponseStatus, Verdicts) {
  using enum StatusVerdict;
  struct Case {
    unsigned long status, lastAccepted;
    bool siteMinder;
    const char* type;
    StatusVerdict expected;
  };
  for (const Case& c : {Case{200, 202, false, "text/plain", read}, Case{200, 202, true, "text/html", read},
                        Case{200, 202, true, "text/plain", notLoggedOn}, Case{200, 202, true, "TEXT/XML", notLoggedOn},
                        Case{202, 202, true, "text/plain", read}, Case{203, 202, false, "text/xml", refuse},
                        Case{204, 206, false, "text/xml", read}, Case{500, 202, true, "text/plain", readFault},
                        Case{302, 202, false, "text/xml", refuse}, Case{0, 202, false, "text/xml", refuse}})
    EXPECT_EQ(judgeStatus(c.status, c.lastAccepted, c.siteMinder, withType(c.type)), c.expected) << c.status << c.type;
  EXPECT_FALSE(checkContentType("content-type: text/xml"));
}

TEST(SoapHeaders, WhatLinesSay) {
  const std::string_view other = "X-Cookie: soapaction\r\nSOAPAction: plain\r\n";
  EXPECT_EQ(soapActionIn(soapRequestHeaders("urn:a", "")), "urn:a");
  EXPECT_EQ(soapActionIn(other), "plain");
  EXPECT_EQ(soapActionIn("A: b"), "");
  EXPECT_TRUE(hasCookieLine("A: b\r\ncookie: a=1"));
  EXPECT_FALSE(hasCookieLine(other));
  for (const char* lines : {"A: b\r\nC: d\r\n\r\n", "A: b\r\nC: d"})
    EXPECT_EQ(withOneLineEnd(lines), "A: b\r\nC: d\r\n");
  EXPECT_EQ(withOneLineEnd("\r\n"), "");
}

}  // namespace
}  // namespace qz::wire
