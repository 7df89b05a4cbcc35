#include <gtest/gtest.h>

#include <string>

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "ITKRTT.h"
#include "Tests/Support/ToolkitLog.h"

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

std::string cookieText(const ITKRTT& token) {
  std::string text;
  for (long i = 0; i < token.getCookies().getCount(); ++i) {
    const auto& cookie = *token.getCookies().getAt(i);
    text += std::string(cookie.name) + "=" + cookie.value.c_str() + "@" + cookie.path.c_str() + "|";
  }
  return text;
}

TEST(Token, NewAndEmptied) {
  ITKBuffer line("before");
  ITKRTT token;
  EXPECT_TRUE(token.isEmpty());
  EXPECT_STREQ(token.getURL(), "");
  EXPECT_STREQ(token.getSMSessionUrl(), "");
  EXPECT_STREQ(token.buildHTTPCookieHeader(line, "Cookie: "), "before");

  token = filledToken();
  EXPECT_FALSE(token.isEmpty());
  token.empty();
  EXPECT_TRUE(token.isEmpty());
  EXPECT_STREQ(token.getURL(), "http://h/dir/gw.cgi");
  EXPECT_STREQ(token.getPryContext(), "");
  EXPECT_TRUE(token.getUserName().isEmpty() && token.getPassword().isEmpty() && token.getAuthType().isEmpty());
  EXPECT_EQ(token.getCookies().getCount(), 0);

  token = filledToken();
  token = static_cast<const ITKRTT*>(nullptr);
  EXPECT_EQ(cookieText(token), "");
  EXPECT_TRUE(ITKRTT(nullptr).isEmpty());
}

TEST(Token, NamedAccessorsAreCookies) {
  const struct {
    const char* name;
    const char* (ITKRTT::*get)() const noexcept;
    void (ITKRTT::*set)(const char*) noexcept;
  } accessors[] = {
      {"zot_passport", &ITKRTT::getPassportID, &ITKRTT::setPassportID},
      {"pry", &ITKRTT::getPry, &ITKRTT::setPry},
      {"vel-ssa", &ITKRTT::getSessionSharing, &ITKRTT::setSessionSharing},
      {"AS_TICKET", &ITKRTT::getAsTicket, &ITKRTT::setAsTicket},
      {"pw_session", &ITKRTT::getPwSession, &ITKRTT::setPwSession},
      {"VTN", &ITKRTT::getVTN, &ITKRTT::setVTN},
      {"SMSESSION", &ITKRTT::getSMSession, &ITKRTT::setSMSession},
      {"usersessionid", &ITKRTT::getUserSessionID, &ITKRTT::setUserSessionID},
  };
  ITKRTT token;
  for (const auto& a : accessors) {
    token.setCookieValue(a.name, "old");
    token.setCookiePath(a.name, "/path");
    (token.*a.set)("new");
    EXPECT_STREQ((token.*a.get)(), "new") << a.name;
    EXPECT_STREQ(token.getCookieValue(a.name), "new") << a.name;
    EXPECT_STREQ(token.getCookiePath(a.name), "") << a.name;
  }
  token.setSMSessionUrl("http://h/a/");
  EXPECT_STREQ(token.getCookiePath("SMSESSION"), "http://h/a/");
  token.setCookiePath("absent", "/");
  EXPECT_EQ(token.getCookies().getCount(), 8);
  EXPECT_STREQ(token.getCookieValue("PRY"), "");
}

