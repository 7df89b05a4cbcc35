#include "ITKXmlDom.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

#include <fstream>
#include <string>
#include <thread>

#include "ITKSOAP.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ToolkitLog.h"

namespace {

using qz::test::replyEnvelope;
using qz::test::ToolkitLogWatch;

constexpr const char* kNotSoap = "Xml contains no element. It is not a SOAP message.";
constexpr const char* kNoPreference = "Xml contains no user preference\n";

std::string element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name.substr(0, name.find(' ')) + ">";
}

std::string relay(const std::string& content) { return element("bus:relayHeader", content); }

std::string texts(const ITKBufferList& list) {
  std::string all;
  for (long i = 0; i < list.getCount(); ++i) all += qz::test::contentOf(*list.getAt(i)) + "|";
  return all;
}

struct HeaderCase {
  std::string header;
  bool found;
  const char* passport;
  const char* context;
  std::string logged;
};

TEST(XmlDom, RelayHeaderTable) {
  const std::string zot = "<bus:ZOT><id>P</id></bus:ZOT>";
  const HeaderCase cases[] = {
      {relay("<bus:PRY><contextID>C</contextID></bus:PRY>" + zot), true, "P", "C", kNoPreference},
      {relay("<ZOT><ZOTPassport><id>P</id></ZOTPassport></ZOT><PRY><contextID>C</contextID></PRY>"), true, "P", "C",
       kNoPreference},
      {"<relayHeader xmlns=''>" + zot + "<userPreferenceVars/></relayHeader>", true, "P", "old", ""},
      {relay("<other><id>wrong</id></other><ZOT>\n <a/><b:x xmlns:b='u'><b:id> P </b:id></b:x></ZOT>"), true, "P",
       "old", kNoPreference},
      {relay("<ZOT><id/></ZOT><PRY><contextID></contextID></PRY>"), true, "old", "old", kNoPreference},
      {relay("<ZOT><name/></ZOT><PRY><contextID>C</contextID></PRY>"), false, "old", "old",
       "Xml contains no passport ID\nXml contains no ZOT information\nXml contains no ZOT/PRY information\n"},
      {relay("<PRY><contextID>C</contextID><id>no</id></PRY>"), false, "old", "old",
       "Xml contains no ZOT information\nXml contains no ZOT/PRY information\n"},
      {"<bus:other>" + zot + "</bus:other>", false, "old", "old", "Xml contains no Relay header information\n"},
  };
  for (const auto& c : cases) {
    ITKSOAP call;
    call.setPassportId("old");
    call.getRTT().setPryContext("old");
    ITKXmlDom dom;
    ASSERT_TRUE(dom.createFromText(replyEnvelope(c.header, "<b/>").c_str())) << c.header;
    const ToolkitLogWatch log;
    EXPECT_EQ(dom.getRELAYInfo(call), c.found) << c.header;
    EXPECT_EQ(log.messages(), c.logged) << c.header;
    EXPECT_STREQ(call.getPassportId(), c.passport) << c.header;
    EXPECT_STREQ(call.getRTT().getPryContext(), c.context) << c.header;
    EXPECT_EQ(call.getRelayHeader() != nullptr, c.header.find("relayHeader") != std::string::npos) << c.header;
  }
}

TEST(XmlDom, RelayHeaderIsFoundInUnusualPlaces) {
  const std::string header = "<SOAP-ENV:Header><relayHeader><ZOT><id>P</id></ZOT></relayHeader></SOAP-ENV:Header>";
  const std::string open = "<SOAP-ENV:Envelope xmlns:SOAP-ENV='u'>";
  for (const auto& text :
       {open + "<SOAP-ENV:Body/>" + header + "</SOAP-ENV:Envelope>", "<r>" + open + header + "</SOAP-ENV:Envelope></r>",
        open + "<x>" + open + header + "</SOAP-ENV:Envelope></x></SOAP-ENV:Envelope>"}) {
    ITKSOAP call;
    ITKXmlDom dom;
    EXPECT_TRUE(dom.createFromText(text.c_str())) << text;
    EXPECT_TRUE(dom.getRELAYInfo(call)) << text;
    EXPECT_STREQ(call.getPassportId(), "P");
  }
}

