// The faces as suites of calls see them: their invoke functions, clients and codecs.
#pragma once

#include <memory>
#include <string>

#include "R7ITK.h"
#include "Tests/Support/Faces.h"
#include "qzSOAP.h"

namespace qz::test {

/// The toolkit's calls.
struct ToolkitCalls : ToolkitFace {
  using Client = ITKhttpClientHelper;

  static long invoke(const ITKSOAP* in, ITKSOAP* out, const char* dumpFile) {
    return ITKrpcSOAPInvoke(in, out, dumpFile);
  }
  static long invokeCM(const ITKBuffer* request, ITKBuffer* response, const char* url, const char* soapAction,
                       ITKSOAPError* error, const ITKRTT& token) {
    return ITKrpcSOAPInvokeCM(request, response, url, soapAction, nullptr, error, token);
  }
  static long loadTest(const ITKSOAP* in, ITKBuffer* headers, ITKBuffer* body) {
    return ITKrpcSOAPLoadTestInvoke(in, headers, body, nullptr);
  }
  static constexpr auto sendGeneric = ITKrpcSOAPSendGenericHTTP;
  static constexpr auto sendCdk = ITKrpcSOAPSendCDKRequest;
  static long kindOfFault(const char* text) { return ITKrpcSOAPGetRelayFaultError(text); }
  /// The portal's operations, for the component "pc"; those that name no component in this face send none.
  static constexpr const char* componentOfNamespaces = "";
  static constexpr bool givesCookieLines = false;
  static bool getNamespaces(const char* url, const char* dumpFile, ITKBufferList& names, ITKBufferList& displayNames,
                            ITKBufferList& /*cookies*/, ITKRTT& token) {
    return ITKrpcSOAPGetNamespaces(url, dumpFile, names, displayNames, token);
  }
  static bool logon(const char* url, const char* user, const char* password, ITKRTT& token) {
    return ITKrpcSOAPSilentLogon(url, user, password, "LDAP", "Direct ory", nullptr, "pc", token);
  }
  static bool logonAs(const char* url, const char* user, const char* password, ITKRTT& token) {
    return ITKrpcSOAPSilentLogonAs(url, user, password, "LDAP", nullptr, nullptr, "pc", token);
  }
  static bool logoff(const char* url, const ITKRTT& token) { return ITKrpcSOAPSilentLogoff(url, nullptr, token); }
  static bool getContext(const char* url, ITKRTT& token) {
    return ITKrpcSOAPGetPryContextAndCredentialFromPassportID(url, "pc", nullptr, token);
  }

  /// What the client returns texts in.
  static auto makeText() { return std::make_unique<ITKString>(); }
  static std::string textIn(const ITKString& text) { return text.c_str(); }
};

/// The flat face's calls.
struct FlatCalls : FlatFace {
  using Client = CRpcHttpClient;

  static long invoke(const CRpcSOAP* in, CRpcSOAP* out, const char* dumpFile) {
    return rpcSOAPInvoke(in, out, dumpFile);
  }
  static long invokeCM(const CqzBuffer* request, CqzBuffer* response, const char* url, const char* soapAction,
                       CqzSOAPError* error, const ITKRTT& token) {
    return rpcSOAPInvokeCM(request, response, url, soapAction, nullptr, error, token);
  }
  static long loadTest(const CRpcSOAP* in, CqzBuffer* headers, CqzBuffer* body) {
    return rpcSOAPLoadTestInvoke(in, headers, body);
  }
  static constexpr auto sendGeneric = rpcSOAPSendGenericHTTP;
  static constexpr auto sendCdk = rpcSOAPSendCDKRequest;
  static long kindOfFault(const char* text) { return rpcSOAPGetRelayFaultError(text); }
  static constexpr const char* componentOfNamespaces = "pc";
  static constexpr bool givesCookieLines = true;
  static bool getNamespaces(const char* url, const char* dumpFile, CqzBufferList& names, CqzBufferList& displayNames,
                            CqzBufferList& cookies, ITKRTT& token) {
    return rpcSOAPGetNamespaces(url, dumpFile, &names, &displayNames, &cookies, &token);
  }
  static bool logon(const char* url, const char* user, const char* password, ITKRTT& token) {
    return rpcSOAPSilentLogon(url, user, password, "LDAP", "Direct ory", nullptr, nullptr, &token);
  }
  static bool logonAs(const char* url, const char* user, const char* password, ITKRTT& token) {
    return rpcSOAPSilentLogonAs(url, user, password, "LDAP", nullptr, nullptr, &token);
  }
  static bool logoff(const char* url, const ITKRTT& token) { return rpcSOAPSilentLogoff(url, nullptr, &token); }
  static bool getContext(const char* url, ITKRTT& token) {
    return rpcSOAPGetPryContextAndCredentialFromPassportID(url, nullptr, &token);
  }
  static auto makeText() { return makeBuffer(); }
  static std::string textIn(const CqzBuffer& text) { return text.getStrBuffer(); }
};

/// Both faces, for TYPED_TEST_SUITE.
using BothCallFaces = testing::Types<ToolkitCalls, FlatCalls>;

}  // namespace qz::test
