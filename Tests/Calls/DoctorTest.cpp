// qzcall doctor, with the real program in installations that are sound and ill.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Tests/Support/InstallTree.h"
#include "Tests/Support/ToolPrograms.h"
#include "Tools/qzcall/DoctorInternet.h"

namespace {

using namespace std::string_literals;
using nlohmann::json;
using qz::test::FinishedTool;
using qz::test::InstallTree;

/// A copy of the program in an installation of its own.
class Installed {
 public:
  explicit Installed(const std::string& zlib = "zlib1.dll") : program_(tree_.install("qzcall.exe")) {
    tree_.install("qzSOAP.dll");
    if (!zlib.empty()) tree_.install(zlib, "zlib1.dll");
  }

  const InstallTree& tree() const { return tree_; }
  FinishedTool doctor() const { return qz::test::runTool(program_, {"doctor", "--json"}); }

 private:
  InstallTree tree_;
  std::string program_;
};

bool holds(const json& field, const std::string& part) {
  return field.is_string() && field.get<std::string>().find(part) != std::string::npos;
}

bool hasSetting(const json& examination, const json& wanted) {
  return std::ranges::any_of(examination["settings"], [&](const json& setting) { return setting == wanted; });
}

TEST(Doctor, FindsASoundInstallationSound) {
  const Installed installed;
  installed.tree().configure("LogInfo=1");
  const FinishedTool finished = installed.doctor();
  const json examination = json::parse(finished.output);
  EXPECT_EQ(finished.code, 0) << finished.output;
  EXPECT_EQ(examination["sound"], true);
  for (const json& finding : examination["findings"]) EXPECT_EQ(finding["state"], "ok") << finding;
  for (const char* const subject : {"zlib", "MSXML", "WinINet", "proxy", "compression", "decoding"})
    EXPECT_NE(finished.output.find("\""s + subject + "\""), std::string::npos) << subject;
  EXPECT_NE(finished.output.find("msxml3.dll, version"), std::string::npos) << finished.output;
  const json expected = {
      {"face", "flat"}, {"section", "SOAP Internal Tracing"}, {"key", "LogInfo"}, {"value", "1"}, {"origin", "ini"}};
  EXPECT_TRUE(hasSetting(examination, expected)) << finished.output;
}

TEST(Doctor, ShowsWhatTheLibraryMakesOfSettings) {
  const Installed installed;
  installed.tree().configure("LogTrace=yes");
  installed.tree().write("configuration\\qz.ini", "[SOAP Common]\r\nVersion=8100\r\nSchemaHost=no host\r\n");
  const json examination = json::parse(installed.doctor().output);
  const json kExpected[] = {{{"face", "toolkit"},
                             {"section", "R7ITK Internal Tracing"},
                             {"key", "LogTrace"},
                             {"value", "0"},
                             {"origin", "ini"},
                             {"written", "yes"}},
                            {{"face", "flat"},
                             {"section", "SOAP Common"},
                             {"key", "SchemaHost"},
                             {"value", "schemas.tessel.example"},
                             {"origin", "ini"},
                             {"written", "no host"}}};
  for (const json& setting : kExpected) EXPECT_TRUE(hasSetting(examination, setting)) << setting << examination;
}

TEST(Doctor, NamesWhatIsWrongAndItsCure) {
  // What makes the installation ill, and what is to be found; a note has no cure.
  struct Case {
    const char* zlib;
    void (*fallIll)(const InstallTree& tree);
    const char* state;
    const char* subject;
    const char* text;
    const char* cure;
  };
  constexpr auto kNothing = [](const InstallTree&) {};
  const Case kCases[] = {
      {"", kNothing, "FAULT", "zlib", "is not there", "Put the zlib1.dll"},
      {"zlib_of_other_version.dll", kNothing, "FAULT", "zlib", "is version 1.2.30, not 1.2.3", "Put the zlib1.dll"},
      {"zlib_with_2.dll", kNothing, "FAULT", "zlib", "has no function", "Put the zlib1.dll"},
      {"zlib1.dll", [](const InstallTree& tree) { tree.write("configuration", "a file"); }, "FAULT", "settings",
       "qz.ini (flat face) is not there and cannot be made", "Put a folder in the place of the file"},
      {"zlib1.dll", [](const InstallTree& tree) { tree.configure("LogFilePath=Z:/no/such/a.log"); }, "FAULT", "log",
       "there is no such folder", "Make the folder 'Z:\\no\\such', or name another file"},
      {"zlib1.dll", [](const InstallTree& tree) { tree.configure("LogFilePath=" + tree.root()); }, "FAULT", "log",
       "it is a folder", "name another file"},
      {"zlib1.dll", [](const InstallTree& tree) { tree.configure("LogFilePath=a.log"); }, "note", "log",
       "LogFilePath=a.log is no full path", nullptr},
      {"zlib1.dll", [](const InstallTree& tree) { tree.configure("LogTrace=yes"); }, "note", "settings",
       "LogTrace=yes of the toolkit face counts as 0", nullptr},
      {"zlib1.dll", [](const InstallTree& tree) { tree.write("qz.ini", "[SOAP Common]\r\n"); }, "note", "settings",
       "\\qz.ini has no effect: the flat face reads ", nullptr},
  };
  for (const Case& ill : kCases) {
    const Installed installed(ill.zlib);
    ill.fallIll(installed.tree());
    const FinishedTool finished = installed.doctor();
    EXPECT_EQ(finished.code, ill.cure == nullptr ? 0 : 1) << finished.output;
    const json findings = json::parse(finished.output)["findings"];
    const bool isFound = std::ranges::any_of(findings, [&ill](const json& finding) {
      return finding["state"] == ill.state && finding["subject"] == ill.subject && holds(finding["text"], ill.text) &&
             (ill.cure == nullptr ? !finding.contains("cure") : holds(finding["cure"], ill.cure));
    });
    EXPECT_TRUE(isFound) << ill.text << finished.output;
  }
}

TEST(Doctor, SaysHowAProxyIsFound) {
  using qzcall::ProxySettings;
  const std::pair<ProxySettings, const char*> kCases[] = {
      {{}, "none: connections go straight to the server"},
      {{false, "", "p:1", "<local>"}, "p:1, but not for <local>"},
      {{true, "", "", ""},
       "what the network announces (automatic detection is on); otherwise none: connections go straight to the server"},
      {{true, "http://p/s", "p:1", ""},
       "what the network announces (automatic detection is on); otherwise what the script http://p/s says; "
       "otherwise p:1"},
  };
  for (const auto& [settings, text] : kCases) EXPECT_EQ(qzcall::proxyText(settings), text);
}

}  // namespace
