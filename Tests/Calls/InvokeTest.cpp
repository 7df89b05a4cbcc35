// Whole calls through the real DLL against prepared answers.
#include <gmock/gmock.h>
#include <zlib.h>

#include <sstream>

#include "Tests/Support/CallFaces.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kAction = "http://gateway.example/action";

/// The envelope of an ordinary reply.
std::string inner(const std::string& code = "0", const std::string& text = "") {
  return replyEnvelope("<bus:relayHeader><bus:ZOT><id>passport-1</id></bus:ZOT></bus:relayHeader>",
                       runReply(innerBody("className=Reports"s, "methodName=done"s, "objectHandle=handle-8"s,
                                          "errorCode=" + code, "errorText=" + text)));
}

std::string attachmentPart(const std::string& bytes) {
  return "\r\n--R1\r\nContent-Length: " + std::to_string(bytes.size()) + "\r\n\r\n" + bytes;
}

std::string multipartBody(const std::string& envelope, const std::string& parts) {
  return "--R1\r\nContent-Type: text/xml; charset=utf-8\r\nContent-ID: <e>\r\n\r\n" + envelope + parts +
         "\r\n--R1--\r\n";
}

std::string multipartReply(const std::string& envelope, const std::string& parts) {
  return httpReply("200 OK", "multipart/related; boundary=\"R1\"; type=text/xml", multipartBody(envelope, parts));
}

const std::string kZot = "<bus:ZOT><id>p</id></bus:ZOT>";
const std::string kLogonZot =
    "<ZOT><exception><errorCodeString>zotAuthUserRecoverable</errorCodeString></exception></ZOT>";

template <class Face>
class Invoke : public FaceTest<Face> {
 public:
  using Call = typename Face::Call;

  static auto newCall() { return Face::makeCall("Reports", "run", 1, "handle-7", "", kNoToken, 0L); }

  /// A call with two arguments.
  static auto makeCall(const std::string& url, int compress = 0) {
    auto call = newCall();
    call->setGatewayURL(url.c_str());
    call->setSoapAction(kAction.c_str());
    call->setComressParams(compress);
    call->addParamText("first");
    const long number = 42;
    call->addParam(ITKBufferType::DT_LONG, &number, sizeof number);
    return call;
  }

  /// Makes that call; its outcome is in `out`.
  static long invoke(const ScriptedServer& server, Call& out) {
    return Face::invoke(makeCall(server.url()).get(), &out, nullptr);
  }

  /// The body of an answer to makeCall() that gives its arguments back.
  static std::string echoBody(int compress = 0) {
    const auto stream = Face::makeBuffer();
    EXPECT_EQ(makeCall("http://h/", compress)->parkParams(*stream), 1);
    return multipartBody(inner(), attachmentPart(contentOf(*stream)));
  }

  static std::string echoReply(int compress = 0) {
    return httpReply("200 OK", "multipart/related; boundary=R1", echoBody(compress));
  }

  static void expectEcho(Call& out) {
    EXPECT_EQ(out.hasError(), 0) << out.getErrorText();
    EXPECT_STREQ(out.getMethodName(), "done");
    EXPECT_STREQ(out.getObjectHandle(), "handle-8");
    EXPECT_STREQ(out.getPassportId(), "passport-1");
    ASSERT_EQ(out.getNumParams(), 2);
    EXPECT_STREQ(out.getParamText(0), "first");
    EXPECT_EQ(*reinterpret_cast<const long*>(out.getParamAt(1)->getBuffer()), 42);
  }

 private:
  static constexpr const ITKRTT* kNoToken = nullptr;
};

TYPED_TEST_SUITE(Invoke, BothCallFaces);

// The whole request is compared with the description of the wire format.
TYPED_TEST(Invoke, CookiesOfTheTokenGoWithTheRequest) {
  struct Case {
    std::vector<std::pair<const char*, const char*>> cookies;
    const char* line;
  };
  for (const Case& c :
       {Case{{{"zot_passport", "p1"}, {"userCapabilities", "x"}, {"pry", "c"}}, "Cookie: zot_passport=p1; pry=c\r\n"},
        Case{{{"userCapabilities", "x"}}, ""}, Case{{{"a", "1\r\nX-Injected: y"}}, "Cookie: a=1X-Injected: y\r\n"}}) {
    ScriptedServer server(this->echoReply());
    auto in = this->makeCall(server.url("/dir/gw.cgi?x=%20y"));
    for (const auto& [name, value] : c.cookies) in->getRTT().setCookieValue(name, value);
    in->getRTT().setAllInternetCookies();  // the system adds none of its own
    auto& out = this->call();
    ASSERT_EQ(TypeParam::invoke(in.get(), &out, nullptr), E_OK) << out.getErrorText();
    const auto request = server.requests().at(0);
    EXPECT_THAT(request, StartsWith("POST /dir/gw.cgi?x=%20y HTTP/1.0\r\nContent-Type: multipart/related;"));
    EXPECT_THAT(request, HasSubstr("\r\nUser-Agent: QZ RPC\r\n" + std::string(c.line) + "\r\n\r\n--TARVON."));
  }
}

