// What start-up finds, reads and writes back, each test in an installation and a process of its own.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <string>

#include "Tests/Startup/InstallTree.h"
#include "Tests/Support/ChildProcess.h"

namespace {

using qz::test::InstallTree;

constexpr const char* kToolkitIni = "configuration\\R7ITK.ini";
constexpr const char* kFlatIni = "configuration\\qz.ini";
constexpr const char* kToolkitTracing = "R7ITK Internal Tracing";
constexpr const char* kFlatTracing = "SOAP Internal Tracing";

TEST(Settings, FirstStartMakesTheToolkitsFilesAndTheSecondTheFlatOnes) {
  const InstallTree tree;
  const auto shown = tree.run({"show"});
  EXPECT_EQ(shown, "root=" + tree.root() + "\nlog=" + tree.path(tree.toolkitLogName()) + "\nlevels=1 1\nservice=0 0\n");
  EXPECT_EQ(tree.ini("R7ITK.ini", "R7ITK Common", "Version"), "8300");
  const auto toolkit = tree.read(kToolkitIni);
  const auto binary = toolkit.find("LogBinary=0"), info = toolkit.find("LogInfo=0"), trace = toolkit.find("LogTrace=0");
  EXPECT_LT(toolkit.find("[R7ITK Internal Tracing]"), binary);
  EXPECT_LT(binary, info);
  EXPECT_LT(info, trace);
  EXPECT_NE(trace, std::string::npos);
  EXPECT_EQ(tree.toolkitLog(), "");
  // The flat settings come first and do not make the folder, so they can write only from the second start on.
  EXPECT_EQ(tree.read(kFlatIni), "(missing)");
  tree.run({});
  EXPECT_EQ(tree.ini("qz.ini", "SOAP Common", "Version"), "8100");
  EXPECT_EQ(tree.ini("qz.ini", kFlatTracing, "LogFilePath"), tree.path("Logs\\qzSOAP.log"));
  for (const char* key : {"LogBinary", "LogInfo", "LogTrace"}) EXPECT_EQ(tree.ini("qz.ini", kFlatTracing, key), "0");
  EXPECT_EQ(tree.read(kToolkitIni), toolkit);
  EXPECT_EQ(tree.flatLog(), "(missing)");
}

TEST(Settings, SwitchValues) {
  struct Case {
    const char* value;   // in both ini files
    bool on;             // what it means
    const char* stored;  // what the files hold afterwards
  };
  const Case cases[] = {{"-5", false, "0"},
                        {"2abc", true, "2abc"},
                        {"", false, "0"},
                        {"abc", false, "abc"},
                        {"+1", true, "+1"},
                        {"0", false, "0"},
                        {"  3  ", true, "3"},
                        {"4294967296", true, "4294967296"},
                        {"-4294967295", false, "0"},
                        {"99999999999999999999", true, "99999999999999999999"}};
  for (const auto& [value, on, stored] : cases) {
    const InstallTree tree;
    const std::string switches = "LogBinary=0\r\nLogInfo=0\r\nLogTrace=" + std::string(value) + "\r\n";
    tree.write(kToolkitIni, "[R7ITK Common]\r\nVersion=8300\r\n[R7ITK Internal Tracing]\r\n" + switches);
    tree.write(kFlatIni, "[SOAP Common]\r\nVersion=8100\r\n[SOAP Internal Tracing]\r\n" + switches);
    EXPECT_NE(tree.run({"show"}).find(on ? "levels=5 5" : "levels=1 1"), std::string::npos) << value;
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
       {Case{"8000", false, false}, Case{"8100", false, true}, Case{"8299", false, true}, Case{"8300", true, true},
        Case{"9000x", true, true}, Case{"-1", false, false}, Case{"new", false, false}}) {
    const InstallTree tree;
    const std::string rest = "Version=" + std::string(version) + "\r\nMine=1\r\n";
    tree.write(kToolkitIni, "[R7ITK Common]\r\n" + rest + "[R7ITK Internal Tracing]\r\nLogTrace=1\r\n");
    tree.write(kFlatIni, "[SOAP Common]\r\n" + rest + "[SOAP Internal Tracing]\r\nLogTrace=1\r\n");
    const auto levels = std::string("levels=") + (toolkitKept ? "5 " : "1 ") + (flatKept ? "5" : "1");
    EXPECT_NE(tree.run({"show"}).find(levels), std::string::npos) << version;
    EXPECT_EQ(tree.ini("R7ITK.ini", "R7ITK Common", "Mine"), toolkitKept ? "1" : "(missing)") << version;
    EXPECT_EQ(tree.ini("R7ITK.ini", "R7ITK Common", "Version"), toolkitKept ? version : "8300") << version;
    EXPECT_EQ(tree.ini("R7ITK.ini", kToolkitTracing, "LogTrace"), toolkitKept ? "1" : "0") << version;
    EXPECT_EQ(tree.ini("qz.ini", "SOAP Common", "Mine"), flatKept ? "1" : "(missing)") << version;
    EXPECT_EQ(tree.ini("qz.ini", "SOAP Common", "Version"), flatKept ? version : "8100") << version;
  }
}

TEST(Settings, ReadingAgainTakesNewSwitchesAndKeepsTheToolkitsLog) {
  const InstallTree tree;
  const auto output =
      tree.run({"show", "write-ini", tree.path(kToolkitIni), kToolkitTracing, "LogInfo", "1", "write-ini",
                tree.path(kFlatIni), kFlatTracing, "LogFilePath", tree.path("Logs\\b.log"), "again", "show", "levels"});
  EXPECT_NE(output.find("levels=1 1"), std::string::npos);
  EXPECT_NE(output.find("levels=3 1"), std::string::npos);
  EXPECT_NE(tree.toolkitLog().find("level 2\r\n"), std::string::npos);
  // The flat file was of no version, so its new key went with the rest.
  EXPECT_EQ(tree.read("Logs\\b.log"), "(missing)");
  EXPECT_NE(tree.flatLog().find("level 1\r\n"), std::string::npos);
}

TEST(Settings, KeysArePassedToTheSystemWithTheirDefaults) {
  const InstallTree tree;
  tree.run({});
  EXPECT_EQ(tree.run({"keys"}), "text=abcdefg\ntext=default\ntext=(null)\ntext=gone\nnumber=-2147483647 1\n");
  EXPECT_EQ(tree.run({"no-auto-cert", "set-no-auto-cert", "1", "no-auto-cert", "write-ini", tree.path(kToolkitIni),
                      "R7ITK Common", "NoAutoCert", "2", "no-auto-cert"}),
            "noAutoCert=0\nnoAutoCert=1\nnoAutoCert=2\n");
}

TEST(Settings, RuntimePathsAndServiceFlags) {
  const InstallTree tree;
  const auto data = "path=" + tree.path("data") + "\n", bare = "path=" + tree.path("") + "\n";
  EXPECT_EQ(tree.run({"paths"}), data + data + bare + bare + "fits=1\nfits=0\nfits=0\nfits=0\nfits=0\n");
  EXPECT_NE(tree.run({"service", "3", "show"}).find("service=3 0"), std::string::npos);
}

TEST(Settings, AConfigurationThatIsAFileIsNotReplaced) {
  const InstallTree tree;
  tree.write("configuration", "mine");
  EXPECT_NE(tree.run({"show"}).find("levels=1 1"), std::string::npos);
  EXPECT_EQ(tree.read("configuration"), "mine");
  EXPECT_EQ(tree.read("R7ITK.ini"), "(missing)");
}

/// The library and its child in the root of drive C:, as long as the object lives.
class RootInstallation {
 public:
  explicit RootInstallation(const InstallTree& tree) {
    for (const char* file : kFiles) CopyFileA(tree.path(std::string("bin") + file).c_str(), inRoot(file).c_str(), TRUE);
  }
  ~RootInstallation() {
    std::error_code ignored;
    for (const char* entry : kEntries) std::filesystem::remove_all(inRoot(entry), ignored);
  }
  RootInstallation(const RootInstallation&) = delete;
  RootInstallation& operator=(const RootInstallation&) = delete;

