#include "RuntimeEngine/qzSOAP/INET.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "ITKBufferList.h"
#include "ITKCredential.h"
#include "ITKhttpClientHelper.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

TEST(Inet, UrlTable) {
  struct Case {
    const char* url;
    bool parses;
    unsigned long service;
    const char* server;
    const char* object;
    unsigned short port;
  };
  for (const Case& c : {
           Case{"http://host/dir/gw.cgi?a=b&c=d", true, kServiceHttp, "host", "/dir/gw.cgi?a=b&c=d", 80},
           Case{"HTTPS://Host:8443/x", true, kServiceHttps, "Host", "/x", 8443},
           Case{"https://host/x", true, kServiceHttps, "host", "/x", 443},
           Case{"http://host", true, kServiceHttp, "host", "/", 80},
           Case{"http://host?q=1", true, kServiceHttp, "host", "/?q=1", 80},
           Case{"ftp://host/x", true, kServiceFtp, "host", "/x", 21},
           Case{"foo://host/x", true, kServiceUnknown, "host", "/x", 0},
           Case{"host/x", false, kServiceUnknown, "", "", 0},
           Case{"host:8080/x", false, kServiceUnknown, "", "", 0},
           Case{"", false, kServiceUnknown, "", "", 0},
           Case{nullptr, false, kServiceUnknown, "", "", 0},
       }) {
    unsigned long service = 1;
    std::string server, object;
    unsigned short port = 1;
    const char* name = c.url == nullptr ? "(null)" : c.url;
    EXPECT_EQ(xParseURL(c.url, service, server, object, port), c.parses) << name;
    EXPECT_EQ(service, c.service) << name;
    if (!c.parses) continue;
    EXPECT_EQ(server, c.server) << name;
    EXPECT_EQ(object, c.object) << name;
    EXPECT_EQ(port, c.port) << name;
  }
}

TEST(Inet, UrlLongerThanTheFirstBuffer) {
  const std::string path = "/" + std::string(5000, 'a') + "?" + std::string(3000, 'b');
  unsigned long service = 0;
  std::string server, object;
  unsigned short port = 0;
  ASSERT_TRUE(xParseURL(("http://host:81" + path).c_str(), service, server, object, port));
  EXPECT_EQ(object, path);
  EXPECT_EQ(port, 81);
}

/// Runs `broken`, which must be refused as an internal error.
template <class Call>
void expectRefused(Call&& broken) {
  try {
    broken();
    ADD_FAILURE() << "not refused";
  } catch (const qz::Err& e) {
    EXPECT_EQ(e.description, "Invalid internal condition");
  }
}

TEST(Inet, BrokenArgumentsAreInternalErrors) {
  XInternetSession session("test");
  const auto connection = session.GetHttpConnection("127.0.0.1", 9, nullptr, nullptr);
  ASSERT_NE(connection, nullptr);
  expectRefused([&] { session.SetOption(0, 1UL); });
  expectRefused([&] { session.SetOption(63, 1UL); });
  expectRefused([&] { session.SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, nullptr, 4); });
  expectRefused([&] { connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, 1UL, 4); });
  expectRefused([&] { connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, 1UL, INTERNET_FLAG_ASYNC); });
  expectRefused([] {
    XInternetSession asynchronous("test", 1, INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, INTERNET_FLAG_ASYNC);
  });
  expectRefused([&] { connection->OpenRequest(kPost, "/", nullptr, 1, nullptr, nullptr, INTERNET_FLAG_ASYNC); });
  expectRefused([&] { connection->OpenRequest(7, "/", nullptr, 1, nullptr, nullptr, 0); });
  expectRefused([&] { session.EnableStatusCallback(false); });
  session.EnableStatusCallback(true);
  expectRefused([&] { session.EnableStatusCallback(true); });
  EXPECT_TRUE(connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, 300000UL));
}

TEST(Inet, ExceptionTellsTheSystemsText) {
  const XInternetException refused(7, ERROR_INTERNET_CANNOT_CONNECT);
  EXPECT_EQ(refused.getContext(), 7u);
  const std::string text = refused.errorText();
  ASSERT_GT(text.size(), 4u);
  std::array<char, 5> cut{};
  EXPECT_TRUE(refused.GetErrorMessage(cut.data(), cut.size()));
  EXPECT_EQ(cut.data(), text.substr(0, 4));
  EXPECT_FALSE(refused.GetErrorMessage(nullptr, 10));
  EXPECT_FALSE(XInternetException(1, 0x2FFFFFFF).GetErrorMessage(cut.data(), cut.size()));
  EXPECT_STREQ(cut.data(), "");
}

/// A request whose data come from the test, at most `most` bytes at a time.
class ShortReads final : public XInternetFile {
 public:
  ShortReads(std::string data, unsigned long most)
      : XInternetFile(XInternetHandle(), nullptr, "/", "host", 1), data_(std::move(data)), most_(most) {}

  bool Read(void* buffer, unsigned long count, unsigned long& got) override {
    got = std::min({count, most_, static_cast<unsigned long>(data_.size() - at_)});
    std::memcpy(buffer, data_.data() + at_, got);
    at_ += got;
    return true;
  }

 private:
  std::string data_;
  unsigned long most_;
  std::size_t at_ = 0;
};

