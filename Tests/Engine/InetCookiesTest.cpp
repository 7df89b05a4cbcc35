// Session cookies from headers and from the system's store, as the flat face takes them.
#include "RuntimeEngine/qzSOAP/InetCookies.h"

#include <gtest/gtest.h>

#include "References/Libraries/Platform/CookieStore.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

using platform::writeStoredCookie;

class InetCookies : public FaceTest<FlatFace> {
 protected:
  ~InetCookies() override { platform::endBrowserSession(); }

  CqzBufferList &texts = list(), &urls = list();
  CqzBuffer &value = buffer("stale"), &where = buffer("stale");
  ITKRTT token;
};

TEST_F(InetCookies, TakesTheLinesOfAReply) {
  texts.add("H\r\nset-cookie: a=1\r\nSet-Cookie: xpw_session=2; path=/\r\nset-cookie: b=3\r\nSet-Cookie: VTN=4\r\n");
  const char* headers = texts.getAt(0)->getStrBuffer();
  EXPECT_TRUE(CINetCookies::extractCookiesFromHTTPHeader(headers, texts));
  EXPECT_EQ(elementsOf(texts), "Set-Cookie: xpw_session=2; path=/|Set-Cookie: VTN=4|set-cookie: a=1|");
  EXPECT_TRUE(CINetCookies::updateFromCookies(texts, token));
  EXPECT_STREQ(token.getPwSession(), "2") << "found inside another name";
  EXPECT_STREQ(token.getVTN(), "4");
  EXPECT_FALSE(CINetCookies::extractCookiesFromHTTPHeader(nullptr, texts));
  EXPECT_EQ(texts.getCount(), 0);
  EXPECT_TRUE(CINetCookies::updateFromCookies(texts, token));
}

TEST_F(InetCookies, LooksAValueUp) {
  EXPECT_FALSE(CINetCookies::extractCookie("b", nullptr, value));
  EXPECT_FALSE(CINetCookies::extractCookie("b", "ab", value));
  EXPECT_EQ(contentOf(value), "stale");
  EXPECT_TRUE(CINetCookies::extractCookie("b", "a=1; b=", value));
  EXPECT_EQ(contentOf(value), "");
  for (const char* text : {"a=1", "b=2; c=3", "b=4"}) texts.add(text);
  urls.add("http://h/");
  EXPECT_TRUE(CINetCookies::extractCookie("b", texts, value));
  EXPECT_TRUE(CINetCookies::extractCookie("b", urls, texts, value, where));
  EXPECT_EQ(contentOf(value) + contentOf(where), "2") << "there is no second URL";
  urls.add("http://h/x/");
  EXPECT_TRUE(CINetCookies::extractCookie("b", urls, texts, value, where));
  EXPECT_EQ(contentOf(value) + contentOf(where), "2http://h/x/");
  EXPECT_FALSE(CINetCookies::extractCookie("d", urls, texts, value, where));
}

TEST_F(InetCookies, ReadsTheStoreOfEveryPrefix) {
  const char* const url = "http://prefix.example.org/a/b/gw.cgi";
  writeStoredCookie("http://prefix.example.org/", "SMSESSION", "sm;Path=/a/");
  writeStoredCookie("http://prefix.example.org/", "VTN", "v;Path=/a/b");
  EXPECT_TRUE(CINetCookies::readAllINetCookies(url, urls, texts));
  EXPECT_EQ(elementsOf(urls), "http://prefix.example.org/a/|http://prefix.example.org/a/b/|");
  EXPECT_TRUE(CINetCookies::readINetSMCookies(url, value, where));
  EXPECT_EQ(contentOf(value) + "@" + contentOf(where), "sm@http://prefix.example.org/a/");
  EXPECT_TRUE(CINetCookies::readINetCookies(url, value));
  EXPECT_NE(contentOf(value).find("VTN=v"), std::string::npos) << contentOf(value);
  EXPECT_FALSE(CINetCookies::readINetCookies("http://prefix.example.org/", value));
  EXPECT_FALSE(CINetCookies::readINetSMCookies("http://prefix.example.org/", value, where));
  EXPECT_FALSE(CINetCookies::readAllINetCookies("http://prefix.example.org", urls, texts)) << "no slash";
  EXPECT_EQ(elementsOf(urls) + elementsOf(texts), "");
}

TEST_F(InetCookies, FillsATokenFromTheStoreUntilTheSessionEnds) {
  ScriptedServer server(httpReply("200 OK", "text/html", "var pryContextId = \"CAF-1\""));
  const auto url = server.url("/a/gw.cgi");
  EXPECT_FALSE(CINetCookies::updateFromCookies(url.c_str(), token));
  EXPECT_STREQ(token.getURL(), "");
  for (const auto& [name, data] : {std::pair("zot_passport", "P1;Path=/a"), std::pair("SMSESSION", "sm;Path=/a"),
                                   std::pair("unknown", "x;Path=/a")})
    EXPECT_FALSE(writeStoredCookie(url.c_str(), name, data)) << name;
  token.setVTN("kept");
  EXPECT_TRUE(CINetCookies::updateFromCookies(url.c_str(), token));
  EXPECT_EQ(token.getURL(), url);
  EXPECT_EQ(std::string(token.getPassportID()) + token.getVTN() + token.getSMSession() + token.getPryContext(),
            "P1keptsmCAF-1");
  EXPECT_EQ(token.getSMSessionUrl(), server.url("/a/"));
  EXPECT_STREQ(token.getCookieValue("unknown"), "");
  EXPECT_TRUE(server.requests().at(0).starts_with("GET /a/gw.cgi?b_action=xts.run&m=portal/close.xts&ui.compid=pc "));
  token.cleanAllInternetCookies();
  EXPECT_FALSE(CINetCookies::updateFromCookies(url.c_str(), token));
}

}  // namespace
}  // namespace qz::test
