// Generic requests through the real DLL.
#include <gtest/gtest.h>

#include "Tests/Support/CallFaces.h"
#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

const std::string kPage = "<html>\n  <body> page </body>\n</html>\n";
const std::string kEnvelope = "<SOAP-ENV:Envelope>reply</SOAP-ENV:Envelope>";

template <class Face>
class GenericHttp : public FaceTest<Face> {
 public:
  GenericHttp() { token.setPassportID("p1"); }

  long get(const std::string& url, const char* verb = "GET", const char* lines = nullptr) {
    return Face::sendGeneric(url.c_str(), verb, lines, nullptr, &response, &headers, nullptr, &token, &fault);
  }

  typename Face::Buffer &response = this->buffer("stale"), &headers = this->buffer("stale");
  typename Face::Error& fault = FaceTest<Face>::error();
  ITKRTT token;
};

TYPED_TEST_SUITE(GenericHttp, BothCallFaces);

TYPED_TEST(GenericHttp, RequestsByteForByte) {
  ScriptedServer server(std::vector<ScriptedReply>(3, {httpReply("200 OK", "text/html", kPage)}));
  const ScratchFile dump("");
  const auto& form = this->buffer("a=1&b=2");
  EXPECT_EQ(this->get(server.url("/p?q=%20r"), "GET", "X-Own: 1"), E_OK);
  EXPECT_EQ(TypeParam::sendGeneric(server.url().c_str(), "POST", "Cookie: own=1\r\n", &form, &this->response, nullptr,
                                   dump.path(), &this->token, nullptr),
            E_OK);
  EXPECT_EQ(TypeParam::sendCdk(server.url().c_str(), "urn:a", "X-Own: 1", &form, &this->response, nullptr, nullptr),
            E_OK);
  const std::vector<std::string> expected = {
      "GET /p?q=%20r HTTP/1.0\r\nHost: HOST\r\nUser-Agent: QZ RPC\r\nX-Own: 1\r\n"
      "Cookie: zot_passport=p1\r\n\r\n",
      "POST /gw/gw.cgi HTTP/1.0\r\nHost: HOST\r\nContent-Length: 7\r\nUser-Agent: QZ RPC\r\nCookie: own=1\r\n\r\n"
      "a=1&b=2",
      "POST /gw/gw.cgi HTTP/1.0\r\nHost: HOST\r\nContent-Length: 7\r\nUser-Agent: QZ RPC\r\nContent-Type: text/xml\r\n"
      "soapaction: \"urn:a\"\r\nX-Own: 1\r\n\r\na=1&b=2"};
  for (std::size_t i = 0; i < expected.size(); ++i)
    EXPECT_EQ(masked(server.requests().at(i), server.port()), expected[i]);
  EXPECT_EQ(contentOf(this->response), kPage);
  EXPECT_TRUE(dump.content().starts_with("\r\n\r\nSent to remote http server:\r\n\r\nURL:" + server.url()));
  EXPECT_TRUE(dump.content().ends_with(kPage));
}

TYPED_TEST(GenericHttp, Replies) {
  struct Case {
    const char* status;
    std::string body, response;
    long code = E_OK;
    const char* type = "text/html";
  };
  const Case cases[] = {
      {"200 OK", kPage, kPage},         {"200 OK", "<?xml?>\r\n " + kEnvelope + "\r\nrest", kEnvelope},
      {"500 Oops", kPage, kPage},       {"200 OK", "", ""},
      {"302 Found", kPage, "", E_HTTP}, {"200 OK", kPage, "", E_LOGON, "text/plain"}};
  this->token.setSMSession("sm");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.status);
    const std::string reply = httpReply(c.status, c.type, c.body);
    const std::string raw = reply.substr(0, reply.find("\r\n\r\n") + 4);
    ScriptedServer server(reply);
    EXPECT_EQ(this->get(server.url(), "GET", "soapaction: \"urn:a\"\r\n"), c.code);
    EXPECT_EQ(contentOf(this->response), c.response);
    EXPECT_EQ(contentOf(this->headers), raw);
    const std::string text =
        c.code == E_LOGON ? "Logon error 200, " + raw : raw + "SOAP action: urn:a, url=" + server.url() + "\r\n";
    if (c.code != E_OK) {
      EXPECT_EQ(this->fault.getErrorText(), text);
    }
  }
}

TYPED_TEST(GenericHttp, Failures) {
  const auto expect = [&](const std::string& url, const char* verb, long code, const char* text) {
    EXPECT_EQ(this->get(url, verb), code) << url;
    EXPECT_STREQ(this->fault.getErrorText(), text);
    EXPECT_EQ(contentOf(this->response) + contentOf(this->headers), "");
  };
  expect("no URL", "GET", E_URL, "Bad URL: no URL");
  expect("http://h/", "PUT", E_PROXY, "The verb is neither GET nor POST; nothing was sent");
  expect("http://h/", nullptr, E_PROXY, "The verb is neither GET nor POST; nothing was sent");
  EXPECT_EQ(TypeParam::sendCdk("http://h/", "a\r\nb", "", nullptr, &this->response, nullptr, &this->fault), E_PROXY);
  EXPECT_STREQ(this->fault.getErrorText(), "The SOAP action contains a line break; nothing was sent");
  EXPECT_EQ(TypeParam::sendCdk("http://h/", "", "", nullptr, nullptr, nullptr, &this->fault), E_PROXY);
  EXPECT_STREQ(this->fault.getErrorText(), "NULL pointer passed in");
  auto &reply = this->buffer("stale"), &lines = this->buffer("stale");
  EXPECT_EQ(TypeParam::invokeCM(nullptr, &reply, "http://h/", "", nullptr, ITKRTT()), E_PROXY);
  EXPECT_EQ(TypeParam::sendGeneric("http://h/", "GET", "", nullptr, nullptr, &lines, nullptr, nullptr, nullptr),
            E_PROXY);
  EXPECT_EQ(contentOf(reply) + contentOf(lines), "");
  {
    std::string broken = httpReply("200 OK", "text/html", kPage);
    broken.pop_back();
    ScriptedServer server(broken);
    EXPECT_EQ(this->get(server.url()), E_PROXY);
    EXPECT_EQ(this->fault.getErrorText(),
              "Failed to read server response\r\nSOAP action: , url=" + server.url() + "\r\n");
  }
}

TEST(ToolkitGenericHttp, NamesAUrlThatStoodInTheResponse) {
  ITKBuffer response("gopher://h/");
  const auto log = ToolkitCalls::watchLog();
  EXPECT_NE(ITKrpcSOAPSendGenericHTTP(response.getStrBuffer(), "GET", "", nullptr, &response, nullptr, nullptr, nullptr,
                                      nullptr),
            E_OK);
  EXPECT_NE(log.messages().find("ITKSOAPSendGenericHTTP: URL=gopher://h/, HTTP error="), std::string::npos)
      << log.messages();
}

TYPED_TEST(GenericHttp, HeaderTexts) {
  typename TypeParam::Client client(nullptr, ITKRTT(), 0);
  client.BuildRequestHTTPHeaders("urn:a", "X: y", this->response);
  EXPECT_EQ(contentOf(this->response), "Content-Type: text/xml\r\nsoapaction: \"urn:a\"\r\nX: y\r\n");
  client.BuildRequestHTTPHeaders(nullptr, this->token, this->response);
  EXPECT_EQ(contentOf(this->response), "Content-Type: text/xml\r\nsoapaction: \"\"\r\nCookie: zot_passport=p1\r\n\r\n");
}

}  // namespace
}  // namespace qz::test
