#include "References/Libraries/Wire/CookieScan.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qz::wire {
namespace {

using Lines = std::vector<std::string_view>;
using Cookies = std::vector<CookieView>;

TEST(CookieScan, ReadsTheCookiesOfResponseHeaders) {
  const struct {
    std::string_view headers;
    Lines lines;
    Cookies cookies;
  } cases[] = {
      {"HTTP/1.1 200 OK\r\nServer: x\r\n\r\n", {}, {}},
      {"HTTP/1.1 200 OK\r\nSet-Cookie: a=1; path=/\r\nSet-Cookie: b=;x; path\r\n\r\n",
       {"Set-Cookie: a=1; path=/", "Set-Cookie: b=;x; path"},
       {{"a", "1"}, {"b", ";x"}}},
      {"Set-Cookie: a=1\r\nSet-Cookie: b=2; path=/\r\nSet-Cookie: c=3\r\n",
       {"Set-Cookie: a=1", "Set-Cookie: b=2; path=/", "Set-Cookie: c=3"},
       {{"a", "1\r\nSet-Cookie: b=2"}, {"c", "3\r\n"}}},
      {"set-cookie: a=1; x\r\nset-cookie: b=2; x\r\n", {"set-cookie: a=1; x"}, {{"a", "1"}, {"b", "2"}}},
      {"set-cookie: a=1; x\r\nSet-Cookie: b=2; x\r\nset-cookie: c=3; x\r\nSet-Cookie: d=4; x\r\n",
       {"Set-Cookie: b=2; x", "Set-Cookie: d=4; x", "set-cookie: a=1; x"},
       {{"a", "1"}, {"b", "2"}, {"c", "3"}, {"d", "4"}}},
      {"SET-COOKIE: =1=2; x\r\n", {}, {{"=1", "2"}}},
      {"Set-Cookie: a", {"Set-Cookie: a"}, {}},
      {"Set-Cookie: ", {"Set-Cookie: "}, {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(cookieLines(c.headers), c.lines) << c.headers;
    EXPECT_EQ(headerCookies(c.headers), c.cookies) << c.headers;
  }
}

TEST(CookieScan, HostileHeadersCostTimeInProportion) {
  const auto start = std::chrono::steady_clock::now();
  for (const std::string_view unit : {"Set-Cookie: ", "set-cookie: ", "Set-Cookie: a=1\r\n", "Set-Cookie: a=1; "}) {
    std::string text;
    while (text.size() < 1'000'000) text += unit;
    EXPECT_LE(cookieLines(text).size() + headerCookies(text).size(), 2 * text.size() / unit.size() + 2) << unit;
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(CookieScan, SplitsTheTextOfTheStore) {
  const struct {
    std::string_view text;
    Cookies cookies;
  } cases[] = {
      {"=1; b=2", {}},
      {"a=1; b=x=y; c=", {{"a", "1"}, {"b", "x=y"}, {"c", ""}}},
      {"a=1; b; c=2; d", {{"a", "1"}, {"b; c", "2"}}},
      {"a=;b=1", {{"a", ""}, {"", "1"}}},
  };
  for (const auto& c : cases) EXPECT_EQ(splitCookies(c.text), c.cookies) << c.text;
}

TEST(CookieScan, FindsANamedValueAnywhere) {
  const struct {
    std::string_view text;
    std::optional<std::string_view> value;
  } cases[] = {
      {"a=0; pry=1; x", "1"}, {"a=0; pry=1", "1"}, {"pry=; x", ""},       {"a=0; pry=", ""},
      {"a=0; pry", {}},       {"Pry=1", {}},       {"a=pry5; pry=1", ""}, {"xpry=9;", "9"},
  };
  for (const auto& c : cases) EXPECT_EQ(cookieValue(c.text, "pry"), c.value) << c.text;
  EXPECT_EQ(cookieValue("a=1", ""), std::nullopt);
}

TEST(CookieScan, TakesPathsAndPrefixesFromUrls) {
  const struct {
    std::string_view url;
    std::string_view path;
    Lines prefixes;
  } cases[] = {
      {"http://h/dir/cgi-bin/gw.cgi", "/dir", {"http://h/", "http://h/dir/", "http://h/dir/cgi-bin/"}},
      {"http://h/gw?a=b/c", "/gw?a=b", {"http://h/", "http://h/gw?a=b/"}},
      {"http://h//x", "/", {"http://h/", "http://h//"}},
      {"http://h", "", {}},
      {"h/a", "", {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(cookiePath(c.url), c.path) << c.url;
    EXPECT_EQ(storePrefixes(c.url), c.prefixes) << c.url;
  }
}

TEST(CookieScan, WritesTheHeaderLineAndMakesItSafe) {
  const struct {
    Cookies cookies;
    std::optional<std::string> line;
    std::string sent;
  } cases[] = {
      {{}, std::nullopt, ""},
      {{{"a", "1"}, {"userCapabilities", "x"}, {"UserCapabilities", ""}},
       "Cookie: a=1; UserCapabilities=\r\n",
       "Cookie: a=1; UserCapabilities=\r\n"},
      {{{"userCapabilities", "x"}}, "Cookie\r\n", ""},
      {{{"a", "1\r\nX: 1\r\n"}, {"b", "\n2"}}, "Cookie: a=1\r\nX: 1\r\n; b=\n2\r\n", "Cookie: a=1X: 1; b=2\r\n"},
  };
  for (const auto& c : cases) {
    const auto line = cookieHeaderLine(kCookieLinePrefix, c.cookies);
    EXPECT_EQ(line, c.line);
    EXPECT_EQ(sanitizedCookieLine(line.value_or("")), c.sent);
  }
  EXPECT_EQ(cookieHeaderLine("", Cookies{{"userCapabilities", "x"}}), "\r\n");
}

}  // namespace
}  // namespace qz::wire
