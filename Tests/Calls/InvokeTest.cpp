// Whole calls through the real DLL against prepared answers.
#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "R7ITK.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

using namespace std::string_literals;

constexpr const char* kAction = "http://gateway.example/action";

/// A call to `url` with two arguments.
std::unique_ptr<ITKSOAP> makeCall(const std::string& url, int compress = 0) {
  auto call = std::make_unique<ITKSOAP>("Reports", "run", 1, "handle-7", "", nullptr, 0);
  call->setGatewayURL(url.c_str());
  call->setSoapAction(kAction);
  call->setComressParams(compress);
  call->addParamText("first");
  const long number = 42;
  call->addParam(ITKBufferType::DT_LONG, &number, sizeof number);
  return call;
}

/// The arguments of makeCall() as a stream.
std::string argumentStream(int compress = 0) {
  ITKBuffer stream;
  EXPECT_EQ(makeCall("http://h/", compress)->parkParams(stream), 1);
  return contentOf(stream);
}

/// The envelope of an ordinary reply.
template <class... Fields>
std::string inner(const Fields&... errorFields) {
  return replyEnvelope("<bus:relayHeader><bus:ZOT><id>passport-1</id></bus:ZOT></bus:relayHeader>",
                       runReply(innerBody("className=Reports"s, "methodName=done"s, "objectHandle=handle-8"s,
                                          std::string(errorFields)...)));
}

std::string attachmentPart(std::string_view bytes, std::string_view between = "\r\n") {
  return "\r\n--R1\r\nContent-Type: application/octet-stream\r\nContent-Length: " + std::to_string(bytes.size()) +
         "\r\n" + std::string(between) + std::string(bytes);
}

std::string multipartReply(std::string_view envelope, std::string_view parts, std::string_view status = "200 OK",
                           std::string_view moreHeaders = "") {
  return httpReply(status, "multipart/related; boundary=\"R1\"; type=text/xml; start=\"<e>\"",
                   "--R1\r\nContent-Type: text/xml; charset=utf-8\r\nContent-ID: <e>\r\n\r\n" + std::string(envelope) +
                       std::string(parts) + "\r\n--R1--\r\n",
                   moreHeaders);
}

/// An answer to makeCall() that gives its arguments back.
std::string echoReply(std::string_view between = "\r\n", int compress = 0) {
  return multipartReply(inner(), attachmentPart(argumentStream(compress), between));
}

std::string fault(std::string_view header, std::string_view detail) {
  return "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" xmlns:bus=\"http://g/\">" +
         std::string(header) +
         "<SOAP-ENV:Body><SOAP-ENV:Fault><faultcode>x</faultcode><faultstring>it broke</faultstring>" +
         std::string(detail) + "</SOAP-ENV:Fault></SOAP-ENV:Body></SOAP-ENV:Envelope>";
}

constexpr const char* kHeader =
    "<SOAP-ENV:Header><bus:relayHeader><bus:ZOT><id>p</id></bus:ZOT></bus:relayHeader></SOAP-ENV:Header>";
constexpr const char* kLogonHeader =
    "<SOAP-ENV:Header><bus:relayHeader><ZOT><exception><errorCodeString>zotAuthUserRecoverable</errorCodeString>"
    "</exception></ZOT></bus:relayHeader></SOAP-ENV:Header>";

void expectEcho(ITKSOAP& out) {
  EXPECT_EQ(out.hasError(), 0) << out.getErrorText();
  EXPECT_STREQ(out.getMethodName(), "done");
  EXPECT_STREQ(out.getObjectHandle(), "handle-8");
  EXPECT_STREQ(out.getPassportId(), "passport-1");
  ASSERT_EQ(out.getNumParams(), 2);
  EXPECT_STREQ(out.getParamText(0), "first");
  EXPECT_EQ(*reinterpret_cast<const long*>(out.getParamAt(1)->getBuffer()), 42);
}

