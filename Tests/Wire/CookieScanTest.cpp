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

struct HeaderCase {
  const char* what;
  std::string_view headers;
  Lines lines;
  Cookies cookies;
};

const HeaderCase kHeaders[] = {
    {"nothing", "", {}, {}},
    {"no cookies", "HTTP/1.1 200 OK\r\nServer: x\r\n\r\n", {}, {}},
    {"two lines with attributes",
     "HTTP/1.1 200 OK\r\nSet-Cookie: a=1; path=/\r\nSet-Cookie: b=2; path=/x\r\n\r\n",
     {"Set-Cookie: a=1; path=/", "Set-Cookie: b=2; path=/x"},
     {{"a", "1"}, {"b", "2"}}},
    {"a value without attributes runs on",
     "Set-Cookie: a=1\r\nSet-Cookie: b=2; path=/\r\n",
     {"Set-Cookie: a=1", "Set-Cookie: b=2; path=/"},
     {{"a", "1\r\nSet-Cookie: b=2"}}},
    {"a last value keeps its line end", "Set-Cookie: a=1\r\n", {"Set-Cookie: a=1"}, {{"a", "1\r\n"}}},
    {"no line end", "Set-Cookie: a=1; x", {"Set-Cookie: a=1; x"}, {{"a", "1"}}},
    {"all lower case gives the first line",
     "set-cookie: a=1; x\r\nset-cookie: b=2; x\r\n",
     {"set-cookie: a=1; x"},
     {{"a", "1"}, {"b", "2"}}},
    {"lower case before",
     "set-cookie: a=1; x\r\nSet-Cookie: b=2; x\r\nSet-Cookie: c=3; x\r\n",
     {"Set-Cookie: b=2; x", "Set-Cookie: c=3; x", "set-cookie: a=1; x"},
     {{"a", "1"}, {"b", "2"}, {"c", "3"}}},
    {"lower case between",
     "Set-Cookie: a=1; x\r\nset-cookie: b=2; x\r\nSet-Cookie: c=3; x\r\n",
     {"Set-Cookie: a=1; x", "Set-Cookie: c=3; x", "set-cookie: b=2; x"},
     {{"a", "1"}, {"b", "2"}, {"c", "3"}}},
    {"a third spelling is for one reader only", "SET-COOKIE: a=1; x\r\n", {}, {{"a", "1"}}},
    {"the name has at least one character", "Set-Cookie: =1=2; x\r\n", {"Set-Cookie: =1=2; x"}, {{"=1", "2"}}},
    {"no equals sign at all", "Set-Cookie: a\r\n\r\n", {"Set-Cookie: a"}, {}},
    {"an empty value", "Set-Cookie: a=; x\r\n", {"Set-Cookie: a=; x"}, {{"a", ""}}},
    {"cut behind the header's name", "Set-Cookie: ", {"Set-Cookie: "}, {}},
};

TEST(CookieScan, ReadsTheCookiesOfResponseHeaders) {
  for (const auto& c : kHeaders) {
    EXPECT_EQ(cookieLines(c.headers), c.lines) << c.what;
    EXPECT_EQ(headerCookies(c.headers), c.cookies) << c.what;
  }
}

TEST(CookieScan, HostileHeadersCostTimeInProportion) {
  const std::string_view units[] = {"Set-Cookie: ",        "set-cookie: ",      "Set-Cookie: a=1\r\n",
                                    "set-cookie: a=1\r\n", "Set-Cookie: a=1; ", "Set-CookieSet-Cookie"};
  const auto start = std::chrono::steady_clock::now();
  for (const auto unit : units) {
    std::string text;
    while (text.size() < 1'000'000) text += unit;
    std::size_t found = 0;
    for (const auto line : cookieLines(text)) found += line.size();
    for (const auto& cookie : headerCookies(text)) found += cookie.name.size() + cookie.value.size();
    EXPECT_LE(found, 2 * text.size()) << unit;
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(CookieScan, SplitsTheTextOfTheStore) {
  const struct {
    std::string_view text;
    Cookies cookies;
  } cases[] = {
      {"", {}},
      {"a", {}},
      {"=1; b=2", {}},
      {"a=1", {{"a", "1"}}},
      {"a=1; b=x=y; c=", {{"a", "1"}, {"b", "x=y"}, {"c", ""}}},
      {"a=1;", {{"a", "1"}}},
      {"a=1; ", {{"a", "1"}}},
      {"a=1; b", {{"a", "1"}}},
      {"a=1; b; c=2", {{"a", "1"}, {"b; c", "2"}}},
      {"a=;b=1", {{"a", ""}, {"", "1"}}},
  };
  for (const auto& c : cases) EXPECT_EQ(splitCookies(c.text), c.cookies) << c.text;
}

TEST(CookieScan, FindsANamedValueAnywhere) {
  const struct {
    std::string_view text;
    std::string_view name;
    std::optional<std::string_view> value;
  } cases[] = {
      {"pry=1; x", "pry", "1"},     {"a=0; pry=1", "pry", "1"},
      {"a=0; pry=", "pry", ""},     {"pry=; x", "pry", ""},
      {"a=0; pry", "pry", {}},      {"", "pry", {}},
      {"Pry=1", "pry", {}},         {"xpw_session=9;", "pw_session", "9"},
      {"a=pry5; pry=1", "pry", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(cookieValue(c.text, c.name), c.value) << c.text;
}

TEST(CookieScan, TakesPathsAndPrefixesFromUrls) {
  const struct {
    std::string_view url;
    std::string_view path;
    Lines prefixes;
  } cases[] = {
      {"http://h/dir/cgi-bin/gw.cgi", "/dir", {"http://h/", "http://h/dir/", "http://h/dir/cgi-bin/"}},
      {"http://h/gw", "/gw", {"http://h/"}},
      {"http://h/gw?a=b/c", "/gw?a=b", {"http://h/", "http://h/gw?a=b/"}},
      {"http://h/", "/", {"http://h/"}},
      {"http://h//x", "/", {"http://h/", "http://h//"}},
      {"http://h", "", {}},
      {"//h/a/b", "/a", {}},
      {"h/a", "", {}},
      {"", "", {}},
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
      {{{"a", "1"}, {"userCapabilities", "x"}}, "Cookie: a=1\r\n", "Cookie: a=1\r\n"},
      {{{"a", "1"}, {"UserCapabilities", ""}},
       "Cookie: a=1; UserCapabilities=\r\n",
       "Cookie: a=1; UserCapabilities=\r\n"},
      {{{"userCapabilities", "x"}}, "Cookie\r\n", ""},
      {{{"a", "1\r\nEvil: 1\r\n"}, {"b", "\n2"}},
       "Cookie: a=1\r\nEvil: 1\r\n; b=\n2\r\n",
       "Cookie: a=1Evil: 1; b=2\r\n"},
      {{}, std::nullopt, ""},
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
