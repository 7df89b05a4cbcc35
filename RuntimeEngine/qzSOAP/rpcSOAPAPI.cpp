#include "References/Common/BufferImpl.h"
#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Rpc/HttpExchange.h"
#include "RuntimeEngine/qzSOAP/BufferListImpl.h"
#include "RuntimeEngine/qzSOAP/Frame.h"
#include "RuntimeEngine/qzSOAP/RelayMessageImpl.h"
#include "RuntimeEngine/qzSOAP/SOAPErrorImpl.h"
#include "RuntimeEngine/qzSOAP/XmlDom.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPApp.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPImpl.h"
#include "qzSOAP.h"

namespace {

constexpr const char* kSource = "RuntimeEngine/qzSOAP/rpcSOAPAPI";

using qz::flat::Frame;
using qz::flat::framed;
using qz::flat::refuse;

// A null buffer is not wanted.
bool put(CqzBuffer* buffer, const char* text) { return buffer == nullptr || buffer->write(text, true) != 0; }

}  // namespace

extern "C" {

CRpcSOAP* __cdecl rpcSOAP_Create(const char* interfaceName, const char* methodName, int keepAlive,
                                 const char* objectHandle, const char* relayHeader, const ITKRTT* token,
                                 long timeoutLimit) {
  return framed<CRpcSOAP*>(kSource, "rpcSOAP_Create", nullptr, [&] {
    return new CRpcSOAPImpl(interfaceName, methodName, keepAlive, objectHandle, relayHeader, token, timeoutLimit);
  });
}

void __cdecl rpcSOAP_Release(CRpcSOAP* call) {
  const Frame frame(kSource, "rpcSOAP_Release");
  delete call;
}

CqzBuffer* __cdecl rpcSOAP_CreateBuffer(long size, unsigned char type) {
  return framed<CqzBuffer*>(kSource, "rpcSOAP_CreateBuffer", nullptr, [&]() -> CqzBuffer* {
    if (size < 0) return refuse<CqzBuffer*>(kSource, "rpcSOAP_CreateBuffer", "the size is negative", nullptr);
    auto buffer = std::make_unique<CqzBufferImpl>(size, type);
    return buffer->getBuffer() == nullptr ? nullptr : buffer.release();
  });
}

void __cdecl rpcSOAP_ReleaseBuffer(CqzBuffer* buffer) {
  const Frame frame(kSource, "rpcSOAP_ReleaseBuffer");
  delete buffer;
}

CqzBufferList* __cdecl rpcSOAP_CreateBufferList() {
  return framed<CqzBufferList*>(kSource, "rpcSOAP_CreateBufferList", nullptr, [] { return new CqzBufferListImpl; });
}

void __cdecl rpcSOAP_ReleaseBufferList(CqzBufferList* list) {
  const Frame frame(kSource, "rpcSOAP_ReleaseBufferList");
  delete list;
}

CqzSOAPError* __cdecl rpcSOAP_CreateError() {
  return framed<CqzSOAPError*>(kSource, "rpcSOAP_CreateError", nullptr, [] { return new CqzSOAPErrorImpl; });
}

void __cdecl rpcSOAP_ReleaseError(CqzSOAPError* error) {
  const Frame frame(kSource, "rpcSOAP_ReleaseError");
  delete error;
}

CqzRelayMessage* __cdecl rpcSOAP_CreateRelayMessage() {
  return framed<CqzRelayMessage*>(kSource, "rpcSOAP_CreateRelayMessage", nullptr,
                                  [] { return new CqzRelayMessageImpl; });
}

void __cdecl rpcSOAP_ReleaseRelayMessage(CqzRelayMessage* message) {
  const Frame frame(kSource, "rpcSOAP_ReleaseRelayMessage");
  delete message;
}

long __cdecl rpcSOAPGetRelayFaultError(const char* text) {
  return framed(kSource, "rpcSOAPGetRelayFaultError", static_cast<long>(E_FAULT),
                [&] { return relayFaultError(text); });
}

int __cdecl rpcSOAPSetCMInfo(const char* url, const char* soapAction) {
  return framed(kSource, "rpcSOAPSetCMInfo", 0, [&] {
    getDllApp().setCMInfo(url, soapAction);
    return 1;
  });
}

int __cdecl rpcSOAPGetCMInfo(CqzBuffer* url, CqzBuffer* soapAction) {
  return framed(kSource, "rpcSOAPGetCMInfo", 0, [&] {
    const bool hasUrl = put(url, getDllApp().getCMUrl());
    return put(soapAction, getDllApp().getCMSoapAction()) && hasUrl ? 1 : 0;
  });
}

CqzES& __cdecl rpcSOAP_GetES() {
  const Frame frame(kSource, "rpcSOAP_GetES");
  return qz::log::flatSettings();
}

int __cdecl rpcSOAP_getIsService() {
  const Frame frame(kSource, "rpcSOAP_getIsService");
  return qz::log::flatSettings().getIsService();
}

void __cdecl rpcSOAP_setIsService(int isService) {
  const Frame frame(kSource, "rpcSOAP_setIsService");
  qz::log::flatSettings().setIsService(isService);
}

long __cdecl rpcSOAPGetHTTPTimeOutValue() {
  const Frame frame(kSource, "rpcSOAPGetHTTPTimeOutValue");
  return static_cast<long>(qz::rpc::kConnectTimeOut);
}

void __cdecl rpcSOAPSetHTTPTimeOutValue(long /*milliseconds*/) {
  const Frame frame(kSource, "rpcSOAPSetHTTPTimeOutValue");
}

void __cdecl rpcSOAPSetUserCredential(const ITKCredential& credential) {
  framed(kSource, "rpcSOAPSetUserCredential", 0, [&] {
    getDllApp().setUserCredential(credential);
    return 0;
  });
}

}  // extern "C"
