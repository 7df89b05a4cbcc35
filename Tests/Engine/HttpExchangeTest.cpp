#include "References/Libraries/Rpc/HttpExchange.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "ITKBufferList.h"
#include "ITKSOAPError.h"
#include "ITKhttpClientHelper.h"
#include "QzTypes.h"
#include "References/Libraries/Rpc/ExchangePorts.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

using namespace qz::rpc;

constexpr const char* kEnvelope = "<SOAP-ENV:Envelope>x</SOAP-ENV:Envelope>";

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
  void write(std::span<const std::byte> data) override {
    text.append(reinterpret_cast<const char*>(data.data()), data.size());
  }
  std::string text;
};

struct Token final : SessionToken {
  std::string cookieLine() const override { return "Cookie: a=b\r\n"; }
  const char* userName() const override { return user.c_str(); }
  const char* password() const override { return "secret"; }
  void storeCredential(const std::string& name, const std::string&) override { stored = name; }
  bool hasSiteMinderSession() const override { return siteMinder; }
  void takeReplyCookies(std::string_view rawHeaders) override { cookiesFrom = rawHeaders; }
  const char* passport() const override { return ""; }
  const char* pryContext() const override { return ""; }

  std::string user, stored, cookiesFrom;
  bool siteMinder = false;
};

/// One exchange with everything that it touches.
struct Exchange {
  long send(const std::string& url, const ITKBuffer* attachment = nullptr) {
    BufferSource<ITKBuffer> source(request, attachment);
    BufferSink<ITKBuffer> sink(response, wantsAttachment ? &responseAttachment : nullptr);
    ErrorPort<ITKSOAPError> errorPort(error);
    return HttpExchange(journal, &dump).send(url.c_str(), "act", source, sink, token, errorPort);
  }

  RecordingJournal journal;
  RecordingDump dump;
  Token token;
  ITKBuffer request{"<request/>"}, response{"stale"}, responseAttachment{"stale"};
  bool wantsAttachment = true;
  ITKSOAPError error;
};

TEST(HttpExchange, PlainRequestAndTheTraceOfIt) {
  ScriptedServer server(httpReply("200 OK", "text/xml", std::string(" ") + kEnvelope + "\r\nend"));
  Exchange exchange;
  EXPECT_EQ(exchange.send(server.url("/p?q")), E_OK) << exchange.error.getErrorText();
  EXPECT_EQ(masked(server.requests().at(0), server.port()),
            "POST /p?q HTTP/1.0\r\nContent-Type: text/xml\r\nAccept: */*\r\nAccept-Encoding: gxip, deflate\r\n"
            "MIME-Version: 1.0\r\nsoapaction: \"act\"\r\nHost: HOST\r\nContent-Length: 10\r\nUser-Agent: QZ RPC\r\n"
            "Cookie: a=b\r\n\r\n<request/>");
  EXPECT_STREQ(exchange.response.getStrBuffer(), kEnvelope);
  EXPECT_EQ(exchange.response.getType(), ITKBufferType::DT_TEXT);
  EXPECT_EQ(exchange.responseAttachment.getLength(), 0);
  EXPECT_TRUE(exchange.token.cookiesFrom.starts_with("HTTP/1.1 200 OK\r\n"));

  const auto& lines = exchange.journal.lines;
  ASSERT_EQ(lines.size(), 14u);
  const std::string headers = exchange.token.cookiesFrom;
  EXPECT_TRUE(std::regex_match(
      lines[6], std::regex("4 TimeConsumed: TIME CONSUMED BY , , ,CRpcHttpClient:SendRequest,T=\\d+,\\d+\\.\\d{6}\n")))
      << lines[6];
  const std::vector<std::string> expected{"\r\n\r\nSent to Tarvon gateway:\r\n\r\n",
                                          "Content-Type: text/xml\r\n",
                                          "Accept: */*\r\n",
                                          "Accept-Encoding: gxip, deflate\r\n",
                                          "MIME-Version: 1.0\r\n",
                                          "soapaction: \"act\"\r\n",
                                          "",
                                          "Cookie: a=b\r\n",
                                          "",
                                          "\r\n\r\nReceived from Tarvon gateway:\r\n\r\n",
                                          "200\r\n",
                                          headers,
                                          " " + std::string(kEnvelope) + "\r\n",
                                          "end"};
  std::string dumped;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (i != 6 && i != 8) {
      EXPECT_EQ(lines[i], "4 SendReceive: " + expected[i]);
    }
    dumped += i == 8 ? "<request/>" : expected[i];
  }
  EXPECT_EQ(lines[8], "10 bytes");
  EXPECT_EQ(exchange.dump.text, dumped);
}

TEST(HttpExchange, NoFurtherSuccessHidesAnEarlierError) {
  ScriptedServer server(httpReply("200 OK", "text/xml", kEnvelope));
  Exchange exchange;
  exchange.error.setError(77, "of the caller");
  EXPECT_EQ(exchange.send(server.url()), 77);
  EXPECT_STREQ(exchange.error.getErrorText(), "of the caller");
}

TEST(HttpExchange, EmptyAttachmentIsNotSent) {
  ScriptedServer server(std::vector<ScriptedReply>{});
  Exchange exchange;
  const ITKBuffer empty;
  EXPECT_EQ(exchange.send(server.url(), &empty), E_PROXY);
  EXPECT_STREQ(exchange.error.getErrorText(), "Failed to build multipart messages");
}