TEST(Token, ComparesTextsByStorageAndCookiesByContent) {
  const auto token = filledToken();
  const ITKRTT copy(token);
  EXPECT_TRUE(copy == token);
  EXPECT_TRUE(copy == &token);
  EXPECT_FALSE(filledToken() == token);
  EXPECT_FALSE(token == static_cast<const ITKRTT*>(nullptr));
  EXPECT_TRUE(ITKRTT() == static_cast<const ITKRTT*>(nullptr));
  EXPECT_TRUE(ITKRTT() == ITKRTT());

  const struct {
    const char* what;
    void (*change)(ITKRTT&);
    bool equal;
  } changes[] = {
      {"same user name built anew", [](ITKRTT& t) { t.setUserName("user"); }, false},
      {"same user name shared", [](ITKRTT& t) { t.setUserName(ITKString(t.getUserName())); }, true},
      {"same URL from its own getter", [](ITKRTT& t) { t.setURL(t.getURL()); }, false},
      {"same context", [](ITKRTT& t) { t.setPryContext("context"); }, false},
      {"same cookie", [](ITKRTT& t) { t.setPassportID("passport"); }, true},
      {"other cookie value", [](ITKRTT& t) { t.setPassportID("x"); }, false},
      {"other cookie path", [](ITKRTT& t) { t.setCookiePath("zot_passport", "/"); }, false},
      {"one more cookie", [](ITKRTT& t) { t.setPry(""); }, false},
  };
  for (const auto& c : changes) {
    ITKRTT changed(&token);
    c.change(changed);
    EXPECT_EQ(changed == token, c.equal) << c.what;
  }

  ITKRTT forwards, backwards;
  forwards.setPry("1"), forwards.setVTN("2");
  backwards.setVTN("2"), backwards.setPry("1");
  EXPECT_FALSE(forwards == backwards);
  ITKCredential credential;
  EXPECT_TRUE(credential == static_cast<const ITKCredential*>(nullptr));
  credential = token;
  EXPECT_TRUE(credential == static_cast<const ITKCredential&>(token));
}

TEST(Token, SurvivesItsOwnTextsAsArguments) {
  auto token = filledToken();
  token.setURL(token.getURL());
  token.setCookieValue("zot_passport", token.getCookieValue("zot_passport"));
  token.setCookieValue("pry", token.getPassportID());
  token = *&token;
  EXPECT_STREQ(token.getURL(), "http://h/dir/gw.cgi");
  EXPECT_EQ(cookieText(token), "zot_passport=passport@|pry=passport@|");
  token.setCookieValue("h", "Set-Cookie: a=1; x");
  EXPECT_TRUE(token.createFromHTTPHeader(token.getURL(), token.getCookieValue("h")));
  EXPECT_EQ(cookieText(token), "a=1@/dir|");
  EXPECT_FALSE(token.createFromCookies(token.getURL()));
  EXPECT_STREQ(token.getURL(), "http://h/dir/gw.cgi");
}

TEST(Token, TakesCookiesFromResponseHeaders) {
  auto token = filledToken();
  EXPECT_TRUE(token.createFromHTTPHeader("http://h/dir/cgi-bin/gw.cgi",
                                         "HTTP/1.1 200 OK\r\nset-cookie: a=1; path=/\r\nSET-COOKIE: b=2; path=/x\r\n"
                                         "Set-Cookie: a=3; path=/\r\n\r\n"));
  EXPECT_EQ(cookieText(token), "a=3@/dir|b=2@/dir|");
  EXPECT_STREQ(token.getPryContext(), "context");
  EXPECT_FALSE(token.createFromHTTPHeader("http://h/", "HTTP/1.1 200 OK\r\n\r\n"));
  EXPECT_FALSE(token.createFromHTTPHeader(nullptr, nullptr));
  EXPECT_EQ(token.getCookies().getCount(), 0);
  ITKString path("before");
  EXPECT_STREQ(ITKRTT::buildCookiePath("http://h/dir/gw.cgi", path), "/dir");
  EXPECT_STREQ(ITKRTT::buildCookiePath(nullptr, path), "");
  EXPECT_STREQ(path.c_str(), "");
}

TEST(Token, WritesTheRequestHeaderLine) {
  ITKRTT token;
  ITKBuffer line("before");
  token.setCookieValue("userCapabilities", "x");
  EXPECT_STREQ(token.buildHTTPCookieHeader(line, "Cookie: "), "Cookie\r\n");
  token.setCookieValue("a", "1");
  token.setCookieValue("b", "");
  EXPECT_STREQ(token.buildHTTPCookieHeader(line, "Cookie: "), "Cookie: a=1; b=\r\n");
  EXPECT_EQ(line.getLength(), 17);
  EXPECT_EQ(line.getType(), ITKBufferType::DT_TEXT);
}

