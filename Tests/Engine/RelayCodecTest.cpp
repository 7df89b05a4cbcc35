#include "References/Libraries/Rpc/RelayCodec.h"

#include <gtest/gtest.h>
#include <msxml2.h>

#include <functional>
#include <optional>

#include "R7ITK/R7ITKShared/RelayTraits.h"
#include "References/Libraries/Platform/Bstr.h"
#include "RuntimeEngine/qzSOAP/FlatRelay.h"
#include "RuntimeEngine/qzSOAP/RelayMessageImpl.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPImpl.h"
#include "Tests/Support/CodecFaces.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/ScarceMemory.h"

namespace qz::rpc {
namespace {

std::string logged(const Notes& notes) {
  std::string out;
  for (const auto& note : notes) out += std::to_string(note.level) + " " + note.text + "\n";
  return out;
}

TEST(InnerDocument, WhatIsMissingIsSaid) {
  for (const auto& [text, expected] : {std::pair{"nothing", "2 No open tag for node qzSOAPBody\n"},
                                       {"&lt;qzSOAPBody&gt;&lt;a&gt;", "2 No close tag for node qzSOAPBody\n"},
                                       {"&lt;qzSOAPBody&gt;&lt;!DOCTYPE a&gt;&lt;/qzSOAPBody&gt;",
                                        "1 Xml contains a document type declaration, which is refused.\n"}}) {
    Notes notes;
    EXPECT_FALSE(readInnerDocument(text, notes));
    EXPECT_EQ(logged(notes), expected);
  }
  Notes notes, fields;
  EXPECT_FALSE(readInnerDocument("&lt;qzSOAPBody&gt;&lt;a&gt;&lt;/qzSOAPBody&gt;", notes));
  EXPECT_TRUE(logged(notes).starts_with("1 "));
  std::string body = "&lt;qzSOAPBody&gt;", expected;
  for (const std::string name : {"className", "methodName", "objectHandle", "numArguments", "errorCode", "timeout"})
    body += "&lt;" + name + "/&gt;";
  for (const std::string name : {"keepAlive", "asyncMode", "timeInterval"})
    expected += "2 No open tag for node " + name + "\n";
  EXPECT_TRUE(readInnerDocument(body + "&lt;/qzSOAPBody&gt;", fields));
  EXPECT_EQ(logged(fields), expected);
}

TEST(RelayCodec, ATasksReplyIsAFaultWhenTheCallHoldsAnError) {
  CRpcSOAPImpl call;
  CqzBufferImpl body, single;
  CqzRelayMessageImpl codec;
  const auto& templates = templatesOf<flat::FlatRelay>();
  ASSERT_EQ(codec.packOutStubTask(&call, &body), 1);
  EXPECT_EQ(test::contentOf(body), templates.taskReply.text());
  EXPECT_EQ(body.getType(), ITKBufferType::DT_TEXT);
  call.getError().setError(-5, 7, "bad");
  ASSERT_EQ(codec.packOutStubTask(&call, &body), 1);
  EXPECT_EQ(test::contentOf(body), wire::fillFault(templates, {-5, 7, "bad"}));
  EXPECT_TRUE(codec.buildSoapBodyTaskFault(&call, &single) == 1 && single == body);
  EXPECT_EQ(codec.buildSoapBodyTask(&single), 1);
  EXPECT_EQ(test::contentOf(single), templates.taskReply.text());
}

std::string reported;

/// A face whose log is a text.
struct ReportedRelay : flat::FlatRelay {
  static void report(long level, const char* operation, const char*, std::string_view message, std::source_location) {
    reported += std::to_string(level).append(" ").append(operation).append(": ").append(message).append("\n");
  }
};

TEST(RelayCodec, AMissingElementOfADocumentIsSaid) {
  using Codec = RelayCodec<ReportedRelay>;
  const auto document = platform::XmlDocument::create();
  CqzBufferImpl text;
  reported.clear();
  EXPECT_EQ(Codec::copyElementText(document->root(), "a", text), 0);
  EXPECT_EQ(Codec::elementNumber(document->root(), "b", 5), 5);
  EXPECT_EQ(reported, "2 extractXmlNodeValue: No open tag for node a\n2 extractXmlNodeValue: No open tag for node b\n");
}

template <class Face>
struct ShortOfMemory : test::CodecTest<Face> {
  /// What an operation fills, new for each attempt.
  struct Targets {
    typename Face::Call& call;
    typename Face::Buffer& buffer;
    typename Face::Buffer& other;
    typename Face::Text& text;
    typename Face::Text& otherText;
    typename Face::BufferList& list;
  };
  using Operation = std::function<bool(const Targets&)>;

