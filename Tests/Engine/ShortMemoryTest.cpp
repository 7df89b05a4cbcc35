// What becomes of objects and calls when memory is short.
#include <gtest/gtest.h>

#include "Tests/Support/CallFaces.h"
#include "Tests/Support/ScarceMemory.h"

namespace qz::test {
namespace {

#define EXPECT_NULL_UNLESS_WHOLE(release, make, ...)                  \
  withEverMoreMemory([&] { return make(__VA_ARGS__); },               \
                     [](auto* made, bool wasShort) {                  \
                       EXPECT_EQ(made == nullptr, wasShort) << #make; \
                       release(made);                                 \
                     })

TEST(ShortMemory, NoObjectIsMadeInPart) {
  ITKRTT token;
  token.setURL("http://a.test/");
  token.setPassportID("passport");
  EXPECT_NULL_UNLESS_WHOLE(rpcSOAP_Release, rpcSOAP_Create, "i", "m", 1, "h", "<r/>", &token, 0);
  EXPECT_NULL_UNLESS_WHOLE(rpcSOAP_ReleaseBuffer, rpcSOAP_CreateBuffer, 10, ITKBufferType::DT_TEXT);
  EXPECT_NULL_UNLESS_WHOLE(rpcSOAP_ReleaseBufferList, rpcSOAP_CreateBufferList);
  EXPECT_NULL_UNLESS_WHOLE(rpcSOAP_ReleaseError, rpcSOAP_CreateError);
  EXPECT_NULL_UNLESS_WHOLE(rpcSOAP_ReleaseRelayMessage, rpcSOAP_CreateRelayMessage);
  const char* const reply = "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"e\"/>";
  EXPECT_NULL_UNLESS_WHOLE(releaseXmlDom, createXmlDomFromText, reply, nullptr);
}

TEST(ShortMemory, TheDefaultEndpointIsReadWholeOrNotAtAll) {
  ASSERT_EQ(rpcSOAPSetCMInfo("http://a.test/", "urn:a"), 1);
  const CqzBuffer00 url, action;
  withEverMoreMemory([&] { return rpcSOAPGetCMInfo(url, action); },
                     [](int read, bool wasShort) { EXPECT_EQ(read == 1, !wasShort); });
}

template <class Face>
using ShortMemoryOf = FaceTest<Face>;
TYPED_TEST_SUITE(ShortMemoryOf, BothCallFaces);

TYPED_TEST(ShortMemoryOf, ACopyThatSucceedsIsWhole) {
  auto &from = this->call(), &to = this->call();
  from.addParamText("argument");
  from.setUserPreference("name", "value");
  from.setPassportId("passport");
  withEverMoreMemory([&] { return to.copy(from, 1); },
                     [&](int copied, bool wasShort) {
                       EXPECT_EQ(copied == 1, !wasShort);
                       if (copied == 0) return;
                       EXPECT_STREQ(to.getParamText(0), "argument");
                       EXPECT_STREQ(to.getUserPreference("name"), "value");
                       EXPECT_STREQ(to.getPassportId(), "passport");
                     });
}

TYPED_TEST(ShortMemoryOf, ACallFails) {
  auto &in = this->call("i", "m", 0, "", "", static_cast<const ITKRTT*>(nullptr), 0L), &out = this->call();
  in.setGatewayURL("no URL");
  in.setSoapAction("action");
  in.addParamText("argument");
  withEverMoreMemory(
      [&] { return TypeParam::invoke(&in, &out, nullptr); },
      [](long result, bool wasShort) { EXPECT_TRUE(result == E_HTTP || (wasShort && result == E_PROXY)); });
}

}  // namespace
}  // namespace qz::test
