// What a logon asks the portal, and what its answers do to the token.
#include "References/Libraries/Rpc/PortalLogon.h"

#include <gtest/gtest.h>

#include <deque>

namespace qz::rpc {
namespace {

const std::string kGateway = "http://portal.example.org/dir/gw.cgi";
const std::string kSession = "HTTP/1.1 200 OK\r\nSet-Cookie: zot_passport=P1; path=/\r\n\r\n";
const std::string kContextPage = R"(var pryContextId = "CAF-1";)";
const std::string kTail =
    "&h_ZOT_action=logonAs&o_encoding=UTF-8&o_m=portal%2Fclose.xts&o_b_action=xts.run&o_ui.compid=pc"
    "&m=portal%2Fmain.xts&b_action=xts.run&m_method=GET\r\n";
const std::string kForm =
    "Accept-Language: en-us\r\nContent-Type: application/x-www-form-urlencoded\r\nAccept-Encoding: gzip, deflate\r\n";
constexpr PortalUser kUser{"an na", "p&w", "LDAP", "Direct ory"};

/// Answers as prepared, fails when it has no more, and keeps what it was asked.
class Portal : public PortalPort, public Journal {
 public:
  std::deque<std::optional<PortalReply>> replies;
  std::string requests;
  std::string log;

  int traceLevel() const override { return 1; }
  void text(long level, const char* operation, std::string_view message, std::source_location) override {
    log += std::to_string(level) + " " + operation + ": " + std::string(message) + "\n";
  }
  void failure(const char*, const Err&) override {}
  void bytes(std::span<const std::byte>, std::source_location) override {}
  std::optional<PortalReply> request(const std::string& url, const char* verb, const std::string& headers,
                                     std::string_view body, ITKRTT* token) override {
    EXPECT_TRUE(url.starts_with(kGateway)) << url;
    requests.append(verb).append(token == nullptr ? " - " : " token ").append(url.substr(kGateway.size())) += "\n";
    requests.append(headers).append("\n").append(body).append("\n");
    if (replies.empty()) return std::nullopt;
    auto reply = std::move(replies.front());
    replies.pop_front();
    return reply;
  }
};

class Logon : public testing::Test {
 protected:
  Portal portal;
  PortalLogon logon{portal, portal, kGateway, "pc"};
  ITKRTT token;
};

TEST_F(Logon, FillsTheTokenWhateverTheContextIs) {
  token.setVTN("gone");
  portal.replies = {PortalReply{kSession, ""}, PortalReply{"", kContextPage}, PortalReply{kSession, ""}, std::nullopt};
  EXPECT_TRUE(logon.logon(kUser, token));
  EXPECT_EQ(portal.requests,
            "POST token ?b_action=xts.run&m=portal/close.xts&h_ZOT_action=logon&ui.compid=pc\n" + kForm +
                "\nZOTUsername=an%20na&ZOTPassword=p%26w&ZOTNamespace=LDAP&ZOTNamespaceDisplayName=Direct%20ory" +
                kTail +
                "\nGET - ?b_action=xts.run&m=portal/close.xts&ui.compid=pc\n"
                "Content-Type: text/xml\r\nCookie: zot_passport=P1\r\n\n\n");
  EXPECT_STREQ(token.getUserName().c_str(), "an na");
  EXPECT_STREQ(token.getPassword().c_str(), "p&w");
  EXPECT_STREQ(token.getPryContext(), "CAF-1");
  EXPECT_STREQ(token.getVTN(), "");
  EXPECT_TRUE(logon.logon(kUser, token)) << "the context could not be had";
}

TEST_F(Logon, FailsWithoutAPassport) {
  const std::string other = "Set-Cookie: other=1; path=/\r\n";
  for (const auto& reply :
       {std::optional<PortalReply>(), std::optional(PortalReply{}), std::optional(PortalReply{other, ""})}) {
    portal.replies = {reply};
    EXPECT_FALSE(logon.logon(kUser, token));
  }
  EXPECT_STREQ(token.getCookieValue("other"), "1");
  EXPECT_STREQ(token.getPassportID(), "");
  EXPECT_EQ(portal.log, "1 logon: The portal's reply sets no cookies\n1 logon: The portal's reply gives no passport\n");
}

TEST_F(Logon, AsAnotherUserKeepsTheCredentialAndReturnsTheContextsResult) {
  token.setUserName("first");
  token.setPassportID("P0");
  const std::string authenticated = R"(<td class="formText">The user is already authenticated)";
  const struct {
    std::deque<std::optional<PortalReply>> replies;
    bool result;
  } cases[] = {{{PortalReply{kSession, ""}, PortalReply{"", kContextPage}}, true},
               {{PortalReply{kSession, authenticated}, PortalReply{"", "no context"}}, false},
               {{PortalReply{"", authenticated}}, true},
               {{PortalReply{"Set-Cookie: other=1; path=/\r\n", authenticated}}, true},
               {{PortalReply{"", ""}}, false},
               {{std::nullopt}, false}};
  for (const auto& c : cases) {
    portal.replies = c.replies;
    EXPECT_EQ(logon.logonAs(kUser, token), c.result) << &c - cases;
  }
  EXPECT_TRUE(portal.requests.starts_with(
      "POST token ?b_action=xts.run&m=portal/close.xts&h_ZOT_action=logonAs&ui.compid=pc\n" + kForm +
      "Cookie: zot_passport=P0\r\n\nZOTUsername=an%20na&"))
      << portal.requests;
  EXPECT_STREQ(token.getUserName().c_str(), "first");
}

TEST_F(Logon, ContextMayBeEmptyButNotMissing) {
  token.setPryContext("old");
  portal.replies = {PortalReply{"", R"(var pryContextId = "")"}, PortalReply{"", "nothing"}};
  EXPECT_TRUE(logon.getContext(token));
  EXPECT_FALSE(logon.getContext(token));
  EXPECT_STREQ(token.getPryContext(), "old");
}

TEST_F(Logon, LogoffLeavesTheToken) {
  token.setPassportID("P1");
  portal.replies = {PortalReply{}};
  EXPECT_TRUE(logon.logoff(token));
  EXPECT_FALSE(logon.logoff(token)) << "no reply";
  EXPECT_TRUE(portal.requests.starts_with("POST - ?b_action=xts.run&m=portal/logoff.xts&h_ZOT_action=logoff\n" + kForm +
                                          "Cookie: zot_passport=P1\r\n\n\r\n\n"))
      << portal.requests;
  EXPECT_STREQ(token.getPassportID(), "P1");
}

}  // namespace
}  // namespace qz::rpc
