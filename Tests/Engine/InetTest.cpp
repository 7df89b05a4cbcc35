#include "RuntimeEngine/qzSOAP/INET.h"

#include <gtest/gtest.h>

#include <array>

#include "References/Common/Bytes.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/InternetSource.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"
#include "Tests/Support/ScriptedServer.h"
#include "Tests/Support/ShortReads.h"
#include "qzSOAP.h"

namespace qz::test {
namespace {

/// What xParseURL() makes of a URL: service, server, port, object.
std::string parsed(const char* url) {
  unsigned long service = 1;
  std::string server, object;
  unsigned short port = 1;
  const bool parses = xParseURL(url, service, server, object, port);
  return std::to_string(service) + (parses ? " " + server + " " + std::to_string(port) + " " + object : " no");
}

TEST(Inet, UrlTable) {
  const std::string longObject = "/" + std::string(5000, 'a') + "?" + std::string(3000, 'b');
  const std::pair<std::string, std::string> cases[] = {
      {"http://host/dir/gw.cgi?a=b&c=%20d", "3 host 80 /dir/gw.cgi?a=b&c=%20d"},
      {"HTTPS://Host:8443/x", "4107 Host 8443 /x"},
      {"https://host", "4107 host 443 /"},
      {"http://host?q=1", "3 host 80 /?q=1"},
      {"http://host:81" + longObject, "3 host 81 " + longObject},
      {"ftp://host/x", "1 host 21 /x"},
      {"foo://host/x", "4096 host 0 /x"},
      {"host/x", "4096 no"},
      {"host:8080/x", "4096 no"},
      {"", "4096 no"}};
  for (const auto& [url, expected] : cases) EXPECT_EQ(parsed(url.c_str()), expected) << url;
  EXPECT_EQ(parsed(nullptr), "4096 no");
}

TEST(Inet, BrokenArgumentsAreInternalErrors) {
  XInternetSession session("test");
  const auto connection = session.GetHttpConnection("127.0.0.1", 9, nullptr, nullptr);
  for (const unsigned long option : {0, 63}) EXPECT_THROW(session.SetOption(option, 1UL), qz::Err);
  EXPECT_THROW(session.SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, nullptr, 4), qz::Err);
  EXPECT_THROW(connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, 1UL, 4), qz::Err);
  EXPECT_TRUE(connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, 300000UL));
  constexpr unsigned long kAsync = INTERNET_FLAG_ASYNC;
  EXPECT_THROW(XInternetSession("test", 1, INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, kAsync), qz::Err);
  EXPECT_THROW(connection->OpenRequest(kPost, "/", nullptr, 1, nullptr, nullptr, kAsync), qz::Err);
  EXPECT_THROW(connection->OpenRequest(7, "/", nullptr, 1, nullptr, nullptr, 0), qz::Err);
  EXPECT_THROW(session.EnableStatusCallback(false), qz::Err);
  session.EnableStatusCallback(true);
  EXPECT_THROW(session.EnableStatusCallback(true), qz::Err);
}

TEST(Inet, ExceptionTellsTheSystemsText) {
  const XInternetException refused(7, ERROR_INTERNET_CANNOT_CONNECT);
  std::array<char, 5> cut{};
  EXPECT_TRUE(refused.GetErrorMessage(cut.data(), cut.size()));
  EXPECT_EQ(cut.data(), refused.errorText().substr(0, 4));
  EXPECT_FALSE(refused.GetErrorMessage(nullptr, 10));
  EXPECT_FALSE(XInternetException(1, 0x2FFFFFFF).GetErrorMessage(cut.data(), cut.size()));
  EXPECT_STREQ(cut.data(), "");
}

