// The trace logs to the byte, as a host's process leaves them.
#include <gtest/gtest.h>
#include <windows.h>

#include <regex>
#include <string>

#include "Tests/Startup/InstallTree.h"

namespace {

using qz::test::InstallTree;
using qz::test::masked;

std::string switches(bool binary, bool info, bool trace) {
  const auto one = [](const char* key, bool on) { return key + std::string(on ? "=1\r\n" : "=0\r\n"); };
  return one("LogBinary", binary) + one("LogInfo", info) + one("LogTrace", trace);
}

TEST(TraceLog, SwitchesDecideWhichLevelsAreWritten) {
  for (const bool info : {false, true})
    for (const bool trace : {false, true}) {
      const InstallTree tree;
      tree.configure(switches(false, info, trace));
      tree.run({"levels", "dump"});
      std::string toolkit, flat;
      for (const int level : {0, 1, 2, 3, 4, 5}) {
        if ((level == 2 && !info) || (level == 4 && !trace)) continue;
        const auto rest = "L" + std::to_string(10 + level) + "] level " + std::to_string(level) + "\r\n";
        toolkit += "@[:][StartupChild " + rest;
        flat += "@[:][qzSOAP:RuntimeEngine/qzSOAP/StartupChild " + rest;
      }
      EXPECT_EQ(masked(tree.toolkitLog()), toolkit);
      // Without the lines of the library's own sources.
      EXPECT_EQ(std::regex_replace(masked(tree.flatLog()), std::regex(".*RuntimeEngine/qzSOAP/[qr].*\r\n"), ""), flat);
    }
}

TEST(TraceLog, TextsAreNoFormatsAndMayBeMissing) {
  const InstallTree tree;
  tree.configure("");
  tree.run({"odd"});
  EXPECT_EQ(masked(tree.toolkitLog()), "@[:][StartupChild L1] 100%s %n\r\n@[:][ L2] \r\n@[:][ L3] %d\r\n");
  EXPECT_EQ(masked(tree.flatLog()), std::string("@[:][: L4] 100%s %n\r\n@[:][c:s L5] a\0b\r\n", 39));
}

TEST(TraceLog, DumpsAreWholeInTextMode) {
  const InstallTree tree;
  tree.configure(switches(true, false, false));
  tree.run({"dump"});
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += i == '\n' ? std::string("\r\n") : std::string(1, static_cast<char>(i));
  EXPECT_EQ(masked(tree.toolkitLog()), "@[:][StartupChild L1] Byte stream of size 256\r\r\n" + bytes + "\r\n" +
                                           "@[:][StartupChild L3] Byte stream of size 0\r\r\n\r\n" +
                                           "@[:][StartupChild L4] Byte stream of size 0\r\r\n\r\n");
  EXPECT_EQ(masked(tree.flatLog()),
            "@[P:T][qzSOAP:RuntimeEngine/qzSOAP/StartupChild L2] Byte stream of size 256\r\r\n" + bytes + "\r\n");
}

TEST(TraceLog, FormattedMessagesAreCut) {
  const InstallTree tree;
  tree.configure("");
  tree.run({"long", "31999", "long", "32000", "long", "32001", "long", "40000"});
  std::string expected;
  for (const std::size_t kept : {31999, 32000, 32000, 32000}) expected += "] " + std::string(kept, 'x') + "\r\n";
  for (auto log : {tree.toolkitLog(), tree.flatLog()}) {
    std::string messages;
    for (auto at = log.find("] x"); at != std::string::npos; at = log.find("] x", at + 1))
      messages += log.substr(at, log.find('\n', at) + 1 - at);
    EXPECT_TRUE(messages == expected) << messages.size();
  }
}

TEST(TraceLog, EntryAndExitOfFlatFunctionsAndOfTheLibrary) {
  const InstallTree on;
  on.configure(switches(false, false, true));
  EXPECT_EQ(on.run({"flat"}), "service=1 timeout=300000\n");
  std::string expected = "@[:][qzSOAP:RuntimeEngine/qzSOAP/qzSOAP] DllMain: Process attach\r\n";
  for (const std::string function : {"rpcSOAP_setIsService", "rpcSOAPSetHTTPTimeOutValue", "rpcSOAPGetHTTPTimeOutValue",
                                     "rpcSOAP_getIsService", "rpcSOAPSetUserCredential"})
    for (const std::string event : {"Enter ", "Exit "})
      expected += "@[:][qzSOAP:RuntimeEngine/qzSOAP/rpcSOAPAPI] " + event + function + "\r\n";
  expected += "@[:][qzSOAP:RuntimeEngine/qzSOAP/qzSOAP] DllMain: Process detach\r\n";
  EXPECT_EQ(std::regex_replace(masked(on.flatLog()), std::regex(" L[0-9]+"), ""), expected);

  const InstallTree off;
  off.configure(switches(true, true, false));
  off.run({"flat"});
  EXPECT_EQ(off.flatLog(), "(missing)");
}

TEST(TraceLog, AFileHeldByAnotherProgramIsSkipped) {
  const InstallTree tree;
  tree.run({"levels"});
  const auto before = tree.toolkitLog();
  const HANDLE held =
      CreateFileA(tree.path(tree.toolkitLogName()).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  tree.run({"levels", "odd"});
  CloseHandle(held);
  tree.run({"levels"});
  EXPECT_EQ(masked(tree.toolkitLog()), masked(before + before));
}

TEST(TraceLog, TheFlatLogLiesWhereItsKeySays) {
  const InstallTree tree;
  const auto logAt = [&](const std::string& relative) {
    tree.configure("LogFilePath=" + tree.path(relative));
    tree.run({"levels"});
    return tree.read(relative);
  };
  EXPECT_NE(logAt("other\\my.log"), "(missing)");
  // Only one level of folders is made.
  EXPECT_EQ(logAt("far\\away\\my.log"), "(missing)");
  EXPECT_EQ(logAt("deep\\" + std::string(300, 'd') + ".log"), "(missing)");
  EXPECT_EQ(tree.flatLog(), "(missing)");
}

TEST(TraceLog, DebuggerOutput) {
  const InstallTree tree;
  const auto output = tree.run({"debugger"});
  EXPECT_TRUE(std::regex_match(output, std::regex("debug=(\\[\\d+:\\d+\\]) StartupChild\\[7\\]: 100% plain\r\n"
                                                  "debug=\\1 StartupChild\\[8\\]: formatted 9\r\n")))
      << output;
}

}  // namespace
