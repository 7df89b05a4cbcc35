// The examples of the wire format's description, read from the description itself and compared with what both faces send,
// or given to them as answers.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <map>
#include <regex>

#include "ITKFile.h"
#include "Tests/Support/CallFaces.h"
#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Lines = std::vector<std::string>;

std::string replaced(std::string text, const std::string& what, const std::string& by) {
  const auto at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what << " in " << text;
  return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

/// The fenced blocks of the document by the names that stand in front of them.
class Examples {
 public:
  Examples() {
    std::ifstream file(QZ_WIRE_FORMAT_DOC);
    EXPECT_TRUE(file.is_open()) << QZ_WIRE_FORMAT_DOC;
    const std::regex mark("<!-- example: ([a-z-]+) -->");
    std::smatch name;
    for (std::string line, next; std::getline(file, line);) {
      if (line.starts_with("```")) takeBlock(file, std::exchange(next, ""));
      if (std::regex_match(line, name, mark)) next = name[1];
    }
  }

  const std::map<std::string, Lines>& all() const { return blocks_; }

  /// A byte example, in which each line must begin where the one before it ends.
  std::string bytes(const std::string& name) const {
    const std::regex form("([0-9a-f]{2})  ((?:[0-9a-f]{2} ?)+)(?: .*)?");
    std::string found;
    std::smatch part;
    for (const auto& line : blocks_.at(name)) {
      EXPECT_TRUE(std::regex_match(line, part, form)) << line;
      EXPECT_EQ(std::stoul(part[1], nullptr, 16), found.size()) << name << ": " << line;
      const std::string digits = part[2];
      for (std::size_t i = 0; i + 1 < digits.size(); i += 3)
        found += static_cast<char>(std::stoul(digits.substr(i, 2), nullptr, 16));
    }
    return found;
  }

  /// An XML example as the one line that it is on the wire.
  std::string xml(const std::string& name) const {
    std::string text;
    for (const auto& line : blocks_.at(name)) {
      const auto begin = line.find_first_not_of(' ');
      if (!text.empty() && line[begin] != '<' && line[begin] != '&') text += ' ';
      text += line.substr(begin);
    }
    return text;
  }

  /// An HTTP example, with its line ends, what its words stand for, and the lengths that follow from that.
  std::string http(const std::string& name, const std::string& envelope = {}, const std::string& arguments = {}) const {
    std::string text;
    for (const auto& line : blocks_.at(name)) text += line + "\r\n";
    const auto end = text.find("\r\n\r\n") + 4;
    std::string body = text.substr(end);
    if (body.find("LENGTH") != std::string::npos) body = replaced(body, "LENGTH", std::to_string(arguments.size()));
    if (!envelope.empty()) body = replaced(replaced(body, "ENVELOPE", envelope), "ARGUMENTS", arguments);
    return replaced(text.substr(0, end), "LENGTH", std::to_string(body.size())) + body;
  }

 private:
  void takeBlock(std::istream& file, const std::string& name) {
    Lines lines;
    for (std::string line; std::getline(file, line) && line != "```";) lines.push_back(line);
    EXPECT_TRUE(blocks_.emplace(name, lines).second) << "two examples called '" << name << "'";
  }

  std::map<std::string, Lines> blocks_;
};

/// A request as it came, in the words of the document; its length is that of the masked body.
std::string inWords(const std::string& raw, unsigned short port) {
  const std::string text = masked(raw, port);
  const auto body = text.size() - (text.find("\r\n\r\n") + 4);
  return std::regex_replace(text, std::regex("Content-Length: \\d+"), "Content-Length: " + std::to_string(body),
                            std::regex_constants::format_first_only);
}

/// The inner document of a request, unescaped.
std::string innerOf(const std::string& request) {
  const auto begin = request.find("&lt;qzSOAPBody"), end = request.find("</bus:data>");
  if (begin == std::string::npos || end == std::string::npos) return "none in " + request;
  const std::string inner = std::regex_replace(request.substr(begin, end - begin), std::regex("&lt;"), "<");
  return std::regex_replace(inner, std::regex("&gt;"), ">");
}

std::string headerIn(const std::string& envelope) {
  const auto begin = envelope.find("<SOAP-ENV:Header>"), end = envelope.find("<SOAP-ENV:Body>");
  return envelope.substr(begin, end - begin);
}

std::string page(const std::string& body, const std::string& cookie = "Set-Cookie: zot_passport=demo:3; path=/\r\n") {
  return httpReply("200 OK", "text/html", body, cookie);
}

template <class Face>
class WireFormatDocument : public FaceTest<Face>, public Examples {
 public:
  using Call = typename Face::Call;

  /// The call that the examples are about.
  Call& sum(const std::string& url, long limit = 0) {
    ITKRTT token;
    token.setPassportID("demo:1");
    token.setVTN("v1");
    token.setPryContext("ctx-1");
    auto& call = this->call("Demo", "add", 0, "", "", static_cast<const ITKRTT*>(&token), limit);
    call.setGatewayURL(url.c_str());
    call.setSoapAction("urn:demo");
    for (const long number : {40L, 2L}) call.addParam(ITKBufferType::DT_LONG, &number, sizeof number);
    return call;
  }

  std::string parked(Call& call, int compress) {
    auto& stream = this->buffer();
    call.setComressParams(compress);
    EXPECT_EQ(call.parkParams(stream), 1);
    return contentOf(stream);
  }

  /// Makes the call against this answer, and compares its code and what the error says.
  Call& callAgainst(const std::string& reply, long code, const std::string& text) {
    ScriptedServer server(reply);
    auto& out = this->call();
    EXPECT_EQ(Face::invoke(&sum(server.url()), &out, nullptr), code);
    EXPECT_STREQ(out.getErrorText(), text.empty() ? nullptr : text.c_str());
    return out;
  }
};

TYPED_TEST_SUITE(WireFormatDocument, BothCallFaces);

TYPED_TEST(WireFormatDocument, Streams) {
  auto& call = this->sum("");
  EXPECT_EQ(this->parked(call, 0), this->bytes("list-stream"));
  EXPECT_EQ(this->parked(call, 1), this->bytes("compressed-block"));

  auto& nested = this->call();
  auto& inner = this->list();
  const char seven = 7;
  const double number = 1.5;
  inner.add(this->buffer(std::string(1, seven), ITKBufferType::DT_I1));
  nested.addParamText("hi");
  nested.addParam(ITKBufferType::DT_DOUBLE, &number, sizeof number);
  nested.addParam(inner);
  EXPECT_EQ(this->parked(nested, 0), this->bytes("nested-list-stream"));

  const ScratchFile scratch;
  ITKFile file;
  ASSERT_TRUE(file.openWrite(scratch.path()));
  EXPECT_TRUE(TypeParam::toFile(this->buffer("hi", ITKBufferType::DT_TEXT), file.getHandle()));
  EXPECT_EQ(scratch.content(), this->bytes("buffer-stream"));
  ASSERT_TRUE(file.openWrite(scratch.path()));
  EXPECT_EQ(call.getListParams().serializeTo(file.getHandle()), 1);
  EXPECT_EQ(scratch.content(), this->bytes("list-file"));

  auto &error = this->error(), &other = this->error();
  auto& out = this->buffer();
  error.setError(22, "no sum");
  EXPECT_EQ(error.serializeOut(TypeParam::passed(out), 0), 1);
  EXPECT_EQ(contentOf(out), this->bytes("error-stream"));
  EXPECT_EQ(other.serializeIn(TypeParam::passed(out)), 1);
  EXPECT_STREQ(other.getErrorText(), "no sum");
}

TYPED_TEST(WireFormatDocument, CallAndReply) {
  const std::string block = this->bytes("compressed-block");
  ScriptedServer server(this->http("reply", this->xml("reply-envelope"), block));
  auto& out = this->call();
  EXPECT_EQ(TypeParam::invoke(&this->sum(server.url("/gateway")), &out, nullptr), E_OK) << out.getErrorText();
  EXPECT_EQ(inWords(server.requests().at(0), server.port()),
            this->http("request", this->xml("request-envelope"), block));

  EXPECT_EQ(this->parked(out, 0), this->bytes("list-stream"));
  EXPECT_STREQ(out.getPassportId(), "demo:2");
  EXPECT_STREQ(out.getRTT().getPryContext(), "ctx-2");
  EXPECT_STREQ(out.getRTT().getVTN(), "v2");
  EXPECT_STREQ(out.getRTT().getUserSessionID(), "s1");
  EXPECT_STREQ(out.getUserPreference("productLocale"), "en");
  EXPECT_STREQ(out.getObjectHandle(), "handle-1");
  EXPECT_EQ(out.getNumParamsChecksum(), out.getNumParams());
}

TYPED_TEST(WireFormatDocument, Failures) {
  const std::string envelope = this->xml("reply-envelope"), none = "&lt;errorCode&gt;0", fault = this->xml("fault");
  const std::string failed = replaced(envelope, none, "&lt;errorCode&gt;22");
  this->callAgainst(this->http("reply", failed, this->bytes("error-stream")), 22, "no sum");
  this->callAgainst(httpReply("500 Failed", "text/xml", fault), E_FAULT, "[qz exception][no sum]");
  const std::string logon = "<SOAP-ENV:Header>" + this->xml("logon-header") + "</SOAP-ENV:Header>";
  this->callAgainst(httpReply("200 OK", "text/xml", replaced(fault, headerIn(fault), logon)), E_LOGON,
                    "22qz exceptionerror70no sum");
}

TYPED_TEST(WireFormatDocument, Conversation) {
  const std::string envelope = this->xml("reply-envelope");
  const auto reply = [](const std::string& text) { return httpReply("200 OK", "text/xml", text); };
  ScriptedServer server({{reply(replaced(envelope, "conversationComplete", "working"))}, {reply(envelope)}});
  auto &in = this->sum(server.url(), 60), &out = this->call();
  in.setAsyncMode(1);
  EXPECT_EQ(TypeParam::invoke(&in, &out, nullptr), E_OK) << out.getErrorText();
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 2u);
  for (const auto& request : requests) EXPECT_THAT(request, HasSubstr("\r\nsoapaction: \"urn:demo.session\"\r\n"));
  EXPECT_EQ(innerOf(requests[0]), this->xml("first-round"));
  const std::regex left("<timeInterval>\\d{1,5}<");
  EXPECT_EQ(std::regex_replace(innerOf(requests[1]), left, "<timeInterval>MILLISECONDS<"), this->xml("second-round"));
  EXPECT_THAT(requests[1], HasSubstr(headerIn(envelope)));
}

