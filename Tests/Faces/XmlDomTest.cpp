#include <gtest/gtest.h>
#include <objbase.h>

#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include "Tests/Support/CodecFaces.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/ScratchFile.h"

namespace {

using namespace qz::test;

/// What is put in and what comes out.
using Cases = std::pair<std::string, std::string>[];

std::string relay(const std::string& content) {
  return replyEnvelope("<bus:relayHeader>" + content + "</bus:relayHeader>", "<b/>");
}

template <class Face>
struct XmlDom : CodecTest<Face> {
  /// An object that has loaded a reply.
  static auto loaded(const std::string& reply = replyEnvelope("", "")) {
    auto dom = Face::makeDom(reply);
    EXPECT_NE(dom, nullptr) << reply;
    return dom;
  }

  std::string infoOf(const std::string& text);
  std::string verdictOf(const std::string& text);
  std::string promptOf(const std::string& text);
};
TYPED_TEST_SUITE(XmlDom, BothCodecFaces);

/// Whether the relay header was read, passport and context then, and what was logged.
template <class Face>
std::string XmlDom<Face>::infoOf(const std::string& text) {
  auto& call = this->call();
  call.setPassportId("old");
  call.getRTT().setPryContext("old");
  call.setRelayHeader("old");
  const auto dom = loaded(text);
  const auto log = Face::watchLog();
  const std::string found = dom->getRELAYInfo(Face::passed(call)) ? "yes" : "no";
  if (text.find("relayHeader") == std::string::npos)
    EXPECT_STREQ(call.getRelayHeader(), "old") << text;
  else
    EXPECT_STRNE(call.getRelayHeader(), "old") << text;
  return found + " " + call.getPassportId() + " " + call.getRTT().getPryContext() + "\n" +
         this->saidBy("getRELAYInfo", log);
}

TYPED_TEST(XmlDom, RelayHeaderTable) {
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
      {"<r xmlns:SOAP-ENV='u'><SOAP-ENV:Header/>" + open + header + close + "</r>", "yes P old\n" + noPreference},
      {open + "<x>" + open + header + close + "</x>" + close, "yes P old\n" + noPreference},
      {open + "<b/>" + close, "no old old\nXml contains no SOAP header\n"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(this->infoOf(text), expected) << text;
}

TYPED_TEST(XmlDom, RelayHeaderBringsCookiesAndPreferences) {
  auto& call = this->call();
  call.getRTT().setCookieValue("empty", "was full");
  const auto dom = this->loaded(relay(
      "<ZOT><id>P\xC3\xA4\xE2\x82\xAC</id></ZOT>"
      "<bus:hdrSession><bus:cookieVars><item><name>VTN</name><value>v=1</value></item><item><name/><value>x</value>"
      "</item><item><name>empty</name><value/></item></bus:cookieVars></bus:hdrSession>"
      "<bus:userPreferenceVars><item><name>locale</name><value>\xD1\x80\xD1\x83</value></item>"
      "<item><name>none</name></item></bus:userPreferenceVars>"));
  ASSERT_TRUE(dom->getRELAYInfo(TypeParam::passed(call)));
  EXPECT_STREQ(call.getPassportId(), "P\xC3\xA4\xE2\x82\xAC");
  EXPECT_STREQ(call.getRTT().getVTN(), "v=1");
  for (const char* none : {"empty", ""}) EXPECT_STREQ(call.getRTT().getCookieValue(none), "");
  EXPECT_STREQ(call.getUserPreference("locale"), "\xD1\x80\xD1\x83");
  EXPECT_EQ(call.getUserPreference("none"), nullptr);
}

/// What a reply is taken for, the text for the caller, and whether it asks for a logon.
template <class Face>
std::string XmlDom<Face>::verdictOf(const std::string& text) {
  const auto dom = loaded(replyEnvelope("", "<before>x</before>"));
  auto& error = this->error();
  const bool ordinary = dom->createFromText(text.c_str(), Face::passed(error));
  EXPECT_EQ(ordinary, error.getErrorCode() == E_OK) << text;
  EXPECT_FALSE(dom->getElementValue("before", Face::passed(this->buffer()))) << text;
  const std::string name = error.getErrorCode() == E_OK ? "OK" : error.getErrorCode() == E_LOGON ? "LOGON" : "FAULT";
  return name + (error.isError() ? std::string(" ") + error.getErrorText() : "") + (dom->isLogonRequired() ? " !" : "");
}

TYPED_TEST(XmlDom, RepliesAndFaultsAreToldApart) {
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
  for (const auto& [text, expected] : cases) EXPECT_EQ(this->verdictOf(text), expected) << text.substr(0, 2000);
}

TYPED_TEST(XmlDom, FaultTextComesFromAnyXml) {
  const auto dom = this->loaded();
  auto& out = this->textBuffer("before");
  const auto add = [&](const char* text) { return TypeParam::appendFaultText(*dom, text, out); };
  EXPECT_TRUE(add("<a><faultstring>x</faultstring></a>"));
  EXPECT_TRUE(add("<a/>"));
  for (const char* none : {"<html><br></html>", "<!DOCTYPE a><a><faultstring>y</faultstring></a>", ""})
    EXPECT_FALSE(add(none));
  EXPECT_EQ(contentOf(out), "before[x]");
  EXPECT_NE(dom->getXmlDom(), nullptr);
}

TYPED_TEST(XmlDom, WorksOnThreadsWithAndWithoutCom) {
  const auto ask = [](const std::string& name) {
    for (int i = 0; i < 50; ++i) {
      const auto call = TypeParam::makeCall("", "", 0, "", "", nullptr, 0);
      const auto dom = TestFixture::loaded(relay("<ZOT><id>" + name + std::to_string(i) + "</id></ZOT>"));
      ASSERT_TRUE(dom->getRELAYInfo(TypeParam::passed(*call)));
      ASSERT_EQ(call->getPassportId(), name + std::to_string(i));
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

TYPED_TEST(XmlDom, WithoutADocumentEveryQuestionIsAnsweredWithNo) {
  const auto dom = this->loaded(replyEnvelope("", "<a><b>x</b></a>"));
  auto& value = this->buffer();
  EXPECT_TRUE(dom->getElementValue("b", TypeParam::passed(value)));
  EXPECT_EQ(contentOf(value), "x");
  EXPECT_EQ(value.getType(), ITKBufferType::DT_TEXT);
  EXPECT_FALSE(dom->getElementValue(nullptr, TypeParam::passed(value)));
  EXPECT_FALSE(dom->createFromText("<a><b>y</b></a>"));
  EXPECT_FALSE(dom->getElementValue("b", TypeParam::passed(value)));
  EXPECT_FALSE(dom->getRELAYInfo(TypeParam::passed(this->call())));
  EXPECT_FALSE(dom->isLogonRequired());
  EXPECT_EQ(contentOf(value), "x");
}

TYPED_TEST(XmlDom, LoadsFiles) {
  const std::string utf8 = replyEnvelope("", "<b>\xC3\xA4</b>");
  std::string utf16 = "\xFF\xFE";
  for (const char c : replyEnvelope("", "<b>x</b>")) utf16 += {c, '\0'};
  const auto dom = this->loaded();
  auto& text = this->buffer();
  for (const auto& [bytes, value] : {std::pair{utf8, "\xC3\xA4"}, {"\xEF\xBB\xBF" + utf8, "\xC3\xA4"}, {utf16, "x"}}) {
    const ScratchFile file(bytes);
    EXPECT_TRUE(dom->createFromFile(file.path()) && dom->getElementValue("b", TypeParam::passed(text)));
    EXPECT_EQ(contentOf(text), value);
  }
  const ScratchFile noSoap("<a/>"), empty;
  const auto log = TypeParam::watchLog();
  for (const char* none : {noSoap.path(), empty.path(), "C:\\no such file", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(dom->createFromFile(none));
  EXPECT_NE(log.messages().find(TypeParam::logged("createFromFile", "Failed to read the file")), std::string::npos);
}

/// All parts of a logon request, and what was logged.
template <class Face>
std::string XmlDom<Face>::promptOf(const std::string& text) {
  const auto dom = loaded(text);
  auto& caption = this->buffer();
  auto &names = this->list(), &types = this->list(), &values = this->list(), &options = this->list();
  names.add("stale");
  const auto log = Face::watchLog();
  const bool complete = dom->getPromptInfo(Face::passed(caption), Face::passed(names), Face::passed(types),
                                           Face::passed(values), Face::passed(options));
  EXPECT_EQ(complete, log.messages().empty()) << text;
  return contentOf(caption) + elementsOf(names) + elementsOf(types) + elementsOf(values) + elementsOf(options) + "\n" +
         this->saidBy("getPromptInfo", log);
}

TYPED_TEST(XmlDom, ReadsPromptsAndSaysWhatIsMissing) {
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
  for (const auto& [text, expected] : cases) EXPECT_EQ(this->promptOf(text), expected) << text;
}

TYPED_TEST(XmlDom, ReadsTextsThatWereCutOut) {
  using Face = TypeParam;
  const auto dom = this->loaded();
  auto& call = this->call();
  EXPECT_TRUE(dom->parseRELAYInfoFromRELAYHeaderXml(
      "<bus:relayHeader><ZOT><id>$$contextID$$</id></ZOT></bus:relayHeader>", Face::passed(call)));
  EXPECT_STREQ(call.getPassportId(), "$$contextID$$");
  for (const char* text : {"", "<bus:relayHeader>"})
    EXPECT_FALSE(dom->parseRELAYInfoFromRELAYHeaderXml(text, Face::passed(call)));
  const Cases cases = {
      {"<qzSOAPBody><className>c&amp;</className><timeout>7</timeout></qzSOAPBody>", "c&"},
      {"<data>" + innerBody("className=c&amp;amp;", "timeout=7") + "</data>", std::string("c") + Face::escapedTwice},
  };
  for (const auto& [text, name] : cases) {
    auto& read = this->call();
    EXPECT_TRUE(dom->parseSOAPInfoFromQzBodyXml(text.c_str(), Face::passed(read))) << text;
    EXPECT_EQ(read.getInterfaceName(), name);
    EXPECT_EQ(read.getTimeoutLimit(), 7);
  }
  for (const char* text : {"<other/>", "<qzSOAPBody>", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(dom->parseSOAPInfoFromQzBodyXml(text, Face::passed(call)));
}

// Records and sign-ons as they usually are, and the choice by name, are shown by whole queries.
TYPED_TEST(XmlDom, ReadsDataSourceRecords) {
  using Face = TypeParam;
  const auto dom = this->loaded();
  const auto& none = this->buffer();
  const auto& reply = this->buffer(
      replyEnvelope("",
                    "<cm:queryResponse><queryResult><cm:dataSourceConnection><defaultName>two</defaultName>"
                    "</cm:dataSourceConnection></queryResult></cm:queryResponse>"));
  auto& records = this->list();
  EXPECT_TRUE(dom->parseDSConnectionInfo(Face::passed(reply), Face::passed(none), Face::passed(records)));
  EXPECT_EQ(elementsOf(records), "two||");
  const std::string inner = "<username>u\xC3\xA4</username><password><encryptedValue>p+w==</encryptedValue></password>";
  const std::string head = "<cm:dataSourceSignon xmlns:cm='u'><credentials><value>";
  const std::string tail = "</value></credentials></cm:dataSourceSignon>";
  auto &user = this->buffer(), &password = this->buffer();
  const auto parse = [&](const std::string& text) {
    const auto& record = this->buffer(text);
    return dom->parseDSCredential(Face::passed(record), Face::passed(user), Face::passed(password));
  };
  for (const auto& text : {head + inner + tail, head + "<![CDATA[<credential>" + inner + "</credential>]]>" + tail}) {
    EXPECT_TRUE(parse(text)) << text;
    EXPECT_EQ(contentOf(user) + "|" + contentOf(password), "u\xC3\xA4|p+w==");
    user.write("stale", true);
  }
  const auto log = Face::watchLog();
  EXPECT_FALSE(parse(head + "<username>u</username>" + tail));
  EXPECT_EQ(this->saidBy("parseDSCredential", log),
            "The input might not be a valid DS credential\nFailed to parse input database signon information\n");
}

TEST(ToolkitXmlDom, BeforeLoadingAndAfterItsEndThereIsNoDocument) {
  ITKXmlDom dom;
  ITKSOAP call;
  EXPECT_EQ(dom.getXmlDom(), nullptr);
  EXPECT_FALSE(dom.getRELAYInfo(call));
  ASSERT_TRUE(dom.createFromText(replyEnvelope("", "<a/>").c_str()));
  EXPECT_NE(dom.getXmlDom(), nullptr);
  dom.Destroy();
  EXPECT_EQ(dom.getXmlDom(), nullptr);
  EXPECT_FALSE(dom.createFromText(replyEnvelope("", "<a/>").c_str()));
  EXPECT_FALSE(dom.isLogonRequired());
}

using FlatXmlDom = XmlDom<FlatCodecFace>;

TEST_F(FlatXmlDom, IsMadeLoadedOrNotAtAll) {
  const auto fault = replyEnvelope("", "<SOAP-ENV:Fault><faultstring>F</faultstring></SOAP-ENV:Fault>");
  const ScratchFile file(fault), noSoap("<a/>");
  const auto made = [](CqzXmlDom* dom) {
    releaseXmlDom(dom);
    return dom != nullptr;
  };
  auto& fresh = error();
  EXPECT_TRUE(made(createXmlDomFromText(fault.c_str())));
  EXPECT_TRUE(made(createXmlDomFromFile(file.path())));
  EXPECT_TRUE(made(createXmlDomFromText(replyEnvelope("", "<b/>").c_str(), &fresh)));
  EXPECT_EQ(fresh.isError(), 0);
  EXPECT_FALSE(made(createXmlDomFromText(fault.c_str(), &fresh)));
  EXPECT_STREQ(fresh.getErrorText(), "[F]");
  for (const char* none : {"<a/>", "", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(made(createXmlDomFromText(none)) || made(createXmlDomFromText(none, &fresh)));
  EXPECT_EQ(fresh.getErrorCode(), E_FAULT);
  for (const char* none : {noSoap.path(), "C:\\no such file", static_cast<const char*>(nullptr)})
    EXPECT_FALSE(made(createXmlDomFromFile(none)));
}

TEST_F(FlatXmlDom, FaultTextEndsWithTheContent) {
  auto* const block = static_cast<unsigned char*>(HeapAlloc(GetProcessHeap(), 0, 8));
  std::memcpy(block, "onlythis", 8);
  const CqzBuffer00 out;
  ASSERT_EQ(out->attach(block, 4, ITKBufferType::DT_BINARY), 1);
  EXPECT_STREQ(loaded()->extractRELAYFaultText("<a/>", out), "only");
}

TEST_F(FlatXmlDom, NullIsRefusedInTheNameOfTheOperation) {
  const auto dom = loaded();
  CqzBuffer *const out = &textBuffer("kept"), *const no = nullptr;
  CqzBufferList *const list = &this->list(), *const noList = nullptr;
  CRpcSOAP* const noCall = nullptr;
  const std::pair<std::string, std::function<bool()>> cases[] = {
      {"createFromText", [&] { return dom->createFromText("", nullptr); }},
      {"getElementValue", [&] { return dom->getElementValue("SOAP-ENV:Body", no); }},
      {"getRELAYInfo", [&] { return dom->getRELAYInfo(noCall); }},
      {"getPromptInfo", [&] { return dom->getPromptInfo(out, list, list, list, noList); }},
      {"extractRELAYFaultText", [&] { return *dom->extractRELAYFaultText("<a/>", no) != '\0'; }},
      {"parseRELAYInfoFromRELAYHeaderXml", [&] { return dom->parseRELAYInfoFromRELAYHeaderXml("", noCall); }},
      {"parseSOAPInfoFromQzBodyXml", [&] { return dom->parseSOAPInfoFromQzBodyXml("", noCall); }},
      {"parseDSConnectionInfo", [&] { return dom->parseDSConnectionInfo(no, out, list); }},
      {"parseDSCredential", [&] { return dom->parseDSCredential(out, out, no); }},
      {"getChildNode", [&] { return dom->getChildNode(nullptr, "a") != nullptr; }},
  };
  for (const auto& [operation, succeeds] : cases) {
    const auto log = FlatFace::watchLog();
    EXPECT_FALSE(succeeds()) << operation;
    EXPECT_EQ(saidBy(operation, log), "NULL pointer passed in\n");
  }
  EXPECT_EQ(contentOf(*out), "kept");
}

}  // namespace
