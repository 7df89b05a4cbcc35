#include "References/Libraries/Rpc/HttpExchange.h"

#include <gtest/gtest.h>

#include <regex>

#include "ITKBuffer.h"
#include "ITKSOAPError.h"
#include "QzTypes.h"
#include "References/Common/Bytes.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/ExchangePorts.h"
#include "References/Libraries/Rpc/TokenPort.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

using namespace qz::rpc;

const std::string kEnvelope = "<SOAP-ENV:Envelope>x</SOAP-ENV:Envelope>";

/// One exchange with everything that it touches.
struct Exchange final : Journal {
  long send(const ScriptedServer& server, bool wantsAttachment = true) {
    return send(server.url("/p"), wantsAttachment);
  }
  long send(const std::string& url, bool wantsAttachment) {
    BufferSource<ITKBuffer> source(request, nullptr);
    BufferSink<ITKBuffer> sink(response, wantsAttachment ? &responseAttachment : nullptr);
    TokenPort tokenPort(token);
    ErrorPort<ITKSOAPError> errorPort(error);
    return HttpExchange(*this, nullptr).send(url.c_str(), "act", source, sink, tokenPort, errorPort);
  }
  int traceLevel() const override { return 7; }
  void text(long level, const char* operation, std::string_view message, std::source_location) override {
    log += std::to_string(level) + " " + operation + ": " + std::string(message) + "|";
  }
  void failure(const char* operation, const Err& error) override {
    text(kError, operation, error.description + " #" + std::to_string(error.number), {});
  }
  void bytes(std::span<const std::byte> data, std::source_location) override {
    log += "bytes: " + std::string(textOf(data)) + "|";
  }

  ITKRTT token;
  ITKBuffer request{"<request/>"}, response{"stale"}, responseAttachment{"stale"};
  ITKSOAPError error;
  std::string log;
};

TEST(HttpExchange, OrderOfTheTrace) {
  ScriptedServer server(httpReply("200 OK", "text/xml", " " + kEnvelope + "\r\nend"));
  Exchange exchange;
  exchange.token.setCookieValue("a", "b");
  EXPECT_EQ(exchange.send(server), E_OK) << exchange.error.getErrorText();
  const std::regex seconds(",T=\\d+,\\d+\\.\\d{6}\n");
  EXPECT_EQ(
      std::regex_replace(exchange.log, seconds, ""),
      "4 SendReceive: \r\n\r\nSent to Tarvon gateway:\r\n\r\n|4 SendReceive: Content-Type: text/xml\r\n|"
      "4 SendReceive: Accept: */*\r\n|4 SendReceive: Accept-Encoding: gxip, deflate\r\n|"
      "4 SendReceive: MIME-Version: 1.0\r\n|4 SendReceive: soapaction: \"act\"\r\n|"
      "4 : TIME CONSUMED BY , , ,CRpcHttpClient:SendRequest|4 SendReceive: Cookie: a=b\r\n|"
      "bytes: <request/>|4 SendReceive: \r\n\r\nReceived from Tarvon gateway:\r\n\r\n|4 SendReceive: 200\r\n|"
      "4 SendReceive: HTTP/1.1 200 OK\r\nContent-Type: text/xml\r\nContent-Length: 46\r\nConnection: close\r\n\r\n|"
      "4 SendReceive:  " +
          kEnvelope + "\r\n|4 SendReceive: end|");
  EXPECT_TRUE(server.requests().at(0).ends_with("\r\nCookie: a=b\r\n\r\n<request/>")) << "one part alone";
  EXPECT_EQ(exchange.responseAttachment.getLength(), 0);
}

TEST(HttpExchange, SecondAttachmentFailsWhereOneIsWantedAndAnEarlierErrorStays) {
  const std::string part = "\r\n--B\r\nContent-Length: 5000\r\n\r\n\x07" + std::string(4999, 'z');
  for (const bool wanted : {false, true}) {
    ScriptedServer server(
        httpReply("200 OK", "multipart/related; boundary=B", "--B\r\n" + kEnvelope + part + part + "\r\n--B--\r\n"));
    Exchange exchange;
    exchange.error.setError(77, "of the caller");
    EXPECT_EQ(exchange.send(server, wanted), 77);
    EXPECT_STREQ(exchange.error.getErrorText(), "of the caller");
    EXPECT_EQ(exchange.response.getStrBuffer(), wanted ? "" : kEnvelope);
    EXPECT_STREQ(exchange.responseAttachment.getStrBuffer(), wanted ? "" : "stale");
  }
}

const ITKCredential* usersCredential() {
  static ITKCredential credential;
  credential.setUserName("user");
  credential.setPassword("secret");
  return &credential;
}

TEST(HttpExchange, CredentialsAnswerAChallengeOnce) {
  const ScriptedReply challenge{
      httpReply("401 Unauthorized", "text/html", "", "WWW-Authenticate: Basic realm=\"r\"\r\n")};
  for (const ScriptedReply& answer : {ScriptedReply{httpReply("200 OK", "text/xml", kEnvelope)}, challenge}) {
    ScriptedServer server(std::vector{challenge, answer});
    Exchange exchange;
    const bool granted = answer.bytes != challenge.bytes;
    setFallbackCredentialSource(granted ? &usersCredential : nullptr);
    if (!granted) static_cast<ITKCredential&>(exchange.token) = *usersCredential();
    EXPECT_EQ(exchange.send(server), granted ? E_OK : E_HTTP);
    EXPECT_STREQ(exchange.token.getUserName().c_str(), "user") << "also one that was not the token's";
    EXPECT_NE(server.requests().at(1).find("\r\nAuthorization: Basic dXNlcjpzZWNyZXQ=\r\n"), std::string::npos);
  }
}

TEST(HttpExchange, WhatTheLogSaysOfRefusedAndFailedReplies) {
  const std::pair<std::string, std::string> cases[] = {
      {httpReply("404 Gone Fishing", "text/html", "", "Set-Cookie: pry=taken; path=/\r\n"),
       "1 SendReceive: Gone Fishing|1 SendReceive: URL: $, SOAP action: act|1 SendReceive: HTTP/1.1 404 Gone Fishing"},
      {httpReply("500 Oops", "text/xml", "no envelope"),
       "1 SendReceive: 500 - internal server error. URL: $, SOAP action: act|1 SendReceive: HTTP/1.1 500 Oops"},
      {httpReply("200 OK", "text/xml", "no envelope"),
       "|1 ExtractSoapEnvXml: Could'n find the starting mark of soap envelope|1 ReadResponse: ExtractSoapEnvXml "
       "failedno envelope|1 ProcessResponse: no reponse available|1 SendReceive: URL: $, SOAP action: act|"}};
  for (const auto& [reply, expected] : cases) {
    ScriptedServer server(reply);
    Exchange exchange;
    EXPECT_NE(exchange.send(server), E_OK);
    const auto lines = std::regex_replace(expected, std::regex("\\$"), server.url("/p"));
    EXPECT_NE(exchange.log.find(lines), std::string::npos) << lines << "\n" << exchange.log;
    EXPECT_EQ(exchange.response.getLength() + exchange.responseAttachment.getLength(), 0);
    EXPECT_STREQ(exchange.token.getPry(), "") << "a refused reply sets no cookies";
  }
}

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
}  // namespace qz::test
