// qzcall against qzgateway: whole calls of the real programs, and raw requests to the gateway.
#include <winsock2.h>
//
#include <gtest/gtest.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <regex>
#include <tuple>

#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ToolPrograms.h"
#include "Tools/qzcall/Text.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using nlohmann::json;
using qz::test::ChildProcess;
using qz::test::ScratchFile;
using Finished = qz::test::FinishedTool;
using Gateway = qz::test::RunningGateway;
using qz::test::runQzcall;
using qz::test::runTool;
using Words = std::vector<std::string>;

Words invokeWords(const std::string& url, const std::string& method, const Words& more) {
  Words words = {"invoke", "--url", url, "--action", "urn:demo", "--interface", "Demo", "--method", method};
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

/// The gateway gives every new session another passport, and every conversation another handle.
std::string withoutIds(const std::string& output) {
  return std::regex_replace(output, std::regex("[0-9a-f]{32}"), "*");
}

/// Makes a call through each face of the library; whatever the call, nobody can tell which one it was.
Finished invoke(const std::string& url, const std::string& method, const Words& more) {
  Words words = invokeWords(url, method, more);
  words.insert(words.begin(), {"--face", "flat"});
  const Finished flat = runQzcall(words);
  std::rotate(words.begin(), words.begin() + 2, words.end());
  words.back() = "toolkit";
  const Finished toolkit = runQzcall(words);
  EXPECT_EQ(flat.code, toolkit.code);
  EXPECT_EQ(withoutIds(flat.output), withoutIds(toolkit.output));
  EXPECT_EQ(flat.errors, toolkit.errors);
  return toolkit;
}

class ToolsTest : public testing::Test {
 protected:
  Finished call(const std::string& method, const Words& more = {}) { return invoke(gateway_.url(), method, more); }

  /// The same with --json; the output must be one JSON value.
  json callJson(const std::string& method, Words more, int expectedCode) {
    more.emplace_back("--json");
    const Finished finished = call(method, more);
    EXPECT_EQ(finished.code, expectedCode) << finished.output << finished.errors;
    EXPECT_EQ(finished.errors, "");
    return json::parse(finished.output);
  }

  const Gateway& gateway() const { return gateway_; }

 private:
  Gateway gateway_;
};

TEST_F(ToolsTest, EchoReturnsEveryArgumentCompressedAndNot) {
  std::string blob;
  for (int i = 0; i < 70000; ++i) blob += static_cast<char>(i * i >> 3);
  blob += "\r\n--TARVON.QZ.NIRA.--\r\nContent-Length: 5\r\n";
  const ScratchFile file(blob);
  const Words arguments = {"text:Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \"q\" \\",
                           "long:-5",
                           "short:7",
                           "byte:-1",
                           "float:0.5",
                           "double:-0.1",
                           "hex:000d0a00ff",
                           "text:",
                           "file:"s + file.path()};
  Words words = {"--handle", "h-1", "--keep-alive"};
  for (const std::string& argument : arguments) words.insert(words.end(), {"--arg", argument});
  for (const char* const pass : {"compressed", "plain"}) {
    SCOPED_TRACE(pass);
    json out = callJson("echo", words, 0);
    EXPECT_TRUE(out["arguments"][8]["hex"] ==
                qzcall::toHex({reinterpret_cast<const unsigned char*>(blob.data()), blob.size()}));
    out["arguments"].erase(8);
    out.erase("token");
    const json expected = json::parse(R"({"result":0,"error":{"code":0,"subCode":0,"text":""},"interface":"Demo",
      "method":"echo","objectHandle":"h-1","arguments":[{"type":"text","value":"Grüß € \"q\" \\"},
      {"type":"long","value":-5},{"type":"short","value":7},{"type":"byte","value":-1},{"type":"float","value":0.5},
      {"type":"double","value":-0.1},{"type":"binary","hex":"000d0a00ff"},{"type":"text","value":""}],
      "userPreferences":{"productLocale":"en","contentLocale":"en-gb"}})");
    EXPECT_EQ(out, expected);
    words.emplace_back("--no-compress");
  }
}