TEST(Token, ManyCookiesStayQuickToFindAlsoInACopy) {
  constexpr int kCount = 100'000;
  std::string headers;
  for (int i = 0; i < kCount; ++i) headers += "Set-Cookie: c" + std::to_string(i) + "=" + std::to_string(i) + "; x\r\n";
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
  EXPECT_EQ(copy.getCookies().getCount(), kCount + 1);
  EXPECT_STREQ(copy.getCookieValue("c77777"), "changed");
  EXPECT_STREQ(copy.getCookieValue("c99999"), "99999");
  EXPECT_STREQ(copy.getCookies().getAt(kCount)->name, "last");
  EXPECT_EQ(copy.getCookies().getAt(kCount + 1), nullptr);
  EXPECT_EQ(copy.getCookies().getAt(-1), nullptr);
  EXPECT_TRUE(ITKRTT(copy) == copy);
}

TEST(CookieStore, RoundTripUntilTheSessionEnds) {
  constexpr const char* kUrl = "http://round.example.org/dir/sub/gw.cgi";
  ITKRTT token;
  token.setURL(kUrl);
  token.setPassportID("p=1");
  token.setCookiePath("zot_passport", "/dir");
  token.setVTN("v");
  token.setCookiePath("VTN", "/dir");
  token.setAllInternetCookies();

  ITKRTT read = filledToken();
  EXPECT_TRUE(read.createFromCookies(kUrl));
  EXPECT_STREQ(read.getURL(), kUrl);
  EXPECT_STREQ(read.getPryContext(), "");
  EXPECT_STREQ(read.getPassportID(), "p=1");
  EXPECT_STREQ(read.getVTN(), "v");
  EXPECT_STREQ(read.getCookiePath("VTN"), "/dir");

  ITKRTT updated = filledToken();
  updated.setPry("kept");
  EXPECT_TRUE(updated.updateFromCookies(kUrl));
  EXPECT_STREQ(updated.getURL(), "http://h/dir/gw.cgi");
  EXPECT_STREQ(updated.getPassportID(), "p=1");
  EXPECT_STREQ(updated.getPry(), "kept");
  // The last segment is never asked for by itself, nor another host.
  EXPECT_FALSE(ITKRTT().createFromCookies("http://round.example.org/dir"));
  EXPECT_FALSE(ITKRTT().createFromCookies("http://round.example.org"));
  EXPECT_FALSE(ITKRTT().createFromCookies("http://other.example.org/dir/sub/gw.cgi"));

  token.cleanAllInternetCookies();
  EXPECT_FALSE(updated.updateFromCookies(kUrl));
  EXPECT_STREQ(updated.getPassportID(), "p=1");
  EXPECT_FALSE(read.createFromCookies(kUrl));
  EXPECT_EQ(read.getCookies().getCount(), 0);
}

TEST(CookieStore, RefusedCookiesAreLoggedAndTheOthersWritten) {
  ITKRTT token;
  token.setCookieValue("a", "1");
  token.setCookiePath("a", "/p");
  token.setCookieValue("b", "%s%n");
  const qz::test::ToolkitLogWatch log;
  token.setAllInternetCookies();
  const auto messages = log.messages();
  EXPECT_NE(messages.find("failed to set internet cookie, error = "), std::string::npos) << messages;
  EXPECT_NE(messages.find("failed to set: url=; name=a; value=1;Path=/p;\n"), std::string::npos) << messages;
  EXPECT_NE(messages.find("failed to set: url=; name=b; value=%s%n;Path=;\n"), std::string::npos) << messages;
}

TEST(CookieStore, TextsAndUrlsArePairedByIndex) {
  struct Open : ITKRTT {
    using ITKRTT::extractCookie;
  };
  ITKBufferList texts, urls;
  texts.add("a=1; b=2");
  texts.add("b=3");
  urls.add("http://h/");
  urls.add("http://h/x/");
  ITKCookieArray cookies;
  EXPECT_EQ(Open::extractCookie(texts, urls, cookies), 2);
  EXPECT_STREQ(cookies.find("a")->path, "/");
  EXPECT_STREQ(cookies.find("b")->value, "3");
  EXPECT_STREQ(cookies.find("b")->path, "/x");
  EXPECT_EQ(Open::extractCookie(texts, "http://h/y/", cookies), 2);
  EXPECT_STREQ(cookies.find("a")->path, "/y");
}

}  // namespace