TEST(Invoke, RequestByteForByte) {
  struct Case {
    std::vector<std::pair<const char*, const char*>> cookies;
    const char* line;
  };
  for (const Case& c :
       {Case{{}, ""},
        Case{{{"zot_passport", "p1"}, {"userCapabilities", "x"}, {"pry", "c"}}, "Cookie: zot_passport=p1; pry=c\r\n"},
        Case{{{"userCapabilities", "x"}}, ""}, Case{{{"a", "1\r\nX-Injected: y"}}, "Cookie: a=1X-Injected: y\r\n"}}) {
    ScriptedServer server(echoReply());
    auto in = makeCall(server.url("/dir/gw.cgi?x=%20y"));
    for (const auto& [name, value] : c.cookies) in->getRTT().setCookieValue(name, value);
    ITKSOAP out;
    ASSERT_EQ(ITKrpcSOAPInvoke(in.get(), &out, nullptr), E_OK) << out.getErrorText();
    ITKBuffer envelope, arguments;
    ASSERT_EQ(ITKRelayMessage().packOutProxy(*in, envelope, arguments), 1);

    const std::string raw = server.requests().at(0);
    const auto bodyAt = raw.find("\r\n\r\n") + 4;
    const std::string boundary = "TARVON.QZ.NIRA.COMPUTER.TIME";
    EXPECT_EQ(masked(raw.substr(0, bodyAt), server.port()),
              "POST /dir/gw.cgi?x=%20y HTTP/1.0\r\n"
              "Content-Type: multipart/related; boundary=\"" +
                  boundary +
                  "\"; type=text/xml; start=\"<TIME@qzRPC.tessel.example>\"\r\n"
                  "Accept: */*\r\nAccept-Encoding: gxip, deflate\r\nMIME-Version: 1.0\r\n"
                  "soapaction: \"" +
                  kAction + "\"\r\nHost: HOST\r\nContent-Length: " + std::to_string(raw.size() - bodyAt) +
                  "\r\nUser-Agent: QZ RPC\r\n" + c.line + "\r\n");
    EXPECT_EQ(masked(raw.substr(bodyAt), server.port()),
              "\r\n--" + boundary +
                  "\r\nContent-Type: text/xml; charset=utf-8;\r\nContent-ID: \"<TIME@qzRPC.tessel.example>\"\r\n\r\n" +
                  contentOf(envelope) + "\r\n--" + boundary + "\r\n" + contentOf(arguments) + "--" + boundary +
                  "--\r\n");
  }
}

TEST(Invoke, ReplyInEveryFraming) {
  for (const int compress : {0, 1})
    for (const char* between : {"\r\n", "", "Content-ID: <a>\r\n\r\n"})
      for (const std::size_t fragment : {0, 1, 7}) {
        SCOPED_TRACE(between + std::to_string(compress) + " by " + std::to_string(fragment));
        ScriptedServer server(std::vector<ScriptedReply>{{echoReply(between, compress), fragment}});
        const auto in = makeCall(server.url(), compress);
        ITKSOAP out;
        out.setError(E_FAULT, "of an earlier call");
        out.addParamText("of an earlier call");
        ASSERT_EQ(ITKrpcSOAPInvoke(in.get(), &out, nullptr), E_OK) << out.getErrorText();
        expectEcho(out);
        EXPECT_EQ(in->getNumParams(), 2);
        EXPECT_STREQ(in->getPassportId(), "");
      }
}

TEST(Invoke, ReplyWithoutAttachmentHasNoArguments) {
  for (const char* status : {"200 OK", "201 Created", "202 Accepted", "500 Internal Server Error"}) {
    ScriptedServer server(httpReply(status, "text/xml", "\r\n" + inner(), "Set-Cookie: usersessionid=s1; path=/\r\n"));
    const auto in = makeCall(server.url());
    ITKSOAP out;
    out.addParamText("stale");
    EXPECT_EQ(ITKrpcSOAPInvoke(in.get(), &out, nullptr), E_OK) << status;
    EXPECT_EQ(out.getNumParams(), 0);
    EXPECT_STREQ(out.getRTT().getUserSessionID(), "s1") << "cookies of the reply";
    EXPECT_STREQ(out.getPassportId(), "passport-1");
    EXPECT_STREQ(out.getGatewayURL(), server.url().c_str());
    EXPECT_STREQ(in->getRTT().getUserSessionID(), "");
  }
}

