// Logging on at a portal through the real DLL.
#include <gtest/gtest.h>
#include <zlib.h>

#include "Tests/Support/CallFaces.h"
#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

const std::string kNamespaces =
    R"(<select name="ZOTNamespace"><option value="L">Direct &amp; ory</option><option value="N">)";
const std::string kContextPage = R"(<script>var pryContextId = "CAF-1";</script>)";

std::string gzip(std::string text) {
  constexpr int kGzip = 16 + MAX_WBITS;
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY), Z_OK);
  std::string packed(compressBound(static_cast<unsigned long>(text.size())) + 32, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(text.data());
  stream.avail_in = static_cast<unsigned>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<unsigned>(packed.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

std::string page(const std::string& body, const std::string& moreHeaders = "") {
  return httpReply("200 OK", "text/html", body, moreHeaders);
}
std::string gzipped(const std::string& body) {
  return page(body, "Set-Cookie: other=1; path=/\r\nContent-Encoding: gzip\r\n");
}

template <class Face>
class Portal : public FaceTest<Face> {
 public:
  bool getNamespaces(const std::string& url, const char* dumpFile = nullptr) {
    return Face::getNamespaces(url.c_str(), dumpFile, names, displayNames, cookies, token);
  }

  typename Face::BufferList &names = this->list(), &displayNames = this->list(), &cookies = this->list();
  ITKRTT token;
};

TYPED_TEST_SUITE(Portal, BothCallFaces);

TYPED_TEST(Portal, AsksAndSendsByteForByte) {
  const std::string session = "Set-Cookie: zot_passport=P1; path=/\r\nSet-Cookie: VTN=v; path=/\r\n";
  ScriptedServer server(
      {{page(gzip(kNamespaces), session + "Content-Encoding: gzip\r\n")},
       {page("", session)},
       {page(kContextPage)},
       {page(gzip(R"(class="formText"> The user is already authenticated)"), "Content-Encoding: x-gzip\r\n")},
       {page("", session)},
       {page(kContextPage)},
       {page("bye")}});
  const auto url = server.url("/p/gw.cgi");
  const ScratchFile dump("");
  this->names.add("stale");
  this->displayNames.add("kept");
  EXPECT_TRUE(this->getNamespaces(url, dump.path()));
  EXPECT_EQ(elementsOf(this->names), "L|");
  EXPECT_EQ(elementsOf(this->displayNames), "kept|Direct &amp; ory|");
  EXPECT_EQ(elementsOf(this->cookies),
            TypeParam::givesCookieLines ? "Set-Cookie: zot_passport=P1; path=/|Set-Cookie: VTN=v; path=/|" : "");
  this->token.setVTN("not sent");
  EXPECT_TRUE(TypeParam::logon(url.c_str(), "an n\xC3\xA4", "p&w=%", this->token));
  EXPECT_TRUE(TypeParam::logonAs(url.c_str(), "b", "", this->token));
  EXPECT_STREQ(this->token.getPassportID(), "") << "the reply has replaced the cookies";
  EXPECT_TRUE(TypeParam::logonAs(url.c_str(), "b", nullptr, this->token));
  EXPECT_TRUE(TypeParam::logoff(url.c_str(), this->token));

  const std::string query = "?b_action=xts.run&m=portal/", pc = "&ui.compid=pc HTTP/1.0\r\nHost: HOST\r\n";
  const std::string agent = "User-Agent: QZ RPC\r\n";
  const std::string form =
      "Accept-Language: en-us\r\nContent-Type: application/x-www-form-urlencoded\r\nAccept-Encoding: gzip, deflate\r\n";
  const std::string tail =
      "&h_ZOT_action=logonAs&o_encoding=UTF-8&o_m=portal%2Fclose.xts&o_b_action=xts.run&o_ui.compid=pc"
      "&m=portal%2Fmain.xts&b_action=xts.run&m_method=GET\r\n";
  const std::string cookie = "Cookie: zot_passport=P1; VTN=v\r\n";
  const auto length = [](const std::string& body) { return "Content-Length: " + std::to_string(body.size()) + "\r\n"; };
  const std::string first =
      "ZOTUsername=an%20n\xC3%A4&ZOTPassword=p%26w%3D%25&ZOTNamespace=LDAP&ZOTNamespaceDisplayName=Direct%20ory" + tail;
  const std::string second = "ZOTUsername=b&ZOTNamespace=LDAP" + tail;
  const std::string context = "GET /p/gw.cgi" + query + "close.xts" + pc + agent + "Content-Type: text/xml\r\n";
  const std::string expected[] = {
      "GET /p/gw.cgi" + query + "close.xts&h_ZOT_action=logon&ui.compid=" + TypeParam::componentOfNamespaces +
          " HTTP/1.0\r\nHost: HOST\r\n" + agent +
          "Accept: */*\r\nAccept-Language: en-us\r\nAccept-Encoding: gzip, deflate\r\n\r\n",
      "POST /p/gw.cgi" + query + "close.xts&h_ZOT_action=logon" + pc + length(first) + agent + form + "\r\n" + first,
      context + cookie + "\r\n",
      "POST /p/gw.cgi" + query + "close.xts&h_ZOT_action=logonAs" + pc + length(second) + agent + form + cookie +
          "\r\n" + second,
      "POST /p/gw.cgi" + query + "close.xts&h_ZOT_action=logonAs" + pc + length(second) + agent + form + "\r\n" +
          second,
      context + cookie + "\r\n",
      "POST /p/gw.cgi" + query + "logoff.xts&h_ZOT_action=logoff HTTP/1.0\r\nHost: HOST\r\n" + length("\r\n") + agent +
          form + cookie + "\r\n\r\n"};
  for (std::size_t i = 0; i < std::size(expected); ++i)
    EXPECT_EQ(masked(server.requests().at(i), server.port()), expected[i]) << i;

  EXPECT_STREQ(this->token.getUserName().c_str(), "an n\xC3\xA4");
  EXPECT_STREQ(this->token.getPryContext(), "CAF-1");
  EXPECT_STREQ(this->token.getURL(), url.c_str());
  EXPECT_NE(dump.content().find("Set-Cookie: zot_passport=P1"), std::string::npos);
}

TYPED_TEST(Portal, HostileRepliesEndSoon) {
  const std::string other = "Set-Cookie: other=1; path=/\r\n";
  const std::string packed = gzip(std::string(5000, 'x') + kNamespaces + kContextPage);
  std::string options;
  for (int i = 0; i < 20'000; ++i) options += "<option value=\"\"></option>";
  std::string cut = page(kNamespaces + kContextPage + std::string(100, 'x'), other);
  cut.resize(cut.size() - 50);
  const std::pair<const char*, std::string> cases[] = {
      {"redirection to itself", httpReply("302 Found", "text/html", kContextPage, other + "Location: /gw/gw.cgi\r\n")},
      {"no marker", page("<html>", other)},
      {"many options", page("<select name=\"ZOTNamespace\">" + options, other)},
      {"cut", cut},
      {"no gzip", gzipped(kNamespaces + kContextPage)},
      {"cut gzip", gzipped(packed.substr(0, packed.size() - 1))},
      {"no reply", ""}};
  for (const auto& [what, reply] : cases) {
    SCOPED_TRACE(what);
    ScriptedServer server(std::vector<ScriptedReply>(3, {reply}));
    const auto url = server.url();
    const auto start = GetTickCount();
    for (int i = 0; i < 3; ++i) {
      const auto log = TypeParam::watchLog();
      EXPECT_FALSE(i == 0   ? this->getNamespaces(url)
                   : i == 1 ? TypeParam::logon(url.c_str(), "u", "p", this->token)
                            : TypeParam::getContext(url.c_str(), this->token));
      EXPECT_NE(log.messages(), "") << i;
    }
    EXPECT_LT(GetTickCount() - start, 10'000u);
    EXPECT_EQ(server.requests().size(), 3u);
    EXPECT_EQ(elementsOf(this->names) + this->token.getPryContext(), "");
  }
}

TYPED_TEST(Portal, HugePagesAreRefused) {
  const std::string text(65u << 20, ' ');
  for (const auto& reply : {page(text + kNamespaces, "Set-Cookie: a=1; p\r\n"), gzipped(text + kNamespaces)}) {
    ScriptedServer server(reply);
    const auto log = TypeParam::watchLog();
    EXPECT_FALSE(this->getNamespaces(server.url()));
    EXPECT_NE(log.messages().find("Failed to read server response"), std::string::npos);
  }
}

}  // namespace
}  // namespace qz::test
