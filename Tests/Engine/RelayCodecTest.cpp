#include "References/Libraries/Rpc/RelayCodec.h"

#include <gtest/gtest.h>

#include "R7ITK/R7ITKShared/RelayTraits.h"
#include "References/Libraries/Wire/Replace.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ToolkitLog.h"

namespace qz::rpc {
namespace {

std::string describe(const std::vector<wire::TypedArgument>& arguments) {
  std::string out;
  for (const auto& argument : arguments) out += std::to_string(argument.type) + ":" + argument.bytes + "|";
  return out;
}

std::string logged(const Notes& notes) {
  std::string out;
  for (const auto& note : notes) out += std::to_string(note.level) + " " + note.text + "\n";
  return out;
}

TEST(InnerDocument, KeepsWhiteSpaceAndUnescapesOnce) {
  Notes notes;
  const auto fields = readInnerDocument(
      "<data>" +
          test::innerBody("className= c &amp;amp; d ", "objectHandle=&amp;lt;b/&amp;gt;&amp;quot;", "errorCode=-3",
                          "errorText=Gr\xC3\xB6\xC3\x9F"
                          "e",
                          "numArguments=2") +
          "</data>",
      notes);
  ASSERT_TRUE(fields) << logged(notes);
  EXPECT_EQ(fields->className, " c & d ");
  EXPECT_EQ(fields->objectHandle, "<b/>\"");
  EXPECT_EQ(fields->errorCode, -3);
  EXPECT_EQ(fields->errorText,
            "Gr\xC3\xB6\xC3\x9F"
            "e");
  EXPECT_EQ(fields->numArguments, "2");
  EXPECT_EQ(fields->methodName, "");
  EXPECT_EQ(fields->timeout, 0);
}

TEST(InnerDocument, ReadsTypedArgumentsInOrder) {
  const std::string open = "&lt;argument xsi:type=";
  const std::string close = "&lt;/argument&gt;";
  Notes notes;
  const auto fields = readInnerDocument(
      "&lt;qzSOAPBody&gt;&lt;errorCode&gt;0&lt;/errorCode&gt;&lt;errorText&gt;unread&lt;/errorText&gt;" + open +
          "\"xsd:short\"&gt;70000" + close + "&lt;list&gt;" + open + "&quot;xsd:string&quot;&gt; \xD1\x8F " + close +
          "&lt;/list&gt;&lt;argument/&gt;&lt;/qzSOAPBody&gt;",
      notes);
  ASSERT_TRUE(fields) << logged(notes);
  EXPECT_FALSE(fields->errorText);
  EXPECT_EQ(describe(fields->arguments), "3:\x70\x11|1: \xD1\x8F |1:|");

  ITKSOAP call;
  storeRelayFields(*fields, call);
  EXPECT_EQ(call.getNumParams(), 3);
  EXPECT_EQ(call.getParamAt(2)->getLength(), 0);
  EXPECT_EQ(call.hasError(), 0);
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

TEST(RelayCodec, ATasksReplyIsAFaultWhenTheCallHoldsAnError) {
  ITKSOAP call;
  ITKBuffer body("old");
  const auto& templates = itk::ToolkitCodec::templates();
  ASSERT_EQ(itk::ToolkitCodec::packOutStubTask(call, body), 1);
  EXPECT_EQ(test::contentOf(body), templates.taskReply.text());
  call.getError().setError(-5, 7, "bad");
  ASSERT_EQ(itk::ToolkitCodec::packOutStubTask(call, body), 1);
  EXPECT_EQ(test::contentOf(body), wire::fillFault(templates, {-5, 7, "bad"}));
  EXPECT_EQ(body.getType(), ITKBufferType::DT_TEXT);
}

/// The toolkit face with another schema host in its settings.
template <const char* const& Host>
struct HostLayer : itk::ToolkitRelay {
  static const char* schemaHost() { return Host; }
};
const char* const kOwnHost = "gateway.test:9";
const char* const kNoHost = "a\"b";

template <class Layer>
std::string packed(const ITKSOAP& call) {
  ITKBuffer envelope, arguments;
  EXPECT_EQ(RelayCodec<Layer>::packOutProxy(call, envelope, arguments), 1);
  return test::contentOf(envelope);
}

TEST(RelayCodec, TheSettingsMayNameTheSchemaHost) {
  getITKes().initialize(nullptr);
  const ITKSOAP call("i", "m", 0, nullptr, nullptr, nullptr, 0);
  const auto usual = packed<itk::ToolkitRelay>(call);
  auto expected = usual;
  wire::replaceAll(expected, wire::SCHEMA_HOST, kOwnHost);
  EXPECT_NE(expected, usual);
  EXPECT_EQ(packed<HostLayer<kOwnHost>>(call), expected);
  const test::ToolkitLogWatch log;
  EXPECT_EQ(packed<HostLayer<kNoHost>>(call), usual);
  EXPECT_EQ(log.messages(), "the setting SchemaHost is not the name of a host and is ignored: a\"b\n");
  EXPECT_EQ(&templatesFor(kOwnHost), &templatesFor(kOwnHost));
}

}  // namespace
}  // namespace qz::rpc
