// qzcall against qzgateway: whole calls of the real programs, and hostile requests to the gateway.
#include <winsock2.h>
//
#include <gtest/gtest.h>
#include <ws2tcpip.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Tests/Support/ChildProcess.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using nlohmann::json;
using qz::test::ChildProcess;

constexpr auto kLimit = 40s;

struct Finished {
  int code;
  std::string output;
  std::string errors;
};

Finished runToEnd(const std::string& program, const std::vector<std::string>& arguments) {
  ChildProcess process(program, arguments);
  const int code = process.wait(kLimit);
  return {code, process.output(), process.errors()};
}

/// A gateway on a free port.
class Gateway {
 public:
  Gateway() : process_("qzgateway.exe", {"--port", "0"}), port_(process_.readLine(kLimit)) {}
  const std::string& port() const { return port_; }
  std::string log() { return process_.errors(); }
  std::string url() const { return "http://127.0.0.1:" + port_ + "/gateway"; }

 private:
  ChildProcess process_;
  std::string port_;
};

class ToolsTest : public testing::Test {
 protected:
  static std::vector<std::string> invokeWords(const std::string& url, const std::string& method,
                                              const std::vector<std::string>& more) {
    std::vector<std::string> words = {"invoke",      "--url", url,        "--action", "urn:demo",
                                      "--interface", "Demo",  "--method", method};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  Finished call(const std::string& method, const std::vector<std::string>& more = {}) {
    return runToEnd("qzcall.exe", invokeWords(gateway.url(), method, more));
  }

  /// The same with --json; the output must be one JSON value.
  json callJson(const std::string& method, std::vector<std::string> more, int expectedCode) {
    more.emplace_back("--json");
    const Finished finished = call(method, more);
    EXPECT_EQ(finished.code, expectedCode) << finished.output << finished.errors;
    return json::parse(finished.output);
  }

  Gateway gateway;
};

/// A file of its own that is gone with the test.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& content) {
    path_ = std::filesystem::temp_directory_path() / ("qz" + std::to_string(GetCurrentProcessId()) + ".tmp");
    std::ofstream(path_, std::ios::binary) << content;
  }
  ~TemporaryFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  std::string path() const { return path_.string(); }
  std::string content() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::filesystem::path path_;
};

std::string hexOf(const std::string& bytes) {
  std::string out;
  char digits[3];
  for (const char c : bytes) {
    std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    out += digits;
  }
  return out;
}

TEST_F(ToolsTest, EchoReturnsEveryArgumentCompressedAndNot) {
  std::string blob;
  for (int i = 0; i < 70000; ++i) blob += static_cast<char>(i * i >> 3);
  blob += "\r\n--TARVON.QZ.NIRA.--\r\nContent-Length: 5\r\n";
  const TemporaryFile file(blob);
  const std::vector<std::string> arguments = {"--arg",       "text:Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \"q\" \\",
                                              "--arg",       "long:-5",
                                              "--arg",       "short:7",
                                              "--arg",       "byte:-1",
                                              "--arg",       "float:0.5",
                                              "--arg",       "double:-0.1",
                                              "--arg",       "hex:000d0a00ff",
                                              "--arg",       "file:" + file.path(),
                                              "--arg",       "text:",
                                              "--handle",    "h-1",
                                              "--keep-alive"};
  for (const bool compress : {true, false}) {
    SCOPED_TRACE(compress ? "compressed" : "plain");
    std::vector<std::string> words = arguments;
    if (!compress) words.emplace_back("--no-compress");
    const json out = callJson("echo", words, 0);
    EXPECT_EQ(out["result"], 0);
    EXPECT_EQ(out["error"], (json{{"code", 0}, {"subCode", 0}, {"text", ""}}));
    EXPECT_EQ(out["interface"], "Demo");
    EXPECT_EQ(out["method"], "echo");
    EXPECT_EQ(out["objectHandle"], "h-1");
    json back = out["arguments"];
    ASSERT_EQ(back.size(), 9U);
    EXPECT_TRUE(back[7]["hex"] == hexOf(blob));
    back.erase(7);
    EXPECT_EQ(back, json::parse(R"([{"type":"text","value":"Grüß € \"q\" \\"},{"type":"long","value":-5},
      {"type":"short","value":7},{"type":"byte","value":-1},{"type":"float","value":0.5},{"type":"double","value":-0.1},
      {"type":"binary","hex":"000d0a00ff"},{"type":"text","value":""}])"));
  }
}

