// What the settings decide for call objects, error objects and tokens.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "Tests/Support/InstallTree.h"

namespace {

using qz::test::InstallTree;
using qz::test::masked;

TEST(Session, NoCompressionIsReadByEachNewCall) {
  const InstallTree tree;
  const auto ini = tree.path("configuration\\R7ITK.ini");
  EXPECT_EQ(tree.run({"compression", "write-ini", ini, "R7ITK Common", "NoCompression", "-1", "compression"}),
            "compression=1 1\ncompression=0 0\n");
}

TEST(Session, FlatErrorObjectsTellEveryChangeOfTheCodeAtLevel3) {
  const InstallTree silent, told;
  silent.configure("LogInfo=0");
  silent.run({"error-codes"});
  EXPECT_EQ(silent.flatLog(), "(missing)");
  told.configure("LogInfo=1");
  told.run({"error-codes"});
  std::string expected;
  for (const std::string codes : {"00", "02", "22", "23", "32", "02", "20"})
    expected += "@[:][qzSOAP:RuntimeEngine/qzSOAP/SOAPErrorImpl] setErrorCode: Error code " + codes.substr(0, 1) +
                " is replaced with " + codes.substr(1) + "\r\n";
  EXPECT_EQ(std::regex_replace(masked(told.flatLog()), std::regex(" L[0-9]+"), ""), expected);
}

TEST(Session, FlatBuffersTellOfMisuseAndOfTheirRelease) {
  const std::string type = "getStrBuffer: Buffer is not string type;";
  const std::string input = "write: input buffer is zero size;reset: input buffer is zero size;";
  const std::string to = "serializeToFile: System error [ *;", from = "serializeFromFile: System error [ *;";
  for (const auto& [levels, expected] :
       {std::pair{"LogInfo=0\r\nLogTrace=0", to + from},
        {"LogInfo=1", type + input + to + from},
        {"LogTrace=1", input + "Enter serializeToFile;" + to + "Exit serializeToFile;Enter serializeFromFile;" + from +
                           "Exit serializeFromFile;Enter release;Exit release;"}}) {
    const InstallTree tree;
    tree.configure(levels);
    tree.run({"misuse"});
    std::string said;
    const auto log = masked(tree.flatLog());
    const std::regex line("\\[qzSOAP:References/Common/BufferImpl L\\d+\\] (.*)\r\n");
    for (std::sregex_iterator hit(log.begin(), log.end(), line), end; hit != end; ++hit) said += hit->str(1) + ";";
    EXPECT_EQ(std::regex_replace(said, std::regex("0x[^;]*"), "*"), expected) << levels;
  }
}

TEST(Session, HarvestedCookiesAreInformationLines) {
  const InstallTree tree;
  tree.write("configuration\\R7ITK.ini", "[R7ITK Common]\r\nVersion=8300\r\n[R7ITK Internal Tracing]\r\nLogInfo=1\r\n");
  EXPECT_EQ(tree.run({"cookies"}), "harvested=1\n");
  std::string expected;
  for (const std::string url : {"http://harvest.example.org/", "http://harvest.example.org/dir/"})
    expected += "@[:][ITKRTT] Cookies of url " + url + " (6 bytes):\r\n@[:][ITKRTT] VTN=%s\r\n";
  EXPECT_EQ(std::regex_replace(masked(tree.toolkitLog()), std::regex(" L[0-9]+"), ""), expected);
}

}  // namespace