TEST(HttpExchange, AttachmentsNobodyWantsAreDropped) {
  const std::string part = "\r\n--B\r\nContent-Length: 3\r\n\r\n\x07yz";
  ScriptedServer server(httpReply("200 OK", "multipart/related; boundary=B",
                                  std::string("--B\r\n") + kEnvelope + part + part + "\r\n--B--\r\n"));
  Exchange exchange;
  exchange.wantsAttachment = false;
  EXPECT_EQ(exchange.send(server.url()), E_OK) << exchange.error.getErrorText();
  EXPECT_STREQ(exchange.response.getStrBuffer(), kEnvelope);
  EXPECT_STREQ(exchange.responseAttachment.getStrBuffer(), "stale");
}

TEST(HttpExchange, CredentialsAnswerAChallenge) {
  ScriptedServer server(std::vector<ScriptedReply>{
      {httpReply("401 Unauthorized", "text/html", "", "WWW-Authenticate: Basic realm=\"r\"\r\nConnection: close\r\n")},
      {httpReply("200 OK", "text/xml", kEnvelope)}});
  Exchange exchange;
  exchange.token.user = "user";
  EXPECT_EQ(exchange.send(server.url()), E_OK) << exchange.error.getErrorText();
  EXPECT_EQ(exchange.token.stored, "user");
  EXPECT_NE(server.requests().at(1).find("\r\nAuthorization: Basic dXNlcjpzZWNyZXQ=\r\n"), std::string::npos)
      << server.requests().at(1);
}

TEST(HttpExchange, WhatTheLogSaysOfRefusedAndFailedReplies) {
  struct Case {
    std::string reply;
    std::vector<std::string> lines;
  };
  const std::string refused = httpReply("404 Gone Fishing", "text/html", "");
  const std::string broken = httpReply("500 Oops", "text/xml", "no envelope");
  for (const auto& [reply, expected] :
       {Case{refused, {"1 SendReceive: Gone Fishing", "1 SendReceive: URL: $, SOAP action: act"}},
        Case{broken,
             {"1 SendReceive: 500 - internal server error. URL: $, SOAP action: act",
              "1 ExtractSoapEnvXml: Could'n find the starting mark of soap envelope",
              "1 ReadResponse: ExtractSoapEnvXml failedno envelope", "1 SendReceive: no reponse available",
              "1 SendReceive: URL: $, SOAP action: act"}}}) {
    ScriptedServer server(reply);
    Exchange exchange;
    EXPECT_NE(exchange.send(server.url()), E_OK);
    const auto& lines = exchange.journal.lines;
    for (std::string line : expected) {
      if (const auto at = line.find('$'); at != std::string::npos) line.replace(at, 1, server.url());
      EXPECT_NE(std::ranges::find(lines, line), lines.end()) << line;
    }
  }
}

TEST(HttpExchange, StepsOfTheClientOnTheirOwn) {
  ITKhttpClientHelper client(nullptr, ITKRTT(), 0);
  ITKString boundary, start;
  ITKBuffer body;
  const ITKBuffer envelope("<e/>"), arguments("\x07\x01", 2, ITKBufferType::DT_LIST), empty;
  ASSERT_TRUE(client.BuildMultipartMessage(envelope, &arguments, boundary, start, body));
  const std::string mark = boundary.c_str();
  EXPECT_EQ(std::string(body.c_str(), static_cast<std::size_t>(body.getLength())),
            "\r\n--" + mark + "\r\nContent-Type: text/xml; charset=utf-8;\r\nContent-ID: \"" + start.c_str() +
                "\"\r\n\r\n<e/>\r\n--" + mark + "\r\n\x07\x01--" + mark + "--\r\n");
  EXPECT_EQ(body.getType(), ITKBufferType::DT_BINARY);
  ASSERT_TRUE(client.BuildMultipartMessage(envelope, nullptr, boundary, start, body));
  EXPECT_STREQ(body.c_str(), "<e/>");
  EXPECT_STREQ(boundary.c_str(), "");
  EXPECT_FALSE(client.BuildMultipartMessage(envelope, &empty, boundary, start, body));

  bool isMultipart = false;
  client.ProcessResponseHeaders("H\r\nContent-Type: multipart/related; boundary=\"b c\"\r\n", isMultipart, boundary);
  EXPECT_TRUE(isMultipart);
  EXPECT_STREQ(boundary.c_str(), "b c");
  client.ProcessResponseHeaders(nullptr, isMultipart, boundary);
  EXPECT_FALSE(isMultipart);
  EXPECT_TRUE(client.CheckContentType("Content-Type: text/xml"));
  EXPECT_FALSE(client.CheckContentType(nullptr));
  EXPECT_TRUE(client.ExtractSoapEnvXml((std::string("<?xml?>") + kEnvelope + "rest").c_str(), body));
  EXPECT_STREQ(body.c_str(), kEnvelope);
  EXPECT_FALSE(client.ExtractSoapEnvXml(nullptr, body));
  EXPECT_FALSE(client.ProcessResponse(ITKBufferList(), body, nullptr));
  EXPECT_EQ(body.getLength(), 0);
}

}  // namespace
}  // namespace qz::test