TEST_F(ToolsTest, ShowsEachOutcomeWithItsExitCode) {
  const struct {
    std::string method;
    std::vector<std::string> arguments;
    int exitCode;
    long result;
    std::string errorText;
  } kCases[] = {
      {"add", {"--arg", "long:40", "--arg", "long:2"}, 0, 0, ""},
      {"add", {"--arg", "long:2147483647", "--arg", "long:1"}, 1, 22, "the sum 2147483648 is no long"},
      {"add", {"--arg", "text:1", "--arg", "long:1"}, 1, 22, "add takes two arguments of type long"},
      {"fail", {}, 1, 12, "The operation failed, as it was asked to."},
      {"fail", {"--arg", "long:-77", "--arg", "text:<a> & \"\xC3\xA4\""}, 1, -77, "<a> & \"\xC3\xA4\""},
      {"fault", {"--arg", "text:x < y & z"}, 1, -1, "[x < y & z][Nothing is wrong with the request.]"},
      {"nosuch", {}, 1, -1, "no operation 'nosuch'"},
      {"logon", {}, 3, -2, "Log on first."},
      {"page", {}, 4, -3, ""},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.method);
    for (const bool compress : {true, false}) {
      std::vector<std::string> words = c.arguments;
      if (!compress) words.emplace_back("--no-compress");
      const json out = callJson(c.method, words, c.exitCode);
      EXPECT_EQ(out["result"], c.result);
      EXPECT_EQ(out["error"]["code"], c.result);
      EXPECT_NE(out["error"]["text"].get<std::string>().find(c.errorText), std::string::npos) << out["error"];
    }
  }
  EXPECT_EQ(callJson("add", {"--arg", "long:40", "--arg", "long:2"}, 0)["arguments"],
            json::parse(R"([{"type":"long","value":42}])"));
}

TEST_F(ToolsTest, TransportFailuresHaveTheirOwnExitCode) {
  for (const char* const url : {"http://127.0.0.1:1/x", "ftp://127.0.0.1/x", "nonsense", ""}) {
    const Finished finished = runToEnd("qzcall.exe", invokeWords(url, "echo", {"--json"}));
    ASSERT_EQ(finished.code, 4) << url << finished.output << finished.errors;
    const json out = json::parse(finished.output);
    EXPECT_NE(out["result"], 0) << url;
    EXPECT_NE(out["error"]["text"], "") << url;
  }
}

TEST_F(ToolsTest, CarriesTheSessionBothWays) {
  const json fresh = callJson("echo", {}, 0)["token"];
  const std::string passport = fresh["passport"];
  EXPECT_EQ(passport.substr(0, 5), "demo:");
  EXPECT_EQ(fresh["pryContext"], "demo-context");
  EXPECT_EQ(fresh["cookies"]["zot_passport"], passport);
  EXPECT_EQ(fresh["cookies"]["usersessionid"], "demo-context");

  const json out = callJson("echo", {"--passport", "mine-1", "--pry", "ctx.2", "--cookie", "app=v=1"}, 0);
  EXPECT_EQ(out["token"]["passport"], "mine-1");
  EXPECT_EQ(out["token"]["pryContext"], "ctx.2");
  EXPECT_EQ(out["token"]["cookies"]["app"], "v=1");
  EXPECT_EQ(out["userPreferences"], json::parse(R"({"productLocale":"en","contentLocale":"en-gb"})"));

  EXPECT_EQ(callJson("echo", {"--passport", "a b;c"}, 0)["token"]["passport"].get<std::string>().substr(0, 5), "demo:")
      << "an id that would break a cookie line must not come back";
}

TEST_F(ToolsTest, PrintsATableForAPerson) {
  const Finished good = call("echo", {"--arg", "text:two\nlines", "--arg", "hex:00ff"});
  EXPECT_EQ(good.code, 0) << good.errors;
  for (const char* const piece :
       {"outcome      success\n", "call         Demo.echo\n", "two\\nlines\n", "00 ff\n", "zot_passport = demo:"})
    EXPECT_NE(good.output.find(piece), std::string::npos) << piece << "\n" << good.output;
  const Finished bad = call("fail");
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.output.find("code 12"), std::string::npos) << bad.output;
  EXPECT_NE(bad.output.find("error        The operation failed"), std::string::npos) << bad.output;
}