  /// Whether the drive is one to play with: a disposable one that has none of the files yet.
  static bool possible() {
    const bool disposable = GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
    return disposable && std::none_of(std::begin(kEntries), std::end(kEntries),
                                      [](const char* entry) { return std::filesystem::exists(inRoot(entry)); });
  }

 private:
  static constexpr const char* kFiles[] = {"\\qzSOAP.dll", "\\c.exe"};
  static constexpr const char* kEntries[] = {"\\qzSOAP.dll", "\\c.exe", "\\configuration", "\\Logs"};
  static std::string inRoot(const char* name) { return std::string("C:") + name; }
};

TEST(Settings, ALibraryInTheRootOfADrive) {
  if (!RootInstallation::possible()) GTEST_SKIP() << "needs a disposable drive C:";
  const InstallTree tree;
  const RootInstallation installation(tree);
  qz::test::ChildProcess child("C:\\c.exe", {"show", "paths"}, tree.root());
  ASSERT_EQ(child.wait(std::chrono::seconds(60)), 0);
  EXPECT_NE(child.output().find("root=C:\r\n"), std::string::npos) << child.output();
  EXPECT_NE(child.output().find("path=C:\\data\r\n"), std::string::npos) << child.output();
  EXPECT_TRUE(std::filesystem::exists("C:\\configuration\\R7ITK.ini"));
}

TEST(Settings, PathsThatAreTooLongStayEmpty) {
  // The library itself can still be loaded, but neither ini file nor log has a path that fits.
  auto root = qz::test::freshFolder() + "\\";
  while (root.size() < 242) root += root.size() % 50 == 0 && root.size() < 240 ? '\\' : 'p';
  const InstallTree tree(root);
  const auto output = tree.run({"show", "odd", "dump", "levels", "keys", "paths", "flat"});
  EXPECT_EQ(output.substr(0, output.find("service")), "root=" + root + "\nlog=\nlevels=1 1\n");
  EXPECT_NE(output.find("text=default\n"), std::string::npos) << output;
}

}  // namespace
