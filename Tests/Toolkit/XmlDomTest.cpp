#include "ITKXmlDom.h"

#include <gtest/gtest.h>
#include <objbase.h>

#include <string>
#include <thread>

#include "ITKSOAP.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ToolkitLog.h"

namespace {

using qz::test::replyEnvelope;
using qz::test::ToolkitLogWatch;

/// What is put in and what comes out.
using Cases = std::pair<std::string, std::string>[];

std::string relay(const std::string& content) {
  return replyEnvelope("<bus:relayHeader>" + content + "</bus:relayHeader>", "<b/>");
}

std::string texts(const ITKBufferList& list) {
  std::string all;
  for (long i = 0; i < list.getCount(); ++i) all += qz::test::contentOf(*list.getAt(i)) + "|";
  return all;
}

/// An object that has loaded a reply.
struct LoadedDom : ITKXmlDom {
  explicit LoadedDom(const std::string& text) { EXPECT_TRUE(createFromText(text.c_str())) << text; }
};

/// Whether the relay header was read, passport and context then, and what was logged.
std::string infoOf(const std::string& text) {
  ITKSOAP call;
  call.setPassportId("old");
  call.getRTT().setPryContext("old");
  LoadedDom dom(text);
  const ToolkitLogWatch log;
  const std::string found = dom.getRELAYInfo(call) ? "yes" : "no";
  EXPECT_EQ(call.getRelayHeader() != nullptr, text.find("relayHeader") != std::string::npos) << text;
  return found + " " + call.getPassportId() + " " + call.getRTT().getPryContext() + "\n" + log.messages();
}

TEST(XmlDom, RelayHeaderTable) {
  const std::string zot = "<bus:ZOT><id>P</id></bus:ZOT>", context = "<bus:PRY><contextID>C</contextID></bus:PRY>";
  const std::string noPreference = "Xml contains no user preference\n";
  const std::string noZot = "Xml contains no ZOT information\nXml contains no ZOT/PRY information\n";
  const std::string open = "<SOAP-ENV:Envelope xmlns:SOAP-ENV='u' xmlns:bus='v'>", close = "</SOAP-ENV:Envelope>";
  const std::string header = "<SOAP-ENV:Header><relayHeader>" + zot + "</relayHeader></SOAP-ENV:Header>";
  const Cases cases = {
      {relay(context + zot), "yes P C\n" + noPreference},
      {relay("<ZOT><ZOTPassport><id>P</id></ZOTPassport></ZOT>" + context), "yes P C\n" + noPreference},
      {relay(zot + "<PRY/><userPreferenceVars/>"), "yes P old\n"},
      {relay("<other><id>wrong</id></other><ZOT>\n <a/><b:x xmlns:b='u'><b:id> P </b:id></b:x></ZOT>"),
       "yes P old\n" + noPreference},
      {relay("<ZOT><id/></ZOT><PRY><contextID></contextID></PRY>"), "yes old old\n" + noPreference},
      {relay("<ZOT><name/></ZOT>" + context), "no old old\nXml contains no passport ID\n" + noZot},
      {relay(context + "<id>no</id>"), "no old old\n" + noZot},
      {replyEnvelope("<bus:other>" + zot + "</bus:other>", ""),
       "no old old\nXml contains no Relay header information\n"},
      {open + "<SOAP-ENV:Body/>" + header + close, "yes P old\n" + noPreference},
      {"<r>" + open + header + close + "</r>", "yes P old\n" + noPreference},
      {open + "<x>" + open + header + close + "</x>" + close, "yes P old\n" + noPreference},
      {open + "<b/>" + close, "no old old\nXml contains no SOAP header\n"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(infoOf(text), expected) << text;
}

TEST(XmlDom, RelayHeaderBringsCookiesAndPreferences) {
  ITKSOAP call;
  call.getRTT().setCookieValue("empty", "was full");
  LoadedDom dom(relay(
      "<ZOT><id>P\xC3\xA4\xE2\x82\xAC</id></ZOT>"
      "<bus:hdrSession><bus:cookieVars><item><name>VTN</name><value>v=1</value></item><item><name/><value>x</value>"
      "</item><item><name>empty</name><value/></item></bus:cookieVars></bus:hdrSession>"
      "<bus:userPreferenceVars><item><name>locale</name><value>\xD1\x80\xD1\x83</value></item>"
      "<item><name>none</name></item></bus:userPreferenceVars>"));
  ASSERT_TRUE(dom.getRELAYInfo(call));
  EXPECT_STREQ(call.getPassportId(), "P\xC3\xA4\xE2\x82\xAC");
  EXPECT_STREQ(call.getRTT().getVTN(), "v=1");
  EXPECT_STREQ(call.getRTT().getCookieValue("empty"), "");
  EXPECT_STREQ(call.getUserPreference("locale"), "\xD1\x80\xD1\x83");
  EXPECT_EQ(call.getUserPreference("none"), nullptr);
}

/// What a reply is taken for, the text for the caller, and whether it asks for a logon.
std::string verdictOf(const std::string& text) {
  LoadedDom dom(replyEnvelope("", "<before>x</before>"));
  ITKSOAPError error;
  ITKBuffer value;
  const bool loaded = dom.createFromText(text.c_str(), error);
  EXPECT_EQ(loaded, error.getErrorCode() == E_OK) << text;
  EXPECT_FALSE(dom.getElementValue("before", value)) << text;
  const std::string name = error.getErrorCode() == E_OK ? "OK" : error.getErrorCode() == E_LOGON ? "LOGON" : "FAULT";
  return name + (error.isError() ? std::string(" ") + error.getErrorText() : "") + (dom.isLogonRequired() ? " !" : "");
}

TEST(XmlDom, RepliesAndFaultsAreToldApart) {
  const std::string fault = "<SOAP-ENV:Fault><faultstring>A\xC3\xBC</faultstring></SOAP-ENV:Fault>";
  const auto logon = [](const std::string& zot, const std::string& code, const std::string& body) {
    return replyEnvelope("<bus:relayHeader><" + zot + "><exception><errorCodeString>" + code +
                             "</errorCodeString></exception></" + zot + "></bus:relayHeader>",
                         body);
  };
  const std::string entity = "<!DOCTYPE x [<!ENTITY e SYSTEM \"file:///C:/windows/win.ini\">]>";
  const std::string notSoap = "FAULT Xml contains no element. It is not a SOAP message.";
  std::string deep;
  for (int i = 0; i < 200'000; ++i) deep += "<a>";
  const Cases cases = {
      {"\xEF\xBB\xBF" + replyEnvelope("", "<b>&lt;!DOCTYPE&gt; SOAP-ENV:Fault</b>"), "OK"},
      {"<r>" + replyEnvelope("", "<b/>").substr(38) + "</r>", "OK"},
      {logon("ZOT", "zotAuthUserRecoverable", "<b/>"), "OK !"},
      {logon("ZOT", "zotAuthUserRecoverable", fault), "LOGON A\xC3\xBC !"},
      {logon("ZOT", "zotAuthUserRecoverable2", fault), "FAULT [A\xC3\xBC]"},
      {logon("bus:ZOT", "zotAuthUserRecoverable", fault), "FAULT [A\xC3\xBC]"},
      {replyEnvelope("",
                     "<SOAP-ENV:Fault><messageString>B</messageString><errorMessage>D</errorMessage><x><messageString>"
                     "C &amp;</messageString><faultstring>E</faultstring></x></SOAP-ENV:Fault>"),
       "FAULT [E][B][C &][D]"},
      {replyEnvelope("", "<SOAP-ENV:Fault/>"), "FAULT "},
      {"<Envelope><Header/><Body/></Envelope>", notSoap},
      {"<html><br></html>", notSoap},
      {"", notSoap},
      {replyEnvelope("", "<b/>") + "x", notSoap},
      {"<!-- c -->" + entity + replyEnvelope("", "<b>&e;</b>"),
       "FAULT Xml contains a document type declaration, which is refused."},
      {replyEnvelope("", deep), "FAULT Xml is nested too deeply."},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(verdictOf(text), expected) << text.substr(0, 2000);
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
  ASSERT_TRUE(dom.createFromText(replyEnvelope("", "<a><b>x</b></a>").c_str()));
  EXPECT_NE(dom.getXmlDom(), nullptr);
  EXPECT_TRUE(dom.getElementValue("b", value));
  EXPECT_STREQ(value.c_str(), "x");
  EXPECT_FALSE(dom.getElementValue(nullptr, value));
  dom.Destroy();
  EXPECT_EQ(dom.getXmlDom(), nullptr);
  EXPECT_FALSE(dom.createFromText(replyEnvelope("", "<a/>").c_str()));
  EXPECT_FALSE(dom.isLogonRequired());
}

TEST(XmlDom, LoadsFiles) {
  const std::string utf8 = replyEnvelope("", "<b>\xC3\xA4</b>");
  std::string utf16 = "\xFF\xFE";
  for (const char c : replyEnvelope("", "<b>x</b>")) utf16 += {c, '\0'};
  ITKXmlDom dom;
  ITKBuffer text;
  for (const auto& [bytes, value] : {std::pair{utf8, "\xC3\xA4"}, {"\xEF\xBB\xBF" + utf8, "\xC3\xA4"}, {utf16, "x"}}) {
    const qz::test::ScratchFile file(bytes);
    EXPECT_TRUE(dom.createFromFile(file.path()) && dom.getElementValue("b", text));
    EXPECT_STREQ(text.c_str(), value);
  }
  const qz::test::ScratchFile noSoap("<a/>");
  for (const char* none : {noSoap.path(), "C:\\no such file", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(dom.createFromFile(none));
}

/// All parts of a logon request, and what was logged.
std::string promptOf(const std::string& text) {
  LoadedDom dom(text);
  ITKBuffer caption;
  ITKBufferList names, types, values, options;
  names.add("stale");
  const ToolkitLogWatch log;
  const bool complete = dom.getPromptInfo(caption, names, types, values, options);
  EXPECT_EQ(complete, log.messages().empty()) << text;
  return caption.c_str() + texts(names) + texts(types) + texts(values) + texts(options) + "\n" + log.messages();
}

TEST(XmlDom, ReadsPromptsAndSaysWhatIsMissing) {
  const std::string captions = "<captions><caption>Log on</caption><item><caption>please</caption></item></captions>";
  const std::string objects =
      "<displayObjects><item><name>ZOTNamespace</name><type>singleselect</type><value>n</value></item>"
      "<item><name>ZOTPassword</name><type>textnoecho</type></item></displayObjects>";
  const std::string options = "<promptOptions><item>n</item><item>m</item></promptOptions>";
  const auto prompt = [](const std::string& parts) {
    return relay("<ZOT><exception><promptInfo>" + parts + "</promptInfo></exception></ZOT>");
  };
  const Cases cases = {
      {prompt(captions + objects + options),
       "Log on\r\npleaseZOTNamespace|ZOTPassword|singleselect|textnoecho|n||n|m|\n"},
      {prompt(options), "n|m|\nXml contains no caption\nXml contains no display objects\n"},
      {prompt(captions + "<displayObjects/>"),
       "Log on\r\nplease\nXml contains no caption/item\nXml contains no promptOptions\n"},
      {relay("<ZOT><other/></ZOT>"), "\nXml contains no prompt info\n"},
      {relay("<ZOT/>"), "\nXml contains no ZOT info\n"},
      {relay("<PRY/>"), "\nXml contains no ZOT section\n"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(promptOf(text), expected) << text;
}

TEST(XmlDom, ReadsTextsThatWereCutOut) {
  ITKXmlDom dom;
  ITKSOAP call;
  EXPECT_TRUE(dom.parseRELAYInfoFromRELAYHeaderXml(
      "<bus:relayHeader><ZOT><id>$$contextID$$</id></ZOT></bus:relayHeader>", call));
  EXPECT_STREQ(call.getPassportId(), "$$contextID$$");
  for (const char* text : {"", "<bus:relayHeader>"}) EXPECT_FALSE(dom.parseRELAYInfoFromRELAYHeaderXml(text, call));
  for (const auto& text : {std::string("<qzSOAPBody><className>c&amp;</className><timeout>7</timeout></qzSOAPBody>"),
                           "<data>" + qz::test::innerBody("className=c&", "timeout=7") + "</data>"}) {
    ITKSOAP read;
    EXPECT_TRUE(dom.parseSOAPInfoFromQzBodyXml(text.c_str(), read)) << text;
    EXPECT_STREQ(read.getInterfaceName(), "c&");
    EXPECT_EQ(read.getTimeoutLimit(), 7);
  }
  for (const char* text : {"<other/>", "<qzSOAPBody>", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(dom.parseSOAPInfoFromQzBodyXml(text, call));
}

TEST(XmlDom, ReadsDataSourceRecords) {
  const auto reply = replyEnvelope(
      "",
      "<cm:queryResponse><queryResult><cm:dataSourceConnection><defaultName><value>one</value></defaultName>"
      "<connectionString><value>^User?=x;A&amp;B</value></connectionString></cm:dataSourceConnection>"
      "<cm:dataSourceConnection><defaultName>two</defaultName></cm:dataSourceConnection></queryResult>"
      "</cm:queryResponse>");
  ITKXmlDom dom;
  for (const auto& [wanted, expected] : {std::pair{"", "one|^User?=x;A&B|two||"}, {"two", "two||"}, {"six", ""}}) {
    ITKBufferList records;
    EXPECT_TRUE(dom.parseDSConnectionInfo(reply.c_str(), wanted, records));
    EXPECT_EQ(texts(records), expected);
  }
  const std::string inner = "<username>u\xC3\xA4</username><password><encryptedValue>p+w==</encryptedValue></password>";
  const std::string head = "<cm:dataSourceSignon xmlns:cm='u'><credentials><value>";
  const std::string tail = "</value></credentials></cm:dataSourceSignon>";
  ITKBuffer user, password;
  for (const auto& text : {head + inner + tail, head + "<![CDATA[<credential>" + inner + "</credential>]]>" + tail}) {
    EXPECT_TRUE(dom.parseDSCredential(text.c_str(), user, password)) << text;
    EXPECT_EQ(user.c_str() + std::string("|") + password.c_str(), "u\xC3\xA4|p+w==");
    user = password = "stale";
  }
  ITKBufferList records;
  const ToolkitLogWatch log;
  EXPECT_FALSE(dom.parseDSConnectionInfo(replyEnvelope("", "<b/>").c_str(), "", records));
  EXPECT_FALSE(dom.parseDSCredential((head + "<username>u</username>" + tail).c_str(), user, password));
  EXPECT_EQ(log.messages(),
            "Xml contains no querty result\nThe input might not be a valid relay SOAP message\n"
            "Failed to parse input database connection information\n"
            "The input might not be a valid DS credential\nFailed to parse input database signon information\n");
}

}  // namespace
