// Queries for the data-source connections that a content manager keeps.
#include <gmock/gmock.h>

#include "Tests/Support/CallFaces.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

bool listConnections(ITKBufferList& list, const ITKRTT& token) {
  return ITKrpcSOAPGetDbConnectionList(list, token, nullptr);
}
bool listConnections(CqzBufferList& list, const ITKRTT& token) {
  return rpcSOAPGetDbConnectionList(&list, &token, nullptr);
}
bool findConnection(const char* name, ITKBuffer& connection, ITKBuffer& user, ITKBuffer& password,
                    const ITKRTT& token) {
  return ITKrpcSOAPGetDbConnection(name, connection, user, password, token, nullptr);
}
bool findConnection(const char* name, CqzBuffer& connection, CqzBuffer& user, CqzBuffer& password,
                    const ITKRTT& token) {
  return rpcSOAPGetDbConnection(name, &connection, &user, &password, &token, nullptr);
}

/// A reply with these records.
std::string answer(const std::string& records) {
  return httpReply(
      "200 OK", "text/xml",
      replyEnvelope("", "<cm:queryResponse><queryResult>" + records + "</queryResult></cm:queryResponse>"));
}

std::string connection(const std::string& name, const std::string& text) {
  return "<cm:dataSourceConnection><defaultName><value>" + name + "</value></defaultName><connectionString><value>" +
         text + "</value></connectionString></cm:dataSourceConnection>";
}

std::string fault(const std::string& zot) { return httpReply("500 Oops", "text/xml", faultEnvelope(zot)); }

const std::string kSignon =
    "<cm:dataSourceSignon><credentials><value>&lt;credential&gt;&lt;username&gt;u&lt;/username&gt;&lt;password&gt;"
    "&lt;encryptedValue&gt;p+w==&lt;/encryptedValue&gt;&lt;/password&gt;&lt;/credential&gt;</value></credentials>"
    "</cm:dataSourceSignon>";

template <class Face>
class DataSources : public FaceTest<Face> {
 public:
  DataSources() {
    token.setPassportID("p1");
    token.setPryContext("c1");
  }

  /// What a request for a query must end with: action, cookies and body.
  static std::string request(const std::string& search, const std::string& properties) {
    const std::string name = "http://schemas.tessel.example/schemas/contentManagerService/1";
    return "\r\nsoapaction: \"" + name + "\"\r\nCookie: zot_passport=p1\r\n\r\n" +
           requestEnvelope(freshHeader("p1", "c1", "$$numCookies$$", "$$cookieValues$$"),
                           "<cm:query xmlns:cm=\"" + name + "\"><search xsi:type=\"xsd:string\">" + search +
                               "</search><properties xsi:type=\"SOAP-ENC:Array\" SOAP-ENC:arrayType=\"xsd:string" +
                               properties + "</properties></cm:query>");
  }

  static std::string item(const std::string& property) {
    return "<item xsi:type=\"xsd:string\">" + property + "</item>";
  }

  ITKRTT token;
};

TYPED_TEST_SUITE(DataSources, BothCallFaces);

TYPED_TEST(DataSources, ListsConnections) {
  const struct {
    std::string reply;
    bool result;
    std::string expected;  ///< records, or what the log says
  } cases[] = {
      {answer(connection("one", "A&amp;B") + kSignon + connection("two", "")), true, "one|A&B|two||"},
      {answer(""), true, ""},
      {fault("<ZOT/>"), false, "The content manager refuses the query: [it broke]"},
      {fault("<ZOT><exception><errorCodeString>zotAuthUserRecoverable</errorCodeString></exception></ZOT>"), false,
       "The content manager asks for a logon: it broke"},
      {httpReply("200 OK", "text/xml", replyEnvelope("", "<b/>")), false,
       "Failed to parse input database connection information"},
      {httpReply("200 OK", "text/html", "<html/>"), false, "Failed to read server response"},
  };
  for (const auto& c : cases) {
    ScriptedServer server(c.reply);
    this->token.setURL(server.url().c_str());
    auto& list = this->list();
    list.add("stale");
    const auto log = TypeParam::watchLog();
    EXPECT_EQ(listConnections(list, this->token), c.result) << c.reply;
    EXPECT_EQ(elementsOf(list), c.result ? c.expected : "");
    EXPECT_THAT(log.messages(), HasSubstr(c.result ? "" : c.expected));
    EXPECT_THAT(server.requests().at(0),
                EndsWith(this->request("//dataSourceConnection",
                                       "[2]\">" + this->item("defaultName") + this->item("connectionString"))));
  }
}

