#include "ITKSOAPAPI.h"

#include "ITKPromptInfo.h"
#include "ITKSOAP.h"
#include "ITKSOAPError.h"
#include "ITKSecureDbConnInfo.h"
#include "ITKhttpClientHelper.h"
#include "QzTypes.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/RelayTraits.h"
#include "R7ITK/R7ITKShared/ToolkitJournal.h"
#include "References/Libraries/Rpc/ContentManager.h"
#include "References/Libraries/Rpc/Invoke.h"

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKSOAPAPI";

}  // namespace

long ITKrpcSOAPInvoke(const ITKSOAP* in, ITKSOAP* out, const char* dumpFile) {
  return itk::guarded(kSource, static_cast<long>(E_PROXY), [&] {
    itk::ToolkitJournal journal(kSource);
    return qz::rpc::invokeOnce<ITKhttpClientHelper>(journal, in, out, dumpFile);
  });
}

long ITKrpcSOAPInvokeCM(const ITKBuffer* request, ITKBuffer* response, const char* url, const char* soapAction,
                        const char* dumpFile, ITKSOAPError* error, const ITKRTT& token) {
  return itk::guarded(kSource, static_cast<long>(E_PROXY), [&] {
    return qz::rpc::invokeCMOnce<ITKhttpClientHelper, ITKSOAPError>(request, response, url, soapAction, dumpFile, error,
                                                                    token);
  });
}

long ITKrpcSOAPLoadTestInvoke(const ITKSOAP* in, ITKBuffer* headers, ITKBuffer* body, const char* dumpFile) {
  return itk::guarded(kSource, static_cast<long>(E_PROXY),
                      [&] { return qz::rpc::loadTestOnce<ITKhttpClientHelper>(in, headers, body, dumpFile); });
}

long ITKrpcSOAPSendGenericHTTP(const char* url, const char* verb, const char* headers, const ITKBuffer* body,
                               ITKBuffer* response, ITKBuffer* responseHeaders, const char* dumpFile, ITKRTT* token,
                               ITKSOAPError* error) {
  return itk::guarded(kSource, static_cast<long>(E_PROXY), [&] {
    ITKSOAPError unwanted;
    return ITKhttpClientHelper(dumpFile, ITKRTT(token), 0)
        .SendGenericHTTP(url, verb, headers, body, response, responseHeaders, token,
                         error == nullptr ? unwanted : *error);
  });
}

long ITKrpcSOAPSendCDKRequest(const char* url, const char* soapAction, const char* extraHeader, const ITKBuffer* body,
                              ITKBuffer* response, ITKRTT* token, ITKSOAPError* error) {
  return itk::guarded(kSource, static_cast<long>(E_PROXY), [&] {
    ITKSOAPError unwanted;
    return ITKhttpClientHelper(nullptr, ITKRTT(token), 0)
        .SendCDKRequest(url, soapAction, extraHeader, body, response, token, error == nullptr ? unwanted : *error);
  });
}

bool ITKrpcSOAPGetNamespaces(const char* gatewayURL, const char* dumpFile, ITKBufferList& names,
                             ITKBufferList& displayNames, ITKRTT& token) {
  return ITKPromptInfo(gatewayURL, nullptr, dumpFile).getNamespaces(names, displayNames, token);
}

bool ITKrpcSOAPSilentLogon(const char* gatewayURL, const char* user, const char* password, const char* ns,
                           const char* nsDisplayName, const char* dumpFile, const char* componentId, ITKRTT& token) {
  return ITKPromptInfo(gatewayURL, componentId, dumpFile).logon(user, password, ns, nsDisplayName, token);
}

bool ITKrpcSOAPSilentLogonAs(const char* gatewayURL, const char* user, const char* password, const char* ns,
                             const char* nsDisplayName, const char* dumpFile, const char* componentId, ITKRTT& token) {
  return ITKPromptInfo(gatewayURL, componentId, dumpFile).logonAs(user, password, ns, nsDisplayName, token);
}

bool ITKrpcSOAPSilentLogoff(const char* gatewayURL, const char* dumpFile, const ITKRTT& token) {
  return ITKPromptInfo(gatewayURL, nullptr, dumpFile).logoff(token);
}

bool ITKrpcSOAPGetPryContextAndCredentialFromPassportID(const char* gatewayURL, const char* componentId,
                                                        const char* dumpFile, ITKRTT& token) {
  return ITKPromptInfo(gatewayURL, componentId, dumpFile).getPRYContextAndCredentialFromPassportID(token);
}

bool ITKrpcSOAPGetDbConnectionList(ITKBufferList& records, const ITKRTT& token, const char* dumpFile) {
  return ITKSecureDbConnInfo(token, dumpFile).getDbConnectionList(records);
}

bool ITKrpcSOAPGetDbConnection(const char* name, ITKBuffer& connection, ITKBuffer& user, ITKBuffer& password,
                               const ITKRTT& token, const char* dumpFile) {
  return ITKSecureDbConnInfo(token, dumpFile).getDbConnection(name, connection, user, password);
}

long ITKrpcSOAPGetRelayFaultError(const char* text) {
  return itk::guarded(kSource, static_cast<long>(E_FAULT),
                      [&] { return itk::ToolkitDom::replyCode(qz::viewOf(text)); });
}
