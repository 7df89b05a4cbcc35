// What start-up finds, reads and writes back, each test in an installation of its own.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "Tests/Support/InstallTree.h"

namespace {

using qz::test::BothSettings;
using qz::test::InstallTree;

constexpr const char* kToolkitIni = "configuration\\R7ITK.ini";
constexpr const char* kFlatIni = "configuration\\qz.ini";
constexpr const char* kToolkitTracing = "R7ITK Internal Tracing";
constexpr const char* kFlatTracing = "SOAP Internal Tracing";

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The trace levels of toolkit and flat face.
std::string levels(const BothSettings& settings) {
  return std::to_string(settings.toolkit.getTraceLevel()) + " " + std::to_string(settings.flat.getTraceLevel());
}

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

TEST(Settings, WhatAnIniFileMeansAndWhatItHoldsAfterwards) {
  struct Case {
    const char *version, *logTrace;  // in both ini files
    const char* levels;
    const char *toolkitVersion, *toolkitTrace, *flatVersion, *flatTrace;  // afterwards
  };
  for (const auto& c : {Case{"8300", "-5", "1 1", "8300", "0", "8300", "0"},
                        {"8300", "2abc", "5 5", "8300", "2abc", "8300", "2abc"},
                        {"8300", "", "1 1", "8300", "0", "8300", "0"},
                        {"8300", "4294967296", "5 5", "8300", "4294967296", "8300", "4294967296"},
                        {"8299", "1", "1 5", "8300", "0", "8299", "1"},
                        {"8100", "1", "1 5", "8300", "0", "8100", "1"},
                        {"8099", "1", "1 1", "8300", "0", "8100", "0"},
                        {"9000x", "+1", "5 5", "9000x", "+1", "9000x", "+1"}}) {
    const InstallTree tree;
    tree.configure("LogTrace=" + std::string(c.logTrace), c.version, c.version);
    EXPECT_EQ(levels(BothSettings(tree)), c.levels) << c.version << c.logTrace;
    EXPECT_EQ(tree.ini("R7ITK.ini", "R7ITK Common", "Version"), c.toolkitVersion);
    EXPECT_EQ(tree.ini("R7ITK.ini", kToolkitTracing, "LogTrace"), c.toolkitTrace);
    EXPECT_EQ(tree.ini("qz.ini", "SOAP Common", "Version"), c.flatVersion);
    EXPECT_EQ(tree.ini("qz.ini", kFlatTracing, "LogTrace"), c.flatTrace);
  }
}

TEST(Settings, ReadingAgainTakesWhatIsNewAndKeepsTheToolkitsLog) {
  const InstallTree tree;
  tree.configure("");
  BothSettings settings(tree);
  const std::string log = settings.toolkit.getLogFilePath();
  EXPECT_EQ(log, tree.path(tree.toolkitLogName()));
  settings.toolkit.setIniKeyInt("LogInfo", 1, kToolkitTracing, nullptr);
  settings.flat.setIniKeyString("LogFilePath", tree.path("Logs\\b.log").c_str(), kFlatTracing, nullptr);
  EXPECT_EQ(levels(settings), "1 1");
  settings.toolkit.reInitialize(), settings.flat.reInitialize();
  EXPECT_EQ(levels(settings), "3 1");
  EXPECT_EQ(settings.toolkit.getLogFilePath(), log);
  settings.flat.logText(CqzLog::Error, "c", "s", 1, "text");
  EXPECT_TRUE(contains(tree.read("Logs\\b.log"), "text\r\n"));
}

TEST(Settings, Keys) {
  const InstallTree tree;
  BothSettings settings(tree);
  auto& es = settings.toolkit;
  std::array<char, 8> room;
  const auto text = [&](const char* key, const char* otherwise) {
    const char* found = es.getIniKeyString(key, room.data(), room.size(), otherwise, nullptr, nullptr);
    return std::string(found == nullptr ? "(null)" : found);
  };
  es.setIniKeyString("Name", "abcdefghij", nullptr, nullptr);
  EXPECT_EQ(text("name", ""), "abcdefg");
  es.setIniKeyString("Name", nullptr, nullptr, nullptr);
  EXPECT_EQ(text("Name", "default"), "default");
  EXPECT_EQ(text("Name", nullptr), "(null)");
  es.setIniKeyInt("Number", -2147483647, "Other", nullptr);
  EXPECT_EQ(es.getIniKeyInt("number", 1, "OTHER", nullptr), -2147483647);
  EXPECT_EQ(es.getNoAutoCert(), 0);
  es.setNoAutoCert(1);
  EXPECT_EQ(es.getNoAutoCert(), 1);
  es.setIniKeyInt("NoAutoCert", 2, nullptr, nullptr);
  EXPECT_EQ(es.getNoAutoCert(), 2);
}

TEST(Settings, RuntimePaths) {
  const InstallTree tree;
  BothSettings settings(tree);
  std::array<char, 300> room;
  const auto joined = [&](const char* relative, std::size_t size) {
    const char* path = settings.flat.buildRuntimePath(room.data(), static_cast<int>(size), relative);
    return std::string(path == nullptr ? "(null)" : path);
  };
  const auto data = tree.path("data");
  EXPECT_EQ(joined("\\data", data.size() + 1), data);
  EXPECT_EQ(joined("data", data.size() + 1), data);
  EXPECT_EQ(joined(nullptr, room.size()), tree.path(""));
  for (const std::size_t size : {data.size(), std::size_t{1}, std::size_t{0}})
    EXPECT_EQ(joined("data", size), "(null)");
}

TEST(Settings, PathsThatAreTooLongStayEmpty) {
  // The library itself can still be loaded, but neither ini file nor log has a path that fits.
  auto root = InstallTree::freshFolder() + "\\";
  while (root.size() < 242) root += root.size() % 50 == 0 && root.size() < 240 ? '\\' : 'p';
  const InstallTree tree(root);
  BothSettings settings(tree);
  EXPECT_EQ(settings.flat.getRenditionFolder(), root);
  EXPECT_STREQ(settings.toolkit.getLogFilePath(), "");
  settings.toolkit.logText(ITKLog::Error, "s", 1, "text");
  settings.flat.setIniKeyInt("Number", 1, nullptr, nullptr);
  EXPECT_EQ(settings.flat.getIniKeyInt("Number", 7, nullptr, nullptr), 7);
}

}  // namespace