TYPED_TEST(DataSources, FindsOneWhateverItsName) {
  const struct {
    const char* name;
    std::string literal, records;
    bool result;
    const char* expected;  ///< connection string, user, password
  } cases[] = {
      {"one", "&apos;one&apos;", connection("two", "B") + connection("one", "A") + kSignon, true, "A|u|p+w=="},
      {"a'] | //<b>", "&quot;a&apos;] | //&lt;b&gt;&quot;", connection("a'] | //&lt;b&gt;", "A"), false, "A||"},
      {"\"it's\"'", "concat(&apos;&quot;it&apos;,&quot;&apos;s&quot;,&apos;&quot;&apos;,&quot;&apos;&quot;)",
       connection("\"it's\"", "A") + kSignon, false, "||"},
  };
  for (const auto& c : cases) {
    ScriptedServer server(answer(c.records));
    this->token.setURL(server.url().c_str());
    auto &found = this->buffer("stale"), &user = this->buffer("stale"), &password = this->buffer("stale");
    const auto log = TypeParam::watchLog();
    EXPECT_EQ(findConnection(c.name, found, user, password, this->token), c.result) << c.name;
    EXPECT_EQ(contentOf(found) + "|" + contentOf(user) + "|" + contentOf(password), c.expected);
    EXPECT_EQ(log.messages().find("p+w"), std::string::npos);
    const auto wanted = "//dataSourceConnection[@defaultName=" + c.literal + "]";
    EXPECT_THAT(server.requests().at(0),
                EndsWith(this->request(wanted + " | " + wanted + "/dataSourceSignon",
                                       "[3]\">" + this->item("defaultName") + this->item("connectionString") +
                                           this->item("credentials"))));
  }
}

TYPED_TEST(DataSources, RefusedBeforeAnythingIsSent) {
  auto& buffer = this->buffer("kept");
  const auto log = TypeParam::watchLog();
  EXPECT_FALSE(findConnection(nullptr, buffer, buffer, buffer, this->token));
  EXPECT_EQ(contentOf(buffer), "kept");
  EXPECT_FALSE(findConnection("", buffer, buffer, buffer, this->token));
  EXPECT_FALSE(listConnections(this->list(), this->token));
  const auto lines = log.messages();
  EXPECT_THAT(lines, HasSubstr("NULL pointer passed in"));
  EXPECT_THAT(lines, HasSubstr("The name of the data source connection is empty"));
  EXPECT_THAT(lines, HasSubstr("Bad URL: ")) << "neither the token nor the process has one";
}

TEST(FlatDataSources, AsksTheProcessesContentManagerAndRefusesNull) {
  ScriptedServer server(answer(connection("one", "A")));
  rpcSOAPSetCMInfo(server.url("/cm").c_str(), "urn:other");
  const CqzBufferList00 list;
  const CqzBuffer00 buffer;
  const ITKRTT token;
  EXPECT_TRUE(rpcSOAPGetDbConnectionList(list, &token, nullptr));
  EXPECT_THAT(server.requests().at(0), testing::StartsWith("POST /cm HTTP/1.0\r\n"));
  EXPECT_FALSE(rpcSOAPGetDbConnectionList(nullptr, &token, nullptr));
  EXPECT_FALSE(rpcSOAPGetDbConnectionList(list, nullptr, nullptr));
  EXPECT_FALSE(rpcSOAPGetDbConnection("one", nullptr, buffer, buffer, &token, nullptr));
  EXPECT_EQ(list->getCount(), 2) << "a refused call loses nothing";
  rpcSOAPSetCMInfo(nullptr, nullptr);
}

}  // namespace
}  // namespace qz::test
