// The functions that hosts find by their names.
#include <gtest/gtest.h>

#include "Tests/Startup/ExportedFunctions.h"
#include "Tests/Support/InstallTree.h"
#include "qzSOAP.h"

namespace {

#define FUNCTION(name) \
  { #name, reinterpret_cast < const void*>(&name) }

TEST(Export, HoldsTheDeclaredFunctionsAndNothingElse) {
  const std::map<std::string, const void*> declared = {
      FUNCTION(rpcSOAP_GetES),
      FUNCTION(rpcSOAPInitialize),
      FUNCTION(rpcSOAPTerminate),
      FUNCTION(rpcSOAP_Create),
      FUNCTION(rpcSOAP_Release),
      FUNCTION(rpcSOAP_CreateBuffer),
      FUNCTION(rpcSOAP_ReleaseBuffer),
      FUNCTION(rpcSOAP_CreateBufferList),
      FUNCTION(rpcSOAP_ReleaseBufferList),
      FUNCTION(rpcSOAP_CreateError),
      FUNCTION(rpcSOAP_ReleaseError),
      FUNCTION(rpcSOAP_CreateRelayMessage),
      FUNCTION(rpcSOAP_ReleaseRelayMessage),
      FUNCTION(createXmlDomFromText),
      FUNCTION(createXmlDomFromFile),
      FUNCTION(releaseXmlDom),
      FUNCTION(rpcSOAPInvoke),
      FUNCTION(rpcSOAPInvokeCM),
      FUNCTION(rpcSOAPLoadTestInvoke),
      FUNCTION(rpcSOAPSendGenericHTTP),
      FUNCTION(rpcSOAPSendCDKRequest),
      FUNCTION(rpcSOAPGetNamespaces),
      FUNCTION(rpcSOAPSilentLogon),
      FUNCTION(rpcSOAPSilentLogonAs),
      FUNCTION(rpcSOAPSilentLogoff),
      FUNCTION(rpcSOAPGetPryContextAndCredentialFromPassportID),
      FUNCTION(rpcSOAPGetDbConnectionList),
      FUNCTION(rpcSOAPGetDbConnection),
      FUNCTION(rpcSOAPCompress),
      FUNCTION(rpcSOAPDecompress),
      FUNCTION(rpcSOAPGetRelayFaultError),
      FUNCTION(rpcSOAPSetCMInfo),
      FUNCTION(rpcSOAPGetCMInfo),
      FUNCTION(rpcSOAP_getIsService),
      FUNCTION(rpcSOAP_setIsService),
      FUNCTION(rpcSOAPGetHTTPTimeOutValue),
      FUNCTION(rpcSOAPSetHTTPTimeOutValue),
      FUNCTION(rpcSOAPSetUserCredential),
  };
  EXPECT_EQ(qz::test::exportedFunctions(GetModuleHandleA("qzSOAP.dll")), declared);
}

TEST(Export, AHostNeedsTheHeaderAndTheLibraryOnly) {
  const qz::test::InstallTree tree;
  tree.install("zlib1.dll");
  EXPECT_EQ(tree.run({tree.path("bin\\qzSOAP.dll")}, "LooseHost.exe"),
            "initialize=1\n"
            "arguments=2 first=hello back=2 second=40\n"
            "nested=1 element=hello\n"
            "method=add in envelope=1\n"
            "compressed=1 type=8 decompressed=1 text=hello\n"
            "error=12 text=code 12: no\n"
            "invoked=-3 code=-3 has text=1\n"
            "terminate=0 unloaded=1\n");
}

TEST(Export, TheDefaultEndpointIsKeptForTheProcess) {
  const CqzBuffer00 url, action;
  const auto kept = [&] { return std::string(url->getStrBuffer()) + " " + action->getStrBuffer(); };
  EXPECT_EQ(rpcSOAPSetCMInfo("http://a.test/", "urn:a"), 1);
  EXPECT_EQ(rpcSOAPGetCMInfo(url, action), 1);
  EXPECT_EQ(kept(), "http://a.test/ urn:a");
  EXPECT_EQ(rpcSOAPSetCMInfo(nullptr, "urn:b"), 1);
  EXPECT_EQ(rpcSOAPGetCMInfo(nullptr, action), 1);
  EXPECT_EQ(kept(), "http://a.test/ urn:b");
  EXPECT_EQ(rpcSOAPGetCMInfo(url, nullptr), 1);
  EXPECT_EQ(kept(), " urn:b");
  EXPECT_EQ(url->getType(), ITKBufferType::DT_TEXT);
}

}  // namespace