TEST_F(ToolsTest, ShowsEachOutcomeWithItsExitCode) {
  const std::tuple<const char*, Words, int, long, const char*> kCases[] = {
      {"add", {"--arg", "long:40", "--arg", "long:2"}, 0, 0, ""},
      {"add", {"--arg", "long:2147483647", "--arg", "long:1"}, 1, 22, "the sum 2147483648 is no long"},
      {"add", {"--arg", "text:1", "--arg", "long:1"}, 1, 22, "add takes two arguments of type long"},
      {"fail", {"--no-compress"}, 1, 12, "The operation failed, as it was asked to."},
      {"fail", {"--arg", "long:-77", "--arg", "text:<a> & \"\xC3\xA4\""}, 1, -77, "<a> & \"\xC3\xA4\""},
      {"fault", {"--arg", "text:x < y & z"}, 1, -1, "[x < y & z][Nothing is wrong with the request.]"},
      {"nosuch", {}, 1, -1, "no operation 'nosuch'"},
      {"logon", {}, 3, -2, "Log on first."},
      {"page", {}, 4, -3, "Failed to process response"},
  };
  for (const auto& [method, words, exitCode, result, errorText] : kCases) {
    const json out = callJson(method, words, exitCode);
    EXPECT_EQ(out["result"], result) << method;
    EXPECT_EQ(out["error"]["code"], result) << method;
    EXPECT_NE(out["error"]["text"].get<std::string>().find(errorText), std::string::npos) << out["error"];
    EXPECT_EQ(out["arguments"], json::parse(result == 0 ? R"([{"type":"long","value":42}])" : "[]")) << method;
  }
}

TEST_F(ToolsTest, HoldsConversations) {
  // Seconds and way of the end, further words, exit code, result, a piece of the error.
  const std::tuple<const char*, const char*, Words, int, long, const char*> kCases[] = {
      {"long:0", "text:done", {}, 0, 0, ""},
      {"double:1.1", "text:done", {"--timeout", "30"}, 0, 0, ""},
      {"double:0.1", "text:fail", {}, 1, 12, "asked to"},
      {"double:0.1", "text:fault", {}, 1, -1, "on purpose"},
      {"long:9", "text:never", {"--timeout", "0"}, 1, 125, "was cancelled"},
      {"long:9", "text:stubborn", {"--timeout", "1"}, 5, -5, "Client side timeout. Operation aborted."},
  };
  for (const auto& [seconds, end, more, exitCode, result, errorText] : kCases) {
    SCOPED_TRACE(std::string(seconds) + " " + end);
    Words words = {"--async", "--arg", seconds, "--arg", end};
    words.insert(words.end(), more.begin(), more.end());
    const json out = callJson("wait", words, exitCode);
    EXPECT_EQ(out["result"], result);
    EXPECT_NE(out["error"]["text"].get<std::string>().find(errorText), std::string::npos) << out["error"];
    EXPECT_EQ(out["arguments"].empty(), result != 0) << out["arguments"];
  }
}

TEST(Qzcall, ReportsTransportFailuresInTheOutcome) {
  for (const char* const url : {"http://127.0.0.1:1/x", "ftp://127.0.0.1/x", "nonsense"}) {
    const Finished finished = invoke(url, "echo", {"--json"});
    ASSERT_EQ(finished.code, 4) << url << finished.output << finished.errors;
    const json out = json::parse(finished.output);
    EXPECT_NE(out["result"], 0) << url;
    EXPECT_NE(out["error"]["text"], "") << url;
  }
}

TEST_F(ToolsTest, CarriesTheSessionBothWays) {
  const json fresh = callJson("echo", {}, 0)["token"];
  const std::string passport = fresh["passport"];
  EXPECT_TRUE(passport.starts_with("demo:"));
  EXPECT_EQ(fresh["pryContext"], "demo-context");
  EXPECT_EQ(fresh["cookies"], (json{{"zot_passport", passport}, {"usersessionid", "demo-context"}}));

  const Words own = {"--passport", "mine-1", "--pry", "ctx.2", "--cookie", "app=v=1", "--cookie", "empty="};
  const json expected = json::parse(R"({"passport":"mine-1","pryContext":"ctx.2",
    "cookies":{"app":"v=1","empty":"","zot_passport":"mine-1","usersessionid":"ctx.2"}})");
  EXPECT_EQ(callJson("echo", own, 0)["token"], expected);

  EXPECT_TRUE(callJson("echo", {"--passport", "a b;c"}, 0)["token"]["passport"].get<std::string>().starts_with("demo:"))
      << "an id that would break a cookie line must not come back";
}

TEST_F(ToolsTest, KeepsTheSessionInAFile) {
  const ScratchFile file;
  DeleteFileA(file.path());
  const Words session = {"--session", file.path()};
  const json first = callJson("echo", session, 0)["token"];
  const json kept = json::parse(file.content());
  EXPECT_EQ(kept["url"], gateway().url());
  EXPECT_EQ(kept["context"], "demo-context");

  // Where the session is, its gateway is known.
  const Finished next = runQzcall(
      {"invoke", "--session", file.path(), "--action", "a", "--interface", "Demo", "--method", "echo", "--json"});
  EXPECT_EQ(json::parse(next.output)["token"], first) << next.errors;
  EXPECT_EQ(invoke("http://127.0.0.1:1/", "echo", session).code, 2) << "its cookies go to its own server only";
  EXPECT_EQ(call("page", session).code, 4);
  EXPECT_EQ(call("fail", session).code, 1);
  EXPECT_EQ(json::parse(file.content()), kept) << "a call that fails loses no session";
}