TEST(XmlDom, RelayHeaderBringsCookiesAndPreferences) {
  const std::string header = relay(
      "<ZOT><id>P\xC3\xA4\xE2\x82\xAC</id></ZOT>"
      "<bus:hdrSession><bus:cookieVars><item><name>VTN</name><value>v=1</value></item><item><name/><value>x</value>"
      "</item><item><name>empty</name><value/></item></bus:cookieVars></bus:hdrSession>"
      "<bus:userPreferenceVars><item><name>locale</name><value>\xD1\x80\xD1\x83</value></item>"
      "<item><name>none</name></item></bus:userPreferenceVars>");
  ITKSOAP call;
  call.getRTT().setCookieValue("empty", "was full");
  ITKXmlDom dom;
  ASSERT_TRUE(dom.createFromText(replyEnvelope(header, "<b/>").c_str()));
  ASSERT_TRUE(dom.getRELAYInfo(call));
  EXPECT_STREQ(call.getPassportId(), "P\xC3\xA4\xE2\x82\xAC");
  EXPECT_STREQ(call.getRTT().getVTN(), "v=1");
  EXPECT_STREQ(call.getRTT().getCookieValue("empty"), "");
  EXPECT_STREQ(call.getUserPreference("locale"), "\xD1\x80\xD1\x83");
  EXPECT_EQ(call.getUserPreference("none"), nullptr);
  EXPECT_NE(std::string(call.getRelayHeader()).find("relayHeader"), std::string::npos);
}

struct VerdictCase {
  std::string text;
  long code;
  std::string error;
};

TEST(XmlDom, RepliesAndFaultsAreToldApart) {
  const std::string fault = element("SOAP-ENV:Fault", "<faultstring>A\xC3\xBC</faultstring>");
  const auto logon = [](const std::string& zot, const std::string& code) {
    return relay(element(zot, element("exception", element("errorCodeString", code))));
  };
  const std::string detail =
      "<messageString>B</messageString><errorMessage>D</errorMessage><x><messageString>C "
      "&amp;</messageString><faultstring>E</faultstring></x>";
  const auto nested = replyEnvelope("", "<b/>").substr(38);
  ASSERT_TRUE(nested.starts_with("<SOAP-ENV:Envelope"));
  const VerdictCase cases[] = {
      {replyEnvelope("", "<b/>"), E_OK, ""},
      {"\xEF\xBB\xBF" + replyEnvelope("", "<b>&lt;!DOCTYPE&gt;</b>"), E_OK, ""},
      {replyEnvelope(logon("ZOT", "zotAuthUserRecoverable"), "<b/>"), E_OK, ""},
      {replyEnvelope("", "<b>SOAP-ENV:Fault</b>"), E_OK, ""},
      {"<r>" + nested + "</r>", E_OK, ""},
      {replyEnvelope("", fault), E_FAULT, "[A\xC3\xBC]"},
      {replyEnvelope("", element("SOAP-ENV:Fault", detail)), E_FAULT, "[E][B][C &][D]"},
      {replyEnvelope("", "<SOAP-ENV:Fault/>"), E_FAULT, ""},
      {replyEnvelope(logon("ZOT", "zotAuthUserRecoverable"), fault), E_LOGON, "A\xC3\xBC"},
      {replyEnvelope(logon("ZOT", "zotAuthUserRecoverable2"), fault), E_FAULT, "[A\xC3\xBC]"},
      {replyEnvelope(logon("bus:ZOT", "zotAuthUserRecoverable"), fault), E_FAULT, "[A\xC3\xBC]"},
      {"<a/>", E_FAULT, kNotSoap},
      {"<Envelope><Header/><Body/></Envelope>", E_FAULT, kNotSoap},
      {"<html><br></html>", E_FAULT, kNotSoap},
      {"", E_FAULT, kNotSoap},
      {replyEnvelope("", "<b/>") + "x", E_FAULT, kNotSoap},
      {replyEnvelope("", "<undeclared:b></b>").substr(0, 300), E_FAULT, kNotSoap},
  };
  for (const auto& c : cases) {
    ITKXmlDom dom;
    ITKSOAPError error;
    EXPECT_EQ(dom.createFromText(c.text.c_str(), error), c.code == E_OK) << c.text;
    EXPECT_EQ(error.getErrorCode(), c.code) << c.text;
    EXPECT_EQ(error.isError() ? error.getErrorText() : std::string(), c.error) << c.text;
    EXPECT_EQ(dom.isLogonRequired(),
              c.text.find("<ZOT>") != std::string::npos && c.text.find("2<") == std::string::npos)
        << c.text;
  }
}

