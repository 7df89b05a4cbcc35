#include <gtest/gtest.h>

#include <string>

#include "ITKRTT.h"
#include "Tests/Support/Faces.h"

namespace {

ITKRTT filledToken() {
  ITKRTT token;
  token.setUserName("user");
  token.setPassword("secret");
  token.setAuthType("basic");
  token.setURL("http://h/dir/gw.cgi");
  token.setPryContext("context");
  token.setPassportID("passport");
  return token;
}

std::string textOf(const ITKCookieArray& cookies) {
  std::string text;
  for (long i = 0; const auto* cookie = cookies.getAt(i); ++i)
    text += std::string(cookie->name) + "=" + cookie->value.c_str() + "@" + cookie->path.c_str() + "|";
  return text;
}

TEST(Token, EmptyingKeepsTheUrlOnly) {
  EXPECT_TRUE(ITKRTT(nullptr).isEmpty());
  EXPECT_STREQ(ITKRTT().getSMSessionUrl(), "");
  auto token = filledToken();
  EXPECT_FALSE(token.isEmpty());
  token = static_cast<const ITKRTT*>(nullptr);
  EXPECT_TRUE(token.isEmpty());
  EXPECT_STREQ(token.getURL(), "http://h/dir/gw.cgi");
  EXPECT_STREQ(token.getPryContext(), "");
  EXPECT_TRUE(token.getUserName().isEmpty() && token.getPassword().isEmpty() && token.getAuthType().isEmpty());
  EXPECT_EQ(token.getCookies().getCount(), 0);
}

TEST(Token, NamedAccessorsAreCookies) {
  ITKRTT token;
  token.setCookieValue("VTN", "old");
  token.setCookiePath("VTN", "/");
  token.setPassportID("1");
  token.setPry("2");
  token.setSessionSharing("3");
  token.setAsTicket("4");
  token.setPwSession("5");
  token.setVTN("6");
  token.setSMSessionUrl("no such cookie");
  token.setSMSession("7");
  token.setSMSessionUrl("url");
  token.setUserSessionID("8");
  EXPECT_EQ(textOf(token.getCookies()),
            "VTN=6@|zot_passport=1@|pry=2@|vel-ssa=3@|AS_TICKET=4@|pw_session=5@|SMSESSION=7@url|usersessionid=8@|");
  EXPECT_EQ(std::string() + token.getPassportID() + token.getPry() + token.getSessionSharing() + token.getAsTicket() +
                token.getPwSession() + token.getVTN() + token.getSMSession() + token.getUserSessionID() +
                token.getSMSessionUrl(),
            "12345678url");
  EXPECT_STREQ(token.getCookieValue("PRY"), "");
}

TEST(Token, ComparesTextsByStorageAndCookiesByContent) {
  const auto token = filledToken();
  EXPECT_TRUE(ITKRTT(token) == &token);
  EXPECT_TRUE(ITKRTT() == ITKRTT());
  EXPECT_FALSE(token == static_cast<const ITKRTT*>(nullptr));
  EXPECT_TRUE(ITKRTT() == static_cast<const ITKRTT*>(nullptr));

  const struct {
    const char* what;
    void (*change)(ITKRTT&);
    bool equal;
  } changes[] = {
      {"same user name shared", [](ITKRTT& t) { t.setUserName(ITKString(t.getUserName())); }, true},
      {"same user name built anew", [](ITKRTT& t) { t.setUserName("user"); }, false},
      {"same password built anew", [](ITKRTT& t) { t.setPassword("secret"); }, false},
      {"same kind built anew", [](ITKRTT& t) { t.setAuthType("basic"); }, false},
      {"same URL from its own getter", [](ITKRTT& t) { t.setURL(t.getURL()); }, false},
      {"same context built anew", [](ITKRTT& t) { t.setPryContext("context"); }, false},
      {"same cookie built anew", [](ITKRTT& t) { t.setPassportID(t.getPassportID()); }, true},
      {"other cookie value", [](ITKRTT& t) { t.setPassportID("x"); }, false},
      {"other cookie path", [](ITKRTT& t) { t.setCookiePath("zot_passport", "/"); }, false},
      {"one more cookie", [](ITKRTT& t) { t.setPry(""); }, false},
      {"itself", [](ITKRTT& t) { t = *&t; }, true},
  };
  for (const auto& c : changes) {
    ITKRTT changed(&token);
    c.change(changed);
    EXPECT_EQ(changed == token, c.equal) << c.what;
  }
  EXPECT_TRUE(ITKCredential() == static_cast<const ITKCredential*>(nullptr));
}

TEST(Token, TakesCookiesFromResponseHeadersAndWritesThemBack) {
  auto token = filledToken();
  ITKBuffer line("before");
  EXPECT_TRUE(token.createFromHTTPHeader("http://h/dir/cgi-bin/gw.cgi",
                                         "HTTP/1.1 200 OK\r\nset-cookie: a=1; path=/\r\nSET-COOKIE: b=2; path=/x\r\n"
                                         "Set-Cookie: a=; path=/\r\n\r\n"));
  EXPECT_EQ(textOf(token.getCookies()), "a=@/dir|b=2@/dir|");
  EXPECT_STREQ(token.getPryContext(), "context");
  EXPECT_STREQ(token.buildHTTPCookieHeader(line, "Cookie: "), "Cookie: a=; b=2\r\n");
  // The arguments may be texts of the token itself.
  token.setCookieValue("h", "Set-Cookie: c=3; x");
  EXPECT_TRUE(token.createFromHTTPHeader(token.getURL(), token.getCookieValue("h")));
  EXPECT_EQ(textOf(token.getCookies()), "c=3@/dir|");
  EXPECT_FALSE(token.createFromHTTPHeader(nullptr, nullptr));
  EXPECT_EQ(textOf(token.getCookies()), "");
  EXPECT_STREQ(token.buildHTTPCookieHeader(line, "Cookie: "), "Cookie: a=; b=2\r\n");
  ITKString path("before");
  EXPECT_STREQ(ITKRTT::buildCookiePath(nullptr, path), "");
  EXPECT_STREQ(path.c_str(), "");
}

TEST(Token, ManyCookiesStayQuickToFindAlsoInACopy) {
  std::string headers;
  for (int i = 0; i < 100'000; ++i) headers += "Set-Cookie: c" + std::to_string(i) + "=1; x\r\n";
  ITKRTT copy;
  {
    ITKRTT token;
    const auto start = GetTickCount();
    ASSERT_TRUE(token.createFromHTTPHeader(("http://h/" + std::string(2000, 'p')).c_str(), headers.c_str()));
    EXPECT_LT(GetTickCount() - start, 10'000u);
    copy = token;
  }
  copy.setCookieValue("c77777", "changed");
  copy.setCookieValue("last", "1");
  EXPECT_EQ(copy.getCookies().getCount(), 100'001);
  EXPECT_STREQ(copy.getCookies().getAt(77'777)->value, "changed");
  EXPECT_STREQ(copy.getCookies().getAt(100'000)->name, "last");
}

TEST(CookieStore, RoundTripUntilTheSessionEnds) {
  constexpr const char* kUrl = "http://round.example.org/dir/sub/gw.cgi";
  ITKRTT token;
  token.setURL(kUrl);
  token.setPassportID("p=1");
  token.setCookiePath("zot_passport", "/dir");
  token.setVTN("%s");
  token.setCookiePath("VTN", "/");
  token.setAllInternetCookies();

  auto read = filledToken();
  {
    const auto information = qz::test::ToolkitFace::logMore("LogInfo");
    const auto log = qz::test::ToolkitFace::watchLog();
    EXPECT_TRUE(read.createFromCookies(kUrl));
    EXPECT_TRUE(
        log.messages().starts_with("Cookies of url http://round.example.org/ (6 bytes):\nVTN=%s\nCookies of url "))
        << log.messages();
  }
  EXPECT_STREQ(read.getURL(), kUrl);
  EXPECT_STREQ(read.getPryContext(), "");
  EXPECT_EQ(textOf(read.getCookies()), "VTN=%s@/dir|zot_passport=p=1@/dir|");
  auto updated = filledToken();
  updated.setPry("kept");
  EXPECT_TRUE(updated.updateFromCookies(kUrl));
  EXPECT_STREQ(updated.getURL(), "http://h/dir/gw.cgi");
  EXPECT_EQ(textOf(updated.getCookies()), "zot_passport=p=1@/dir|pry=kept@|VTN=%s@/dir|");
  // The last segment is never asked for by itself.
  EXPECT_TRUE(read.createFromCookies("http://round.example.org/dir"));
  EXPECT_EQ(textOf(read.getCookies()), "VTN=%s@/|");

  token.cleanAllInternetCookies();
  EXPECT_FALSE(updated.updateFromCookies(kUrl));
  EXPECT_STREQ(updated.getPassportID(), "p=1");
  EXPECT_FALSE(token.createFromCookies(token.getURL()));
  EXPECT_STREQ(token.getURL(), kUrl);
  EXPECT_EQ(token.getCookies().getCount(), 0);
}

TEST(CookieStore, RefusedCookiesAreLoggedAndTheOthersWritten) {
  ITKRTT token;
  token.setCookieValue("a", "1");
  token.setCookiePath("a", "/p");
  token.setCookieValue("b", "%s%n");
  const auto log = qz::test::ToolkitFace::watchLog();
  token.setAllInternetCookies();
  EXPECT_EQ(log.messages(),
            "failed to set internet cookie, error = 87\nfailed to set: url=; name=a; value=1;Path=/p;\n"
            "failed to set internet cookie, error = 87\nfailed to set: url=; name=b; value=%s%n;Path=;\n");
}

}  // namespace