TEST_F(ToolsTest, PrintsATableForAPerson) {
  const Finished good = call("echo", {"--arg", "text:two\nlines", "--arg", "hex:00ff"});
  EXPECT_EQ(good.code, 0) << good.errors;
  for (const char* const piece :
       {"outcome      success\n", "call         Demo.echo\n", "two\\nlines\n", "00 ff\n", "zot_passport = demo:"})
    EXPECT_NE(good.output.find(piece), std::string::npos) << piece << "\n" << good.output;
  const Finished bad = call("fail");
  EXPECT_EQ(bad.code, 1);
  for (const char* const piece : {"code 12\n", "error        The operation failed"})
    EXPECT_NE(bad.output.find(piece), std::string::npos) << piece << "\n" << bad.output;
}

TEST_F(ToolsTest, AppendsEachExchangeToTheDumpFile) {
  const ScratchFile dump("kept\n");
  const Words words = {"--arg", "hex:deadbeef", "--no-compress", "--dump", dump.path()};
  EXPECT_EQ(call("echo", words).code, 0);
  std::string rest = dump.content();
  // Two calls; each request and each reply carries the bytes once.
  for (const char* const piece : {"kept\n", "\xDE\xAD\xBE\xEF", "conversationComplete", "\xDE\xAD\xBE\xEF",
                                  "soapaction: \"urn:demo\"", "\xDE\xAD\xBE\xEF"}) {
    ASSERT_NE(rest.find(piece), std::string::npos) << piece;
    rest.erase(0, rest.find(piece) + 1);
  }
}