TEST(XmlDom, DangerousTextNeverReachesTheParser) {
  const std::string entity = "<!DOCTYPE x [<!ENTITY e SYSTEM \"file:///C:/windows/win.ini\">]>";
  std::string deep;
  for (int i = 0; i < 200'000; ++i) deep += "<a>";
  const std::string replies[] = {entity + replyEnvelope("", "<b>&e;</b>"),
                                 "<!-- c -->" + entity + replyEnvelope("", "<b/>"), replyEnvelope("", deep)};
  for (const auto& reply : replies) {
    ITKXmlDom dom;
    ITKSOAPError error;
    ASSERT_TRUE(dom.createFromText(replyEnvelope("", "<kept>x</kept>").c_str()));
    EXPECT_FALSE(dom.createFromText(reply.c_str(), error));
    EXPECT_EQ(error.getErrorCode(), E_FAULT);
    EXPECT_STREQ(error.getErrorText(), reply.find("DOCTYPE") != std::string::npos
                                           ? "Xml contains a document type declaration, which is refused."
                                           : "Xml is nested too deeply.");
    ITKBuffer value;
    EXPECT_FALSE(dom.getElementValue("kept", value));
    ITKBuffer fault("before");
    EXPECT_FALSE(ITKXmlDom::extractRELAYFaultText(reply.c_str(), fault));
    EXPECT_STREQ(fault.c_str(), "before");
  }
}

TEST(XmlDom, FaultTextComesFromAnyXml) {
  ITKBuffer text("before");
  EXPECT_TRUE(ITKXmlDom::extractRELAYFaultText("<a><faultstring>x</faultstring></a>", text));
  EXPECT_TRUE(ITKXmlDom::extractRELAYFaultText("<a/>", text));
  EXPECT_FALSE(ITKXmlDom::extractRELAYFaultText("<html><br></html>", text));
  EXPECT_FALSE(ITKXmlDom::extractRELAYFaultText(nullptr, text));
  EXPECT_STREQ(text.c_str(), "before[x]");
}

TEST(XmlDom, WorksOnThreadsWithAndWithoutCom) {
  const auto ask = [](const std::string& name) {
    for (int i = 0; i < 50; ++i) {
      ITKXmlDom dom;
      ITKSOAP call;
      const auto header = relay("<ZOT><id>" + name + std::to_string(i) + "</id></ZOT>");
      ASSERT_TRUE(dom.createFromText(replyEnvelope(header, "<b/>").c_str()));
      ASSERT_TRUE(dom.getRELAYInfo(call));
      ASSERT_EQ(call.getPassportId(), name + std::to_string(i));
    }
  };
  std::thread fresh(ask, "fresh");
  std::thread multi([&] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    ask("multi");
    CoUninitialize();
  });
  fresh.join();
  multi.join();
  // COM was left on these threads as it was found, and the parser still works after its last user has gone.
  EXPECT_EQ(CoInitialize(nullptr), S_OK);
  CoUninitialize();
  ask("again");
}

TEST(XmlDom, QuestionsWithoutADocumentFail) {
  ITKXmlDom dom;
  ITKSOAP call;
  ITKBuffer value;
  EXPECT_EQ(dom.getXmlDom(), nullptr);
  EXPECT_FALSE(dom.getRELAYInfo(call));
  EXPECT_FALSE(dom.getElementValue("a", value));
  EXPECT_FALSE(dom.isLogonRequired());
  ASSERT_TRUE(dom.createFromText(replyEnvelope("", "<a><b>x</b></a>").c_str()));
  EXPECT_NE(dom.getXmlDom(), nullptr);
  EXPECT_TRUE(dom.getElementValue("b", value));
  EXPECT_STREQ(value.c_str(), "x");
  EXPECT_FALSE(dom.getElementValue(nullptr, value));
  EXPECT_FALSE(dom.createFromText("no xml"));
  EXPECT_FALSE(dom.getElementValue("b", value));
  dom.Destroy();
  EXPECT_EQ(dom.getXmlDom(), nullptr);
  EXPECT_FALSE(dom.createFromText(replyEnvelope("", "<a/>").c_str()));
}

