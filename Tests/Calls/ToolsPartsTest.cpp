// The parts of the command-line client that need no network.
#include <windows.h>
//
#include <aclapi.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <tuple>

#include "ITKSOAPError.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ScratchFile.h"
#include "Tools/qzcall/Arguments.h"
#include "Tools/qzcall/CommandLine.h"
#include "Tools/qzcall/Json.h"
#include "Tools/qzcall/Session.h"
#include "Tools/qzcall/Table.h"
#include "Tools/qzcall/Text.h"

namespace {

using namespace std::string_literals;
using nlohmann::json;

TEST(QzcallArguments, BecomeTypedBytesOrAComplaint) {
  // Type code and bytes, or a piece of the complaint.
  const std::pair<const char*, std::string> kCases[] = {
      {"text:", "1 00"},
      {"text:[a:b,c]", "1 5b613a622c635d00"},
      {"long:-2147483648", "4 00000080"},
      {"long:+7", "4 07000000"},
      {"short:32767", "3 ff7f"},
      {"byte:-128", "2 80"},
      {"float:1.5", "5 0000c03f"},
      {"double:-1e-3", "6 fca9f1d24d6250bf"},
      {"hex:", "0 "},
      {"hex:00fFA0", "0 00ffa0"},
      {"hello", "TYPE:VALUE"},
      {"int:1", "unknown type"},
      {"long:2147483648", "out of range (-2147483648 to 2147483647)"},
      {"byte:-129", "out of range (-128 to 127)"},
      {"long:", "not a number"},
      {"long:12x", "not a number"},
      {"long:+-1", "not a number"},
      {"double:1e999", "out of range"},
      {"double:1,5", "not a number"},
      {"hex:123", "hexadecimal"},
      {"hex:-1", "hexadecimal"},
      {"file:no/such/file", "cannot be read"},
      {"file:.", "cannot be read"},
  };
  for (const auto& [written, expected] : kCases) {
    const auto argument = qzcall::parseArgument(written);
    if (argument) {
      EXPECT_EQ(std::to_string(argument->type) + " " + qzcall::toHex(argument->bytes), expected) << written;
    } else {
      EXPECT_NE(argument.error().find(expected), std::string::npos) << argument.error();
    }
  }
}

// Both faces come out alike, but each fails in its own log.
TEST(QzcallFace, IsTheOneThatWasAskedFor) {
  const std::vector<std::string> call = {"invoke",      "--url", "nonsense", "--action", "a",
                                         "--interface", "I",     "--method", "m"};
  for (const char* const face : {"", "toolkit", "flat"})
    for (const bool isBehind : {false, true}) {
      auto words = call;
      if (*face != '\0') words.insert(isBehind ? words.end() : words.begin(), {"--face", face});
      const auto toolkitLog = qz::test::ToolkitFace::watchLog(), flatLog = qz::test::FlatFace::watchLog();
      const auto command = qzcall::parseCommandLine(words);
      ASSERT_TRUE(command.has_value());
      command->work();
      EXPECT_EQ(flatLog.messages().empty(), face != "flat"s);
      EXPECT_EQ(toolkitLog.messages().empty(), face == "flat"s);
    }
}

TEST(QzcallText, TellsUtf8FromOtherBytes) {
  for (const char* const good : {"", "abc\xC3\xA4\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xED\x9F\xBF", "\xF4\x8F\xBF\xBF"})
    EXPECT_TRUE(qzcall::isUtf8(good)) << good;
  for (const char* const bad : {"\x80", "\xC3", "\xC0\xAF", "\xE2\x82", "\xE0\x9F\xBF", "\xED\xA0\x80",
                                "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "a\xE4z"})
    EXPECT_FALSE(qzcall::isUtf8(bad)) << qzcall::forTerminal(bad, 9);
}

TEST(QzcallText, NeverLetsAReplyDriveTheTerminal) {
  EXPECT_EQ(qzcall::forTerminal("a\x1B[2J\r\n\\\xC2\x9B\xFF\xC3\xA4\xE2\x80\xAE\x7F", 99),
            "a\\x1b[2J\\r\\n\\\\\\xc2\\x9b\\xff\xC3\xA4\\xe2\\x80\\xae\\x7f");
  EXPECT_EQ(qzcall::forTerminal("\xC3\xA4\xC3\xA4\xC3\xA4", 2), "\xC3\xA4\xC3\xA4... (6 bytes in all)");
}

/// An outcome with one argument, whose bytes must outlive it.
qzcall::Outcome outcomeWith(unsigned char type, const std::string& bytes) {
  qzcall::Outcome outcome;
  outcome.arguments = {{type, {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()}}};
  return outcome;
}

json jsonOf(const qzcall::Outcome& outcome) {
  std::ostringstream out;
  writeJson(out, outcome);
  return json::parse(out.str());
}

TEST(QzcallJson, SaysEveryArgumentExactlyOrAsHex) {
  const std::string nested = "\x07\x02\x04\x04\x00\x00\x00\x2A\x00\x00\x00\x07\x02\x00\x00\x00\x07\x00"s;
  const std::tuple<unsigned char, std::string, const char*> kCases[] = {
      {1, "a\"b", R"({"type":"text","value":"a\"b"})"},
      {1, "a\0b\0"s, R"({"type":"text","value":"a\u0000b"})"},
      {1, "", R"({"type":"text","value":""})"},
      {1, "\xE4\0"s, R"({"type":"text","hex":"e400"})"},
      {3, "\x00\x80"s, R"({"type":"short","value":-32768})"},
      {4, "\xFF\xFF\xFF\x7F", R"({"type":"long","value":2147483647})"},
      {4, "\x01\x02", R"({"type":"long","hex":"0102"})"},
      {6, "\0\0\0\0\0\0\xF0\x7F"s, R"({"type":"double","hex":"000000000000f07f"})"},
      {7, nested, R"({"type":"list","value":[{"type":"long","value":42},{"type":"list","value":[]}]})"},
      {7, "\x07\x05", R"({"type":"list","hex":"0705"})"},
      {77, "x", R"({"type":"type 77","hex":"78"})"},
  };
  for (const auto& [type, bytes, expected] : kCases) {
    EXPECT_EQ(jsonOf(outcomeWith(type, bytes))["arguments"][0], json::parse(expected));
  }
}

TEST(QzcallJson, CutsNoCharacterOfALargeTextInTwo) {
  std::string text;
  while (text.size() < 300000) text += "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n\"";
  EXPECT_TRUE(jsonOf(outcomeWith(ITKBufferType::DT_TEXT, text))["arguments"][0]["value"] == text);
}

TEST(QzcallJson, IsValidWhateverTheServerSaid) {
  qzcall::Outcome outcome;
  outcome.errorText = "bad \xFF \"quoted\"\r\n";
  outcome.token.setCookieValue("a\xE4", "1");
  outcome.token.setCookieValue("b", "");
  const json out = jsonOf(outcome);
  EXPECT_EQ(out["error"]["text"], "bad \xEF\xBF\xBD \"quoted\"\r\n");
  EXPECT_EQ(out["token"]["cookies"], (json{{"a\xEF\xBF\xBD", "1"}, {"b", ""}}));
}

TEST(QzcallOutcome, HasAnExitCodeForEveryResult) {
  const std::pair<long, int> kCases[] = {{E_OK, 0},   {12, 1},      {E_FAULT, 1}, {E_LOGON, 3},
                                         {E_HTTP, 4}, {E_PROXY, 4}, {E_URL, 4},   {E_TIMEOUT, 5}};
  for (const auto& [result, exitCode] : kCases) EXPECT_EQ(qzcall::exitCodeOf(result), exitCode) << result;
}

TEST(QzcallTable, CutsLongValues) {
  const std::string bytes(5000, 'x');
  EXPECT_LT(toTable(outcomeWith(ITKBufferType::DT_BINARY, bytes)).size(), 300U);
}

/// How many users and groups may do something with a file. Wine always counts its system's account.
WORD accessEntries(const char* path) {
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  const DWORD error = GetNamedSecurityInfoA(path, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                                            nullptr, &descriptor);
  const WORD count = error == ERROR_SUCCESS && list != nullptr ? list->AceCount : WORD{0};
  LocalFree(descriptor);
  return count;
}

TEST(QzcallSession, KeepsEverythingButThePasswordForItsOwnerAlone) {
  const qz::test::ScratchFile file("to be replaced");
  EXPECT_GT(accessEntries(file.path()), 2);
  qzcall::CommonOptions common;
  common.sessionFile = file.path();
  ITKRTT token;
  token.setURL("http://h/gw");
  token.setUserName("somebody");
  token.setPassword("secret");
  token.setPryContext("c-1");
  token.setCookieValue("zot_passport", "p;=\\");
  token.setCookiePath("zot_passport", "/gw");
  token.setCookieValue("\xE4", "\xFF\r\n");
  ASSERT_TRUE(qzcall::saveSession(common, {token, "J\xC3\xB6rg \"x\""}));
  EXPECT_LE(accessEntries(file.path()), 2);
  EXPECT_EQ(file.content().find("secret"), std::string::npos);

  const auto loaded = qzcall::sessionOf(common);
  ASSERT_TRUE(loaded) << loaded.error();
  EXPECT_EQ(loaded->user, "J\xC3\xB6rg \"x\"");
  EXPECT_TRUE(loaded->token.getUserName().isEmpty()) << "without its password it is no credential for HTTP";
  EXPECT_STREQ(loaded->token.getURL(), token.getURL());
  EXPECT_STREQ(loaded->token.getPryContext(), token.getPryContext());
  EXPECT_TRUE(loaded->token.getCookies() == token.getCookies());

  common.url = "HTTP://H/other?x";
  EXPECT_TRUE(qzcall::sessionOf(common));
  for (const char* const elsewhere : {"http://h.evil/gw", "http://h:81/gw", "https://h/gw", "http://h@evil/gw"}) {
    common.url = elsewhere;
    EXPECT_FALSE(qzcall::sessionOf(common)) << elsewhere;
    EXPECT_TRUE(qzcall::sessionOf(common, qzcall::OtherServer::accept)) << elsewhere;
  }
}

}  // namespace