TEST_F(ToolsTest, AppendsEachExchangeToTheDumpFile) {
  const TemporaryFile dump("kept\n");
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(call("echo", {"--arg", "hex:deadbeef", "--no-compress", "--dump", dump.path()}).code, 0);
  const std::string content = dump.content();
  EXPECT_TRUE(content.starts_with("kept\n"));
  const std::size_t first = content.find("soapaction: \"urn:demo\"");
  ASSERT_NE(first, std::string::npos) << content;
  EXPECT_NE(content.find("soapaction: \"urn:demo\"", first + 1), std::string::npos);
  EXPECT_NE(content.find("\xDE\xAD\xBE\xEF"), std::string::npos);
  EXPECT_NE(content.find("conversationComplete"), std::string::npos);
}

TEST(Qzcall, RefusesAWrongCommandLineBeforeSendingAnything) {
  const std::vector<std::string> whole = {
      "invoke", "--url", "http://127.0.0.1:1/", "--action", "a", "--interface", "I", "--method", "m"};
  const auto with = [&](std::vector<std::string> more) {
    more.insert(more.begin(), whole.begin(), whole.end());
    return more;
  };
  const struct {
    std::vector<std::string> words;
    const char* complaint;
  } kCases[] = {
      {{}, "subcommand"},
      {{"frobnicate"}, "subcommand"},
      {{"invoke", "--url", "http://x/"}, "--action"},
      {with({"--bogus"}), "--bogus"},
      {with({"extra"}), "extra"},
      {with({"--arg", "long:3000000000"}), "out of range"},
      {with({"--arg"}), "--arg"},
      {with({"--timeout", "-1"}), "--timeout"},
      {with({"--timeout", "soon"}), "--timeout"},
      {with({"--cookie", "=x"}), "NAME=VALUE"},
      {with({"--dump", "\xD0\x96.txt"}), "code page"},
  };
  for (const auto& c : kCases) {
    const Finished finished = runToEnd("qzcall.exe", c.words);
    EXPECT_EQ(finished.code, 2) << c.complaint << finished.output;
    EXPECT_NE(finished.errors.find(c.complaint), std::string::npos) << finished.errors;
    EXPECT_EQ(finished.output, "");
  }
  const Finished help = runToEnd("qzcall.exe", {"invoke", "--help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_NE(help.output.find("--no-compress"), std::string::npos);
}

// ---- the gateway alone

/// Sends `bytes` as they are and returns all that comes back. `endOfInput` ends the sending side behind them.
std::string roundTrip(const std::string& port, const std::string& bytes, bool endOfInput = false) {
  WSADATA data;
  WSAStartup(MAKEWORD(2, 2), &data);
  const SOCKET s = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  const DWORD limit = 15000;
  setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&limit), sizeof limit);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<u_short>(std::stoi(port)));
  std::string answer;
  if (connect(s, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    send(s, bytes.data(), static_cast<int>(bytes.size()), 0);
    if (endOfInput) shutdown(s, SD_SEND);
    char buffer[4096];
    for (int got; (got = recv(s, buffer, sizeof buffer, 0)) > 0;) answer.append(buffer, static_cast<std::size_t>(got));
  }
  closesocket(s);
  WSACleanup();
  return answer;
}

std::string envelopeWith(const std::string& header, const std::string& inner) {
  return "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\" "
         "xmlns:bus=\"urn:b\"><SOAP-ENV:Header>" +
         header + "</SOAP-ENV:Header><SOAP-ENV:Body><d>" + inner + "</d></SOAP-ENV:Body></SOAP-ENV:Envelope>";
}

const std::string kHeader = "<bus:relayHeader><bus:ZOT><id>p1</id></bus:ZOT></bus:relayHeader>";

std::string innerBody(const std::string& method, int arguments) {
  return "&lt;qzSOAPBody&gt;&lt;className&gt;Demo&lt;/className&gt;&lt;methodName&gt;" + method +
         "&lt;/methodName&gt;&lt;numArguments&gt;" + std::to_string(arguments) +
         "&lt;/numArguments&gt;&lt;/qzSOAPBody&gt;";
}

std::string multipart(const std::string& envelope, const std::string& attachment) {
  return "\r\n--B\r\nContent-Type: text/xml\r\n\r\n" + envelope + "\r\n--B\r\n" + attachment + "--B--\r\n";
}

std::string post(const std::string& body, std::size_t announced) {
  return "POST /gateway HTTP/1.0\r\nContent-Type: multipart/related; boundary=B\r\nContent-Length: " +
         std::to_string(announced) + "\r\n\r\n" + body;
}

std::string post(const std::string& body) { return post(body, body.size()); }

