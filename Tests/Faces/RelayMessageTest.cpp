#include <gmock/gmock.h>
#include <msxml2.h>

#include <functional>
#include <string>

#include "Tests/Support/CodecFaces.h"
#include "Tests/Support/Envelopes.h"

namespace {

using namespace qz::test;
using testing::HasSubstr;

const std::string kHeader =
    "\n <bus:relayHeader><bus:ZOT><id>P2</id></bus:ZOT><bus:PRY><contextID>C2</contextID></bus:PRY>"
    "<userPreferenceVars/></bus:relayHeader>\t";

std::string reply(const std::string& inner) { return replyEnvelope(kHeader, runReply(inner)); }

std::string requestBody(const std::string& interfaceName, const std::string& count) {
  return runRequest(innerBody("className=" + interfaceName, "methodName=m", "keepAlive=1",
                              "objectHandle=", "numArguments=" + count, "timeout=5", "asyncMode=0", "timeInterval=0"));
}

/// Everything that a reply's body puts into a call.
template <class Call>
std::string fieldsOf(Call& call) {
  const auto text = [](const char* value) { return value == nullptr ? "(null)" : std::string(value); };
  std::string all =
      text(call.getInterfaceName()) + "|" + text(call.getMethodName()) + "|" + text(call.getObjectHandle());
  for (const long number : {static_cast<long>(call.getKeepAlive()), call.getTimeoutLimit(), call.getAsyncMode(),
                            call.getTimeInterval(), call.getNumParamsChecksum(), call.getErrorCode()})
    all += "|" + std::to_string(number);
  return all + "|" + text(call.getErrorText());
}

template <class Face>
struct RelayMessage : CodecTest<Face> {
  using typename CodecTest<Face>::Buffer;
  using typename CodecTest<Face>::Call;

  int pack(const Call& call, Buffer& envelope, Buffer& arguments) {
    return codec->packOutProxy(Face::passed(call), Face::passed(envelope), Face::passed(arguments));
  }
  int unpack(const std::string& envelope, Call& call, const Buffer* attachment = nullptr) {
    return codec->unpackInProxy(Face::passed(this->buffer(envelope)), attachment, Face::passed(call));
  }

