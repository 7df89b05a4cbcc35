#include "References/Libraries/Rpc/HttpExchange.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "ITKBufferList.h"
#include "ITKSOAPError.h"
#include "ITKhttpClientHelper.h"
#include "QzTypes.h"
#include "References/Common/Bytes.h"
#include "References/Libraries/Rpc/ExchangePorts.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

using namespace qz::rpc;

const std::string kEnvelope = "<SOAP-ENV:Envelope>x</SOAP-ENV:Envelope>";

struct RecordingJournal final : Journal {
  int traceLevel() const override { return 7; }
  void text(long level, const char* operation, std::string_view message, std::source_location) override {
    lines.push_back(std::to_string(level) + " " + operation + ": " + std::string(message));
  }
  void bytes(std::span<const std::byte> data, std::source_location) override {
    lines.push_back(std::to_string(data.size()) + " bytes");
  }
  std::vector<std::string> lines;
};

struct RecordingDump final : WireDump {
  void write(std::span<const std::byte> data) override { text += textOf(data); }
  std::string text;
};

struct Token final : SessionToken {
  std::string cookieLine() const override { return "Cookie: a=b\r\n"; }
  const char* userName() const override { return user.c_str(); }
  const char* password() const override { return "secret"; }
  void storeCredential(const std::string& name, const std::string&) override { stored = name; }
  bool hasSiteMinderSession() const override { return false; }
  void takeReplyCookies(std::string_view rawHeaders) override { cookiesFrom = rawHeaders; }
  const char* passport() const override { return ""; }
  const char* pryContext() const override { return ""; }

  std::string user, stored, cookiesFrom;
};

/// One exchange with everything that it touches.
struct Exchange {
  long send(const ScriptedServer& server, const ITKBuffer* attachment = nullptr) {
    BufferSource<ITKBuffer> source(request, attachment);
    BufferSink<ITKBuffer> sink(response, wantsAttachment ? &responseAttachment : nullptr);
    ErrorPort<ITKSOAPError> errorPort(error);
    return HttpExchange(journal, &dump).send(server.url("/p?q").c_str(), "act", source, sink, token, errorPort);
  }

  RecordingJournal journal;
  RecordingDump dump;
  Token token;
  ITKBuffer request{"<request/>"}, response{"stale"}, responseAttachment{"stale"};
  bool wantsAttachment = true;
  ITKSOAPError error;
};

TEST(HttpExchange, PlainRequestAndTheTraceOfIt) {
  ScriptedServer server(httpReply("200 OK", "text/xml", " " + kEnvelope + "\r\nend"));
  Exchange exchange;
  EXPECT_EQ(exchange.send(server), E_OK) << exchange.error.getErrorText();
  const std::vector<std::string> headers{"Content-Type: text/xml\r\n", "Accept: */*\r\n",
                                         "Accept-Encoding: gxip, deflate\r\n", "MIME-Version: 1.0\r\n",
                                         "soapaction: \"act\"\r\n"};
  std::string request = "POST /p?q HTTP/1.0\r\n";
  for (const auto& line : headers) request += line;
  EXPECT_EQ(masked(server.requests().at(0), server.port()),
            request + "Host: HOST\r\nContent-Length: 10\r\nUser-Agent: QZ RPC\r\nCookie: a=b\r\n\r\n<request/>");
  EXPECT_EQ(exchange.response.getStrBuffer(), kEnvelope);
  EXPECT_EQ(exchange.response.getType(), ITKBufferType::DT_TEXT);
  EXPECT_EQ(exchange.responseAttachment.getLength(), 0);
  EXPECT_TRUE(exchange.token.cookiesFrom.starts_with("HTTP/1.1 200 OK\r\n"));

  const std::string timing = "TIME", body = "<request/>";
  std::vector<std::string> expected{"\r\n\r\nSent to Tarvon gateway:\r\n\r\n"};
  expected.insert(expected.end(), headers.begin(), headers.end());
  expected.insert(expected.end(), {timing, "Cookie: a=b\r\n", body, "\r\n\r\nReceived from Tarvon gateway:\r\n\r\n",
                                   "200\r\n", exchange.token.cookiesFrom, " " + kEnvelope + "\r\n", "end"});
  const auto& lines = exchange.journal.lines;
  ASSERT_EQ(lines.size(), expected.size());
  std::string dumped;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::regex time("4 TimeConsumed: TIME CONSUMED BY , , ,CRpcHttpClient:SendRequest,T=\\d+,\\d+\\.\\d{6}\n");
    if (expected[i] == timing)
      EXPECT_TRUE(std::regex_match(lines[i], time)) << lines[i];
    else
      EXPECT_EQ(lines[i], expected[i] == body ? "10 bytes" : "4 SendReceive: " + expected[i]);
    if (expected[i] != timing) dumped += expected[i];
  }
  EXPECT_EQ(exchange.dump.text, dumped);
}