TYPED_TEST(WireFormatDocument, Portal) {
  const auto text = [this](const char* name) { return this->xml(name); };
  ScriptedServer server({{page(text("single-namespace"))},
                         {page(text("namespace-list"))},
                         {page("")},
                         {page(text("context-page"), "")},
                         {page("", "")},
                         {page(text("known-user"), "")}});
  const std::string url = server.url("/gateway");
  ITKRTT token;
  auto &names = this->list(), &displayNames = this->list(), &cookies = this->list();
  EXPECT_TRUE(TypeParam::getNamespaces(url.c_str(), nullptr, names, displayNames, cookies, token));
  EXPECT_EQ(elementsOf(names), "LDAP|");
  EXPECT_EQ(elementsOf(displayNames), "Directory|");
  EXPECT_TRUE(TypeParam::getNamespaces(url.c_str(), nullptr, names, displayNames, cookies, token));
  EXPECT_EQ(elementsOf(names), "LDAP|SAP|");
  EXPECT_TRUE(TypeParam::logon(url.c_str(), "ann b", "s&t", token));
  EXPECT_STREQ(token.getPassportID(), "demo:3");
  EXPECT_STREQ(token.getPryContext(), "ctx-3");
  EXPECT_TRUE(TypeParam::logoff(url.c_str(), token));
  EXPECT_TRUE(TypeParam::logonAs(url.c_str(), "ann b", "s&t", token));
  EXPECT_EQ(inWords(server.requests().at(2), server.port()), this->http("logon-request"));
  EXPECT_EQ(inWords(server.requests().at(4), server.port()), this->http("logoff-request"));
}

