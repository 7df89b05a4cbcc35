// What the answers of a portal make of a logon. What it is asked, whole logons show.
#include "References/Libraries/Rpc/PortalLogon.h"

#include <gtest/gtest.h>

#include <deque>

namespace qz::rpc {
namespace {

const std::string kGateway = "http://portal.example.org/dir/gw.cgi";
const std::string kSession = "HTTP/1.1 200 OK\r\nSet-Cookie: zot_passport=P1; path=/\r\n\r\n";
const std::string kContextPage = R"(var pryContextId = "CAF-1";)";
constexpr PortalUser kUser{"an na", "p&w", "LDAP", "Direct ory"};

/// Answers as prepared, and fails when it has no more.
class Portal : public PortalPort, public Journal {
 public:
  std::deque<std::optional<PortalReply>> replies;
  std::string log;
  std::string body;  ///< of the last request that had one

  int traceLevel() const override { return 1; }
  void text(long level, const char* operation, std::string_view message, std::source_location) override {
    log += std::to_string(level) + " " + operation + ": " + std::string(message) + "\n";
  }
  void failure(const char*, const Err&) override {}
  void bytes(std::span<const std::byte>, std::source_location) override {}
  std::optional<PortalReply> request(const std::string&, const char*, const std::string&, std::string_view sent,
                                     ITKRTT*) override {
    if (!sent.empty()) body = sent;
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

TEST_F(Logon, SucceedsWithoutAContext) {
  token.setVTN("gone");
  portal.replies = {PortalReply{kSession, ""}, std::nullopt};
  EXPECT_TRUE(logon.logon(kUser, token));
  EXPECT_STREQ(token.getPassword().c_str(), "p&w");
  EXPECT_STREQ(token.getPassportID(), "P1");
  EXPECT_STREQ(token.getVTN(), "");
}

TEST_F(Logon, SendsTheTokensOwnCredentialAgain) {
  token.setUserName("a long user name");
  token.setPassword("a secret of that length");
  EXPECT_FALSE(logon.logon({token.getUserName().c_str(), token.getPassword().c_str(), nullptr, nullptr}, token));
  EXPECT_TRUE(
      portal.body.starts_with("ZOTUsername=a%20long%20user%20name&ZOTPassword=a%20secret%20of%20that%20length&"))
      << portal.body;
  EXPECT_STREQ(token.getPassword().c_str(), "a secret of that length");
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

TEST_F(Logon, AsAnotherUserReturnsTheContextsResult) {
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
}

TEST_F(Logon, ContextMayBeEmptyButNotMissing) {
  token.setPryContext("old");
  portal.replies = {PortalReply{"", R"(var pryContextId = "")"}, PortalReply{"", "nothing"}};
  EXPECT_TRUE(logon.getContext(token));
  EXPECT_FALSE(logon.getContext(token));
  EXPECT_STREQ(token.getPryContext(), "old");
}

}  // namespace
}  // namespace qz::rpc
