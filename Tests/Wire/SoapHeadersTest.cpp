#include "References/Libraries/Wire/SoapHeaders.h"

#include <gtest/gtest.h>

namespace qz::wire {
namespace {

TEST(SoapHeaders, LinesOfARequest) {
  EXPECT_EQ(soapRequestHeaders("urn:a", ""), "Content-Type: text/xml\r\nsoapaction: \"urn:a\"\r\n");
  EXPECT_EQ(soapRequestHeaders("", "Cookie: a=1\r\n"),
            "Content-Type: text/xml\r\nsoapaction: \"\"\r\nCookie: a=1\r\n\r\n");
}

TEST(SoapHeaders, WhatLinesSay) {
  const auto lines = soapRequestHeaders("urn:a", "cookie: a=1");
  EXPECT_EQ(soapActionIn(lines), "urn:a");
  EXPECT_TRUE(hasCookieLine(lines));
  EXPECT_EQ(soapActionIn("X-Cookie: soapaction\r\nSOAPAction: plain\r\n"), "plain");
  EXPECT_FALSE(hasCookieLine("X-Cookie: soapaction\r\nSOAPAction: plain\r\n"));
  EXPECT_EQ(soapActionIn("A: b"), "");
  EXPECT_EQ(withOneLineEnd("A: b\r\nC: d\r\n\r\n"), "A: b\r\nC: d\r\n");
  EXPECT_EQ(withOneLineEnd("A: b"), "A: b\r\n");
  EXPECT_EQ(withOneLineEnd("\r\n"), "");
}

}  // namespace
}  // namespace qz::wire
