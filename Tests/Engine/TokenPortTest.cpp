#include "References/Libraries/Rpc/TokenPort.h"

#include <gtest/gtest.h>

#include <string>

#include "References/Libraries/Rpc/TokenCookies.h"

namespace qz::rpc {
namespace {

TEST(TokenPort, TakesTheKnownCookiesOfAReply) {
  ITKRTT token;
  token.setVTN("stays");
  token.setPry("old");
  TokenPort(token).takeReplyCookies(
      "HTTP/1.1 200 OK\r\nSet-Cookie: unknown=1; path=/\r\nset-cookie: usersessionid=u\r\n"
      "Set-Cookie: xpw_session=w; path=/\r\nSet-Cookie: pry=; path=/\r\nSet-Cookie: zot_passport=p=1; path=/\r\n"
      "Set-Cookie: SMSESSION=s; path=/\r\nSet-Cookie: zot_passport=second\r\n\r\n");
  EXPECT_STREQ(token.getPassportID(), "p=1");
  EXPECT_STREQ(token.getPry(), "");
  EXPECT_STREQ(token.getPwSession(), "w");
  EXPECT_STREQ(token.getVTN(), "stays");
  EXPECT_STREQ(token.getUserSessionID(), "u");
  EXPECT_FALSE(TokenPort(token).hasSiteMinderSession());
  EXPECT_EQ(token.getCookies().getCount(), 5);
}

TEST(TokenPort, GivesALineThatCannotAddHeaders) {
  ITKRTT token;
  TokenPort port(token);
  EXPECT_EQ(port.cookieLine(), "");
  token.setCookieValue("userCapabilities", "x");
  EXPECT_EQ(port.cookieLine(), "");
  ASSERT_TRUE(token.createFromHTTPHeader("http://h/", "Set-Cookie: a=1\r\nX: y\r\nSet-Cookie: b=2; path=/\r\n\r\n"));
  EXPECT_EQ(port.cookieLine(), "Cookie: a=1X: ySet-Cookie: b=2\r\n");
  token.setSMSession("s");
  EXPECT_TRUE(port.hasSiteMinderSession());
}

TEST(TokenPort, KeepsItsCredentialWhenNothingElseIsOffered) {
  ITKRTT token;
  TokenPort port(token);
  port.storeCredential("user", "secret");
  port.storeCredential("", "");
  EXPECT_STREQ(port.userName(), "user");
  EXPECT_STREQ(port.password(), "secret");
}

TEST(TokenCookies, SiteMinderSessionComesWithThePrefixThatHoldsIt) {
  ITKRTT token;
  token.setURL("before");
  constexpr const char* kUrl = "http://sm.example.org/a/b/gw.cgi";
  EXPECT_FALSE(updateFromCookieStore(kUrl, token));
  EXPECT_FALSE(updateFromCookieStore(nullptr, token));
  EXPECT_STREQ(token.getURL(), "before");

  ASSERT_EQ(platform::writeStoredCookie("http://sm.example.org/a/", "SMSESSION", "s;Path=/a/"), 0u);
  ASSERT_EQ(platform::writeStoredCookie("http://sm.example.org/a/b/", "VTN", "v;Path=/a/b/"), 0u);
  EXPECT_TRUE(updateFromCookieStore(kUrl, token));
  EXPECT_STREQ(token.getURL(), kUrl);
  EXPECT_STREQ(token.getSMSession(), "s");
  EXPECT_STREQ(token.getSMSessionUrl(), "http://sm.example.org/a/");
  EXPECT_STREQ(token.getVTN(), "v");
  EXPECT_EQ(platform::endBrowserSession(), 0u);
  EXPECT_EQ(platform::readStoredCookies(kUrl), std::nullopt);
}

}  // namespace
}  // namespace qz::rpc