TYPED_TEST(Invoke, ReplyInEveryFraming) {
  std::ostringstream chunked;
  chunked << "HTTP/1.0 200 OK\r\nContent-Type: multipart/related; boundary=R1\r\nTransfer-Encoding: chunked\r\n\r\n";
  const std::string body = this->echoBody();
  for (std::size_t at = 0; at < body.size(); at += 90)
    chunked << std::hex << body.substr(at, 90).size() << "\r\n" << body.substr(at, 90) << "\r\n";
  chunked << "0\r\n\r\n";
  for (const std::string& reply : {this->echoReply(), this->echoReply(1), chunked.str()})
    for (const std::size_t fragment : {0, 1}) {
      ScriptedServer server(std::vector<ScriptedReply>{{reply, fragment}});
      const auto in = this->makeCall(server.url());
      auto& other = this->call();
      auto& out = fragment == 0 ? *in : other;  // one object may be both
      out.setError(E_FAULT, "of an earlier call");
      out.addParamText("of an earlier call");
      ASSERT_EQ(TypeParam::invoke(in.get(), &out, nullptr), E_OK) << out.getErrorText() << reply << fragment;
      this->expectEcho(out);
      EXPECT_EQ(in->getNumParams(), 2);
      EXPECT_STREQ(in->getPassportId(), fragment == 0 ? "passport-1" : "");
    }
}

TYPED_TEST(Invoke, ReplyWithoutAttachmentHasNoArguments) {
  for (const char* status : {"200 OK", "201 Created", "202 Accepted", "500 Internal Server Error"}) {
    ScriptedServer server(httpReply(status, "text/xml", "\r\n" + inner(), "Set-Cookie: usersessionid=s1; path=/\r\n"));
    const auto in = this->makeCall(server.url());
    auto& out = this->call();
    out.addParamText("stale");
    EXPECT_EQ(TypeParam::invoke(in.get(), &out, nullptr), E_OK) << status;
    EXPECT_EQ(out.getNumParams(), 0);
    EXPECT_STREQ(out.getRTT().getUserSessionID(), "s1") << "cookies of the reply";
    EXPECT_STREQ(out.getGatewayURL(), server.url().c_str());
    EXPECT_STREQ(in->getRTT().getUserSessionID(), "");
  }
}

TYPED_TEST(Invoke, DeflatedReply) {
  const std::string body = this->echoBody();
  std::string packed(compressBound(static_cast<unsigned long>(body.size())), '\0');
  auto size = static_cast<unsigned long>(packed.size());
  compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(body.data()),
            static_cast<unsigned long>(body.size()), 9);
  for (const bool whole : {true, false}) {
    ScriptedServer server(httpReply("200 OK", "multipart/related; boundary=R1",
                                    packed.substr(0, whole ? size : size - 1), "Content-Encoding: deflate\r\n"));
    auto& out = this->call();
    EXPECT_EQ(this->invoke(server, out), whole ? E_OK : E_PROXY);
    if (whole) this->expectEcho(out);
  }
}

