// Calls over HTTPS. The program runs below with-tls, which puts TLS in front of the plain server of each test.
#include <gtest/gtest.h>

#include <windows.h>
//
#include <wincrypt.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>

#include "Tests/Support/CallFaces.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

const char* setting(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error("this program runs below with-tls only");
  return value;
}

/// The test authority among the roots that the system trusts, until the end of the test.
class TrustedAuthority {
 public:
  TrustedAuthority() : store_(CertOpenSystemStoreA(0, "ROOT")) {
    std::ifstream file(std::string("Z:") + setting("QZ_TLS_AUTHORITY"), std::ios::binary);
    const std::string der((std::istreambuf_iterator<char>(file)), {});
    if (!CertAddEncodedCertificateToStore(store_, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der.data()),
                                          static_cast<DWORD>(der.size()), CERT_STORE_ADD_REPLACE_EXISTING, &added_))
      ADD_FAILURE() << "the authority cannot be trusted: " << GetLastError();
    commit();
  }
  TrustedAuthority(const TrustedAuthority&) = delete;
  TrustedAuthority& operator=(const TrustedAuthority&) = delete;
  ~TrustedAuthority() {
    if (added_ != nullptr) CertDeleteCertificateFromStore(added_);
    commit();
    CertCloseStore(store_, 0);
  }

 private:
  /// What checks a server's certificate opens the store for itself.
  void commit() { EXPECT_TRUE(CertControlStore(store_, 0, CERT_STORE_CTRL_COMMIT, nullptr)) << GetLastError(); }

  HCERTSTORE store_;
  PCCERT_CONTEXT added_ = nullptr;
};

template <class Face>
class Https : public FaceTest<Face> {
 public:
  /// Makes a call through the front end whose port is in `front`.
  long invoke(const char* front, const ScriptedServer& server, typename Face::Call& out) {
    std::ofstream(std::string("Z:") + setting("QZ_TLS_TARGET")) << server.port();
    auto& in = this->call();
    in.setGatewayURL(("https://localhost:" + std::string(setting(front)) + "/gw").c_str());
    in.setSoapAction("action");
    in.addParamText("secret");
    return Face::invoke(&in, &out, nullptr);
  }
};

TYPED_TEST_SUITE(Https, BothCallFaces);

TYPED_TEST(Https, TrustedGateway) {
  const TrustedAuthority authority;
  ScriptedServer server(httpReply("200 OK", "text/xml",
                                  replyEnvelope("<bus:relayHeader><bus:ZOT><id>p</id></bus:ZOT></bus:relayHeader>",
                                                runReply(innerBody(std::string("methodName=done"))))));
  auto& out = this->call();
  EXPECT_EQ(this->invoke("QZ_TLS_TRUSTED", server, out), E_OK) << out.getErrorText();
  EXPECT_STREQ(out.getMethodName(), "done");
  EXPECT_TRUE(server.requests().at(0).starts_with("POST /gw HTTP/1.0\r\n"));
}

TYPED_TEST(Https, ForeignGatewaysAreRefusedBeforeAnythingIsSent) {
  const TrustedAuthority authority;
  ScriptedServer server(std::vector<ScriptedReply>{});
  // A chain without a trusted end cannot be checked for revocation either, which some systems say first.
  for (const auto& [front, reasons] : {std::pair{"QZ_TLS_MISNAMED", std::regex("0x00002F06")},
                                       std::pair{"QZ_TLS_UNTRUSTED", std::regex("0x00002F(0D|19)")}}) {
    const auto log = TypeParam::watchLog();
    auto& out = this->call();
    EXPECT_EQ(this->invoke(front, server, out), E_PROXY);
    EXPECT_STREQ(out.getErrorText(), "Failed to send request");
    EXPECT_TRUE(std::regex_search(log.messages(), reasons)) << log.messages();
  }
}

}  // namespace
}  // namespace qz::test