TEST(Qzcall, RefusesAWrongCommandLineBeforeSendingAnything) {
  const std::string damaged = R"({"url":"http://127.0.0.1:1/","user":7})";
  const ScratchFile session(damaged);
  // Options go behind a command line that is good without them.
  const std::pair<Words, const char*> kCases[] = {
      {{}, "subcommand"},
      {{"frobnicate"}, "no command 'frobnicate'"},
      {{"invoke", "--url", "http://x/"}, "--action"},
      {{"invoke", "--action", "a", "--interface", "I", "--method", "m"}, "--url is required"},
      {{"invoke", "--url", "u", "--action", "a", "--interface", "I", "--method", ""}, "--method: must not be empty"},
      {{"--bogus"}, "--bogus"},
      {{"--arg", "long:1", "long:2"}, "long:2"},
      {{"--arg", "long:3000000000"}, "out of range"},
      {{"--handle", "--json"}, "is an option, not a value"},
      {{"--timeout", "-1"}, "--timeout"},
      {{"--face", "other"}, "--face: must be toolkit or flat"},
      {{"--face", "flat", "invoke", "--url", "u", "--action", "a", "--interface", "I", "--method", "m", "--face",
        "flat"},
       "--face: given before and behind"},
      {{"--cookie", "=x"}, "NAME=VALUE"},
      {{"--cookie", "a=b\r\nX: y"}, "NAME=VALUE"},
      {{"--dump", "\xD0\x96.txt"}, "code page"},
      {{"--dump", "no/such/folder/x"}, "cannot be written"},
      {{"--session", "no/such/folder/x"}, "cannot be replaced: "},
      {{"--session", session.path()}, "' is no session file: \"user\" is no text"},
      {{"report", session.path(), "-o", session.path()}, "is to be read"},
  };
  for (const auto& [words, complaint] : kCases) {
    const bool options = !words.empty() && words[0].starts_with("--") && std::ranges::count(words, "invoke") == 0;
    const Finished finished = runQzcall(options ? invokeWords("http://127.0.0.1:1/", "m", words) : words);
    EXPECT_EQ(finished.code, 2) << complaint << finished.output;
    EXPECT_NE(finished.errors.find(complaint), std::string::npos) << complaint << "\n" << finished.errors;
    EXPECT_EQ(finished.output, "");
  }
  EXPECT_EQ(session.content(), damaged);
  const Finished help = runQzcall({"invoke", "--help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_NE(help.output.find("--no-compress"), std::string::npos);
}

// ---- raw connections

class Socket {
 public:
  Socket() {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    socket_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    const DWORD limit = 15000;
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&limit), sizeof limit);
  }
  ~Socket() {
    closesocket(socket_);
    WSACleanup();
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  /// Accepts connections, and no more than that. Returns the port.
  std::string listenSilently() {
    sockaddr_in address = loopback(0);
    int size = sizeof address;
    bind(socket_, reinterpret_cast<const sockaddr*>(&address), size);
    listen(socket_, 5);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    return std::to_string(ntohs(address.sin_port));
  }

  /// Waits for a client.
  bool isAskedWithin(long seconds) const {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(socket_, &set);
    timeval limit = {seconds, 0};
    return select(0, &set, nullptr, nullptr, &limit) == 1;
  }

  /// Sends `bytes` and returns all that comes back. `endOfInput` ends the sending side behind them.
  std::string roundTrip(const std::string& port, const std::string& bytes, bool endOfInput) {
    const sockaddr_in address = loopback(static_cast<u_short>(std::stoi(port)));
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return "";
    send(socket_, bytes.data(), static_cast<int>(bytes.size()), 0);
    if (endOfInput) shutdown(socket_, SD_SEND);
    std::string answer;
    char buffer[4096];
    for (int got; (got = recv(socket_, buffer, sizeof buffer, 0)) > 0;)
      answer.append(buffer, static_cast<std::size_t>(got));
    return answer;
  }

 private:
  static sockaddr_in loopback(u_short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
  }

  SOCKET socket_;
};

TEST(Qzcall, WaitsNoLongerThanItWasTold) {
  Socket silent;
  const Finished finished =
      invoke("http://127.0.0.1:" + silent.listenSilently() + "/", "echo", {"--timeout", "1", "--json"});
  EXPECT_EQ(finished.code, 5) << finished.errors;
  const json out = json::parse(finished.output);
  EXPECT_EQ(out["result"], -5);
  EXPECT_EQ(out["error"]["text"], "no reply within 1 second");
}

TEST(Qzcall, EndsWhenItIsInterrupted) {
  for (const char* const kind : {"--async", "--keep-alive"}) {
    Socket silent;
    const std::string url = "http://127.0.0.1:" + silent.listenSilently() + "/";
    ChildProcess process("qzcall.exe", invokeWords(url, "echo", {kind, "--json"}));
    ASSERT_TRUE(silent.isAskedWithin(20));
    process.interrupt();
    EXPECT_EQ(process.wait(qz::test::kToolLimit), 130);
    EXPECT_EQ(process.output(), "");
    EXPECT_EQ(process.errors(), "qzcall: interrupted\n");
  }
}

TEST(Qzgateway, GoesOnAfterHostileRequests) {
  Gateway gateway;
  const std::string refusal = Socket().roundTrip(gateway.port(), "GET / HTTP/1.0\r\n\r\n", false);
  EXPECT_EQ(refusal.substr(9, 3), "405");
  EXPECT_EQ(refusal.find("Content-Type"), refusal.rfind("Content-Type"));
  EXPECT_EQ(Socket().roundTrip(gateway.port(), "rubbish\r\n\r\n", false).substr(9, 3), "400");
  // A client that has closed its side gets no answer; what matters is that nobody waits for it, and no memory is taken.
  for (const char* const announced : {"2", "500000000", "4000000000"})
    Socket().roundTrip(gateway.port(), "POST / HTTP/1.0\r\nContent-Length: "s + announced + "\r\n\r\nx", true);
  const std::string large =
      "POST /?b_action= HTTP/1.1\r\nHost: x\r\nContent-Length: 100000\r\n\r\n" + std::string(100000, 'x');
  const std::string answers = Socket().roundTrip(gateway.port(), large + "GET / HTTP/1.0\r\n\r\n", false);
  EXPECT_EQ(answers.substr(9, 3), "413");
  EXPECT_NE(answers.find("HTTP/1.1 405"), std::string::npos) << "the request behind it is lost: " << answers;
  EXPECT_EQ(invoke(gateway.url(), "echo", {}).code, 0);
  EXPECT_NE(gateway.log().find("400  the body ended too early"), std::string::npos) << gateway.log();
}

TEST(Qzgateway, SaysWhyItCannotStart) {
  const Gateway gateway;
  const std::tuple<Words, int, const char*> kCases[] = {{{"--port", gateway.port()}, 1, "cannot listen"},
                                                        {{"--port", "70000"}, 2, "--port"},
                                                        {{"--host", ""}, 2, "--host"},
                                                        {{"--quiet", "--verbose"}, 2, "--verbose"}};
  for (const auto& [words, code, complaint] : kCases) {
    const Finished finished = runTool("qzgateway.exe", words);
    EXPECT_EQ(finished.code, code) << complaint;
    EXPECT_NE(finished.errors.find(complaint), std::string::npos) << finished.errors;
  }
}

}  // namespace
