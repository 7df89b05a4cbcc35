#include "RuntimeEngine/qzSOAP/INET.h"

#include <gtest/gtest.h>

#include <array>

#include "ITKBufferList.h"
#include "ITKCredential.h"
#include "ITKhttpClientHelper.h"
#include "References/Common/Ascii.h"
#include "References/Common/Bytes.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/InternetSource.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

TEST(Inet, UrlTable) {
  const std::string longObject = "/" + std::string(5000, 'a') + "?" + std::string(3000, 'b');
  struct Case {
    std::string url;
    unsigned long service;
    const char* server;
    std::string object;
    unsigned short port;
  };
  for (const Case& c : {
           Case{"http://host/dir/gw.cgi?a=b&c=%20d", kServiceHttp, "host", "/dir/gw.cgi?a=b&c=%20d", 80},
           Case{"HTTPS://Host:8443/x", kServiceHttps, "Host", "/x", 8443},
           Case{"https://host", kServiceHttps, "host", "/", 443},
           Case{"http://host?q=1", kServiceHttp, "host", "/?q=1", 80},
           Case{"http://host:81" + longObject, kServiceHttp, "host", longObject, 81},
           Case{"ftp://host/x", kServiceFtp, "host", "/x", 21},
           Case{"foo://host/x", kServiceUnknown, "host", "/x", 0},
       }) {
    unsigned long service = 1;
    std::string server, object;
    unsigned short port = 1;
    ASSERT_TRUE(xParseURL(c.url.c_str(), service, server, object, port)) << c.url;
    EXPECT_EQ(std::tie(service, server, object, port), std::make_tuple(c.service, c.server, c.object, c.port)) << c.url;
  }
  for (const char* url : {"host/x", "host:8080/x", "", static_cast<const char*>(nullptr)}) {
    unsigned long service = 1;
    std::string server, object;
    unsigned short port = 1;
    EXPECT_FALSE(xParseURL(url, service, server, object, port)) << qz::orEmpty(url);
    EXPECT_EQ(service, kServiceUnknown);
  }
}

TEST(Inet, BrokenArgumentsAreInternalErrors) {
  XInternetSession session("test");
  const auto connection = session.GetHttpConnection("127.0.0.1", 9, nullptr, nullptr);
  const auto expectRefused = [](auto&& broken) {
    try {
      broken();
      ADD_FAILURE() << "not refused";
    } catch (const qz::Err& e) {
      EXPECT_EQ(e.description, "Invalid internal condition");
    }
  };
  expectRefused([&] { session.SetOption(0, 1UL); });
  expectRefused([&] { session.SetOption(63, 1UL); });
  expectRefused([&] { session.SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, nullptr, 4); });
  expectRefused([&] { connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, 1UL, 4); });
  expectRefused([] { XInternetSession("test", 1, INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, INTERNET_FLAG_ASYNC); });
  expectRefused([&] { connection->OpenRequest(kPost, "/", nullptr, 1, nullptr, nullptr, INTERNET_FLAG_ASYNC); });
  expectRefused([&] { connection->OpenRequest(7, "/", nullptr, 1, nullptr, nullptr, 0); });
  expectRefused([&] { session.EnableStatusCallback(false); });
  session.EnableStatusCallback(true);
  expectRefused([&] { session.EnableStatusCallback(true); });
  EXPECT_TRUE(connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, 300000UL));
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

/// A request whose data come from the test, at most `most` bytes at a time.
class ShortReads final : public XInternetFile {
 public:
  ShortReads(std::string data, unsigned long most)
      : XInternetFile(XInternetHandle(), nullptr, "/", "host", 1), data_(std::move(data)), most_(most) {}

  bool Read(void* buffer, unsigned long count, unsigned long& got) override {
    const auto piece = data_.substr(at_, std::min(count, most_));
    copyBytes(buffer, bytesOf(piece));
    got = static_cast<unsigned long>(piece.size());
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

TEST(Inet, ShortReadsExhaustTheBudgetOfAnAttachment) {
  const std::string envelope = "<SOAP-ENV:Envelope/></SOAP-ENV:Envelope>";
  const std::string body =
      "--B\r\n" + envelope + "\r\n--B\r\nContent-Length: 5000\r\n\r\n\x07" + std::string(4999, 'x') + "\r\n--B--\r\n";
  ITKhttpClientHelper client(nullptr, ITKRTT(), 0);
  // 5000 / 128 + 16 = 55 reads.
  for (const unsigned long most : {10UL, 100UL}) {
    ShortReads file(body, most);
    file.SetReadBufferSize(1);  // nothing is read ahead, which the overridden Read would not know
    ITKBufferList list;
    const bool read = client.ReadResponseMultiPart(file, "B", list);
    EXPECT_EQ(read, most == 100);
    ASSERT_EQ(list.getCount(), read ? 2 : 0);
    ITKBuffer response, attachment;
    EXPECT_EQ(client.ProcessResponse(list, response, &attachment), read);
    EXPECT_EQ(response.getStrBuffer(), read ? envelope : "");
    EXPECT_EQ(attachment.getLength(), read ? 5000 : 0);
    if (!read) continue;
    list.add("a third");
    EXPECT_FALSE(client.ProcessResponse(list, response, &attachment));
    EXPECT_TRUE(client.ProcessResponse(list, response, nullptr));
  }
}

TEST(Inet, RequestAndReplyOnTheWire) {
  ScriptedServer server("HTTP/1.1 207 Odd\r\nX-A: 1\r\nX-A: 2\r\nContent-Length: 12\r\n\r\nline\nbinary!");
  XInternetSession session(nullptr);
  const auto connection = session.GetHttpConnection("127.0.0.1", server.port(), nullptr, nullptr);
  const auto file = connection->OpenRequest(kPut, "/x?y", nullptr, 1, nullptr, nullptr, INTERNET_FLAG_NO_COOKIES);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->GetFileURL(), server.url("/x?y"));
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
  const auto userAfter = [&](const char* user) {
    EXPECT_TRUE(setHTTPCredentials(*file, user, "x"));
    return getHTTPCredentials(*file).user;
  };
  EXPECT_EQ(userAfter(""), "");
  setFallbackCredentialSource([]() -> const ITKCredential* { return &fallback; });
  EXPECT_EQ(userAfter(nullptr), "everyone");
  EXPECT_EQ(getHTTPCredentials(*file).password, "pw");
  EXPECT_EQ(userAfter("own"), "own");
  setFallbackCredentialSource(nullptr);
}

}  // namespace
}  // namespace qz::test