TEST(Inet, LinesOfAnyLength) {
  const std::string longLine(10000, 'x');
  ShortReads file("a\r\n\n" + longLine + "\r\rstill\nlast", 700);
  std::string line;
  for (const std::string& expected :
       {std::string("a\r\n"), std::string("\n"), longLine + "\r\rstill\n", std::string("last")}) {
    ASSERT_TRUE(file.ReadString(line));
    EXPECT_EQ(line, expected);
  }
  EXPECT_FALSE(file.ReadString(line));
  EXPECT_EQ(line, "");
  ShortReads limited("abcdefg\nh", 100);
  for (const char* expected : {"abc", "def", "g\n", "h"}) {
    ASSERT_TRUE(limited.ReadString(line, 3));
    EXPECT_EQ(line, expected);
  }
}

constexpr const char* kEnvelope = "<SOAP-ENV:Envelope/></SOAP-ENV:Envelope>";

TEST(Inet, ShortReadsExhaustTheBudgetOfAnAttachment) {
  const std::string body = std::string("--B\r\n") + kEnvelope + "\r\n--B\r\nContent-Length: 5000\r\n\r\n\x07" +
                           std::string(4999, 'x') + "\r\n--B--\r\n";
  ITKhttpClientHelper client(nullptr, ITKRTT(), 0);
  // 5000 / 128 + 16 = 55 reads.
  for (const unsigned long most : {10UL, 100UL}) {
    ShortReads file(body, most);
    file.SetReadBufferSize(1);  // nothing is read ahead, which the overridden Read would not know
    ITKBufferList list;
    const bool read = client.ReadResponseMultiPart(file, "B", list);
    EXPECT_EQ(read, most == 100);
    ASSERT_EQ(list.getCount(), read ? 2 : 0);
    if (!read) continue;
    EXPECT_STREQ(list.getAt(0)->getStrBuffer(), kEnvelope);
    EXPECT_EQ(list.getAt(1)->getLength(), 5000);
    ITKBuffer response, attachment;
    EXPECT_TRUE(client.ProcessResponse(list, response, &attachment));
    EXPECT_EQ(attachment.getLength(), 5000);
    list.add("a third");
    EXPECT_FALSE(client.ProcessResponse(list, response, &attachment));
    EXPECT_TRUE(client.ProcessResponse(list, response, nullptr));
  }
}

TEST(Inet, RequestAndReplyOnTheWire) {
  ScriptedServer server("HTTP/1.1 207 Odd\r\nX-A: 1\r\nX-A: 2\r\nContent-Length: 12\r\n\r\nline\nbinary!");
  XInternetSession session(nullptr);
  const auto connection = session.GetHttpConnection("127.0.0.1", server.port(), nullptr, nullptr);
  ASSERT_NE(connection, nullptr);
  const auto file = connection->OpenRequest(kPut, "/x?y", nullptr, 1, nullptr, nullptr, INTERNET_FLAG_NO_COOKIES);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->GetFileURL(), server.url("/x?y"));
  ASSERT_TRUE(setHTTPCredentials(*file, "user", "secret"));
  EXPECT_EQ(getHTTPCredentials(*file).user, "user");
  EXPECT_EQ(getHTTPCredentials(*file).password, "secret");
  ASSERT_TRUE(file->AddRequestHeaders("X-Own: 1\r\n", HTTP_ADDREQ_FLAG_ADD_IF_NEW));
  ASSERT_TRUE(file->SendRequest("X-More: 2\r\n", 11, "body", 4));
  unsigned long status = 0;
  EXPECT_TRUE(file->QueryInfoStatusCode(status));
  EXPECT_EQ(status, 207u);
  std::string text;
  EXPECT_TRUE(file->QueryInfo(HTTP_QUERY_STATUS_TEXT, text));
  EXPECT_EQ(text, "Odd");
  EXPECT_FALSE(file->QueryInfo(HTTP_QUERY_LOCATION, text));
  ASSERT_TRUE(file->ReadString(text));
  EXPECT_EQ(text, "line\n");
  std::array<char, 100> rest{};
  unsigned long got = 0;
  EXPECT_TRUE(file->Read(rest.data(), rest.size(), got));
  EXPECT_EQ(std::string(rest.data(), got), "binary!") << "bytes read ahead come first";
  file->Close();
  const std::string request = masked(server.requests().at(0), server.port());
  EXPECT_TRUE(request.starts_with("PUT /x?y HTTP/1.0\r\n")) << request;
  for (const char* line :
       {"\r\nX-Own: 1\r\n", "\r\nX-More: 2\r\n", "\r\nUser-Agent: QZ NIRA Client\r\n", "\r\n\r\nbody"})
    EXPECT_NE(request.find(line), std::string::npos) << line << request;
}

TEST(Inet, FallbackCredentialServesTokensWithoutUser) {
  static ITKCredential fallback;
  fallback.setUserName("everyone");
  fallback.setPassword("pw");
  XInternetSession session("test");
  const auto connection = session.GetHttpConnection("127.0.0.1", 9, nullptr, nullptr);
  const auto file = connection->OpenRequest(kPost, "/", nullptr, 1, nullptr, nullptr, 0);
  EXPECT_TRUE(setHTTPCredentials(*file, "", "x"));
  EXPECT_EQ(getHTTPCredentials(*file).user, "");
  setFallbackCredentialSource([]() -> const ITKCredential* { return &fallback; });
  EXPECT_TRUE(setHTTPCredentials(*file, nullptr, "x"));
  EXPECT_EQ(getHTTPCredentials(*file).user, "everyone");
  EXPECT_EQ(getHTTPCredentials(*file).password, "pw");
  EXPECT_TRUE(setHTTPCredentials(*file, "own", "x"));
  EXPECT_EQ(getHTTPCredentials(*file).user, "own");
  setFallbackCredentialSource(nullptr);
}

}  // namespace
}  // namespace qz::test