TYPED_TEST(Invoke, FailuresOfTheServer) {
  ITKSOAPError details;
  details.setError(4711, "the server's own words");
  ITKBuffer errorStream;
  ASSERT_EQ(details.serializeOut(errorStream, 0), 1);
  const std::string unreadable = "Failed to process response", unpacked = "Failed to unpack incoming messages";
  const auto xml = [](const std::string& body) { return httpReply("200 OK", "text/xml", body); };
  struct Case {
    std::string reply;
    long code;
    std::string text;  ///< begins so
    long subCode = 0;
  };
  const Case cases[] = {
      {multipartReply(inner("4711", "short"), attachmentPart(contentOf(errorStream))), 4711, "the server's own words"},
      {xml(inner("4711", "short")), 4711, "short\r\n"},
      {httpReply("500 Internal Server Error", "text/xml", faultEnvelope(kZot)), E_FAULT, "[it broke]"},
      {xml(faultEnvelope("")), E_PROXY, "[it broke]\r\n" + unpacked},
      {xml(faultEnvelope(kLogonZot)), E_LOGON, ""},
      {xml("<!DOCTYPE x [<!ENTITY a 'b'>]>" + faultEnvelope(kZot)), E_FAULT, ""},
      {xml("<SOAP-ENV:Envelope><SOAP-ENV:Header></SOAP-ENV:Body></SOAP-ENV:Envelope>"), E_PROXY, ""},
      {httpReply("500 Oops", "text/html", "<html>oops</html>"), E_PROXY, unreadable},
      {xml(""), E_PROXY, unreadable},
      {"", E_PROXY, "Failed to send request"},
      {"\x01\x02\x03 garbage \xFF\r\n\r\n", E_PROXY, unreadable},
      {multipartReply(inner(), attachmentPart("\x07\0"s) + attachmentPart("\x07\0"s)), E_PROXY,
       "Invalid internal condition"},
      {multipartReply(inner(), attachmentPart("\x07\x01\x01\xFF\xFF\xFF\x7F"s)), E_PROXY, unpacked},
      {"HTTP/1.1 204 No Content\r\n\r\n", E_HTTP, "204 - No Content ", 204},
      {httpReply("302 Found", "text/xml", inner(), "Location: /elsewhere\r\n"), E_HTTP, "302 - Found ", 302},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reply);
    ScriptedServer server(c.reply);
    auto& out = this->call();
    EXPECT_EQ(this->invoke(server, out), c.code);
    EXPECT_EQ(out.getErrorCode(), c.code);
    EXPECT_EQ(out.getErrorSubCode(), c.subCode);
    std::string expected = c.text;
    if (c.code == E_HTTP)
      expected +=
          "URL: " + server.url() + ", SOAP action: " + kAction + "\r\n" + c.reply.substr(0, c.reply.find("\r\n\r\n"));
    ASSERT_NE(out.getErrorText(), nullptr);
    EXPECT_EQ(std::string(out.getErrorText()).substr(0, expected.size()), expected);
    EXPECT_EQ(out.getNumParams(), 0);
  }
}

TYPED_TEST(Invoke, AccessManagerInTheGatewaysPlace) {
  ScriptedServer server(httpReply("200 OK", "text/plain", inner()));
  auto in = this->makeCall(server.url());
  in->getRTT().setSMSession("sm");
  auto& out = this->call();
  EXPECT_EQ(TypeParam::invoke(in.get(), &out, nullptr), E_LOGON);
  EXPECT_EQ(out.getErrorSubCode(), 200);
  EXPECT_TRUE(std::string(out.getErrorText()).starts_with("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\n"));
}

TYPED_TEST(Invoke, RefusedBeforeAnythingIsSent) {
  ScriptedServer server(std::vector<ScriptedReply>{});
  const auto expect = [&](const std::string& url, const std::string& action, long code, const std::string& text) {
    auto in = this->makeCall(url);
    in->setSoapAction(action.c_str());
    auto& out = this->call();
    EXPECT_EQ(TypeParam::invoke(in.get(), &out, nullptr), code) << url;
    EXPECT_EQ(out.getErrorText(), text);
  };
  expect(server.url("/x\r\nX-Injected: y"), kAction, E_PROXY, "The URL contains a line break; nothing was sent");
  expect(server.url(), "a\nb", E_PROXY, "The SOAP action contains a line break; nothing was sent");
  expect("", kAction, E_HTTP, "bad URL: ");
  expect("gateway:80/%s", kAction, E_HTTP, "bad URL: gateway:80/%s");
  expect("ftp" + server.url().substr(4), kAction, E_PROXY, "Protocol type must be http: or https:");
  expect("http://no-such-host.invalid/gw", kAction, E_PROXY, "Failed to send request");
  expect("http://127.0.0.1:1/gw", kAction, E_PROXY, "Failed to send request");
  auto& call = this->call();
  call.getError().setErrorSubCode(404);
  const auto log = TypeParam::watchLog();
  EXPECT_EQ(TypeParam::invoke(nullptr, &call, nullptr), E_PROXY);
  EXPECT_EQ(call.getErrorSubCode(), 0);
  EXPECT_STREQ(call.getErrorText(), "NULL pointer passed in");
  EXPECT_EQ(TypeParam::invoke(&call, nullptr, nullptr), E_PROXY);
  const std::string line = TypeParam::logged("invoke", "NULL pointer passed in");
  EXPECT_EQ(log.messages(), line + line);
}

