// Whole calls through the real DLL against prepared answers.
#include <gtest/gtest.h>

#include "R7ITK.h"
#include "Tests/Support/Envelopes.h"
#include "Tests/Support/ScriptedServer.h"

namespace qz::test {
namespace {

TEST(Skeleton, Call) {
  ScriptedServer server(httpReply("200 OK", "text/xml", replyEnvelope(field("className", "C"))));
  ITKSOAP in("Iface", "Method", 1, "", "", nullptr, 0), out;
  in.setGatewayURL(server.url().c_str());
  in.setSoapAction("action");
  in.addParamText("hello");
  const long code = ITKrpcSOAPInvoke(&in, &out, nullptr);
  EXPECT_EQ(code, 0) << out.getErrorText();
  for (auto& r : server.requests()) puts(masked(r, server.port()).c_str());
}

}  // namespace
}  // namespace qz::test