  const decltype(Face::makeCodec()) codec = Face::makeCodec();
};
TYPED_TEST_SUITE(RelayMessage, BothCodecFaces);

TYPED_TEST(RelayMessage, RequestsToTheByte) {
  using Face = TypeParam;
  auto& call = this->call("a&b", "m", 2, nullptr, nullptr, nullptr, 5);
  auto &envelope = this->textBuffer("old content"), &arguments = this->buffer();
  call.setComressParams(0);
  ASSERT_EQ(this->pack(call, envelope, arguments), 1);
  EXPECT_EQ(contentOf(envelope), requestEnvelope(freshHeader("", "", "0", ""), requestBody("a&b", "0")));
  EXPECT_EQ(envelope.getType(), ITKBufferType::DT_TEXT);
  EXPECT_EQ(contentOf(arguments), std::string("\7\0", 2));

  call.setPassportId("pass");
  call.getRTT().setPryContext("ctx");
  call.getRTT().setVTN("v");
  call.addParamText("x");
  ASSERT_EQ(this->pack(call, envelope, arguments), 1);
  EXPECT_EQ(contentOf(envelope),
            requestEnvelope(freshHeader("pass", "ctx", "1", cookieItem("VTN", "v")), requestBody("a&b", "1")));
  EXPECT_EQ(contentOf(arguments), std::string("\7\1\1\2\0\0\0x\0", 9));

  call.setRelayHeader("<stored>'1'</stored>");
  call.setInterfaceName("$$timeout$$");
  ASSERT_EQ(this->pack(call, envelope, arguments), 1);
  EXPECT_EQ(contentOf(envelope), requestEnvelope("<stored>'1'</stored>", requestBody("5", "1")));

  // Values are filled in order, the body last.
  call.setPassportId("$$contextID$$");
  const std::string query = "<cm:query>$$passportID$$</cm:query>";
  auto& generic = this->textBuffer(query);
  const auto& token = call.getRTT();
  ASSERT_EQ(this->codec->buildGenericSOAPEnv(Face::passed(token), generic.getStrBuffer(), Face::passed(generic)), 1);
  EXPECT_EQ(contentOf(generic),
            requestEnvelope(freshHeader("ctx", "ctx", "$$numCookies$$", "$$cookieValues$$"), query));
  EXPECT_EQ(generic.getType(), ITKBufferType::DT_TEXT);

  const auto log = Face::watchLog();
  for (int i = 1; i < 256; ++i) call.addParam(ITKBufferType::DT_I1, "x", 1);
  EXPECT_EQ(this->pack(call, envelope, arguments), 1);
  EXPECT_EQ(contentOf(envelope), requestEnvelope("<stored>'1'</stored>", requestBody("5", "256")));
  EXPECT_NE(log.messages().find("more than 255 arguments"), std::string::npos);
}

TYPED_TEST(RelayMessage, ReplyTable) {
  using Face = TypeParam;
  const std::string twice = Face::escapedTwice;
  const std::pair<std::string, std::string> cases[] = {
      {innerBody("className=c", "methodName=m", "objectHandle=h", "numArguments=4", "errorCode=0", "errorText=x",
                 "timeout=1", "asyncMode=2", "timeInterval=3"),
       "c|m|h|0|1|2|3|4|0|(null)"},
      {innerBody("keepAlive=1x", "errorCode= 12", "errorText=Größe &amp;amp; mehr", "timeout=-5"),
       "|(null)|(null)|1|-5|0|0|0|12|Größe " + twice + " mehr\r\n"},
      {innerBody("errorCodeString=9", "errorCode=8"),
       std::string("|(null)|(null)|0|0|0|0|0|") + Face::errorCodeBehindLongerName + "|"},
  };
  for (const auto& [inner, expected] : cases) {
    auto& call = this->call("old", "old", 9, "old", "old", nullptr, 9);
    EXPECT_EQ(this->unpack(reply(inner), call), 1) << inner;
    EXPECT_EQ(fieldsOf(call), expected) << inner;
    EXPECT_STREQ(call.getRelayHeader(), kHeader.c_str());
    EXPECT_STREQ(call.getPassportId(), "P2");
    EXPECT_STREQ(call.getRTT().getPryContext(), "C2");
  }
  const std::string unescaped = "<qzSOAPBody><className>c</className></qzSOAPBody>";
  auto& call = this->call();
  EXPECT_EQ(this->unpack(reply(unescaped), call), Face::resultWithoutInnerBody);
  EXPECT_STREQ(call.getPassportId(), Face::resultWithoutInnerBody == 0 ? "" : "P2");
}

TYPED_TEST(RelayMessage, MissingElementsAreLoggedByLevel) {
  const auto envelope = replyEnvelope("<bus:relayHeader><ZOT><id>P</id></ZOT></bus:relayHeader>",
                                      runReply(innerBody("className=c", "errorCode=0")));
  for (const std::string key : {"LogInfo", "LogTrace"}) {
    const auto more = TypeParam::logMore(key.c_str());
    const auto log = TypeParam::watchLog();
    EXPECT_EQ(this->unpack(envelope, this->call()), 1);
    EXPECT_THAT(log.messages(), HasSubstr(TypeParam::logged("getRELAYInfo", "Xml contains no PRY information")));
    const auto field = HasSubstr(TypeParam::logged("ExtractDataMembers", "No open tag for node keepAlive"));
    EXPECT_EQ(testing::Value(log.messages(), field), key == "LogInfo") << log.messages();
  }
}

TYPED_TEST(RelayMessage, BadRepliesChangeNothingButTheError) {
  using Face = TypeParam;
  const std::string body = runReply(innerBody("className=c"));
  const std::string fault = "<SOAP-ENV:Fault><faultstring>F</faultstring></SOAP-ENV:Fault>";
  const std::string logon =
      "<bus:relayHeader><ZOT><id>P</id><exception><errorCodeString>zotAuthUserRecoverable</errorCodeString></exception>"
      "</ZOT></bus:relayHeader>";
  const auto noEnvelope = Face::logged("Extract", "failed to extract SOAP header/body");
  const auto notRead = Face::logged("ExtractHdrInfo", "Failed to extract RELAY header information");
  const std::string refused = "Xml contains a document type declaration, which is refused.";
  const std::pair<std::string, std::string> cases[] = {
      {replyEnvelope(kHeader, fault), "-1|[F] " + notRead},
      {replyEnvelope(logon, fault), "-2|F " + notRead},
      {"<e xmlns:SOAP-ENV='u'><SOAP-ENV:Body>" + fault + "</SOAP-ENV:Body></e>",
       "0|[F]\r\n " + noEnvelope + Face::logged("Extract", "[F]")},
      {"<a/>", "0|(null) " + noEnvelope},
      {replyEnvelope("<bus:relayHeader/>", body),
       "0|(null) " + Face::logged("getRELAYInfo", "Xml contains no ZOT information") +
           Face::logged("getRELAYInfo", "Xml contains no ZOT/PRY information")},
      {"<!DOCTYPE a>" + replyEnvelope(kHeader, body),
       "-1|" + refused + " " + Face::logged("createFromText", refused) + notRead},
  };
  ITKRTT token;
  token.setPassportID("old");
  for (const auto& [envelope, expected] : cases) {
    auto& call = this->call("old", "m", 9, "h", "old header", &token, 9);
    const auto log = Face::watchLog();
    EXPECT_EQ(this->unpack(envelope, call), 0) << envelope;
    EXPECT_EQ(fieldsOf(call) + " " + log.messages(),
              "old|m|h|9|9|0|0|0|" + expected + Face::logged("unpackInProxy", "Failed to extract response information"))
        << envelope;
    EXPECT_STREQ(call.getRelayHeader(), "old header");
    EXPECT_STREQ(call.getPassportId(), "old");
  }
  // The header reader alone keeps what it found.
  auto& call = this->call();
  const auto& half = this->buffer(replyEnvelope("<bus:relayHeader/>", body));
  EXPECT_EQ(this->codec->ExtractHdrInfo(Face::passed(half), Face::passed(call)), 0);
  EXPECT_NE(call.getRelayHeader(), nullptr);
}

TYPED_TEST(RelayMessage, ACutReplyIsNeverASuccess) {
  const auto whole = reply(innerBody("className=c", "errorCode=0"));
  for (std::size_t length = 0; length < whole.size(); length += length < whole.size() - 100 ? 29 : 1) {
    auto& call = this->call("old", "", 0, "", "", nullptr, 0);
    EXPECT_EQ(this->unpack(whole.substr(0, length), call), 0) << length;
    auto zeroed = whole;
    zeroed[length] = '\0';
    EXPECT_EQ(this->unpack(zeroed, call), 0) << length;
    EXPECT_STREQ(call.getInterfaceName(), "old") << length;
  }
}

TYPED_TEST(RelayMessage, TheStubSpeaksTheSameFormat) {
  using Face = TypeParam;
  auto &call = this->call("i", "m", 1, "h", nullptr, nullptr, 30), &served = this->call();
  call.addParamText("in");
  auto &envelope = this->buffer(), &arguments = this->buffer(), &body = this->buffer();
  auto &header = this->text(), &cut = this->text();
  const auto &garbage = this->buffer("garbage"), &none = this->buffer();
  ASSERT_EQ(this->pack(call, envelope, arguments), 1);
  ASSERT_EQ(this->codec->ExtractHdrBodyXml(Face::passed(envelope), Face::passed(header), Face::passed(cut)), 1);
  const auto request = Face::contentOf(cut);
  ASSERT_EQ(this->codec->unpackInStub(request.c_str(), Face::passed(arguments), Face::passed(served)), 1);
  EXPECT_EQ(fieldsOf(served), "i|m|h|1|30|0|0|1|0|(null)");
  EXPECT_STREQ(served.getParamText(0), "in");
  EXPECT_EQ(this->codec->unpackInStub(request.c_str(), Face::passed(garbage), Face::passed(served)), 0);

  // The attachment of a reply is its parameters, or with an error code the error.
  auto& answer = this->call("i", "m", 1, "h", nullptr, nullptr, 30);
  const auto packAnswer = [&] {
    return this->codec->packOutStub(Face::passed(answer), Face::passed(body), Face::passed(arguments));
  };
  answer.addParamText("out");
  ASSERT_EQ(packAnswer(), 1);
  EXPECT_EQ(contentOf(body),
            runReply(innerBody("className=i", "methodName=m", "objectHandle=h", "numArguments=1", "errorCode=0",
                               "errorText=", "timeout=30", "asyncMode=0", "timeInterval=0")));
  call.getError().addError("a text without a code");
  for (const auto* attachment : {&std::as_const(arguments), &none}) {
    EXPECT_EQ(this->unpack(replyEnvelope(kHeader, contentOf(body)), call, attachment), 1);
    EXPECT_STREQ(call.getParamText(0), "out");
  }
  EXPECT_EQ(this->unpack(replyEnvelope(kHeader, contentOf(body)), call, &garbage), 0);
  answer.setError(12, "no such thing");
  ASSERT_EQ(packAnswer(), 1);
  EXPECT_TRUE(contentOf(arguments).starts_with("NIRA"));
  EXPECT_EQ(this->unpack(replyEnvelope(kHeader, contentOf(body)), served, &arguments), 1);
  EXPECT_EQ(fieldsOf(served), "i|m|h|0|30|0|0|1|12|no such thing");
  EXPECT_EQ(this->unpack(replyEnvelope(kHeader, contentOf(body)), served, &garbage), 0);

  // A text without a code is an error, too.
  answer.getError().setErrorCode(E_OK);
  answer.setComressParams(0);
  ASSERT_EQ(packAnswer(), 1);
  EXPECT_TRUE(contentOf(arguments).ends_with("no such thing"));
}

TYPED_TEST(RelayMessage, EnvelopesFromOwnTemplates) {
  using Face = TypeParam;
  const auto& call = this->call("i", "m", 0, nullptr, "<h/>", nullptr, 0);
  auto& codec = *this->codec;
  auto& text = this->text();
  auto&& in = Face::passed(call);
  auto&& out = Face::passed(text);
  EXPECT_STREQ(codec.BuildSOAPEnv(in, out, "$$className$$'", "<e a='$$relayHeader$$'>$$SOAP-ENV:Body$$</e>"),
               "<e a=\"<h/>\">i'</e>");
  EXPECT_EQ(codec.BuildSOAPEnv(in, out, "b"), requestEnvelope("<h/>", "b"));
  EXPECT_EQ(codec.GetDefaultRequestTemplate(), requestEnvelope("$$relayHeader$$", "$$SOAP-ENV:Body$$"));
  const auto* body = codec.BuildSOAPBodyXml(in, out, "$$methodName$$$$errorText$$!");
  EXPECT_STREQ(body, "m!");
  EXPECT_STREQ(codec.BuildSOAPBodyXml(in, out, body), "m!");
  EXPECT_STREQ(codec.BuildNodeXml("a", "x<y", out), "<a>x<y</a>");
  EXPECT_STREQ(codec.BuildNodeXml("a", nullptr, out), "<a></a>");
  EXPECT_EQ(Face::placeHolder(codec, "x"), "$$x$$");
  EXPECT_TRUE(codec.checkAddCookie("n", "v", out));
  for (const char* none : {static_cast<const char*>(nullptr), ""}) EXPECT_FALSE(codec.checkAddCookie("n", none, out));
  EXPECT_EQ(Face::contentOf(text), "<a></a>" + cookieItem("n", "v"));
}

TYPED_TEST(RelayMessage, ScansACallersText) {
  using Face = TypeParam;
  auto& codec = *this->codec;
  const char* text = "<n>12x</n><v>va lue</v>";
  EXPECT_EQ(codec.FindBeginTag(text, 0, "v", false), 13);
  EXPECT_EQ(codec.FindEndTag(text, 13, "v", false), 19);
  EXPECT_EQ(codec.FindBeginTag("<v>&lt;v&lt;v&gt;&lt;v&gt;", 4, "v", true), 17);
  for (const long start : {-1L, 20L, 1000L}) EXPECT_EQ(codec.FindBeginTag(text, start, "v", false), -1);
  auto& found = this->text();
  const auto* self = codec.BuildNodeXml("v", "self", Face::passed(found));
  EXPECT_STREQ(codec.ExtractXmlNodeValue(self, "v", Face::passed(found), false), "self");
  EXPECT_EQ(codec.ExtractXmlNodeValue(text, "w", Face::passed(found), false), nullptr);
  EXPECT_EQ(Face::contentOf(found), "");
  for (const auto& [name, number] : {std::pair{"n", 12}, {"v", 0}, {"w", 5}})
    EXPECT_EQ(codec.extractXmlNodeValueLong(text, name, 5, false), number);
  char room[] = "<v>va lue</v>";
  EXPECT_EQ(codec.extractXmlNodeValue(room, "v", room, 7), 1);
  EXPECT_STREQ(room, "va lue");
  EXPECT_EQ(codec.extractXmlNodeValue(text, "v", room, 6), 0);
  EXPECT_STREQ(room, "");
  EXPECT_EQ(codec.extractXmlNodeValue(text, "v", room, 0) + codec.extractXmlNodeValue(text, "v", nullptr, 7), 0);
  auto& out = this->textBuffer("<v></v><w>in the way</w>");
  EXPECT_EQ(codec.extractXmlNodeValue(out.getStrBuffer(), "w", Face::passed(out)), 1);
  EXPECT_EQ(contentOf(out), "in the way");
  EXPECT_EQ(codec.extractXmlNodeValue("<v></v>", "v", Face::passed(out)), 1);
  EXPECT_EQ(out.getLength() + codec.extractXmlNodeValue("", "w", Face::passed(out)), 0);
}

/// What only the flat face can do.
using FlatRelayMessage = RelayMessage<FlatCodecFace>;

/// Type code and bytes of every element, the bytes as numbers.
std::string typedElementsOf(const CqzBufferList& list) {
  std::string all;
  for (long i = 0; i < list.getCount(); ++i) {
    all += std::to_string(list.getAt(i)->getType()) + ":";
    for (const unsigned char byte : contentOf(*list.getAt(i))) all += std::to_string(byte) + " ";
  }
  return all;
}

TEST_F(FlatRelayMessage, ArgumentsInTheBodyComeBeforeTheAttachment) {
  const std::string open = "&lt;argument xsi:type=", close = "&lt;/argument&gt;";
  const auto envelope = replyEnvelope(
      kHeader,
      "<data>&lt;qzSOAPBody&gt;&lt;className&gt; c &amp;amp; d &lt;/className&gt;&lt;objectHandle&gt;&amp;lt;b/"
      "&amp;gt;&amp;quot;&lt;/objectHandle&gt;" +
          open + "\"xsd:short\"&gt;70000" + close + "&lt;list&gt;" + open + "&quot;xsd:string&quot;&gt; \xD1\x8F " +
          close + "&lt;/list&gt;&lt;argument/&gt;" + open + "\"double\"&gt;-2" + close + "&lt;/qzSOAPBody&gt;</data>");
  auto& call = this->call();
  ASSERT_EQ(unpack(envelope, call), 1);
  EXPECT_STREQ(call.getInterfaceName(), " c & d ");
  EXPECT_STREQ(call.getObjectHandle(), "<b/>\"");
  EXPECT_EQ(typedElementsOf(call.getListParams()), "3:112 17 1:32 209 143 32 1:6:0 0 0 0 0 0 0 192 ");
  ASSERT_EQ(unpack(envelope, call, &buffer({"\7\1\2\1\0\0\0x", 8})), 1);
  EXPECT_EQ(typedElementsOf(call.getListParams()), "2:120 ");
}

TEST_F(FlatRelayMessage, CutsAnEnvelopeInPlace) {
  const std::string body(1 << 20, 'b');
  auto &envelope = buffer(replyEnvelope(kHeader, body)), &other = buffer();
  EXPECT_EQ(codec->ExtractHdrBodyXml(&envelope, &envelope, &other), 1);
  EXPECT_TRUE(contentOf(envelope) == kHeader && contentOf(other) == body);
}

TEST_F(FlatRelayMessage, ReadsADocumentOfTheCaller) {
  const auto dom = FlatCodecFace::makeDom(replyEnvelope(
      "", "<a><p:b xmlns:p='u'>12x</p:b></a><b>13</b><c/><v xsi:type='byte'>-1</v><l><v xsi:type='xsd:Int'>7</v></l>"));
  auto* document = dom->getXmlDom();
  const CqzBuffer00 text;
  for (const auto& [name, found, expected] : {std::tuple{"b", 1, "12x"}, {"c", 1, ""}, {"d", 0, ""}}) {
    EXPECT_EQ(codec->extractXmlNodeValue(document, name, text), found) << name;
    EXPECT_EQ(contentOf(*text), expected) << name;
    EXPECT_EQ(text->getType(), ITKBufferType::DT_TEXT);
  }
  for (const auto& [name, number] : {std::pair{"b", 12}, {"c", 0}, {"d", 5}, {static_cast<const char*>(nullptr), 5}})
    EXPECT_EQ(codec->extractXmlNodeValueLong(document, name, 5), number);
  auto& list = this->list();
  list.add("k");
  EXPECT_EQ(codec->extractXmlNodeValueList(document, "v", &list), 1);
  EXPECT_EQ(codec->extractXmlNodeValueList(document, "d", &list), 1);
  EXPECT_EQ(typedElementsOf(list), "1:107 2:255 1:55 ");
}

// The library loads no such document, but a caller can.
TEST_F(FlatRelayMessage, ReadsADocumentOfAnyDepth) {
  const auto dom = FlatCodecFace::makeDom(replyEnvelope("", "<a>5</a>"));
  const BSTR name = SysAllocString(L"b");
  IXMLDOMNode* inner = dom->getChildNode(dom->getXmlDom(), "Envelope");
  for (int i = 0; i < 50'000; ++i) {
    IXMLDOMElement* element = nullptr;
    dom->getXmlDom()->createElement(name, &element);
    inner->appendChild(element, nullptr);
    inner->Release();
    inner = element;
  }
  inner->Release();
  SysFreeString(name);
  EXPECT_EQ(codec->extractXmlNodeValueLong(dom->getXmlDom(), "a", 0), 5);
  EXPECT_EQ(codec->extractXmlNodeValueLong(dom->getXmlDom(), "c", 6), 6);
}

TEST_F(FlatRelayMessage, NullIsRefusedInTheNameOfTheOperation) {
  auto &call = this->call(), &other = this->call();
  CqzBuffer* const out = &textBuffer("kept");
  CqzBuffer* const no = nullptr;
  auto* const none = static_cast<CRpcSOAP*>(nullptr);
  auto* const noDocument = static_cast<IXMLDOMDocument*>(nullptr);
  const std::pair<std::string, std::function<bool()>> cases[] = {
      {"packOutProxy", [&] { return codec->packOutProxy(none, out, out) || codec->packOutProxy(&call, out, no); }},
      {"buildGeneriicSOAPEnv", [&] { return codec->buildGenericSOAPEnv(nullptr, "", out); }},
      {"BuildPlaceHolder", [&] { return *codec->BuildPlaceHolder("", no) != '\0'; }},
      {"BuildNodeXml", [&] { return *codec->BuildNodeXml("", "", no) != '\0'; }},
      {"BuildSOAPEnv", [&] { return *codec->BuildSOAPEnv(none, out, "x", "") != '\0'; }},
      {"BuildSOAPBodyXml", [&] { return *codec->BuildSOAPBodyXml(none, out, "x") != '\0'; }},
      {"checkAddCookie", [&] { return codec->checkAddCookie("n", "v", no); }},
      {"unpackInProxy", [&] { return codec->unpackInProxy(no, out, &call) || codec->unpackInProxy(out, no, none); }},
      {"Extract", [&] { return codec->Extract(out, none); }},
      {"ExtractHdrBodyXml", [&] { return codec->ExtractHdrBodyXml(out, no, out); }},
      {"ExtractHdrInfo", [&] { return codec->ExtractHdrInfo(no, &call); }},
      {"ExtractDataMembers", [&] { return codec->ExtractDataMembers("", none); }},
      {"ExtractXmlNodeValue", [&] { return codec->ExtractXmlNodeValue("<a></a>", "a", no, false) != nullptr; }},
      {"extractXmlNodeValue", [&] { return codec->extractXmlNodeValue("<a></a>", "a", no); }},
      {"extractXmlNodeValue", [&] { return codec->extractXmlNodeValue(noDocument, "a", out); }},
      {"extractXmlNodeValueLong", [&] { return codec->extractXmlNodeValueLong(noDocument, "a", 0) != 0; }},
      {"extractXmlNodeValueList", [&] { return codec->extractXmlNodeValueList(noDocument, "a", &list()); }},
      {"packOutStub", [&] { return codec->packOutStub(&call, out, no); }},
      {"unpackInStub", [&] { return codec->unpackInStub("", out, none); }},
      {"buildSoapBodyTask", [&] { return codec->buildSoapBodyTask(no); }},
      {"buildSoapBodyTaskFault", [&] { return codec->buildSoapBodyTaskFault(none, out); }},
  };
  for (const auto& [operation, succeeds] : cases) {
    const auto log = FlatFace::watchLog();
    EXPECT_FALSE(succeeds()) << operation;
    const auto said = saidBy(operation, log);
    EXPECT_TRUE(said == "NULL pointer passed in\n" || said == "NULL pointer passed in\nNULL pointer passed in\n")
        << operation << ": " << said;
  }
  EXPECT_EQ(contentOf(*out), "kept");
  EXPECT_EQ(fieldsOf(call), fieldsOf(other));
}

}  // namespace