TEST(HttpExchange, SuccessLeavesAnEarlierErrorAndDropsUnwantedAttachments) {
  const std::string part = "\r\n--B\r\nContent-Length: 3\r\n\r\n\x07yz";
  ScriptedServer server(
      httpReply("200 OK", "multipart/related; boundary=B", "--B\r\n" + kEnvelope + part + part + "\r\n--B--\r\n"));
  Exchange exchange;
  exchange.error.setError(77, "of the caller");
  exchange.wantsAttachment = false;
  EXPECT_EQ(exchange.send(server), 77);
  EXPECT_STREQ(exchange.error.getErrorText(), "of the caller");
  EXPECT_EQ(exchange.response.getStrBuffer(), kEnvelope);
  EXPECT_STREQ(exchange.responseAttachment.getStrBuffer(), "stale");
}

TEST(HttpExchange, EmptyAttachmentIsNotSent) {
  ScriptedServer server(std::vector<ScriptedReply>{});
  Exchange exchange;
  const ITKBuffer empty;
  EXPECT_EQ(exchange.send(server, &empty), E_PROXY);
  EXPECT_STREQ(exchange.error.getErrorText(), "Failed to build multipart messages");
  EXPECT_EQ(exchange.response.getLength() + exchange.responseAttachment.getLength(), 0);
}

TEST(HttpExchange, CredentialsAnswerAChallengeOnce) {
  const ScriptedReply challenge{
      httpReply("401 Unauthorized", "text/html", "", "WWW-Authenticate: Basic realm=\"r\"\r\nConnection: close\r\n")};
  for (const bool accepted : {true, false}) {
    ScriptedServer server(
        {challenge, accepted ? ScriptedReply{httpReply("200 OK", "text/xml", kEnvelope)} : challenge});
    Exchange exchange;
    exchange.token.user = "user";
    EXPECT_EQ(exchange.send(server), accepted ? E_OK : E_HTTP);
    EXPECT_EQ(exchange.error.getErrorSubCode(), accepted ? 0 : 401);
    EXPECT_EQ(exchange.token.stored, accepted ? "user" : "");
    EXPECT_NE(server.requests().at(1).find("\r\nAuthorization: Basic dXNlcjpzZWNyZXQ=\r\n"), std::string::npos);
  }
}

TEST(HttpExchange, WhatTheLogSaysOfRefusedAndFailedReplies) {
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {httpReply("404 Gone Fishing", "text/html", ""),
       {"1 SendReceive: Gone Fishing", "1 SendReceive: URL: $, SOAP action: act"}},
      {httpReply("500 Oops", "text/xml", "no envelope"),
       {"1 SendReceive: 500 - internal server error. URL: $, SOAP action: act",
        "1 ExtractSoapEnvXml: Could'n find the starting mark of soap envelope",
        "1 ReadResponse: ExtractSoapEnvXml failedno envelope", "1 SendReceive: no reponse available",
        "1 SendReceive: URL: $, SOAP action: act"}}};
  for (const auto& [reply, expected] : cases) {
    ScriptedServer server(reply);
    Exchange exchange;
    EXPECT_NE(exchange.send(server), E_OK);
    auto at = exchange.journal.lines.begin();
    for (const std::string& line : expected) {
      at = std::find(at, exchange.journal.lines.end(), std::regex_replace(line, std::regex("\\$"), server.url("/p?q")));
      ASSERT_NE(at, exchange.journal.lines.end()) << line;
    }
  }
}

