// decode, encode and the dry run of qzcall, with the real program.
#include <winsock2.h>
//
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "Tests/Support/InstallTree.h"
#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ScriptedServer.h"
#include "Tests/Support/ToolPrograms.h"

namespace {

using namespace std::string_literals;
using nlohmann::json;
using qz::test::FinishedTool;
using qz::test::runQzcall;
using qz::test::ScratchFile;
using Words = std::vector<std::string>;

TEST(DecodeTools, TakeApartWhatTheyHavePutTogether) {
  for (const std::string form : {"list", "block", "buffer"}) {
    const ScratchFile file;
    const FinishedTool made = runQzcall(
        {"encode", form, "--arg", "text:h\xC3\xA4", "--arg", "long:-7", "--arg", "hex:00ff", "-o", file.path()});
    ASSERT_EQ(made.code, 0) << made.errors;
    EXPECT_EQ(made.output, "");
    const FinishedTool whole = runQzcall({"decode", file.path(), "--json"});
    ASSERT_EQ(whole.code, 0) << whole.output << whole.errors;
    json parts = json::parse(whole.output)["parts"];
    if (form == "block") parts = parts[3]["parts"][0]["parts"][0]["parts"];
    if (form != "buffer") parts.erase(0);
    ASSERT_EQ(parts.size(), 3U) << whole.output;
    EXPECT_EQ(parts[0]["value"], "h\xC3\xA4");
    EXPECT_EQ(parts[1]["value"], -7);
    EXPECT_EQ(parts[2]["hex"], "00ff");

    const ScratchFile cut(file.content().substr(0, file.content().size() - 1));
    const FinishedTool broken = runQzcall({"decode", cut.path(), "--as", form, "--width", "80"});
    EXPECT_EQ(broken.code, 1) << broken.output;
    EXPECT_NE(broken.output.find("! "), std::string::npos) << broken.output;
  }
}

TEST(DecodeTools, RefuseWhatTheyCannotDo) {
  Words many = {"encode", "list", "-o", "never.bin"};
  for (int i = 0; i < 256; ++i) many.insert(many.end(), {"--arg", "byte:1"});
  const std::pair<Words, const char*> kCases[] = {
      {{"decode", "no-such-file"}, "cannot be read"},
      {{"decode", "-", "--as", "nonsense"}, "must be one of block, list, "},
      {{"decode"}, "is required"},
      {{"--face", "flat", "decode", "-"}, "--face"},
      {{"encode", "tree", "-o", "never.bin"}, "must be list"},
      {{"encode", "buffer", "-o", "never.bin"}, "needs an --arg"},
      {{"encode", "list", "--arg", "long:x", "-o", "never.bin"}, "--arg: 'long:x' is not a number"},
      {{"encode", "list", "--level", "9", "-o", "never.bin"}, "--level: only a block"},
      {many, "255"},
      {{"invoke", "--url", "http://h/", "--action", "a", "--interface", "I", "--method", "m", "--output", "never.bin"},
       "--dry-run"},
  };
  for (const auto& [words, complaint] : kCases) {
    const FinishedTool finished = runQzcall(words);
    EXPECT_EQ(finished.code, 2) << words.back();
    EXPECT_NE(finished.errors.find(complaint), std::string::npos) << finished.errors;
  }
  EXPECT_FALSE(std::filesystem::exists("never.bin"));
}

/// Header lines of a raw request but for those that the system adds, sorted.
Words ownHeaders(const std::string& request) {
  Words lines;
  for (std::size_t at = request.find("\r\n") + 2, end = 0; (end = request.find("\r\n", at)) != at; at = end + 2)
    lines.push_back(request.substr(at, end - at));
  std::erase_if(lines, [](const std::string& line) {
    return line.starts_with("Host: ") || line.starts_with("User-Agent: ") || line.starts_with("Content-Length: ") ||
           line.starts_with("Connection: ") || line.starts_with("Proxy-Connection: ");
  });
  std::ranges::sort(lines);
  return lines;
}

// What is shown must be what a server gets: the same call is made, and shown.
TEST(DecodeTools, ShowTheRequestThatIsSent) {
  for (const std::string face : {"toolkit", "flat"})
    for (const bool isConversation : {false, true}) {
      qz::test::ScriptedServer server(qz::test::httpReply("404 Not Found", "text/xml", ""));
      Words words = {"invoke",      "--face",     face,        "--url",      server.url(), "--action", "urn:a",
                     "--interface", "I<1>",       "--method",  "m",          "--handle",   "h",        "--arg",
                     "text:hello",  "--arg",      "long:7",    "--passport", "p1",         "--pry",    "ctx",
                     "--cookie",    "theme=dark", "--timeout", "7"};
      if (isConversation) words.emplace_back("--async");
      EXPECT_EQ(runQzcall(words).code, 4);
      const std::string sent = server.requests().at(0);

      const ScratchFile body;
      // The session would be kept there if the call were made.
      words.insert(words.end(), {"--session", "no/such/folder/s.json"});
      words.insert(words.end(), {"--dry-run", "--output", body.path(), "--json"});
      const FinishedTool shown = runQzcall(words);
      ASSERT_EQ(shown.code, 0) << shown.errors;
      EXPECT_EQ(shown.errors, "");
      const json request = json::parse(shown.output);
      std::string headers = "\r\n";
      for (const json& line : request["headers"]) headers += line.get<std::string>() + "\r\n";
      using qz::test::masked;
      EXPECT_EQ(ownHeaders(masked(headers + "\r\n", 0)), ownHeaders(masked(sent, server.port())));
      EXPECT_EQ(masked(body.content(), 0), masked(sent.substr(sent.find("\r\n\r\n") + 4), server.port()));
      EXPECT_EQ(request["url"], server.url());
      EXPECT_EQ(request["body"]["kind"], "multipart");
    }
}

TEST(DecodeTools, ShowNoRequestThatIsNotSent) {
  for (const std::string url : {"nonsense", "ftp://127.0.0.1/x", "http://", "http://127.0.0.1:1/\r\nHost: x"}) {
    Words words = {"invoke", "--url", url, "--action", "urn:a", "--interface", "I", "--method", "m"};
    EXPECT_EQ(runQzcall(words).code, 4) << url;
    words.emplace_back("--dry-run");
    const FinishedTool shown = runQzcall(words);
    EXPECT_EQ(shown.code, 4) << url;
    EXPECT_EQ(shown.output, "") << url;
    EXPECT_NE(shown.errors.find("bad URL"), std::string::npos) << shown.errors;
  }
}

TEST(DecodeTools, ReadTheDumpOfACall) {
  const qz::test::RunningGateway gateway;
  const ScratchFile dump;
  EXPECT_EQ(runQzcall({"invoke", "--url", gateway.url(), "--action", "urn:demo", "--interface", "Demo", "--method",
                       "echo", "--arg", "text:there and back", "--dump", dump.path()})
                .code,
            0);
  const FinishedTool shown = runQzcall({"decode", dump.path(), "--width", "100"});
  EXPECT_EQ(shown.code, 0) << shown.output;
  for (const char* const line : {"dump file, 1 exchange\n", "soapaction: \"urn:demo\"\n", "className  \"Demo\"\n",
                                 "status  \"conversationComplete\"\n"})
    EXPECT_NE(shown.output.find(line), std::string::npos) << shown.output;
  const std::size_t first = shown.output.find("\"there and back\"");
  ASSERT_NE(first, std::string::npos) << shown.output;
  EXPECT_NE(shown.output.find("\"there and back\"", first + 1), std::string::npos) << "in the reply";
}

}  // namespace
