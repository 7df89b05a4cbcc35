// Content-manager calls and the requests of load tests, through the real DLL.
#include <gtest/gtest.h>

#include "Tests/Support/CallFaces.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

const std::string kEnvelope = "<SOAP-ENV:Envelope>reply</SOAP-ENV:Envelope>";
const std::string kRequest = "<SOAP-ENV:Envelope>query</SOAP-ENV:Envelope>\r\n";

template <class Face>
class ContentManager : public FaceTest<Face> {
 public:
  long invoke(const char* url, const char* action = "urn:a") {
    return Face::invokeCM(&this->buffer(kRequest, ITKBufferType::DT_TEXT), &response, url, action, &fault, token);
  }
  long invoke(const ScriptedServer& server) { return invoke(server.url().c_str()); }
  std::string errorText() { return fault.getErrorText() == nullptr ? "" : fault.getErrorText(); }

  typename Face::Buffer& response = this->buffer("stale");
  typename Face::Error& fault = FaceTest<Face>::error();
  ITKRTT token;
};

TYPED_TEST_SUITE(ContentManager, BothCallFaces);

TYPED_TEST(ContentManager, RequestByteForByte) {
  const auto expected = [](const std::string& cookies) {
    return "POST /gw/gw.cgi HTTP/1.0\r\nHost: HOST\r\nContent-Length: " + std::to_string(kRequest.size()) +
           "\r\nUser-Agent: QZ RPC\r\nContent-Type: text/xml\r\nsoapaction: \"urn:a\"\r\n" + cookies + "\r\n" +
           kRequest;
  };
  for (const bool loggedOn : {false, true}) {
    ScriptedServer server(httpReply("200 OK", "text/xml", "\r\n<?xml?>" + kEnvelope + "\r\n",
                                    "Set-Cookie: usersessionid=s1; path=/\r\n"));
    if (loggedOn) this->token.setPassportID("p1");
    this->fault.setError(E_FAULT, "of an earlier call");
    EXPECT_EQ(this->invoke(server), E_OK);
    EXPECT_EQ(masked(server.requests().at(0), server.port()), expected(loggedOn ? "Cookie: zot_passport=p1\r\n" : ""));
    EXPECT_EQ(contentOf(this->response), kEnvelope);
    EXPECT_EQ(this->response.getType(), ITKBufferType::DT_TEXT);
    EXPECT_EQ(this->fault.isError(), 0) << this->errorText();
    EXPECT_STREQ(this->token.getUserSessionID(), "");
  }
}

TYPED_TEST(ContentManager, StatusesAndReplies) {
  struct Case {
    const char* status;
    std::string body;
    long code = E_OK;
    long subCode = 0;
    const char* type = "text/xml";
  };
  const Case cases[] = {{"206 Partial Content", kEnvelope},
                        {"500 Internal Server Error", kEnvelope},
                        {"204 No Content", ""},
                        {"207 Multi-Status", kEnvelope, E_HTTP, 207},
                        {"404 Not Found", kEnvelope, E_HTTP, 404},
                        {"200 OK", kEnvelope, E_LOGON, 200, "text/plain"},
                        {"200 OK", "<html></html>", E_PROXY},
                        {"500 Oops", "<html></html>", E_PROXY}};
  this->token.setSMSession("sm");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.status);
    const std::string reply = httpReply(c.status, c.type, c.body);
    ScriptedServer server(reply);
    EXPECT_EQ(this->invoke(server), c.code);
    EXPECT_EQ(this->fault.getErrorCode(), c.code);
    EXPECT_EQ(this->fault.getErrorSubCode(), c.subCode);
    EXPECT_EQ(contentOf(this->response), c.code == E_OK ? c.body : "");
    const std::string headers = reply.substr(0, reply.find("\r\n\r\n") + 4), context = "URL: " + server.url() + "\r\n";
    EXPECT_EQ(this->errorText(), c.code == E_HTTP    ? headers + context
                                 : c.code == E_LOGON ? headers
                                 : c.code == E_PROXY ? "Failed to read server response\r\n" + context
                                                     : "");
  }
}

TYPED_TEST(ContentManager, FailsBeforeThereIsAReply) {
  const auto expect = [&](const char* url, const char* action, long code, const char* text) {
    EXPECT_EQ(this->invoke(url, action), code) << url;
    EXPECT_EQ(this->errorText(), text);
    EXPECT_EQ(contentOf(this->response), "");
  };
  expect("gateway:80/%s", "a", E_URL, "Bad URL: gateway:80/%s");
  expect("ftp://host/", "a", E_PROXY, "Protocol type must be http: or https:");
  expect("http://h/", "a\rX: y", E_PROXY, "The SOAP action contains a line break; nothing was sent");
  expect("http://127.0.0.1:1/", "a", E_PROXY, "Failed to send request");
  expect(nullptr, nullptr, E_URL, "Bad URL: ");

  const auto log = TypeParam::watchLog();
  EXPECT_EQ(TypeParam::invokeCM(nullptr, &this->response, "", "", &this->fault, this->token), E_PROXY);
  EXPECT_EQ(this->errorText(), "NULL pointer passed in");
  EXPECT_EQ(TypeParam::invokeCM(&this->response, nullptr, "", "", nullptr, this->token), E_PROXY);
  const std::string line = TypeParam::logged("InvokeCM", "NULL pointer passed in");
  EXPECT_EQ(log.messages(), line + line);
}

