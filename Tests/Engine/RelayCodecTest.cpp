#include "References/Libraries/Rpc/RelayCodec.h"

#include <gtest/gtest.h>
#include <msxml2.h>

#include "R7ITK/R7ITKShared/RelayTraits.h"
#include "References/Libraries/Platform/Bstr.h"
#include "RuntimeEngine/qzSOAP/FlatRelay.h"
#include "RuntimeEngine/qzSOAP/RelayMessageImpl.h"
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
  Notes notes;
  EXPECT_FALSE(readInnerDocument("&lt;qzSOAPBody&gt;&lt;a&gt;&lt;/qzSOAPBody&gt;", notes));
  EXPECT_TRUE(logged(notes).starts_with("1 "));
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
