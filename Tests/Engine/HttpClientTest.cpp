// The steps of the clients of both faces, one by one.
#include <gtest/gtest.h>

#include <cstring>

#include "References/Libraries/Platform/ModulePath.h"
#include "RuntimeEngine/qzSOAP/INET.h"
#include "Tests/Support/CallFaces.h"
#include "Tests/Support/ScriptedServer.h"
#include "Tests/Support/ShortReads.h"

namespace qz::test {
namespace {

const std::string kEnvelope = "<SOAP-ENV:Envelope>x</SOAP-ENV:Envelope>";

template <class Face>
class HttpClient : public FaceTest<Face> {
 public:
  HttpClient() {
    if (!getITKes().isInitialized()) getITKes().initialize(platform::ownModule());
  }

  typename Face::Client client{nullptr, ITKRTT(), 0};
};

TYPED_TEST_SUITE(HttpClient, BothCallFaces);

TYPED_TEST(HttpClient, BuildsTheBody) {
  const auto boundary = TypeParam::makeText(), start = TypeParam::makeText();
  auto& body = this->buffer();
  const auto &envelope = this->buffer("<e/>"), &arguments = this->buffer("\x07\x01"), &empty = this->buffer();
  ASSERT_TRUE(this->client.BuildMultipartMessage(envelope, &arguments, *boundary, *start, body));
  const auto mark = "\r\n--" + TypeParam::textIn(*boundary) + "\r\n";
  EXPECT_EQ(contentOf(body), mark + "Content-Type: text/xml; charset=utf-8;\r\nContent-ID: \"" +
                                 TypeParam::textIn(*start) + "\"\r\n\r\n<e/>" + mark + "\x07\x01" +
                                 mark.substr(2, mark.size() - 4) + "--\r\n");
  EXPECT_EQ(body.getType(), ITKBufferType::DT_BINARY);
  ASSERT_TRUE(this->client.BuildMultipartMessage(envelope, nullptr, *boundary, *start, body));
  EXPECT_EQ(contentOf(body), "<e/>");
  EXPECT_EQ(TypeParam::textIn(*boundary), "");

  const auto log = TypeParam::watchLog();
  EXPECT_FALSE(this->client.BuildMultipartMessage(envelope, &empty, *boundary, *start, body));
  EXPECT_EQ(log.messages(), TypeParam::logged("BuildMultipartMessage", "Invalid internal condition") +
                                TypeParam::logged("BuildMultipartMessage", "Failed to build multipart messages"));
  ITKRTT token;
  auto& error = this->error();
  EXPECT_EQ(this->client.SendRequest("http://127.0.0.1:1/", "act", envelope, &empty, body, nullptr, token, error),
            E_PROXY);
  EXPECT_STREQ(error.getErrorText(), "Failed to build multipart messages");
}

// A block that the caller attached has no zero byte behind its content.
TEST(FlatHttpClient, TextEndsWithItsBuffer) {
  const auto envelope = FlatFace::makeBuffer(), boundary = FlatFace::makeBuffer(), start = FlatFace::makeBuffer(),
             body = FlatFace::makeBuffer();
  auto* block = static_cast<unsigned char*>(HeapAlloc(GetProcessHeap(), 0, 8));
  ASSERT_EQ(envelope->attach(static_cast<unsigned char*>(std::memcpy(block, "<e/>rest", 8)), 4, 0), 1);
  CRpcHttpClient client(nullptr, ITKRTT(), 0);
  ASSERT_TRUE(client.BuildMultipartMessage(*envelope, nullptr, *boundary, *start, *body));
  EXPECT_EQ(contentOf(*body), "<e/>");
}

TYPED_TEST(HttpClient, ReadsHeadersAndEnvelope) {
  const auto boundary = TypeParam::makeText();
  bool isMultipart = false;
  this->client.ProcessResponseHeaders("H\r\nContent-Type: multipart/related; boundary=\"b c\"\r\n", isMultipart,
                                      *boundary);
  EXPECT_TRUE(isMultipart);
  EXPECT_EQ(TypeParam::textIn(*boundary), "b c");
  this->client.ProcessResponseHeaders(nullptr, isMultipart, *boundary);
  EXPECT_FALSE(isMultipart);
  EXPECT_EQ(TypeParam::textIn(*boundary), "");
  EXPECT_FALSE(this->client.CheckContentType(nullptr));

  auto& text = this->buffer();
  text.write(("<?xml?>" + kEnvelope + "rest").c_str(), true);
  EXPECT_TRUE(this->client.ExtractSoapEnvXml(text.getStrBuffer(), text)) << "out of the text's own buffer";
  EXPECT_EQ(text.getStrBuffer(), kEnvelope);
  const auto log = TypeParam::watchLog();
  EXPECT_FALSE(this->client.ExtractSoapEnvXml(nullptr, text));
  EXPECT_EQ(text.getStrBuffer(), kEnvelope);
  EXPECT_EQ(log.messages(), TypeParam::logged("ExtractSoapEnvXml", "Could'n find the starting mark of soap envelope"));
}

TYPED_TEST(HttpClient, SendsAnOpenedRequest) {
  ScriptedServer server(httpReply("200 OK", "text/xml", ""));
  const auto send = [&](unsigned short port) {
    XInternetSession session("test");
    const auto connection = session.GetHttpConnection("127.0.0.1", port, nullptr, nullptr);
    const auto request = connection->OpenRequest(kPost, "/", nullptr, 1, nullptr, nullptr, 0);
    return this->client.SafeSendHTTPRequest(*request, "X-Own: 1\r\n", this->buffer("body"));
  };
  EXPECT_EQ(send(server.port()), E_OK);
  EXPECT_TRUE(server.requests().at(0).ends_with("\r\nX-Own: 1\r\n\r\nbody"));
  const auto log = TypeParam::watchLog();
  EXPECT_EQ(send(1), E_PROXY);
  EXPECT_TRUE(log.messages().starts_with(TypeParam::logged("SafeSendHTTPRequest", "Failed to send request")));
}

TYPED_TEST(HttpClient, MakesTheRequestOfALoadTestAndSendsNothing) {
  const auto &envelope = this->buffer("<e/>"), &empty = this->buffer();
  const ITKRTT token;
  auto& lines = this->list();
  lines.add("of an earlier test");
  auto &body = this->buffer(), &all = this->buffer();
  auto& error = this->error();
  EXPECT_EQ(this->client.LoadTestSend("act", envelope, nullptr, token, lines, body, error), E_OK);
  lines.toString(all);
  EXPECT_EQ(contentOf(all) + contentOf(body),
            "Content-Type: text/xml\r\nAccept: */*\r\nAccept-Encoding: gxip, deflate\r\nMIME-Version: 1.0\r\n"
            "soapaction: \"act\"\r\n<e/>");
  EXPECT_EQ(this->client.LoadTestSend("act", envelope, &empty, token, lines, body, error), E_PROXY);
  EXPECT_STREQ(error.getErrorText(), "Failed to build multipart messages");
  EXPECT_EQ(this->client.LoadTestSend("a\r\nb", envelope, nullptr, token, lines, body, error), E_PROXY);
}

TYPED_TEST(HttpClient, ReadsAMultipartReply) {
  const std::string envelope = "<SOAP-ENV:Envelope/></SOAP-ENV:Envelope>";
  ShortReads file("--B\r\n" + envelope + "\r\n--B\r\nContent-Length: 2\r\n\r\n\x07x\r\n--B--\r\n", 100),
      cut("--B\r\n", 100);
  file.SetReadBufferSize(1);  // nothing is read ahead, which the overridden Read would not know
  auto& list = this->list();
  auto &response = this->buffer("stale"), &attachment = this->buffer("stale");
  ASSERT_TRUE(this->client.ReadResponseMultiPart(file, "B", list));
  EXPECT_TRUE(this->client.ProcessResponse(list, response, &attachment));
  EXPECT_EQ(contentOf(response) + contentOf(attachment), envelope + "\x07x");
  list.add("a third");
  EXPECT_FALSE(this->client.ProcessResponse(list, response, &attachment));
  EXPECT_TRUE(this->client.ProcessResponse(list, response, nullptr));
  EXPECT_FALSE(this->client.ReadResponseMultiPart(cut, "B", list));
  EXPECT_EQ(list.getCount(), 0);
  const auto log = TypeParam::watchLog();
  EXPECT_FALSE(this->client.ProcessResponse(list, response, &attachment));
  EXPECT_EQ(contentOf(response) + contentOf(attachment), "");
  EXPECT_EQ(log.messages(), TypeParam::logged("ProcessResponse", "no reponse available"));
}

TYPED_TEST(HttpClient, PlainReplyIsReadFromTheEnvelopesFirstMark) {
  ShortReads good("<?xml?>\r\n <SOAP-ENV:Envelope>a\r\n  b</SOAP-ENV:Envelope>\r\nrest", 7), bad("no envelope", 7);
  auto& list = this->list();
  list.add("of an earlier reply");
  ASSERT_TRUE(this->client.ReadResponse(good, list));
  EXPECT_EQ(contentOf(*list.getAt(0)), "<SOAP-ENV:Envelope>ab</SOAP-ENV:Envelope>");
  EXPECT_FALSE(this->client.ReadResponse(bad, list));
  EXPECT_EQ(list.getCount(), 0);
}

}  // namespace
}  // namespace qz::test