TYPED_TEST(ContentManager, WithoutAnErrorObjectAndAtTheTokensGateway) {
  ScriptedServer server(std::vector<ScriptedReply>{{httpReply("404 Not Found", "text/xml", "")},
                                                   {httpReply("200 OK", "text/xml", kEnvelope)}});
  this->token.setURL(server.url("/token").c_str());
  for (const long code : {E_HTTP, E_OK})
    EXPECT_EQ(TypeParam::invokeCM(&this->buffer(kRequest), &this->response, "", nullptr, nullptr, this->token), code);
  EXPECT_EQ(contentOf(this->response), kEnvelope);
  EXPECT_TRUE(server.requests().at(1).starts_with("POST /token HTTP/1.0\r\n"));
}

TEST(FlatContentManager, DefaultEndpointComesLast) {
  ScriptedServer server(std::vector<ScriptedReply>(4, {httpReply("200 OK", "text/xml", kEnvelope)}));
  rpcSOAPSetCMInfo(server.url("/default").c_str(), "urn:default");
  auto target = [&, round = 0U](const std::string& url, const char* action, const std::string& tokenUrl) mutable {
    const auto response = FlatFace::makeBuffer();
    ITKRTT token;
    token.setURL(tokenUrl.c_str());
    EXPECT_EQ(rpcSOAPInvokeCM(response.get(), response.get(), url.c_str(), action, nullptr, nullptr, token), E_OK);
    EXPECT_EQ(contentOf(*response), kEnvelope) << "the request's buffer may take the reply";
    const std::string request = server.requests().at(round++);
    const auto from = request.find("soapaction: ") + 12;
    return request.substr(5, request.find(' ', 5) - 5) + " " + request.substr(from, request.find('\r', from) - from);
  };
  EXPECT_EQ(target("", nullptr, ""), "/default \"urn:default\"");
  EXPECT_EQ(target("", "urn:own", ""), "/default \"urn:own\"");
  EXPECT_EQ(target("", "", server.url("/token")), "/token \"\"");
  EXPECT_EQ(target(server.url("/own"), "", server.url("/token")), "/own \"\"");
  rpcSOAPSetCMInfo(nullptr, nullptr);
}

TYPED_TEST(ContentManager, LoadTestStoresWhatACallSends) {
  ScriptedServer server(httpReply("404 Not Found", "text/xml", ""));
  auto &call = this->call(), &out = this->call();
  call.setGatewayURL(server.url().c_str());
  call.setSoapAction("urn:a");
  call.addParamText("first");
  EXPECT_EQ(TypeParam::invoke(&call, &out, nullptr), E_HTTP);
  auto& headers = this->buffer("stale");
  EXPECT_EQ(TypeParam::loadTest(&call, &headers, &this->response), E_OK);
  const std::string sent = masked(server.requests().at(0), server.port());
  EXPECT_EQ(masked(contentOf(headers) + "\r\n" + contentOf(this->response), 0),
            sent.substr(sent.find("Content-Type"), sent.find("Host: ") - sent.find("Content-Type")) +
                sent.substr(sent.find("\r\n\r\n") + 2));
  call.setPassportId("p1");
  call.getRTT().setPryContext("ct\r\nx");
  EXPECT_EQ(TypeParam::loadTest(&call, &headers, &this->response), E_OK);
  EXPECT_TRUE(contentOf(headers).ends_with("\"urn:a\"\r\nSet-Cookie: zot_passport=p1;pry=ctx\r\n"));
  EXPECT_EQ(headers.getType(), ITKBufferType::DT_TEXT);
  EXPECT_EQ(this->response.getType(), ITKBufferType::DT_BINARY);

  const auto log = TypeParam::watchLog();
  EXPECT_EQ(TypeParam::loadTest(nullptr, &headers, &this->response), E_PROXY);
  EXPECT_EQ(TypeParam::loadTest(&call, nullptr, &this->response), E_PROXY);
  EXPECT_EQ(TypeParam::loadTest(&call, &headers, nullptr), E_PROXY);
  const std::string line = TypeParam::logged("LoadTestInvoke", "NULL pointer passed in");
  EXPECT_EQ(log.messages(), line + line + line);
  call.setSoapAction("a\nb");
  EXPECT_EQ(TypeParam::loadTest(&call, &headers, &this->response), E_PROXY);
}

}  // namespace
}  // namespace qz::test
