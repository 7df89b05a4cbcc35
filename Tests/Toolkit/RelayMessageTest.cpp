#include "ITKRelayMessage.h"

#include <gtest/gtest.h>

#include <string>

#include "ITKSOAP.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/Faces.h"
#include "Tests/Support/ToolkitLog.h"

namespace {

using namespace qz::test;

const std::string kHeader =
    "\n <bus:relayHeader><bus:ZOT><id>P2</id></bus:ZOT><bus:PRY><contextID>C2</contextID></bus:PRY>"
    "<userPreferenceVars/></bus:relayHeader>\t";

std::string reply(const std::string& inner) { return replyEnvelope(kHeader, runReply(inner)); }

ITKBuffer buffer(const std::string& text) { return ITKBuffer(text.data(), static_cast<long>(text.size()), 0); }

std::string requestBody(const std::string& interfaceName, const std::string& count) {
  return runRequest(innerBody("className=" + interfaceName, "methodName=m", "keepAlive=1",
                              "objectHandle=", "numArguments=" + count, "timeout=5", "asyncMode=0", "timeInterval=0"));
}

TEST(RelayMessage, RequestsToTheByte) {
  ITKSOAP call("a&b", "m", 2, nullptr, nullptr, nullptr, 5);
  call.setComressParams(0);
  ITKRelayMessage codec;
  ITKBuffer envelope("old content"), arguments;
  ASSERT_EQ(codec.packOutProxy(call, envelope, arguments), 1);
  EXPECT_EQ(contentOf(envelope), requestEnvelope(freshHeader("", "", "0", ""), requestBody("a&b", "0")));
  EXPECT_EQ(envelope.getType(), ITKBufferType::DT_TEXT);
  EXPECT_EQ(contentOf(arguments), std::string("\7\0", 2));

  call.setPassportId("pass");
  call.getRTT().setPryContext("ctx");
  call.getRTT().setVTN("v");
  call.addParamText("x");
  ASSERT_EQ(codec.packOutProxy(call, envelope, arguments), 1);
  EXPECT_EQ(contentOf(envelope),
            requestEnvelope(freshHeader("pass", "ctx", "1", cookieItem("VTN", "v")), requestBody("a&b", "1")));
  EXPECT_EQ(contentOf(arguments), std::string("\7\1\1\2\0\0\0x\0", 9));

  call.setRelayHeader("<stored>'1'</stored>");
  call.setInterfaceName("$$timeout$$");
  ASSERT_EQ(codec.packOutProxy(call, envelope, arguments), 1);
  EXPECT_EQ(contentOf(envelope), requestEnvelope("<stored>'1'</stored>", requestBody("5", "1")));

  envelope = "<cm:query/>";
  ASSERT_EQ(codec.buildGenericSOAPEnv(call.getRTT(), envelope.c_str(), envelope), 1);
  EXPECT_EQ(contentOf(envelope),
            requestEnvelope(freshHeader("pass", "ctx", "$$numCookies$$", "$$cookieValues$$"), "<cm:query/>"));
  EXPECT_EQ(envelope.getType(), ITKBufferType::DT_TEXT);

  const ToolkitLogWatch log;
  for (int i = 1; i < 256; ++i) call.addParam(ITKBufferType::DT_I1, "x", 1);
  EXPECT_EQ(codec.packOutProxy(call, envelope, arguments), 1);
  EXPECT_EQ(contentOf(envelope), requestEnvelope("<stored>'1'</stored>", requestBody("5", "256")));
  EXPECT_NE(log.messages().find("more than 255 arguments"), std::string::npos);
}

/// Everything that a reply's body puts into a call.
std::string fieldsOf(ITKSOAP& call) {
  const auto text = [](const char* value) { return value == nullptr ? "(null)" : std::string(value); };
  std::string all =
      text(call.getInterfaceName()) + "|" + text(call.getMethodName()) + "|" + text(call.getObjectHandle());
  for (const long number : {static_cast<long>(call.getKeepAlive()), call.getTimeoutLimit(), call.getAsyncMode(),
                            call.getTimeInterval(), call.getNumParamsChecksum(), call.getErrorCode()})
    all += "|" + std::to_string(number);
  return all + "|" + text(call.getErrorText());
}

TEST(RelayMessage, ReplyTable) {
  const std::pair<std::string, std::string> cases[] = {
      {innerBody("className=c", "methodName=m", "objectHandle=h&amp;", "numArguments=4", "errorCode=0", "errorText=x",
                 "timeout=1", "asyncMode=2", "timeInterval=3"),
       "c|m|h&amp;|0|1|2|3|4|0|(null)"},
      {innerBody("keepAlive=1x", "errorCode= 12", "errorText=Größe &amp; mehr", "timeout=-5"),
       "|(null)|(null)|1|-5|0|0|0|12|Größe &amp; mehr\r\n"},
      {innerBody("errorCodeString=9", "errorCode=8"), "|(null)|(null)|0|0|0|0|0|9|"},
      {"<qzSOAPBody><className>unescaped</className></qzSOAPBody>", "|(null)|(null)|0|0|0|0|0|0|(null)"},
  };
  for (const auto& [inner, expected] : cases) {
    ITKSOAP call("old", "old", 9, "old", "old", nullptr, 9);
    EXPECT_EQ(ITKRelayMessage().unpackInProxy(buffer(reply(inner)), nullptr, call), 1) << inner;
    EXPECT_EQ(fieldsOf(call), expected) << inner;
    EXPECT_STREQ(call.getRelayHeader(), kHeader.c_str());
    EXPECT_STREQ(call.getPassportId(), "P2");
    EXPECT_STREQ(call.getRTT().getPryContext(), "C2");
  }
}

TEST(RelayMessage, BadRepliesChangeNothingButTheError) {
  const std::string body = runReply(innerBody("className=c"));
  const std::string fault = "<SOAP-ENV:Fault><faultstring>F</faultstring></SOAP-ENV:Fault>";
  const std::string logon =
      "<bus:relayHeader><ZOT><id>P</id><exception><errorCodeString>zotAuthUserRecoverable</errorCodeString></exception>"
      "</ZOT></bus:relayHeader>";
  const std::string noEnvelope = "failed to extract SOAP header/body\n";
  const std::string notRead = "Failed to extract RELAY header information\n";
  const std::string refused = "Xml contains a document type declaration, which is refused.";
  const std::pair<std::string, std::string> cases[] = {
      {replyEnvelope(kHeader, fault), "-1|[F] " + notRead},
      {replyEnvelope(logon, fault), "-2|F " + notRead},
      {"<e xmlns:SOAP-ENV='u'><SOAP-ENV:Body>" + fault + "</SOAP-ENV:Body></e>", "0|[F]\r\n " + noEnvelope + "[F]\n"},
      {"<a/>", "0|(null) " + noEnvelope},
      {replyEnvelope("<bus:relayHeader/>", body),
       "0|(null) Xml contains no ZOT information\nXml contains no ZOT/PRY information\n"},
      {"<!DOCTYPE a>" + replyEnvelope(kHeader, body), "-1|" + refused + " " + refused + "\n" + notRead},
  };
  ITKRTT token;
  token.setPassportID("old");
  for (const auto& [envelope, expected] : cases) {
    ITKSOAP call("old", "m", 9, "h", "old header", &token, 9);
    const ToolkitLogWatch log;
    EXPECT_EQ(ITKRelayMessage().unpackInProxy(buffer(envelope), nullptr, call), 0) << envelope;
    EXPECT_EQ(fieldsOf(call) + " " + log.messages(),
              "old|m|h|9|9|0|0|0|" + expected + "Failed to extract response information\n")
        << envelope;
    EXPECT_STREQ(call.getRelayHeader(), "old header");
    EXPECT_STREQ(call.getPassportId(), "old");
  }
  // The header reader alone keeps what it found.
  ITKSOAP call;
  EXPECT_EQ(ITKRelayMessage().ExtractHdrInfo(buffer(replyEnvelope("<bus:relayHeader/>", body)), call), 0);
  EXPECT_NE(call.getRelayHeader(), nullptr);
}

TEST(RelayMessage, ACutReplyIsNeverASuccess) {
  const auto whole = reply(innerBody("className=c", "errorCode=0"));
  ITKRelayMessage codec;
  for (std::size_t length = 0; length < whole.size(); length += length < whole.size() - 100 ? 7 : 1) {
    ITKSOAP call("old", "", 0, "", "", nullptr, 0);
    EXPECT_EQ(codec.unpackInProxy(buffer(whole.substr(0, length)), nullptr, call), 0) << length;
    auto zeroed = whole;
    zeroed[length] = '\0';
    EXPECT_EQ(codec.unpackInProxy(buffer(zeroed), nullptr, call), 0) << length;
    EXPECT_STREQ(call.getInterfaceName(), "old") << length;
  }
}

TEST(RelayMessage, TheStubSpeaksTheSameFormat) {
  ITKSOAP call("i", "m", 1, "h", nullptr, nullptr, 30), served;
  call.addParamText("in");
  ITKRelayMessage codec;
  ITKBuffer envelope, arguments, body;
  ITKString header, cut;
  const auto garbage = buffer("garbage");
  ASSERT_EQ(codec.packOutProxy(call, envelope, arguments), 1);
  ASSERT_EQ(codec.ExtractHdrBodyXml(envelope, header, cut), 1);
  ASSERT_EQ(codec.unpackInStub(cut, arguments, served), 1);
  EXPECT_EQ(fieldsOf(served), "i|m|h|1|30|0|0|1|0|(null)");
  EXPECT_STREQ(served.getParamText(0), "in");
  EXPECT_EQ(codec.unpackInStub(cut, garbage, served), 0);

  // The attachment of a reply is its parameters, or with an error code the error.
  ITKSOAP answer("i", "m", 1, "h", nullptr, nullptr, 30);
  answer.addParamText("out");
  ASSERT_EQ(codec.packOutStub(answer, body, arguments), 1);
  EXPECT_EQ(contentOf(body),
            runReply(innerBody("className=i", "methodName=m", "objectHandle=h", "numArguments=1", "errorCode=0",
                               "errorText=", "timeout=30", "asyncMode=0", "timeInterval=0")));
  auto whole = buffer(replyEnvelope(kHeader, body.c_str()));
  for (const auto& attachment : {arguments, ITKBuffer()}) {
    EXPECT_EQ(codec.unpackInProxy(whole, &attachment, call), 1);
    EXPECT_STREQ(call.getParamText(0), "out");
  }
  EXPECT_EQ(codec.unpackInProxy(whole, &garbage, call), 0);
  answer.setError(12, "no such thing");
  ASSERT_EQ(codec.packOutStub(answer, body, arguments), 1);
  whole = buffer(replyEnvelope(kHeader, body.c_str()));
  EXPECT_EQ(codec.unpackInProxy(whole, &arguments, served), 1);
  EXPECT_EQ(fieldsOf(served), "i|m|h|0|30|0|0|1|12|no such thing");
  EXPECT_EQ(codec.unpackInProxy(whole, &garbage, served), 0);
}

TEST(RelayMessage, EnvelopesFromOwnTemplates) {
  ITKSOAP call("i", "m", 0, nullptr, "<h/>", nullptr, 0);
  ITKRelayMessage codec;
  ITKString out;
  EXPECT_STREQ(codec.BuildSOAPEnv(call, out, "$$className$$'", "<e a='$$relayHeader$$'>$$SOAP-ENV:Body$$</e>"),
               "<e a=\"<h/>\">i'</e>");
  EXPECT_EQ(codec.BuildSOAPEnv(call, out, "b"), requestEnvelope("<h/>", "b"));
  EXPECT_EQ(codec.GetDefaultRequestTemplate(), requestEnvelope("$$relayHeader$$", "$$SOAP-ENV:Body$$"));
  EXPECT_STREQ(codec.BuildSOAPBodyXml(call, out, "$$methodName$$$$errorText$$!"), "m!");
  EXPECT_STREQ(codec.BuildSOAPBodyXml(call, out, out), "m!");
  EXPECT_STREQ(codec.BuildNodeXml("a", "x<y", out), "<a>x<y</a>");
  EXPECT_STREQ(codec.BuildNodeXml("a", nullptr, out), "<a></a>");
  EXPECT_STREQ(codec.BuildPlaceHolder("x"), "$$x$$");
  EXPECT_TRUE(codec.checkAddCookie("n", "v", out));
  for (const char* none : {static_cast<const char*>(nullptr), ""}) EXPECT_FALSE(codec.checkAddCookie("n", none, out));
  EXPECT_EQ(out.c_str(), "<a></a>" + cookieItem("n", "v"));
}

TEST(RelayMessage, ScansACallersText) {
  ITKRelayMessage codec;
  const char* text = "<n>12x</n><v>va lue</v>";
  EXPECT_EQ(codec.FindBeginTag(text, 0, "v", false), 13);
  EXPECT_EQ(codec.FindEndTag(text, 13, "v", false), 19);
  EXPECT_EQ(codec.FindBeginTag("<v>&lt;v&lt;v&gt;&lt;v&gt;", 4, "v", true), 17);
  for (const long start : {-1L, 20L, 1000L}) EXPECT_EQ(codec.FindBeginTag(text, start, "v", false), -1);
  ITKString found("<v>self</v>");
  EXPECT_STREQ(codec.ExtractXmlNodeValue(found, "v", found, false), "self");
  EXPECT_EQ(codec.ExtractXmlNodeValue(text, "w", found, false), nullptr);
  EXPECT_EQ(found.isEmpty(), 1);
  for (const auto& [name, number] : {std::pair{"n", 12}, {"v", 0}, {"w", 5}})
    EXPECT_EQ(codec.extractXmlNodeValueLong(text, name, 5, false), number);
  char room[] = "<v>va lue</v>";
  EXPECT_EQ(codec.extractXmlNodeValue(room, "v", room, 7), 1);
  EXPECT_STREQ(room, "va lue");
  EXPECT_EQ(codec.extractXmlNodeValue(text, "v", room, 6), 0);
  EXPECT_STREQ(room, "");
  EXPECT_EQ(codec.extractXmlNodeValue(text, "v", room, 0) + codec.extractXmlNodeValue(text, "v", nullptr, 7), 0);
  ITKBuffer out("<v></v><w>in the way</w>");
  EXPECT_EQ(codec.extractXmlNodeValue(out.c_str(), "w", out), 1);
  EXPECT_STREQ(out.c_str(), "in the way");
  EXPECT_EQ(codec.extractXmlNodeValue("<v></v>", "v", out), 1);
  EXPECT_EQ(out.getLength() + codec.extractXmlNodeValue(nullptr, "w", out), 0);
}

}  // namespace