/// The bodies of reply and fault are those of the codec's own server half.
TEST(WireFormatDocumentOfTheServer, Bodies) {
  const Examples examples;
  const auto codec = std::unique_ptr<CqzRelayMessage, void (*)(CqzRelayMessage*)>(rpcSOAP_CreateRelayMessage(),
                                                                                  rpcSOAP_ReleaseRelayMessage);
  const auto call = FlatFace::makeCall("Demo", "add", 0, "handle-1", "", static_cast<const ITKRTT*>(nullptr), 0L);
  const auto body = FlatFace::makeBuffer(), arguments = FlatFace::makeBuffer();
  for (const long number : {40L, 2L}) call->addParam(ITKBufferType::DT_LONG, &number, sizeof number);
  EXPECT_EQ(codec->packOutStub(call.get(), body.get(), arguments.get()), 1);
  EXPECT_THAT(examples.xml("reply-envelope"), HasSubstr("<SOAP-ENV:Body>" + contentOf(*body) + "</SOAP-ENV:Body>"));
  EXPECT_EQ(contentOf(*arguments), examples.bytes("compressed-block"));

  call->getError().setError(22, 7, "no sum");
  EXPECT_EQ(codec->packOutStubTask(call.get(), body.get()), 1);
  EXPECT_THAT(examples.xml("fault"), HasSubstr("<SOAP-ENV:Body>" + contentOf(*body) + "</SOAP-ENV:Body>"));
}

/// No example stands in the document that the tests above do not look at.
TEST(WireFormatDocumentOfTheServer, HasTheseExamples) {
  const Examples examples;
  Lines names;
  for (const auto& [name, lines] : examples.all()) names.push_back(name);
  EXPECT_THAT(names, ElementsAre("buffer-stream", "compressed-block", "context-page", "error-stream", "fault",
                                 "first-round", "known-user", "list-file", "list-stream", "logoff-request",
                                 "logon-header", "logon-request", "namespace-list", "nested-list-stream", "reply",
                                 "reply-envelope", "request", "request-envelope", "second-round", "single-namespace"));
}

}  // namespace
}  // namespace qz::test