TYPED_TEST(Invoke, DumpFileHoldsBothDirections) {
  const ScratchFile file("before");
  ScriptedServer server(std::vector<ScriptedReply>{{this->echoReply()}, {this->echoReply()}});
  auto& out = this->call();
  const auto in = this->makeCall(server.url());
  EXPECT_EQ(TypeParam::invoke(in.get(), &out, file.path()), E_OK);
  const std::string dump = file.content(), request = server.requests().at(0);
  EXPECT_TRUE(dump.starts_with("before\r\n\r\nSent to Tarvon gateway:\r\n\r\nContent-Type: multipart/related;"));
  EXPECT_NE(dump.find("\r\nsoapaction: \"" + kAction + "\"\r\n" + request.substr(request.find("\r\n\r\n") + 4) +
                      "\r\n\r\nReceived from Tarvon gateway:\r\n\r\n200\r\nHTTP/1.1 200 OK\r\n"),
            std::string::npos);
  EXPECT_TRUE(dump.ends_with("\r\n\r\n" + this->echoBody()));
  EXPECT_EQ(TypeParam::invoke(in.get(), &out, "Z:\\no\\such\\folder\\dump"), E_OK) << "no reason to fail";
}

/// Arguments of 256 MB both ways, together with the server in an address space of 2 GB.
TYPED_TEST(Invoke, LargeArgument) {
  constexpr long kSize = 256 << 20;
  std::string reply = "HTTP/1.1 200 OK\r\nContent-Type: multipart/related; boundary=R1\r\n\r\n--R1\r\n" + inner() +
                      "\r\n--R1\r\nContent-Length: " + std::to_string(kSize + 7) + "\r\n\r\n\x07\x01" + '\0';
  reply.reserve(reply.size() + kSize + 100);
  reply.append(reinterpret_cast<const char*>(&kSize), sizeof kSize);
  reply.append(kSize, 'r').append("\r\n--R1--\r\n");
  ScriptedServer server(std::move(reply));
  auto in = this->makeCall(server.url());
  auto argument = TypeParam::makeBuffer();
  ASSERT_NE(argument->getBufferSetLen(kSize), nullptr);
  ASSERT_GE(in->addParam(argument.release()), 0);
  auto& out = this->call();
  ASSERT_EQ(TypeParam::invoke(in.get(), &out, nullptr), E_OK) << out.getErrorText();
  ASSERT_EQ(out.getNumParams(), 1);
  const auto& back = *out.getParamAt(0);
  ASSERT_EQ(back.getLength(), kSize);
  EXPECT_EQ(back.getBuffer()[0], 'r');
  EXPECT_EQ(back.getBuffer()[kSize - 1], 'r');
}

TYPED_TEST(Invoke, ManyCallsOnManyThreads) {
  const auto rounds = [&](int count) {
    for (int i = 0; i < count; ++i) {
      ScriptedServer server(i % 4 == 3 ? httpReply("404 Not Found", "text/html", "") : this->echoReply());
      const auto out = this->newCall();
      EXPECT_EQ(this->invoke(server, *out), i % 4 == 3 ? E_HTTP : E_OK);
    }
  };
  rounds(8);
  DWORD before = 0, after = 0;
  GetProcessHandleCount(GetCurrentProcess(), &before);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(rounds, 20);
  for (auto& thread : threads) thread.join();
  GetProcessHandleCount(GetCurrentProcess(), &after);
  EXPECT_LE(after, before + 16) << "80 calls may not leave handles behind";
}

TYPED_TEST(Invoke, KindOfFault) {
  EXPECT_EQ(TypeParam::kindOfFault(inner().c_str()), 0);
  EXPECT_EQ(TypeParam::kindOfFault(faultEnvelope(kZot).c_str()), E_FAULT);
  EXPECT_EQ(TypeParam::kindOfFault(faultEnvelope(kLogonZot).c_str()), E_LOGON);
  EXPECT_EQ(TypeParam::kindOfFault("no XML"), E_FAULT);
  EXPECT_EQ(TypeParam::kindOfFault(nullptr), E_FAULT);
}

template <class Face>
void expectFailure(const ScriptedReply& reply) {
  ScriptedServer server(std::vector<ScriptedReply>{reply});
  const auto out = Invoke<Face>::newCall();
  EXPECT_NE(Invoke<Face>::invoke(server, *out), E_OK) << reply.bytes;
  EXPECT_NE(out->getErrorCode(), E_OK);
  EXPECT_EQ(out->getNumParams(), 0);
}

/// However early the connection ends, the call fails; only behind the last mark does it succeed. The faces take turns.
TEST(InvokeOfBothFaces, ReplyCutAnywhere) {
  int turn = 0;
  for (const std::string& whole : {Invoke<ToolkitCalls>::echoReply(), httpReply("200 OK", "text/xml", inner())})
    for (std::size_t size = 1; size < whole.size(); size += size + 40 < whole.size() ? 13 : 1) {
      const ScriptedReply cut{whole.substr(0, size), 0,
                              turn % 4 < 2 ? ScriptedReply::End::close : ScriptedReply::End::reset};
      turn++ % 2 == 0 ? expectFailure<FlatCalls>(cut) : expectFailure<ToolkitCalls>(cut);
    }
}

}  // namespace
}  // namespace qz::test