const std::string kOneLong = "\x07\x01\x04\x04\x00\x00\x00\x2A\x00\x00\x00"s;

TEST(Qzgateway, AnswersACallInProperMime) {
  const Gateway gateway;
  const std::string reply =
      roundTrip(gateway.port(), post(multipart(envelopeWith(kHeader, innerBody("echo", 1)), kOneLong)));
  const auto at = [&](const std::string& piece) { return reply.find(piece); };
  EXPECT_TRUE(reply.starts_with("HTTP/1.1 200 OK\r\n")) << reply;
  EXPECT_NE(at("Set-Cookie: zot_passport=p1; path=/\r\n"), std::string::npos) << reply;
  const std::size_t quote = at("boundary=\"") + 10;
  const std::string boundary = reply.substr(quote, reply.find('"', quote) - quote);
  EXPECT_NE(at("Content-Length: 11\r\n\r\n" + kOneLong + "\r\n--" + boundary + "--\r\n"), std::string::npos) << reply;
}

TEST(Qzgateway, RefusesDamagedRequestsAndGoesOn) {
  Gateway gateway;
  const std::string good = multipart(envelopeWith(kHeader, innerBody("echo", 1)), kOneLong);
  const auto stream = [](const std::string& attachment) {
    return post(multipart(envelopeWith(kHeader, innerBody("echo", 1)), attachment));
  };
  const struct {
    std::string request;
    std::string status;
    std::string complaint;
  } kCases[] = {
      {"GET / HTTP/1.0\r\n\r\n", "405", "POST"},
      {"GET /" + std::string(6000, 'a') + " HTTP/1.0\r\n\r\n", "405", "POST"},
      {"rubbish\r\n\r\n", "400", ""},
      {post(""), "400", "start mark"},
      {post(good.substr(0, good.size() / 2)), "400", ""},
      {stream("\x07\x01\x04\xFF\xFF\xFF\x7F\x2A"s), "400", "argument stream"},
      {stream("\x07\x01\x04\xFF\xFF\xFF\xFF\x2A"s), "400", "argument stream"},
      {stream("\x07\x05" + kOneLong.substr(2)), "400", "argument stream"},
      {stream("NIRA\x10\x00\x00\x00\xFF\xFF\xFF\x7F" + std::string(20, 'x')), "400", "argument stream"},
      {stream("rubbish"), "400", "argument stream"},
      {stream("\x07\x00"s), "400", "announces 1 arguments, the stream holds 0"},
      {post(multipart(envelopeWith(kHeader, "no inner body"), kOneLong)), "400", "no qzSOAPBody"},
      {post(multipart(envelopeWith("<bus:relayHeader/>", innerBody("echo", 1)), kOneLong)), "400", "relay header"},
      {post(multipart(envelopeWith(kHeader, innerBody("a & b", 1)), kOneLong)), "400", "no SOAP envelope"},
      {post(multipart("<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///c:/windows/win.ini\">]>" +
                          envelopeWith(kHeader, innerBody("echo", 1)),
                      kOneLong)),
       "400", "no SOAP envelope"},
  };
  for (const auto& c : kCases) {
    const std::string reply = roundTrip(gateway.port(), c.request);
    EXPECT_EQ(reply.substr(9, 3), c.status) << c.complaint << "\n" << reply;
    EXPECT_NE(reply.find(c.complaint), std::string::npos) << reply;
  }
  // A client that has closed its side gets no answer; what matters is that nobody waits for it, and no memory is taken.
  for (const std::size_t announced : {good.size() + 1, std::size_t{500000000}, std::size_t{4000000000U}})
    roundTrip(gateway.port(), post(good, announced), true);
  EXPECT_EQ(roundTrip(gateway.port(), post(good)).substr(9, 3), "200");
  EXPECT_NE(gateway.log().find("400  the body ended too early"), std::string::npos) << gateway.log();
}

TEST(Qzgateway, SaysWhyItCannotStart) {
  const Gateway gateway;
  const Finished taken = runToEnd("qzgateway.exe", {"--port", gateway.port()});
  EXPECT_EQ(taken.code, 1);
  EXPECT_NE(taken.errors.find("cannot listen"), std::string::npos) << taken.errors;
  EXPECT_EQ(runToEnd("qzgateway.exe", {"--port", "70000"}).code, 2);
  EXPECT_EQ(runToEnd("qzgateway.exe", {"--quiet", "--verbose"}).code, 2);
}

}  // namespace