TEST(Inet, LinesOfAnyLength) {
  const std::string longLine(10000, 'x');
  ShortReads file("a\r\n\n" + longLine + "\r\rstill\nabcdefg\nlast", 700);
  std::string line;
  for (const std::string& expected : {std::string("a\r\n"), std::string("\n"), longLine + "\r\rstill\n"}) {
    ASSERT_TRUE(file.ReadString(line));
    EXPECT_EQ(line, expected);
  }
  for (const char* expected : {"abcde", "fg\n", "last"}) {
    ASSERT_TRUE(file.ReadString(line, 5));
    EXPECT_EQ(line, expected);
  }
  EXPECT_FALSE(file.ReadString(line));
  ShortReads endless(std::string(300000, 'x'), 70000);
  EXPECT_FALSE(qz::rpc::InternetSource(endless, std::nullopt).readAll(200000)) << "more than the caller wants";
}

TEST(Inet, RequestAndReplyOnTheWire) {
  ScriptedServer server("HTTP/1.1 207 Odd\r\nContent-Length: 12\r\n\r\nline\nbinary!");
  XInternetSession session(nullptr, 77);
  const auto connection = session.GetHttpConnection("127.0.0.1", server.port(), nullptr, nullptr);
  const auto file = connection->OpenRequest(kPut, "/x?y", nullptr, 1, nullptr, nullptr, INTERNET_FLAG_NO_COOKIES);
  EXPECT_EQ(file->GetFileURL(), server.url("/x?y"));
  EXPECT_EQ(file->getContext(), 77u) << "a context of 1 means the connection's own";
  ASSERT_TRUE(file->AddRequestHeaders("X-Own: 1\r\n", HTTP_ADDREQ_FLAG_ADD_IF_NEW));
  ASSERT_TRUE(file->SendRequest("X-More: 2\r\n", 11, "body", 4));
  EXPECT_EQ(masked(server.requests().at(0), server.port()),
            "PUT /x?y HTTP/1.0\r\nX-Own: 1\r\nHost: HOST\r\nContent-Length: 4\r\nUser-Agent: QZ NIRA Client\r\n"
            "X-More: 2\r\n\r\nbody");
  std::string text;
  EXPECT_TRUE(file->QueryInfo(HTTP_QUERY_STATUS_TEXT, text));
  EXPECT_EQ(text, "Odd");
  EXPECT_FALSE(file->QueryInfo(HTTP_QUERY_LOCATION, text));
  EXPECT_TRUE(file->ReadString(text));
  EXPECT_EQ(text, "line\n");
  std::array<char, 100> rest{};
  unsigned long got = 0;
  EXPECT_TRUE(file->Read(rest.data(), rest.size(), got));
  EXPECT_EQ(std::string(rest.data(), got), "binary!") << "bytes read ahead come first";
  file->Close();
}

TEST(Inet, TheUsersCredentialServesTokensWithoutUserExceptInAService) {
  ITKCredential credential;
  credential.setUserName("everyone");
  credential.setPassword("pw");
  const auto sent = [](const char* user) {
    XInternetSession session("test");
    const auto connection = session.GetHttpConnection("127.0.0.1", 9, nullptr, nullptr);
    const auto file = connection->OpenRequest(kPost, "/", nullptr, 1, nullptr, nullptr, 0);
    EXPECT_TRUE(setHTTPCredentials(*file, user, "x"));
    const auto credentials = getHTTPCredentials(*file);
    return credentials.user + ":" + credentials.password;
  };
  EXPECT_EQ(sent(""), ":");
  rpcSOAPSetUserCredential(credential);
  EXPECT_EQ(sent(nullptr), "everyone:pw");
  EXPECT_EQ(sent("own"), "own:x");
  rpcSOAP_setIsService(1);
  EXPECT_EQ(sent(""), ":");
  credential.setUserName("another");
  rpcSOAPSetUserCredential(credential);
  rpcSOAP_setIsService(0);
  EXPECT_EQ(sent(""), "everyone:pw");
  setFallbackCredentialSource(nullptr);
}

}  // namespace
}  // namespace qz::test
