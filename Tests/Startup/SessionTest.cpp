// What the settings decide for call objects, error objects, tokens and the message codec.
#include <gtest/gtest.h>
#include <windows.h>

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
