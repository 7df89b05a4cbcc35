// What call objects and the message codec take from the settings.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "Tests/Support/InstallTree.h"

namespace {

using qz::test::InstallTree;

TEST(Session, NoCompressionIsReadByEachNewCall) {
  const InstallTree tree;
  const auto ini = tree.path("configuration\\R7ITK.ini");
  EXPECT_EQ(tree.run({"compression", "write-ini", ini, "R7ITK Common", "NoCompression", "-1", "compression"}),
            "compression=1 1\ncompression=0 0\n");
}

TEST(Codec, TheSchemaHostIsReadWithTheSettingsOfEachFaceAndNeverWritten) {
  const InstallTree tree;
  const std::string fallback = " http://schemas.tessel.example/schemas/relay/3/";
  const std::string gateway = " http://gateway.test:8080/schemas/relay/3/";
  EXPECT_EQ(tree.run({"relay-namespace"}), fallback + fallback + "\n");
  EXPECT_EQ(tree.ini("R7ITK.ini", "R7ITK Common", "SchemaHost"), "(missing)");
  EXPECT_EQ(tree.ini("qz.ini", "SOAP Common", "SchemaHost"), "(missing)");
  const auto namespaces = [&](const char* toolkitHost, const char* flatHost) {
    const auto toolkit = tree.path("configuration\\R7ITK.ini"), flat = tree.path("configuration\\qz.ini");
    WritePrivateProfileStringA("R7ITK Common", "SchemaHost", toolkitHost, toolkit.c_str());
    WritePrivateProfileStringA("SOAP Common", "SchemaHost", flatHost, flat.c_str());
    return tree.run({"relay-namespace"});
  };
  EXPECT_EQ(namespaces("gateway.test:8080", nullptr), gateway + fallback + "\n");
  EXPECT_EQ(namespaces("no host", "gateway.test:8080"), fallback + gateway + "\n");
  EXPECT_EQ(namespaces("no host", "no host"), fallback + fallback + "\n");
  for (const auto& log : {tree.toolkitLog(), tree.flatLog()})
    EXPECT_NE(log.find("SchemaHost is not the name of a host and is ignored: no host"), std::string::npos) << log;
}

}  // namespace