TEST(Invoke, OneObjectForBoth) {
  ScriptedServer server(echoReply());
  const auto call = makeCall(server.url());
  call->setError(E_FAULT, "of an earlier call");
  EXPECT_EQ(ITKrpcSOAPInvoke(call.get(), call.get(), nullptr), E_OK) << call->getErrorText();
  expectEcho(*call);
}

TEST(Invoke, DeflatedReply) {
  const std::string whole = echoReply();
  const std::string body = whole.substr(whole.find("\r\n\r\n") + 4);
  std::string packed(compressBound(static_cast<unsigned long>(body.size())), '\0');
  unsigned long size = static_cast<unsigned long>(packed.size());
  compress2(reinterpret_cast<unsigned char*>(packed.data()), &size, reinterpret_cast<const unsigned char*>(body.data()),
            static_cast<unsigned long>(body.size()), 9);
  packed.resize(size);
  for (const bool damaged : {false, true}) {
    if (damaged) packed.back() = static_cast<char>(~packed.back());
    ScriptedServer server(
        httpReply("200 OK", "multipart/related; boundary=R1", packed, "Content-Encoding: deflate\r\n"));
    ITKSOAP out;
    EXPECT_EQ(ITKrpcSOAPInvoke(makeCall(server.url()).get(), &out, nullptr), damaged ? E_PROXY : E_OK);
    if (damaged)
      EXPECT_STREQ(out.getErrorText(), "Failed to process response");
    else
      expectEcho(out);
  }
}

