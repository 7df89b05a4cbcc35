#include "References/Libraries/Rpc/TokenPort.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace qz::rpc
