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

std::string element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name.substr(0, name.find(' ')) + ">";
}

std::string relay(const std::string& content) { return element("bus:relayHeader", content); }

std::string texts(const ITKBufferList& list) {
  std::string all;
  for (long i = 0; i < list.getCount(); ++i) all += qz::test::contentOf(*list.getAt(i)) + "|";
  return all;
}

/// An object that has loaded a reply with this header.
struct LoadedDom : ITKXmlDom {
  explicit LoadedDom(const std::string& header) {
    EXPECT_TRUE(createFromText(replyEnvelope(header, "<b/>").c_str())) << header;
  }
};

TEST(XmlDom, RelayHeaderTable) {
  struct Case {
    std::string header;
    bool found;
    const char* passport;
    const char* context;
    const char* logged;
  };
  constexpr const char* noPreference = "Xml contains no user preference\n";
  const std::string zot = "<bus:ZOT><id>P</id></bus:ZOT>";
  const Case cases[] = {
      {relay("<bus:PRY><contextID>C</contextID></bus:PRY>" + zot), true, "P", "C", noPreference},
      {relay("<ZOT><ZOTPassport><id>P</id></ZOTPassport></ZOT><PRY><contextID>C</contextID></PRY>"), true, "P", "C",
       noPreference},
      {"<relayHeader xmlns=''>" + zot + "<userPreferenceVars/></relayHeader>", true, "P", "old", ""},
      {relay("<other><id>wrong</id></other><ZOT>\n <a/><b:x xmlns:b='u'><b:id> P </b:id></b:x></ZOT>"), true, "P",
       "old", noPreference},
      {relay("<ZOT><id/></ZOT><PRY><contextID></contextID></PRY>"), true, "old", "old", noPreference},
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
    LoadedDom dom(c.header);
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
    EXPECT_TRUE(dom.createFromText(text.c_str()) && dom.getRELAYInfo(call)) << text;
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
  LoadedDom dom(header);
  ASSERT_TRUE(dom.getRELAYInfo(call));
  EXPECT_STREQ(call.getPassportId(), "P\xC3\xA4\xE2\x82\xAC");
  EXPECT_STREQ(call.getRTT().getVTN(), "v=1");
  EXPECT_STREQ(call.getRTT().getCookieValue("empty"), "");
  EXPECT_STREQ(call.getUserPreference("locale"), "\xD1\x80\xD1\x83");
  EXPECT_EQ(call.getUserPreference("none"), nullptr);
  EXPECT_NE(std::string(call.getRelayHeader()).find("relayHeader"), std::string::npos);
}

TEST(XmlDom, RepliesAndFaultsAreToldApart) {
  struct Case {
    std::string text;
    long code;
    std::string error;
  };
  const std::string fault = element("SOAP-ENV:Fault", "<faultstring>A\xC3\xBC</faultstring>");
  const auto logon = [](const std::string& zot, const std::string& code) {
    return relay(element(zot, element("exception", element("errorCodeString", code))));
  };
  const std::string detail =
      "<messageString>B</messageString><errorMessage>D</errorMessage><x><messageString>C "
      "&amp;</messageString><faultstring>E</faultstring></x>";
  const std::string entity = "<!DOCTYPE x [<!ENTITY e SYSTEM \"file:///C:/windows/win.ini\">]>";
  const std::string refused = "Xml contains a document type declaration, which is refused.";
  std::string deep;
  for (int i = 0; i < 200'000; ++i) deep += "<a>";
  const Case cases[] = {
      {"\xEF\xBB\xBF" + replyEnvelope("", "<b>&lt;!DOCTYPE&gt; SOAP-ENV:Fault</b>"), E_OK, ""},
      {replyEnvelope(logon("ZOT", "zotAuthUserRecoverable"), "<b/>"), E_OK, ""},
      {"<r>" + replyEnvelope("", "<b/>").substr(38) + "</r>", E_OK, ""},
      {replyEnvelope("", fault), E_FAULT, "[A\xC3\xBC]"},
      {replyEnvelope("", element("SOAP-ENV:Fault", detail)), E_FAULT, "[E][B][C &][D]"},
      {replyEnvelope("", "<SOAP-ENV:Fault/>"), E_FAULT, ""},
      {replyEnvelope(logon("ZOT", "zotAuthUserRecoverable"), fault), E_LOGON, "A\xC3\xBC"},
      {replyEnvelope(logon("ZOT", "zotAuthUserRecoverable2"), fault), E_FAULT, "[A\xC3\xBC]"},
      {replyEnvelope(logon("bus:ZOT", "zotAuthUserRecoverable"), fault), E_FAULT, "[A\xC3\xBC]"},
      {"<Envelope><Header/><Body/></Envelope>", E_FAULT, kNotSoap},
      {"<html><br></html>", E_FAULT, kNotSoap},
      {"", E_FAULT, kNotSoap},
      {replyEnvelope("", "<b/>") + "x", E_FAULT, kNotSoap},
      {entity + replyEnvelope("", "<b>&e;</b>"), E_FAULT, refused},
      {"<!-- c -->" + entity + replyEnvelope("", "<b/>"), E_FAULT, refused},
      {replyEnvelope("", deep), E_FAULT, "Xml is nested too deeply."},
  };
  for (const auto& c : cases) {
    LoadedDom dom("<before>x</before>");
    ITKSOAPError error;
    ITKBuffer value;
    EXPECT_EQ(dom.createFromText(c.text.c_str(), error), c.code == E_OK) << c.text;
    EXPECT_EQ(error.getErrorCode(), c.code) << c.text;
    EXPECT_EQ(error.isError() ? error.getErrorText() : std::string(), c.error) << c.text;
    EXPECT_EQ(dom.isLogonRequired(),
              c.text.find("<ZOT>") != std::string::npos && c.text.find("2<") == std::string::npos)
        << c.text;
    EXPECT_FALSE(dom.getElementValue("before", value)) << c.text;
  }
}

TEST(XmlDom, FaultTextComesFromAnyXml) {
  ITKBuffer text("before");
  EXPECT_TRUE(ITKXmlDom::extractRELAYFaultText("<a><faultstring>x</faultstring></a>", text));
  EXPECT_TRUE(ITKXmlDom::extractRELAYFaultText("<a/>", text));
  for (const char* none : {"<html><br></html>", "<!DOCTYPE a><a><faultstring>y</faultstring></a>", ""})
    EXPECT_FALSE(ITKXmlDom::extractRELAYFaultText(none, text));
  EXPECT_STREQ(text.c_str(), "before[x]");
}

TEST(XmlDom, WorksOnThreadsWithAndWithoutCom) {
  const auto ask = [](const std::string& name) {
    for (int i = 0; i < 50; ++i) {
      ITKSOAP call;
      LoadedDom dom(relay("<ZOT><id>" + name + std::to_string(i) + "</id></ZOT>"));
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
  EXPECT_FALSE(dom.isLogonRequired());
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
  const std::string caption = "Log on\r\nplease", items = "ZOTNamespace|ZOTPassword|singleselect|textnoecho|n||";
  struct Case {
    std::string header, found, logged;
  };
  const Case cases[] = {
      {relay("<bus:ZOT><promptInfo>" + captions + objects + options + "</promptInfo></bus:ZOT>"),
       caption + items + "n|m|", ""},
      {relay("<ZOT><exception><promptInfo>" + objects + options + "</promptInfo></exception></ZOT>"), items + "n|m|",
       "Xml contains no caption\n"},
      {relay("<ZOT><promptInfo>" + captions + "<displayObjects/></promptInfo></ZOT>"), caption,
       "Xml contains no caption/item\nXml contains no promptOptions\n"},
      {relay("<ZOT><promptInfo>" + captions + options + "</promptInfo></ZOT>"), caption + "n|m|",
       "Xml contains no display objects\n"},
      {relay("<ZOT><other/></ZOT>"), "", "Xml contains no prompt info\n"},
      {relay("<ZOT/>"), "", "Xml contains no ZOT info\n"},
      {relay("<PRY/>"), "", "Xml contains no ZOT section\n"},
  };
  for (const auto& c : cases) {
    LoadedDom dom(c.header);
    ITKBuffer title;
    ITKBufferList names, types, values, found;
    names.add("stale");
    const ToolkitLogWatch log;
    EXPECT_EQ(dom.getPromptInfo(title, names, types, values, found), c.logged.empty()) << c.header;
    EXPECT_EQ(log.messages(), c.logged) << c.header;
    EXPECT_EQ(title.c_str() + texts(names) + texts(types) + texts(values) + texts(found), c.found) << c.header;
  }
}

TEST(XmlDom, ReadsTextsThatWereCutOut) {
  ITKXmlDom dom;
  ITKSOAP call;
  EXPECT_TRUE(dom.parseRELAYInfoFromRELAYHeaderXml(
      "<bus:relayHeader><ZOT><id>$$contextID$$</id></ZOT></bus:relayHeader>", call));
  EXPECT_STREQ(call.getPassportId(), "$$contextID$$");
  for (const char* text : {"", "<bus:relayHeader>"})
    EXPECT_FALSE(dom.parseRELAYInfoFromRELAYHeaderXml(text, call)) << text;
  const auto escaped = qz::test::innerBody("className=c&", "errorCode=3", "errorText=t", "timeout=7");
  for (const auto& text : {std::string("<qzSOAPBody><className>c&amp;</className><errorCode>3</errorCode>"
                                       "<errorText>t</errorText><timeout>7</timeout></qzSOAPBody>"),
                           "<bus:data>" + escaped + "</bus:data>"}) {
    ITKSOAP read;
    EXPECT_TRUE(dom.parseSOAPInfoFromQzBodyXml(text.c_str(), read)) << text;
    EXPECT_STREQ(read.getInterfaceName(), "c&");
    EXPECT_STREQ(read.getErrorText(), "t\r\n");
    EXPECT_EQ(read.getTimeoutLimit(), 7);
  }
  for (const char* text : {"", "<other/>", "<qzSOAPBody>", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(dom.parseSOAPInfoFromQzBodyXml(text, call));
}

TEST(XmlDom, ReadsDataSourceConnections) {
  const auto reply = replyEnvelope(
      "",
      "<cm:queryResponse><queryResult><cm:dataSourceConnection><defaultName><value>one</value></defaultName>"
      "<connectionString><value>^User?=x;A&amp;B</value></connectionString></cm:dataSourceConnection>"
      "<cm:dataSourceConnection><defaultName>two</defaultName></cm:dataSourceConnection></queryResult></"
      "cm:queryResponse>");
  ITKXmlDom dom;
  for (const auto& [wanted, expected] : {std::pair{"", "one|^User?=x;A&B|two||"}, {"two", "two||"}, {"six", ""}}) {
    ITKBufferList records;
    EXPECT_TRUE(dom.parseDSConnectionInfo(reply.c_str(), wanted, records));
    EXPECT_EQ(texts(records), expected);
  }
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
  ITKXmlDom dom;
  ITKBuffer user, password;
  for (const auto& text : {head + inner + tail, head + "<![CDATA[<credential>" + inner + "</credential>]]>" + tail}) {
    EXPECT_TRUE(dom.parseDSCredential(text.c_str(), user, password)) << text;
    EXPECT_STREQ(user.c_str(), "u\xC3\xA4");
    EXPECT_STREQ(password.c_str(), "p+w==");
    user = password = "stale";
  }
  const ToolkitLogWatch log;
  EXPECT_FALSE(dom.parseDSCredential((head + "<username>u</username>" + tail).c_str(), user, password));
  EXPECT_EQ(log.messages(),
            "The input might not be a valid DS credential\nFailed to parse input database signon information\n");
  for (const auto& text : {std::string("<a/>"), head})
    EXPECT_FALSE(dom.parseDSCredential(text.c_str(), user, password));
}

}  // namespace