TEST(Invoke, FailuresOfTheServer) {
  ITKSOAPError details;
  details.setError(4711, "the server's own words");
  ITKBuffer errorStream;
  ASSERT_EQ(details.serializeOut(errorStream, 0), 1);
  const std::string failed = inner("errorCode=4711", "errorText=short");
  const std::string unreadable = "Failed to process response";
  const std::string unpacked = "Failed to unpack incoming messages";
  struct Case {
    const char* name;
    std::string reply;
    long code;
    std::string text;
    long subCode = 0;
  };
  const std::vector<Case> cases{
      {"inner error with details", multipartReply(failed, attachmentPart(contentOf(errorStream))), 4711,
       "the server's own words"},
      {"inner error without", httpReply("200 OK", "text/xml", failed), 4711, "short\r\n"},
      {"fault", httpReply("200 OK", "text/xml", fault(kHeader, "")), E_FAULT, "[it broke]"},
      {"fault with status 500", httpReply("500 Internal Server Error", "text/xml", fault(kHeader, "")), E_FAULT,
       "[it broke]"},
      {"fault without header", httpReply("500 Internal Server Error", "text/xml", fault("", "")), E_PROXY,
       "[it broke]\r\n" + unpacked},
      {"logon", httpReply("200 OK", "text/xml", fault(kLogonHeader, "")), E_LOGON, "*"},
      {"page with status 200", httpReply("200 OK", "text/html", "<html>hello</html>"), E_PROXY, unreadable},
      {"page with status 500", httpReply("500 Oops", "text/html", "<html>oops</html>"), E_PROXY, unreadable},
      {"no bytes", httpReply("200 OK", "text/xml", ""), E_PROXY, unreadable},
      {"no answer", "", E_PROXY, "Failed to send request"},
      {"garbage", "\x01\x02\x03 garbage \xFF\r\n\r\n", E_PROXY, unreadable},
      {"envelope that is no XML",
       httpReply("200 OK", "text/xml", "<SOAP-ENV:Envelope><SOAP-ENV:Header></SOAP-ENV:Body></SOAP-ENV:Envelope>"),
       E_PROXY, "*"},
      {"document type declaration",
       httpReply("200 OK", "text/xml", fault("<!DOCTYPE x [<!ENTITY a 'b'>]>"s + kHeader, "")), E_FAULT, "*"},
      {"multipart without boundary", httpReply("200 OK", "multipart/related", "--R1\r\n" + inner()), E_PROXY,
       unreadable},
      {"no second part", multipartReply(inner(), ""), E_PROXY, unreadable},
      {"two attachments", multipartReply(inner(), attachmentPart("\x07\0"s) + attachmentPart("\x07\0"s)), E_PROXY,
       "Invalid internal condition"},
      {"list that lies", multipartReply(inner(), attachmentPart("\x07\x01\x01\xFF\xFF\xFF\x7F"s)), E_PROXY, unpacked},
      {"block that lies", multipartReply(inner(), attachmentPart("NIRA\xFF\xFF\xFF\x7F\xFF\xFF\xFF\x7F\0\0\0\0xx"s)),
       E_PROXY, unpacked},
      {"status without reply", "HTTP/1.1 204 No Content\r\n\r\n", E_HTTP, "204 - No Content ", 204},
      {"status not found", httpReply("404 Not Found", "text/html", "<html>"), E_HTTP, "404 - Not Found ", 404},
      {"redirection", httpReply("302 Found", "text/html", "", "Location: http://127.0.0.1:1/\r\n"), E_HTTP,
       "302 - Found ", 302},
      {"refused user", httpReply("403 Forbidden", "text/html", "", "Set-Cookie: pry=taken; path=/\r\n"), E_HTTP,
       "403 - Forbidden ", 403},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ScriptedServer server(c.reply);
    ITKSOAP out;
    EXPECT_EQ(ITKrpcSOAPInvoke(makeCall(server.url()).get(), &out, nullptr), c.code);
    EXPECT_EQ(out.getErrorCode(), c.code);
    EXPECT_EQ(out.getErrorSubCode(), c.subCode);
    ASSERT_NE(out.getErrorText(), nullptr);
    std::string expected = c.text;
    if (c.code == E_HTTP)
      expected +=
          "URL: " + server.url() + ", SOAP action: " + kAction + "\r\n" + c.reply.substr(0, c.reply.find("\r\n\r\n"));
    if (c.text != "*") {
      EXPECT_EQ(std::string(out.getErrorText()).substr(0, expected.size()), expected);
    }
    EXPECT_EQ(out.getNumParams(), 0);
    EXPECT_STREQ(out.getRTT().getPry(), "");
  }
}

/// However early the connection ends, the call fails; only behind the last mark does it succeed.
TEST(Invoke, ReplyCutAnywhere) {
  for (const std::string& whole : {echoReply(), httpReply("200 OK", "text/xml", inner())}) {
    for (std::size_t size = 1; size < whole.size(); size += size + 40 < whole.size() ? 13 : 1) {
      SCOPED_TRACE(std::to_string(size) + " of " + std::to_string(whole.size()));
      const auto end = size % 2 == 0 ? ScriptedReply::End::close : ScriptedReply::End::reset;
      ScriptedServer server(std::vector<ScriptedReply>{{whole.substr(0, size), 0, {}, end}});
      ITKSOAP out;
      EXPECT_NE(ITKrpcSOAPInvoke(makeCall(server.url()).get(), &out, nullptr), E_OK);
      EXPECT_NE(out.getErrorCode(), E_OK);
      EXPECT_EQ(out.getNumParams(), 0);
    }
  }
}

