// Whole sessions from the command line, with the portal of the gateway.
#include <windows.h>
//
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <tuple>

#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ToolPrograms.h"
#include "Tools/qzcall/Password.h"

namespace {

using namespace std::string_literals;
using nlohmann::json;
using qz::test::FinishedTool;
using qz::test::RunningGateway;
using qz::test::runQzcall;
using qz::test::ScratchFile;
using Words = std::vector<std::string>;

constexpr char kContextPage[] = "?b_action=xts.run&m=portal/close.xts&ui.compid=pc";

/// A file name that is free, and free again at the end.
class FreePath {
 public:
  ~FreePath() { DeleteFileA(path().c_str()); }
  std::string path() const { return place_.path() + ".json"s; }
  bool isTaken() const { return GetFileAttributesA(path().c_str()) != INVALID_FILE_ATTRIBUTES; }
  std::string content() const {
    std::ifstream file(path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  ScratchFile place_;
};

class PortalTools : public testing::TestWithParam<const char*> {
 protected:
  static void SetUpTestSuite() {
    SetEnvironmentVariableA("QZ_TEST_PASSWORD", "s3cret & more");
    SetEnvironmentVariableA("QZ_TEST_WRONG", "wrong");
  }

  FinishedTool run(Words words) const {
    words.insert(words.begin(), {"--face", GetParam()});
    return runQzcall(words);
  }
  FinishedTool add(const std::string& session) const {
    return run({"invoke", "--session", session, "--action", "urn:demo", "--interface", "Demo", "--method", "add",
                "--arg", "long:40", "--arg", "long:2"});
  }
  /// The command must succeed and print JSON.
  json told(Words words) const {
    words.emplace_back("--json");
    const FinishedTool finished = run(words);
    EXPECT_EQ(finished.code, 0) << words[0] << finished.output << finished.errors;
    return json::parse(finished.output);
  }
};

INSTANTIATE_TEST_SUITE_P(BothFaces, PortalTools, testing::Values("toolkit", "flat"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(PortalTools, KeepASessionFromLogonToLogoff) {
  const RunningGateway gateway({"--namespace", "ldap=Staff", "--user", "J\xC3\xBCrg M:s3cret & more", "--user",
                                "guest:s3cret & more", "--require-logon"});
  const FreePath session;
  const Words logon = {"logon",        "--url",          gateway.url(),      "--session",
                       session.path(), "--password-env", "QZ_TEST_PASSWORD", "--user",
                       "J\xC3\xBCrg M"};
  const json in = told(logon);
  EXPECT_EQ(in["user"], "J\xC3\xBCrg M");
  EXPECT_EQ(in["namespace"], "ldap");
  EXPECT_EQ(in["passport"], true);
  EXPECT_EQ(in["cookies"], (json{"zot_passport", "usersessionid"}));
  EXPECT_EQ(session.content().find("s3cret"), std::string::npos);
  EXPECT_EQ(add(session.path()).code, 0);

  // The context's page knows this session.
  const FinishedTool page = run({"http", "--session", session.path(), "--url", gateway.url() + kContextPage});
  EXPECT_EQ(page.code, 0) << page.errors;
  EXPECT_NE(page.output.find("\"" + in["pryContext"].get<std::string>() + "\""), std::string::npos) << page.output;

  // A user who is refused leaves the session to the one that is there.
  const std::string before = session.content();
  const Words logonAs = {"logon-as", "--session", session.path(), "--user", "guest", "--password-env"};
  Words refused = logonAs, accepted = logonAs;
  refused.emplace_back("QZ_TEST_WRONG");
  accepted.emplace_back("QZ_TEST_PASSWORD");
  EXPECT_EQ(run(refused).code, 3);
  EXPECT_EQ(session.content(), before);
  EXPECT_EQ(told(accepted)["user"], "guest");
  EXPECT_NE(session.content(), before);
  EXPECT_EQ(add(session.path()).code, 0);

  const ScratchFile kept(session.content());
  EXPECT_EQ(told({"logoff", "--session", session.path()})["loggedOff"], true);
  EXPECT_FALSE(session.isTaken());
  EXPECT_EQ(add(kept.path()).code, 3);
}

TEST_P(PortalTools, ListTheNamespaces) {
  const RunningGateway one({"--namespace", "ldap=Staff"}),
      several({"--namespace", "a=\"One\" & all", "--namespace", "b=<B>"});
  EXPECT_EQ(told({"namespaces", "--url", one.url()}), json::parse(R"([{"id":"ldap","displayName":"Staff"}])"));
  EXPECT_EQ(
      told({"namespaces", "--url", several.url()}),
      (json{{{"id", "a"}, {"displayName", "&quot;One&quot; &amp; all"}}, {{"id", "b"}, {"displayName", "&lt;B&gt;"}}}));
  const FinishedTool logon =
      run({"logon", "--url", several.url(), "--user", "demo", "--password-env", "QZ_TEST_PASSWORD"});
  EXPECT_EQ(logon.code, 2);
  EXPECT_NE(logon.errors.find("the portal has several"), std::string::npos) << logon.errors;
}

TEST_P(PortalTools, SayWhyNobodyIsLoggedOn) {
  const RunningGateway gateway;
  const ScratchFile nothing, damaged("{}");
  const Words logon = {"logon", "--user", "demo", "--url", gateway.url()};
  const std::tuple<Words, int, const char*> kCases[] = {
      {{"--password-env", "QZ_TEST_WRONG"}, 3, "the portal did not let 'demo' in"},
      {{"--password-env", "QZ_TEST_WRONG", "--namespace", "", "--url", "http://127.0.0.1:1/"}, 4, "Failed to send"},
      {{"--password-env", "QZ_TEST_WRONG", "--url", gateway.url() + "/?x"}, 4, ""},
      {{}, 2, "no terminal"},
      {{"--password-env", "QZ_TEST_NONE"}, 2, "does not exist"},
      {{"--password-file", nothing.path()}, 2, "is empty"},
      {{"--password-file", "-", "--password-env", "QZ_TEST_WRONG"}, 2, "excludes"},
      {{"--password-env", "QZ_TEST_WRONG", "--session", damaged.path()}, 2, "is no session file"},
      {{"--password-env", "QZ_TEST_WRONG", "--namespace-name", "x"}, 2, "goes with --namespace"},
  };
  for (const auto& [more, code, complaint] : kCases) {
    Words words = logon;
    if (std::ranges::count(more, "--url") != 0) words.resize(3);
    words.insert(words.end(), more.begin(), more.end());
    const FinishedTool finished = run(words);
    EXPECT_EQ(finished.code, code) << complaint << finished.output;
    EXPECT_NE(finished.errors.find(complaint), std::string::npos) << finished.errors;
    EXPECT_EQ(finished.output, "");
  }
}

TEST_P(PortalTools, ShowWhatAPlainRequestBrought) {
  const RunningGateway gateway;
  const FinishedTool refused = run({"http", "--url", gateway.url() + "?x", "--include"});
  EXPECT_EQ(refused.code, 4);
  EXPECT_TRUE(refused.output.starts_with("HTTP/1.1 405 ")) << refused.output;
  EXPECT_TRUE(refused.output.ends_with("\r\n\r\n")) << refused.output;
  EXPECT_NE(refused.errors.find("detail 405"), std::string::npos) << refused.errors;

  const ScratchFile output("old");
  const Words page = {"http", "--url", gateway.url() + kContextPage};
  Words toFile = page;
  toFile.insert(toFile.end(), {"--output", output.path()});
  EXPECT_EQ(run(toFile).output, "");
  EXPECT_EQ(output.content(), told(page)["body"]);
  EXPECT_EQ(told(page)["statusLine"], "HTTP/1.1 200 OK");
  EXPECT_EQ(run({"http", "--url", gateway.url(), "--header", "a: b\r\nc: d"}).code, 2);
}

TEST(PortalToolsFlat, RefuseAComponentThatTheFaceDoesNotKnow) {
  const FinishedTool finished = runQzcall({"logon", "--face", "flat", "--url", "http://127.0.0.1:1/", "--user", "demo",
                                           "--password-env", "QZ_TEST_WRONG", "--component", "other"});
  EXPECT_EQ(finished.code, 2);
  EXPECT_NE(finished.errors.find("always asks as the component 'pc'"), std::string::npos) << finished.errors;
}

TEST(QzcallPassword, IsTheFirstLineOfAFile) {
  const std::string longest(1024, 'x');
  // The password, or a piece of the complaint.
  const std::pair<std::string, std::string> kCases[] = {
      {"one\r\ntwo", "one"}, {" a b \n", " a b "},      {"\xEF\xBB\xBF\xC3\xA4", "\xC3\xA4"},
      {longest, longest},    {longest + "\n", longest}, {longest + "x", "longer than 1024"},
      {"\ntwo", "is empty"}, {"a\0b"s, "holds a zero"}, {"\xE4\n", "is not UTF-8"},
  };
  for (const auto& [content, expected] : kCases) {
    const ScratchFile file(content);
    const auto password = qzcall::readPassword({file.path(), ""}, "demo");
    if (password) {
      EXPECT_EQ(password->c_str(), expected);
    } else {
      EXPECT_NE(password.error().find(expected), std::string::npos) << password.error();
    }
  }
}

}  // namespace
