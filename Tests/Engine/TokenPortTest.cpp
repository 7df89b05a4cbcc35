#include "References/Libraries/Rpc/TokenPort.h"

#include <gtest/gtest.h>

#include "References/Libraries/Platform/CookieStore.h"
#include "References/Libraries/Rpc/TokenCookies.h"

namespace qz::rpc {
namespace {

TEST(TokenPort, LetsAnExchangeUpdateTheToken) {
  ITKRTT token;
  token.setVTN("stays");
  token.setPry("old");
  TokenPort port(token);
  port.takeReplyCookies(
      "HTTP/1.1 200 OK\r\nSet-Cookie: unknown=1; path=/\r\nset-cookie: usersessionid=u\r\n"
      "Set-Cookie: xpw_session=w; path=/\r\nSet-Cookie: pry=; path=/\r\nSet-Cookie: zot_passport=p=1; path=/\r\n"
      "Set-Cookie: SMSESSION=s; path=/\r\nSet-Cookie: zot_passport=second\r\n\r\n");
  EXPECT_FALSE(port.hasSiteMinderSession());
  EXPECT_EQ(port.cookieLine(), "Cookie: VTN=stays; pry=; zot_passport=p=1; pw_session=w; usersessionid=u\r\n");
  token.setSMSession("s\r\n");
  EXPECT_TRUE(port.hasSiteMinderSession());
  EXPECT_TRUE(port.cookieLine().ends_with("; SMSESSION=s\r\n"));
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

  ASSERT_FALSE(platform::writeStoredCookie("http://sm.example.org/a/", "SMSESSION", "s;Path=/a/"));
  ASSERT_FALSE(platform::writeStoredCookie("http://sm.example.org/a/b/", "VTN", "v;Path=/a/b/"));
  EXPECT_TRUE(updateFromCookieStore(kUrl, token));
  EXPECT_STREQ(token.getURL(), kUrl);
  EXPECT_STREQ(token.getSMSession(), "s");
  EXPECT_STREQ(token.getSMSessionUrl(), "http://sm.example.org/a/");
  EXPECT_STREQ(token.getVTN(), "v");
  EXPECT_FALSE(platform::endBrowserSession());
  EXPECT_FALSE(updateFromCookieStore(kUrl, token));
}

}  // namespace
}  // namespace qz::rpc