TEST(Invoke, AccessManagerInTheGatewaysPlace) {
  struct Case {
    const char* session;
    const char* type;
    long code;
  };
  for (const Case& c :
       {Case{"sm", "text/plain", E_LOGON}, Case{"", "text/plain", E_OK}, Case{"sm", "text/html", E_OK}}) {
    ScriptedServer server(httpReply("200 OK", c.type, inner()));
    auto in = makeCall(server.url());
    if (*c.session != '\0') in->getRTT().setSMSession(c.session);
    ITKSOAP out;
    EXPECT_EQ(ITKrpcSOAPInvoke(in.get(), &out, nullptr), c.code) << c.type;
    if (c.code == E_OK) continue;
    EXPECT_EQ(out.getErrorSubCode(), 200);
    EXPECT_TRUE(std::string(out.getErrorText()).starts_with("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n"));
  }
}

TEST(Invoke, RefusedBeforeAnythingIsSent) {
  ScriptedServer server(std::vector<ScriptedReply>{});
  struct Case {
    std::string url;
    std::string action;
    long code;
    std::string text;
  };
  for (const Case& c :
       {Case{server.url("/x\r\nX-Injected: y"), kAction, E_PROXY, "The URL contains a line break; nothing was sent"},
        Case{server.url(), "a\"\r\nX-Injected: \"y", E_PROXY,
             "The SOAP action contains a line break; nothing was sent"},
        Case{server.url(), "a\nb", E_PROXY, "The SOAP action contains a line break; nothing was sent"},
        Case{"", kAction, E_HTTP, "bad URL: "}, Case{"gateway/x", kAction, E_HTTP, "bad URL: gateway/x"},
        Case{"gateway:80/x", kAction, E_HTTP, "bad URL: gateway:80/x"},
        Case{"ftp://127.0.0.1:" + std::to_string(server.port()) + "/x", kAction, E_PROXY,
             "Protocol type must be http: or https:"}}) {
    auto in = makeCall(c.url);
    in->setSoapAction(c.action.c_str());
    ITKSOAP out;
    EXPECT_EQ(ITKrpcSOAPInvoke(in.get(), &out, nullptr), c.code) << c.url;
    EXPECT_STREQ(out.getErrorText(), c.text.c_str());
  }
  auto in = makeCall(server.url());
  in->setAsyncMode(1);
  ITKSOAP out;
  EXPECT_EQ(ITKrpcSOAPInvoke(in.get(), &out, nullptr), E_PROXY);
  EXPECT_STREQ(out.getErrorText(), "Conversations are not available in this build");
  EXPECT_EQ(ITKrpcSOAPInvoke(nullptr, &out, nullptr), E_PROXY);
  EXPECT_EQ(ITKrpcSOAPInvoke(in.get(), nullptr, nullptr), E_PROXY);
}

TEST(Invoke, NobodyListens) {
  std::string url;
  {
    ScriptedServer gone(std::vector<ScriptedReply>{});
    url = gone.url();
  }
  ITKSOAP out;
  EXPECT_EQ(ITKrpcSOAPInvoke(makeCall(url).get(), &out, nullptr), E_PROXY);
  EXPECT_STREQ(out.getErrorText(), "Failed to send request");
  EXPECT_EQ(ITKrpcSOAPInvoke(makeCall("http://no-such-host.invalid/gw").get(), &out, nullptr), E_PROXY);
  EXPECT_STREQ(out.getErrorText(), "Failed to send request");
}