TEST(HttpExchange, StepsOfTheClientOnTheirOwn) {
  ITKhttpClientHelper client(nullptr, ITKRTT(), 0);
  ITKString boundary, start;
  ITKBuffer body;
  const ITKBuffer envelope("<e/>"), arguments("\x07\x01", 2, ITKBufferType::DT_LIST), empty;
  ASSERT_TRUE(client.BuildMultipartMessage(envelope, &arguments, boundary, start, body));
  EXPECT_EQ(contentOf(body),
            textOf(wire::multipartBody({boundary.c_str(), start.c_str()}, "<e/>", bytesOf(std::string_view("\x07\x01")))
                       .bytes()));
  EXPECT_EQ(body.getType(), ITKBufferType::DT_BINARY);
  ASSERT_TRUE(client.BuildMultipartMessage(envelope, nullptr, boundary, start, body));
  EXPECT_EQ(contentOf(body), "<e/>");
  EXPECT_STREQ(boundary.c_str(), "");
  EXPECT_FALSE(client.BuildMultipartMessage(envelope, &empty, boundary, start, body));

  bool isMultipart = false;
  client.ProcessResponseHeaders("H\r\nContent-Type: multipart/related; boundary=\"b c\"\r\n", isMultipart, boundary);
  EXPECT_TRUE(isMultipart);
  EXPECT_STREQ(boundary.c_str(), "b c");
  client.ProcessResponseHeaders(nullptr, isMultipart, boundary);
  EXPECT_FALSE(isMultipart);
  EXPECT_FALSE(client.CheckContentType(nullptr));
  body.write(("<?xml?>" + kEnvelope + "rest").c_str(), true);
  EXPECT_TRUE(client.ExtractSoapEnvXml(body.getStrBuffer(), body));
  EXPECT_EQ(body.getStrBuffer(), kEnvelope);
  EXPECT_FALSE(client.ExtractSoapEnvXml(nullptr, body));
  EXPECT_EQ(body.getStrBuffer(), kEnvelope);
}

TEST(HttpExchange, LoadTestSendMakesTheRequestAndSendsNothing) {
  ITKhttpClientHelper client(nullptr, ITKRTT(), 0);
  const ITKBuffer envelope("<e/>"), arguments("\x07\x01", 2, ITKBufferType::DT_LIST), empty;
  ITKRTT token;
  token.setPassportID("p1");
  token.setPryContext("ctx");
  ITKBufferList lines;
  lines.add("of an earlier test");
  ITKBuffer body, all;
  ITKSOAPError error;
  EXPECT_EQ(client.LoadTestSend("act", envelope, &arguments, token, lines, body, error), E_OK);
  lines.toString(all);
  const std::string ids = "TARVON.QZ.NIRA.COMPUTER.TIME";
  EXPECT_EQ(masked(contentOf(all), 0),
            "Content-Type: multipart/related; boundary=\"" + ids +
                "\"; type=text/xml; start=\"<TIME@qzRPC.tessel.example>\"\r\nAccept: */*\r\n"
                "Accept-Encoding: gxip, deflate\r\nMIME-Version: 1.0\r\nsoapaction: \"act\"\r\n"
                "Set-Cookie: zot_passport=p1;pry=ctx\r\n");
  EXPECT_TRUE(masked(contentOf(body), 0).ends_with("<e/>\r\n--" + ids + "\r\n\x07\x01--" + ids + "--\r\n"));
  EXPECT_EQ(client.LoadTestSend("act", envelope, &empty, token, lines, body, error), E_PROXY);
  EXPECT_STREQ(error.getErrorText(), "Failed to build multipart messages");
  EXPECT_EQ(client.LoadTestSend("a\r\nb", envelope, nullptr, token, lines, body, error), E_PROXY);
}

}  // namespace
}  // namespace qz::test
