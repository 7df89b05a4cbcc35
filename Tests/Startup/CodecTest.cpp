// What the message codec takes from the settings, and what it logs.
#include <gtest/gtest.h>
#include <windows.h>

#include <regex>
#include <string>

#include "Tests/Support/InstallTree.h"

namespace {

using qz::test::InstallTree;
using qz::test::masked;

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

/// A log without its prefixes, line numbers and the lines that entering and leaving functions writes.
std::string said(const std::string& log) {
  const std::regex frame("[^\r\n]*(Enter |Exit |DllMain)[^\r]*\r\n"),
      place("@\\[:\\]| L[0-9]+|qzSOAP:RuntimeEngine/qzSOAP/");
  return std::regex_replace(std::regex_replace(masked(log), frame, ""), place, "");
}

TEST(Codec, MissingElementsAreLoggedByLevel) {
  const std::string always = "[ITKXmlDom] Xml contains no user preference\r\n";
  const std::string gated = "[ITKXmlDom] Xml contains no PRY information\r\n";
  std::string information = "[ITKRelayMessage] No close tag for node methodName\r\n";
  for (const std::string name :
       {"objectHandle", "numArguments", "keepAlive", "errorCode", "timeout", "asyncMode", "timeInterval"})
    information += "[ITKRelayMessage] No open tag for node " + name + "\r\n";
  const std::string flatAlways = "[XmlDom] getRELAYInfo: Xml contains no user preference\r\n";
  const std::string flatGated = "[XmlDom] getRELAYInfo: Xml contains no PRY information\r\n";
  const std::string flatInformation = "[RelayMessageImpl] ExtractDataMembers: No open tag for node qzSOAPBody\r\n";
  const std::string flatEnd = "[RelayMessageImpl] unpackInProxy: Failed to extract response information\r\n";
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"", always, flatAlways + flatEnd},
      {"LogInfo=1", gated + always + information, flatGated + flatAlways + flatInformation + flatEnd},
      {"LogTrace=1", gated + always, flatGated + flatAlways + flatEnd}};
  for (const auto& [level, toolkit, flat] : cases) {
    const InstallTree tree;
    tree.configure(level);
    EXPECT_EQ(tree.run({"unpack"}), "unpacked=1 0\n");
    EXPECT_EQ(said(tree.toolkitLog()), toolkit) << level;
    EXPECT_EQ(said(tree.flatLog()), flat) << level;
  }
}

}  // namespace
