#include "References/Libraries/Rpc/ContentManager.h"
#include "References/Libraries/Rpc/Invoke.h"
#include "References/Libraries/Rpc/TimeConsumed.h"
#include "RuntimeEngine/qzSOAP/BufferListImpl.h"
#include "RuntimeEngine/qzSOAP/FlatJournal.h"
#include "RuntimeEngine/qzSOAP/Frame.h"
#include "RuntimeEngine/qzSOAP/PromptInfoA.h"
#include "RuntimeEngine/qzSOAP/SOAPErrorImpl.h"
#include "RuntimeEngine/qzSOAP/SecureDbConnInfo.h"
#include "RuntimeEngine/qzSOAP/ZCompression.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPApp.h"
#include "qzSOAP.h"

namespace {

constexpr const char* kSource = "RuntimeEngine/qzSOAP/rpcSOAPAPI2";

using qz::flat::framed;
using qz::flat::refuse;

/// The frame of a function that hands two buffers to the compression object.
template <class Work>
long framedCompression(const char* function, const CqzBuffer* source, CqzBuffer* target, Work&& work,
                       std::source_location at = std::source_location::current()) noexcept {
  const auto body = [&] {
    if (source == nullptr || target == nullptr) return refuse(kSource, function, qz::flat::kNullArgument, 0L, at);
    const CZCompression* compression = getDllApp().getCompression();
    if (compression == nullptr) return refuse(kSource, function, "rpcSOAPInitialize was not called", 0L, at);
    return work(*compression);
  };
  return framed(kSource, function, 0L, body, at);
}

/// The frame of a function that works for a token and cannot do without `objects`.
template <class Work>
bool framedForToken(const char* function, std::initializer_list<const void*> objects, Work&& work,
                    std::source_location at = std::source_location::current()) noexcept {
  const qz::flat::Frame frame(kSource, function, at);
  return qz::flat::checked(kSource, function, false, objects, std::forward<Work>(work), at);
}

}  // namespace

