// What start-up finds, reads and writes back, each test in an installation and a process of its own.
#include <gtest/gtest.h>

#include <string>

#include "Tests/Startup/InstallTree.h"

namespace {

using qz::test::InstallTree;

constexpr const char* kToolkitIni = "configuration\\R7ITK.ini";
constexpr const char* kFlatIni = "configuration\\qz.ini";
constexpr const char* kToolkitTracing = "R7ITK Internal Tracing";
constexpr const char* kFlatTracing = "SOAP Internal Tracing";

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(Settings, FirstStartMakesTheToolkitsFilesAndTheSecondTheFlatOnes) {
  const InstallTree tree;
  const auto shown = tree.run({"show"});
  EXPECT_EQ(shown, "root=" + tree.root() + "\nlog=" + tree.path(tree.toolkitLogName()) + "\nlevels=1 1\nservice=0 0\n");
  EXPECT_EQ(tree.ini("R7ITK.ini", "R7ITK Common", "Version"), "8300");
  const auto toolkit = tree.read(kToolkitIni);
  EXPECT_TRUE(contains(toolkit, "[R7ITK Internal Tracing]\r\nLogBinary=0\r\nLogInfo=0\r\nLogTrace=0\r\n")) << toolkit;
  EXPECT_EQ(tree.toolkitLog(), "");
  // The flat settings come first and do not make the folder, so they can write only from the second start on.
  EXPECT_EQ(tree.read(kFlatIni), "(missing)");
  tree.run({});
  EXPECT_EQ(tree.ini("qz.ini", "SOAP Common", "Version"), "8100");
  const auto flat = tree.read(kFlatIni);
  EXPECT_TRUE(contains(flat, "[SOAP Internal Tracing]\r\nLogFilePath=" + tree.path("Logs\\qzSOAP.log") +
                                 "\r\nLogBinary=0\r\nLogInfo=0\r\nLogTrace=0\r\n"))
      << flat;
  EXPECT_EQ(tree.read(kToolkitIni), toolkit);
  EXPECT_EQ(tree.flatLog(), "(missing)");
}

TEST(Settings, SwitchValues) {
  struct Case {
    const char* value;   // in both ini files
    bool on;             // what it means
    const char* stored;  // what the files hold afterwards
  };
  for (const auto& [value, on, stored] : {Case{"-5", false, "0"},
                                          {"2abc", true, "2abc"},
                                          {"", false, "0"},
                                          {"abc", false, "abc"},
                                          {"+1", true, "+1"},
                                          {"4294967296", true, "4294967296"},
                                          {"-4294967295", false, "0"}}) {
    const InstallTree tree;
    tree.configure("LogTrace=" + std::string(value));
    EXPECT_TRUE(contains(tree.run({"show"}), on ? "levels=5 5" : "levels=1 1")) << value;
    EXPECT_EQ(tree.ini("R7ITK.ini", kToolkitTracing, "LogTrace"), stored) << value;
    EXPECT_EQ(tree.ini("qz.ini", kFlatTracing, "LogTrace"), stored) << value;
  }
}

TEST(Settings, AnOlderVersionEmptiesTheFile) {
  struct Case {
    const char* version;
    bool toolkitKept, flatKept;
  };
  for (const auto& [version, toolkitKept, flatKept] :
       {Case{"8099", false, false}, {"8100", false, true}, {"8299", false, true}, {"9000x", true, true}}) {
    const InstallTree tree;
    tree.configure("LogTrace=1", version, version);
    EXPECT_TRUE(
        contains(tree.run({"show"}), std::string("levels=") + (toolkitKept ? "5 " : "1 ") + (flatKept ? "5" : "1")))
        << version;
    EXPECT_EQ(tree.ini("R7ITK.ini", "R7ITK Common", "Version"), toolkitKept ? version : "8300");
    EXPECT_EQ(tree.ini("R7ITK.ini", kToolkitTracing, "LogTrace"), toolkitKept ? "1" : "0") << version;
    EXPECT_EQ(tree.ini("qz.ini", "SOAP Common", "Version"), flatKept ? version : "8100");
    EXPECT_EQ(tree.ini("qz.ini", kFlatTracing, "LogTrace"), flatKept ? "1" : "0") << version;
  }
}

TEST(Settings, ReadingAgainTakesWhatIsNewAndKeepsTheToolkitsLog) {
  const InstallTree tree;
  tree.configure("");
  const auto output =
      tree.run({"show", "write-ini", tree.path(kToolkitIni), kToolkitTracing, "LogInfo", "1", "write-ini",
                tree.path(kFlatIni), kFlatTracing, "LogFilePath", tree.path("Logs\\b.log"), "again", "show", "levels"});
  EXPECT_TRUE(contains(output, "levels=1 1") && contains(output, "levels=3 1")) << output;
  EXPECT_TRUE(contains(tree.toolkitLog(), "level 2\r\n"));
  EXPECT_TRUE(contains(tree.read("Logs\\b.log"), "level 1\r\n"));
}

TEST(Settings, KeysPathsAndFlags) {
  const InstallTree tree;
  tree.run({});
  EXPECT_EQ(tree.run({"keys"}), "text=abcdefg\ntext=default\ntext=(null)\ntext=gone\nnumber=-2147483647 1\n");
  EXPECT_EQ(tree.run({"no-auto-cert", "set-no-auto-cert", "1", "no-auto-cert", "write-ini", tree.path(kToolkitIni),
                      "R7ITK Common", "NoAutoCert", "2", "no-auto-cert"}),
            "noAutoCert=0\nnoAutoCert=1\nnoAutoCert=2\n");
  const auto data = "path=" + tree.path("data") + "\n", bare = "path=" + tree.path("") + "\n";
  EXPECT_EQ(tree.run({"paths"}), data + data + bare + bare + "fits=1\nfits=0\nfits=0\nfits=0\nfits=0\n");
  EXPECT_TRUE(contains(tree.run({"service", "3", "show"}), "service=3 0"));
}

TEST(Settings, AConfigurationThatIsAFileIsNotReplaced) {
  const InstallTree tree;
  tree.write("configuration", "mine");
  EXPECT_TRUE(contains(tree.run({"show"}), "levels=1 1"));
  EXPECT_EQ(tree.read("configuration"), "mine");
  EXPECT_EQ(tree.read("R7ITK.ini"), "(missing)");
}

TEST(Settings, PathsThatAreTooLongStayEmpty) {
  // The library itself can still be loaded, but neither ini file nor log has a path that fits.
  auto root = qz::test::freshFolder() + "\\";
  while (root.size() < 242) root += root.size() % 50 == 0 && root.size() < 240 ? '\\' : 'p';
  const InstallTree tree(root);
  const auto output = tree.run({"show", "odd", "dump", "levels", "keys", "paths", "flat"});
  EXPECT_TRUE(output.starts_with("root=" + root + "\nlog=\nlevels=1 1\n")) << output;
  EXPECT_TRUE(contains(output, "text=default\n")) << output;
}

}  // namespace