TEST(XmlDom, LoadsFiles) {
  char folder[MAX_PATH];
  ASSERT_NE(GetTempPathA(MAX_PATH, folder), 0u);
  const std::string path = folder + std::string("qzdom") + std::to_string(GetCurrentProcessId()) + ".xml";
  const std::string utf8 = replyEnvelope("", "<b>\xC3\xA4</b>");
  std::string utf16 = "\xFF\xFE";
  for (const char c : replyEnvelope("", "<b>x</b>")) utf16 += {c, '\0'};
  for (const auto& [bytes, value] : {std::pair{utf8, "\xC3\xA4"}, {"\xEF\xBB\xBF" + utf8, "\xC3\xA4"}, {utf16, "x"}}) {
    std::ofstream(path, std::ios::binary) << bytes;
    ITKXmlDom dom;
    ITKBuffer text;
    EXPECT_TRUE(dom.createFromFile(path.c_str()));
    EXPECT_TRUE(dom.getElementValue("b", text));
    EXPECT_STREQ(text.c_str(), value);
  }
  ITKXmlDom dom;
  std::ofstream(path, std::ios::binary) << "<a/>";
  EXPECT_FALSE(dom.createFromFile(path.c_str()));
  DeleteFileA(path.c_str());
  EXPECT_FALSE(dom.createFromFile(path.c_str()));
  EXPECT_FALSE(dom.createFromFile(nullptr));
}

TEST(XmlDom, ReadsPromptsAndSaysWhatIsMissing) {
  const std::string captions = "<captions><caption>Log on</caption><item><caption>please</caption></item></captions>";
  const std::string objects =
      "<displayObjects><item><name>ZOTNamespace</name><type>singleselect</type><value>n</value></item>"
      "<item><name>ZOTPassword</name><type>textnoecho</type></item></displayObjects>";
  const std::string options = "<promptOptions><item>n</item><item>m</item></promptOptions>";
  const std::pair<std::string, const char*> cases[] = {
      {relay("<bus:ZOT><promptInfo>" + captions + objects + options + "</promptInfo></bus:ZOT>"), ""},
      {relay("<ZOT><exception><promptInfo>" + objects + options + "</promptInfo></exception></ZOT>"),
       "Xml contains no caption\n"},
      {relay("<ZOT><promptInfo>" + captions + "<displayObjects/></promptInfo></ZOT>"),
       "Xml contains no caption/item\nXml contains no promptOptions\n"},
      {relay("<ZOT><promptInfo>" + captions + options + "</promptInfo></ZOT>"), "Xml contains no display objects\n"},
      {relay("<ZOT><other/></ZOT>"), "Xml contains no prompt info\n"},
      {relay("<ZOT/>"), "Xml contains no ZOT info\n"},
      {relay("<PRY/>"), "Xml contains no ZOT section\n"},
  };
  for (const auto& [header, logged] : cases) {
    ITKXmlDom dom;
    ASSERT_TRUE(dom.createFromText(replyEnvelope(header, "<b/>").c_str()));
    ITKBuffer caption;
    ITKBufferList names, types, values, found;
    names.add("stale");
    const ToolkitLogWatch log;
    EXPECT_EQ(dom.getPromptInfo(caption, names, types, values, found), *logged == '\0') << header;
    EXPECT_EQ(log.messages(), logged) << header;
    EXPECT_EQ(qz::test::contentOf(caption), header.find("<caption>") == std::string::npos ? "" : "Log on\r\nplease");
    const bool listed = header.find("<name>") != std::string::npos;
    EXPECT_EQ(texts(names), listed ? "ZOTNamespace|ZOTPassword|" : "") << header;
    EXPECT_EQ(texts(types), listed ? "singleselect|textnoecho|" : "");
    EXPECT_EQ(texts(values), listed ? "n||" : "");
    EXPECT_EQ(texts(found), header.find("Options") == std::string::npos ? "" : "n|m|");
  }
}