extern "C" {

bool __cdecl rpcSOAPInitialize() {
  return framed(kSource, "rpcSOAPInitialize", false, [] {
    getZCompression();
    return true;
  });
}

long __cdecl rpcSOAPTerminate() {
  return framed(kSource, "rpcSOAPTerminate", 0L, [] {
    getDllApp().deleteCompression();
    return 0L;
  });
}

long __cdecl rpcSOAPCompress(const CqzBuffer* source, CqzBuffer* target, int level) {
  return framedCompression("rpcSOAPCompress", source, target, [&](const CZCompression& compression) {
    return compression.compress(*source, *target, level, 0);
  });
}

long __cdecl rpcSOAPDecompress(const CqzBuffer* source, CqzBuffer* target) {
  return framedCompression("rpcSOAPDecompress", source, target,
                           [&](const CZCompression& compression) { return compression.decompress(*source, *target); });
}

long __cdecl rpcSOAPInvoke(const CRpcSOAP* in, CRpcSOAP* out, const char* dumpFile) {
  return framed(kSource, "rpcSOAPInvoke", long{E_PROXY}, [&] {
    qz::flat::FlatJournal journal(kSource);
    const qz::rpc::TimeConsumed timer(journal, "qzcSoap:rpcSOAPInvoke");
    return qz::rpc::invokeOnce<CRpcHttpClient>(journal, in, out, dumpFile);
  });
}

long __cdecl rpcSOAPInvokeCM(const CqzBuffer* request, CqzBuffer* response, const char* url, const char* soapAction,
                             const char* dumpFile, CqzSOAPError* error, const ITKRTT& token) {
  return framed(kSource, "rpcSOAPInvokeCM", long{E_PROXY}, [&] {
    return qz::rpc::invokeCMOnce<CRpcHttpClient, CqzSOAPErrorImpl>(request, response, url, soapAction, dumpFile, error,
                                                                   token);
  });
}

long __cdecl rpcSOAPLoadTestInvoke(const CRpcSOAP* in, CqzBuffer* headers, CqzBuffer* body) {
  return framed(kSource, "rpcSOAPLoadTestInvoke", long{E_PROXY},
                [&] { return qz::rpc::loadTestOnce<CRpcHttpClient>(in, headers, body, nullptr); });
}

long __cdecl rpcSOAPSendGenericHTTP(const char* url, const char* verb, const char* headers, const CqzBuffer* body,
                                    CqzBuffer* response, CqzBuffer* responseHeaders, const char* dumpFile,
                                    ITKRTT* token, CqzSOAPError* error) {
  return framed(kSource, "rpcSOAPSendGenericHTTP", long{E_PROXY}, [&] {
    CqzSOAPErrorImpl unwanted;
    return CRpcHttpClient(dumpFile, ITKRTT(token), 0)
        .SendGenericHTTP(url, verb, headers, body, response, responseHeaders, token,
                         error == nullptr ? unwanted : *error);
  });
}

long __cdecl rpcSOAPSendCDKRequest(const char* url, const char* soapAction, const char* extraHeader,
                                   const CqzBuffer* body, CqzBuffer* response, ITKRTT* token, CqzSOAPError* error) {
  return framed(kSource, "rpcSOAPSendCDKRequest", long{E_PROXY}, [&] {
    CqzSOAPErrorImpl unwanted;
    return CRpcHttpClient(nullptr, ITKRTT(token), 0)
        .SendCDKRequest(url, soapAction, extraHeader, body, response, token, error == nullptr ? unwanted : *error);
  });
}

bool __cdecl rpcSOAPGetNamespaces(const char* url, const char* dumpFile, CqzBufferList* names,
                                  CqzBufferList* displayNames, CqzBufferList* cookies, ITKRTT* token) {
  return framedForToken("rpcSOAPGetNamespaces", {names, displayNames, cookies, token}, [&] {
    return CMPromptInfoA(url, dumpFile).getNamespaces(*names, *displayNames, *cookies, *token);
  });
}

bool __cdecl rpcSOAPSilentLogon(const char* url, const char* user, const char* password, const char* ns,
                                const char* nsDisplayName, const char* dumpFile, const CqzBufferList* /*cookies*/,
                                ITKRTT* token) {
  return framedForToken("rpcSOAPSilentLogon", {token}, [&] {
    return CMPromptInfoA(url, dumpFile).logon(user, password, ns, nsDisplayName, CqzBufferListImpl(), *token);
  });
}

bool __cdecl rpcSOAPSilentLogonAs(const char* url, const char* user, const char* password, const char* ns,
                                  const char* nsDisplayName, const char* dumpFile, ITKRTT* token) {
  return framedForToken("rpcSOAPSilentLogonAs", {token}, [&] {
    return CMPromptInfoA(url, dumpFile).logonAs(user, password, ns, nsDisplayName, *token);
  });
}

bool __cdecl rpcSOAPSilentLogoff(const char* url, const char* dumpFile, const ITKRTT* token) {
  return framedForToken("rpcSOAPSilentLogoff", {token}, [&] { return CMPromptInfoA(url, dumpFile).logoff(*token); });
}

bool __cdecl rpcSOAPGetPryContextAndCredentialFromPassportID(const char* url, const char* dumpFile, ITKRTT* token) {
  return framedForToken("rpcSOAPGetPryContextAndCredentialFromPassportID", {token},
                        [&] { return CMPromptInfoA(url, dumpFile).getPRYContextAndCredentialFromPassportID(*token); });
}

bool __cdecl rpcSOAPGetDbConnectionList(CqzBufferList* list, const ITKRTT* token, const char* dumpFile) {
  return framedForToken("rpcSOAPGetDbConnectionList", {list, token},
                        [&] { return CSecureDbConnInfo(*token, dumpFile).getDbConnectionList(*list); });
}

bool __cdecl rpcSOAPGetDbConnection(const char* name, CqzBuffer* connection, CqzBuffer* user, CqzBuffer* password,
                                    const ITKRTT* token, const char* dumpFile) {
  return framedForToken("rpcSOAPGetDbConnection", {name, connection, user, password, token}, [&] {
    return CSecureDbConnInfo(*token, dumpFile).getDbConnection(name, *connection, *user, *password);
  });
}

}  // extern "C"
