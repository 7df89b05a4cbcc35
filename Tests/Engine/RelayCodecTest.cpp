#include "References/Libraries/Rpc/RelayCodec.h"

#include <gtest/gtest.h>
#include <msxml2.h>

#include "R7ITK/R7ITKShared/RelayTraits.h"
#include "References/Libraries/Platform/Bstr.h"
#include "RuntimeEngine/qzSOAP/BufferListImpl.h"
#include "RuntimeEngine/qzSOAP/FlatRelay.h"
#include "RuntimeEngine/qzSOAP/RelayMessageImpl.h"
#include "RuntimeEngine/qzSOAP/XmlDom.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPImpl.h"
#include "Tests/Support/Faces.h"

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

TEST(RelayCodec, RequestsMeanWhatTheyShouldToAnXmlParser) {
  ITKBuffer envelope, arguments;
  ASSERT_EQ(itk::ToolkitCodec::packOutProxy(ITKSOAP("i", "m", 0, "", "", nullptr, 0), envelope, arguments), 1);
  auto document = platform::XmlDocument::create();
  ASSERT_TRUE(document && document->loadText(envelope.c_str()));
  for (const auto& [name, expected] : {std::pair{"Envelope", "http://schemas.xmlsoap.org/soap/envelope/"},
                                       {"runSpecification", "http://schemas.tessel.example/schemas/reportService/1"},
                                       {"data", "http://schemas.tessel.example/schemas/relay/3/"}}) {
    const auto node = document->root().descendant(name);
    platform::Bstr uri;
    ASSERT_EQ(node.get()->get_namespaceURI(uri.receive()), S_OK);
    EXPECT_EQ(platform::narrow(uri.view(), platform::kUtf8), expected);
  }
  EXPECT_EQ(document->root().descendant("data").text(),
            "<qzSOAPBody><className>i</className><methodName>m</methodName><keepAlive>0</keepAlive><objectHandle>"
            "</objectHandle><numArguments>0</numArguments><timeout>0</timeout><asyncMode>0</asyncMode>"
            "<timeInterval>0</timeInterval></qzSOAPBody>");
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

/// A buffer that memory is too short for.
class FullBuffer final : public CqzBuffer {
 public:
  int write(const char*, bool) noexcept override { return 0; }
  int write(const void*, long) noexcept override { return 0; }
  unsigned char* getBuffer() const noexcept override { return nullptr; }
  unsigned char* getBuffer(long) noexcept override { return nullptr; }
  const char* getStrBuffer() const noexcept override { return ""; }
  long getLength() const noexcept override { return 0; }
  unsigned char getType() const noexcept override { return ITKBufferType::DT_TEXT; }
  unsigned char* getBufferSetLen(long) noexcept override { return nullptr; }
  int reset(long, unsigned char) noexcept override { return 0; }
  int empty() noexcept override { return 0; }
  int isEmpty() const noexcept override { return 1; }
  CqzBuffer& operator=(const CqzBuffer&) noexcept override { return *this; }
  int copy(const CqzBuffer&) noexcept override { return 0; }
  int operator==(const CqzBuffer&) const noexcept override { return 0; }
  int release() noexcept override { return 1; }
  int attach(unsigned char*, long, unsigned char) noexcept override { return 0; }
  int detach() noexcept override { return 1; }
  int detach(long&, long&, unsigned char&, unsigned char*&) noexcept override { return 1; }
  int serializeFromFile(void*) noexcept override { return 0; }
  int serializeToFile(void*) const noexcept override { return 0; }
  int truncate(long) noexcept override { return 0; }
};

TEST(RelayCodec, NothingCountsAsWrittenWhenMemoryIsShort) {
  const std::string part = "<x>text</x>";
  const std::string envelope =
      "<SOAP-ENV:Envelope xmlns:SOAP-ENV='e'><SOAP-ENV:Header><relayHeader><ZOT><promptInfo><captions><caption>c"
      "</caption></captions><displayObjects><item><name>n</name></item></displayObjects><promptOptions/></promptInfo>"
      "</ZOT></relayHeader></SOAP-ENV:Header><SOAP-ENV:Body>" +
      part + "</SOAP-ENV:Body></SOAP-ENV:Envelope>";
  const char* signon =
      "<dataSourceSignon><credentials><username>u</username><encryptedValue>p</encryptedValue></credentials>"
      "</dataSourceSignon>";
  CRpcSOAPImpl call;
  CqzRelayMessageImpl codec;
  CqzXmlDomImpl dom;
  ASSERT_TRUE(dom.createFromText(envelope.c_str()));
  FullBuffer full;
  CqzBufferImpl arguments, reply, record;
  CqzBufferListImpl list;
  reply.write(envelope.c_str(), true);
  record.write(signon, true);
  const auto isText = [](const char* text) { return text != nullptr && *text != '\0'; };
  const std::pair<const char*, bool> cases[] = {
      {"packOutProxy", codec.packOutProxy(&call, &full, &arguments)},
      {"packOutStub", codec.packOutStub(&call, &full, &arguments)},
      {"packOutStubTask", codec.packOutStubTask(&call, &full)},
      {"buildSoapBodyTaskFault", codec.buildSoapBodyTaskFault(&call, &full)},
      {"buildGenericSOAPEnv", codec.buildGenericSOAPEnv(&call.getRTT(), "", &full)},
      {"BuildPlaceHolder", isText(codec.BuildPlaceHolder("x", &full))},
      {"BuildNodeXml", isText(codec.BuildNodeXml("x", "", &full))},
      {"checkAddCookie", codec.checkAddCookie("x", "y", &full)},
      {"ExtractHdrBodyXml", codec.ExtractHdrBodyXml(&reply, &arguments, &full)},
      {"ExtractXmlNodeValue", codec.ExtractXmlNodeValue(part.c_str(), "x", &full, false) != nullptr},
      {"extractXmlNodeValue", codec.extractXmlNodeValue(part.c_str(), "x", &full)},
      {"extractXmlNodeValue of a document", codec.extractXmlNodeValue(dom.getXmlDom(), "x", &full)},
      {"getElementValue", dom.getElementValue("x", &full)},
      {"getPromptInfo", dom.getPromptInfo(&full, &list, &list, &list, &list)},
      {"extractRELAYFaultText", isText(dom.extractRELAYFaultText("<faultstring>x</faultstring>", &full))},
      {"parseDSCredential, user", dom.parseDSCredential(&record, &full, &arguments)},
      {"parseDSCredential, password", dom.parseDSCredential(&record, &arguments, &full)}};
  for (const auto& [operation, success] : cases) EXPECT_FALSE(success) << operation;
  CqzBufferImpl empty;
  EXPECT_TRUE(dom.createFromText(envelope.c_str()) && dom.getPromptInfo(&empty, &list, &list, &list, &list));
  EXPECT_TRUE(dom.parseDSCredential(&record, &empty, &arguments));
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