TEST(XmlDom, ReadsTextsThatWereCutOut) {
  ITKXmlDom dom;
  ITKSOAP call;
  EXPECT_TRUE(dom.parseRELAYInfoFromRELAYHeaderXml("<bus:relayHeader><ZOT><id>P</id></ZOT></bus:relayHeader>", call));
  EXPECT_STREQ(call.getPassportId(), "P");
  EXPECT_FALSE(dom.parseRELAYInfoFromRELAYHeaderXml("", call));
  EXPECT_FALSE(dom.parseRELAYInfoFromRELAYHeaderXml("<bus:relayHeader>", call));
  const std::string plain =
      "<qzSOAPBody><className>c&amp;</className><errorCode>3</errorCode><errorText>t</errorText>"
      "<timeout>7</timeout></qzSOAPBody>";
  const auto escaped = qz::test::innerBody("className=c&", "errorCode=3", "errorText=t", "timeout=7");
  for (const auto& text : {plain, escaped, "<bus:data>" + escaped + "</bus:data>"}) {
    ITKSOAP read;
    EXPECT_TRUE(dom.parseSOAPInfoFromQzBodyXml(text.c_str(), read)) << text;
    EXPECT_STREQ(read.getInterfaceName(), "c&");
    EXPECT_EQ(read.getErrorCode(), 3);
    EXPECT_STREQ(read.getErrorText(), "t\r\n");
    EXPECT_EQ(read.getTimeoutLimit(), 7);
  }
  for (const char* text : {"", "<other/>", "<qzSOAPBody>", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(dom.parseSOAPInfoFromQzBodyXml(text, call));
}

TEST(XmlDom, ReadsDataSourceRecords) {
  const std::string one =
      "<cm:dataSourceConnection><defaultName><value>one</value></defaultName>"
      "<connectionString><value>^User?=x;A&amp;B</value></connectionString>"
      "</cm:dataSourceConnection>";
  const std::string two = "<cm:dataSourceConnection><defaultName>two</defaultName></cm:dataSourceConnection>";
  const auto reply =
      replyEnvelope("", "<cm:queryResponse><queryResult>" + one + two + "</queryResult></cm:queryResponse>");
  for (const auto& [wanted, expected] : {std::pair{"", "one|^User?=x;A&B|two||"}, {"two", "two||"}, {"six", ""}}) {
    ITKXmlDom dom;
    ITKBufferList records;
    EXPECT_TRUE(dom.parseDSConnectionInfo(reply.c_str(), wanted, records));
    EXPECT_EQ(texts(records), expected);
  }
  ITKXmlDom dom;
  ITKBufferList records;
  const ToolkitLogWatch log;
  EXPECT_FALSE(dom.parseDSConnectionInfo(replyEnvelope("", "<b/>").c_str(), "", records));
  EXPECT_EQ(log.messages(),
            "Xml contains no querty result\nThe input might not be a valid relay SOAP message\n"
            "Failed to parse input database connection information\n");
}

TEST(XmlDom, ReadsDataSourceCredentials) {
  const std::string inner = "<username>u\xC3\xA4</username><password><encryptedValue>p+w==</encryptedValue></password>";
  const std::string head = "<cm:dataSourceSignon xmlns:cm='u'><credentials><value>";
  const std::string tail = "</value></credentials></cm:dataSourceSignon>";
  for (const auto& text : {head + inner + tail, head + "<![CDATA[<credential>" + inner + "</credential>]]>" + tail}) {
    ITKXmlDom dom;
    ITKBuffer user, password;
    EXPECT_TRUE(dom.parseDSCredential(text.c_str(), user, password)) << text;
    EXPECT_STREQ(user.c_str(), "u\xC3\xA4");
    EXPECT_STREQ(password.c_str(), "p+w==");
  }
  for (const auto& text : {head + "<username>u</username>" + tail, std::string("<a/>"), head}) {
    ITKXmlDom dom;
    ITKBuffer user, password;
    EXPECT_FALSE(dom.parseDSCredential(text.c_str(), user, password)) << text;
  }
}

}  // namespace