TEST(Invoke, DumpFileHoldsBothDirections) {
  const auto path = std::filesystem::temp_directory_path() / ("qz-dump-" + std::to_string(GetCurrentProcessId()));
  std::ofstream(path) << "before";
  ScriptedServer server(echoReply());
  ITKSOAP out;
  const auto in = makeCall(server.url());
  EXPECT_EQ(ITKrpcSOAPInvoke(in.get(), &out, path.string().c_str()), E_OK);
  std::ifstream file(path, std::ios::binary);
  const std::string dump((std::istreambuf_iterator<char>(file)), {});
  file.close();
  std::filesystem::remove(path);
  const std::string request = server.requests().at(0), reply = echoReply();
  const std::string body = reply.substr(reply.find("\r\n\r\n") + 4);
  EXPECT_TRUE(dump.starts_with("before\r\n\r\nSent to Tarvon gateway:\r\n\r\nContent-Type: multipart/related;"));
  std::size_t at = 0;
  for (const std::string& part :
       {"\r\nsoapaction: \""s + kAction + "\"\r\n" + request.substr(request.find("\r\n\r\n") + 4),
        "\r\n\r\nReceived from Tarvon gateway:\r\n\r\n200\r\nHTTP/1.1 200 OK\r\n"s, body}) {
    at = dump.find(part, at);
    ASSERT_NE(at, std::string::npos) << part;
  }
  // A dump that cannot be written is no reason to fail.
  ScriptedServer again(echoReply());
  in->setGatewayURL(again.url().c_str());
  EXPECT_EQ(ITKrpcSOAPInvoke(in.get(), &out, "Z:\\no\\such\\folder\\dump"), E_OK);
}

/// Arguments of 256 MB both ways, together with the server in an address space of 2 GB.
TEST(Invoke, LargeArgument) {
  constexpr long kSize = 256 << 20;
  std::string reply = "HTTP/1.1 200 OK\r\nContent-Type: multipart/related; boundary=R1\r\n\r\n--R1\r\n" + inner() +
                      "\r\n--R1\r\nContent-Length: " + std::to_string(kSize + 7) + "\r\n\r\n\x07\x01" + '\0';
  reply.reserve(reply.size() + kSize + 100);
  reply.append(reinterpret_cast<const char*>(&kSize), sizeof kSize);
  reply.resize(reply.size() + kSize, 'r');
  reply += "\r\n--R1--\r\n";
  std::vector<ScriptedReply> script(1);
  script[0].bytes = std::move(reply);
  ScriptedServer server(std::move(script));
  auto in = makeCall(server.url());
  auto argument = std::make_unique<ITKBuffer>();
  ASSERT_NE(argument->getBufferSetLen(kSize), nullptr);
  ASSERT_GE(in->addParam(argument.release()), 0);
  ITKSOAP out;
  ASSERT_EQ(ITKrpcSOAPInvoke(in.get(), &out, nullptr), E_OK) << out.getErrorText();
  ASSERT_EQ(out.getNumParams(), 1);
  const ITKBuffer& back = *out.getParamAt(0);
  ASSERT_EQ(back.getLength(), kSize);
  EXPECT_EQ(back.getBuffer()[0], 'r');
  EXPECT_EQ(back.getBuffer()[kSize - 1], 'r');
}

TEST(Invoke, ManyCallsOnManyThreads) {
  const auto rounds = [](int count) {
    for (int i = 0; i < count; ++i) {
      ScriptedServer server(i % 4 == 3 ? httpReply("404 Not Found", "text/html", "") : echoReply());
      ITKSOAP out;
      const long code = ITKrpcSOAPInvoke(makeCall(server.url(), 1).get(), &out, nullptr);
      EXPECT_EQ(code, i % 4 == 3 ? E_HTTP : E_OK);
    }
  };
  rounds(8);
  const auto handles = [] {
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
  };
  const DWORD before = handles();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(rounds, 40);
  for (auto& thread : threads) thread.join();
  EXPECT_LE(handles(), before + 16) << "160 calls may not leave handles behind";
}

TEST(Invoke, KindOfFault) {
  EXPECT_EQ(ITKrpcSOAPGetRelayFaultError(inner().c_str()), 0);
  EXPECT_EQ(ITKrpcSOAPGetRelayFaultError(fault(kHeader, "").c_str()), E_FAULT);
  EXPECT_EQ(ITKrpcSOAPGetRelayFaultError(fault(kLogonHeader, "").c_str()), E_LOGON);
  EXPECT_EQ(ITKrpcSOAPGetRelayFaultError("no XML"), E_FAULT);
  EXPECT_EQ(ITKrpcSOAPGetRelayFaultError(nullptr), E_FAULT);
}

}  // namespace
}  // namespace qz::test
