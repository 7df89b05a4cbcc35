// What the message codec takes from the settings, and what it logs.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "Tests/Support/InstallTree.h"

namespace {

using qz::test::InstallTree;
using qz::test::masked;

TEST(Codec, TheSchemaHostIsReadWithTheSettingsAndNeverWritten) {
  const InstallTree tree;
  EXPECT_EQ(tree.run({"relay-namespace"}), "relay=http://schemas.tessel.example/schemas/relay/3/\n");
  EXPECT_EQ(tree.ini("R7ITK.ini", "R7ITK Common", "SchemaHost"), "(missing)");
  const auto ini = tree.path("configuration\\R7ITK.ini");
  EXPECT_EQ(tree.run({"write-ini", ini, "R7ITK Common", "SchemaHost", "gateway.test:8080", "again", "relay-namespace",
                      "write-ini", ini, "R7ITK Common", "SchemaHost", "no host", "again", "relay-namespace"}),
            "relay=http://gateway.test:8080/schemas/relay/3/\n"
            "relay=http://schemas.tessel.example/schemas/relay/3/\n");
  EXPECT_NE(tree.toolkitLog().find("SchemaHost is not the name of a host and is ignored: no host"), std::string::npos);
}

TEST(Codec, MissingElementsAreLoggedByLevel) {
  const std::string always = "[ITKXmlDom] Xml contains no user preference\r\n";
  const std::string gated = "[ITKXmlDom] Xml contains no PRY information\r\n";
  std::string information = "[ITKRelayMessage] No close tag for node methodName\r\n";
  for (const std::string name :
       {"objectHandle", "numArguments", "keepAlive", "errorCode", "timeout", "asyncMode", "timeInterval"})
    information += "[ITKRelayMessage] No open tag for node " + name + "\r\n";
  for (const auto& [level, expected] :
       {std::pair{"", always}, {"LogInfo=1", gated + always + information}, {"LogTrace=1", gated + always}}) {
    const InstallTree tree;
    tree.configure(level);
    EXPECT_EQ(tree.run({"unpack"}), "unpacked=1\n");
    EXPECT_EQ(std::regex_replace(masked(tree.toolkitLog()), std::regex("@\\[:\\]| L[0-9]+"), ""), expected) << level;
  }
}

}  // namespace
