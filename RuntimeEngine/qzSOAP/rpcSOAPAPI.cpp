#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Rpc/HttpExchange.h"
#include "RuntimeEngine/qzSOAP/Frame.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPApp.h"
#include "qzSOAP.h"

namespace {

constexpr const char* kSource = "RuntimeEngine/qzSOAP/rpcSOAPAPI";

using qz::flat::Frame;
using qz::flat::framed;

}  // namespace

extern "C" {

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