  /// An operation must not succeed before it has enough memory, and must then.
  void expectSuccessOnlyWithEnough(const char* name, const Operation& succeeds) {
    std::optional<Targets> out;
    const auto renew = [&] {
      out.emplace(this->call(), this->buffer(), this->buffer(), this->text(), this->text(), this->list());
    };
    renew();
    test::withEverMoreMemory([&] { return succeeds(*out); },
                             [&](bool success, bool wasShort) {
                               EXPECT_NE(success, wasShort) << name;
                               renew();
                             });
  }
};
TYPED_TEST_SUITE(ShortOfMemory, test::BothCodecFaces);

TYPED_TEST(ShortOfMemory, NothingCountsAsDelivered) {
  using Face = TypeParam;
  const std::string header =
      "<bus:relayHeader><ZOT><id>passport</id><promptInfo><captions><caption>c</caption></captions><displayObjects>"
      "<item><name>n</name></item></displayObjects><promptOptions><item>o</item></promptOptions></promptInfo></ZOT>"
      "<bus:PRY><contextID>context</contextID></bus:PRY><hdrSession><cookieVars><item><name>n</name><value>v</value>"
      "</item></cookieVars></hdrSession><userPreferenceVars><item><name>n</name><value>v</value></item>"
      "</userPreferenceVars></bus:relayHeader>";
  const auto body = test::runReply(test::innerBody("className=c", "methodName=m", "objectHandle=h", "numArguments=1",
                                                   "keepAlive=1", "errorCode=9", "errorText=e", "timeout=5",
                                                   "asyncMode=0", "timeInterval=0", "argument=a"));
  const auto reply = test::replyEnvelope(header, body);
  const auto& envelope = this->buffer(reply);
  const auto& signon = this->buffer(
      "<dataSourceSignon><credentials><username>u</username><encryptedValue>p</encryptedValue></credentials>"
      "</dataSourceSignon>");
  const auto& query = this->buffer(test::replyEnvelope(
      "",
      "<cm:queryResponse><queryResult><cm:dataSourceConnection><defaultName>n</defaultName><connectionString>c</"
      "connectionString></cm:dataSourceConnection></queryResult></cm:queryResponse>"));
  const auto& all = this->buffer();
  auto& call = this->call("i", "m", 1, "h", nullptr, nullptr, 5);
  const auto& token = call.getRTT();
  call.setComressParams(0);
  const auto codec = Face::makeCodec();
  const auto dom = Face::makeDom(reply);
  const auto isText = [](const char* text) { return text != nullptr && *text != '\0'; };
  const auto in = [](auto& object) -> decltype(auto) { return Face::passed(object); };
  using Out = const typename ShortOfMemory<Face>::Targets&;
  const std::pair<const char*, typename ShortOfMemory<Face>::Operation> cases[] = {
      {"packOutProxy", [&](Out o) { return codec->packOutProxy(in(call), in(o.buffer), in(o.other)) != 0; }},
      {"buildGenericSOAPEnv", [&](Out o) { return codec->buildGenericSOAPEnv(in(token), "", in(o.buffer)) != 0; }},
      {"BuildNodeXml", [&](Out o) { return isText(codec->BuildNodeXml("n", "v", in(o.text))); }},
      {"unpackInProxy", [&](Out o) { return codec->unpackInProxy(in(envelope), nullptr, in(o.call)) != 0; }},
      {"ExtractHdrInfo", [&](Out o) { return codec->ExtractHdrInfo(in(envelope), in(o.call)) != 0; }},
      {"ExtractHdrBodyXml",
       [&](Out o) { return codec->ExtractHdrBodyXml(in(envelope), in(o.text), in(o.otherText)) != 0; }},
      {"extractXmlNodeValue",
       [&](Out o) { return codec->extractXmlNodeValue(reply.c_str(), "id", in(o.buffer)) != 0; }},
      {"getElementValue", [&](Out o) { return dom->getElementValue("id", in(o.buffer)); }},
      {"getPromptInfo",
       [&](Out o) { return dom->getPromptInfo(in(o.buffer), in(o.list), in(o.list), in(o.list), in(o.list)); }},
      {"extractRELAYFaultText",
       [&](Out o) { return Face::appendFaultText(*dom, "<faultstring>f</faultstring>", o.buffer); }},
      {"parseSOAPInfoFromQzBodyXml", [&](Out o) { return dom->parseSOAPInfoFromQzBodyXml(body.c_str(), in(o.call)); }},
      {"parseDSConnectionInfo", [&](Out o) { return dom->parseDSConnectionInfo(in(query), in(all), in(o.list)); }},
      {"parseDSCredential", [&](Out o) { return dom->parseDSCredential(in(signon), in(o.buffer), in(o.other)); }},
  };
  for (const auto& [name, succeeds] : cases) this->expectSuccessOnlyWithEnough(name, succeeds);
}

TEST(RelayCodec, ATaskWithoutCallOrBufferIsAnException) {
  const auto raisedFor = [](const CRpcSOAP* call, CqzBuffer* body) -> std::string {
    try {
      CqzRelayMessageImpl().packOutStubTask(call, body);
    } catch (const Err& raised) {
      return raised.description;
    }
    return "nothing";
  };
  const CRpcSOAPImpl call;
  CqzBufferImpl body;
  EXPECT_EQ(raisedFor(nullptr, &body), "Soap object is required");
  EXPECT_EQ(raisedFor(&call, nullptr), "Soap buffer is required");
}

}  // namespace
}  // namespace qz::rpc
