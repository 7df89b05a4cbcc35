// A host that is linked without the library: it knows qzSOAP.h, and the file named on its command line. What it prints
// is for the test to compare; a function that is missing ends it by an exception.
#include <windows.h>

#include <cstdio>
#include <stdexcept>

#include "qzSOAP.h"

namespace {

HMODULE library;

template <class Function>
Function* find(const char* name) {
  const auto address = reinterpret_cast<void*>(GetProcAddress(library, name));
  if (address == nullptr) throw std::runtime_error(name);
  return reinterpret_cast<Function*>(address);
}

#define CALL(name, ...) find<decltype(name)>(#name)(__VA_ARGS__)

CqzBuffer* makeBuffer() { return CALL(rpcSOAP_CreateBuffer, 0, CRpcSOAP::DT_BINARY); }

void pack(const CRpcSOAP& call) {
  auto* const message = CALL(rpcSOAP_CreateRelayMessage);
  auto *const envelope = makeBuffer(), *const arguments = makeBuffer(), *const restored = makeBuffer();
  auto* const list = CALL(rpcSOAP_CreateBufferList);
  message->packOutProxy(&call, envelope, arguments);
  auto* const document = CALL(createXmlDomFromText, envelope->getStrBuffer(), nullptr);
  const int decompressed = CALL(rpcSOAPDecompress, arguments, restored);
  list->serializeFrom(*restored);
  std::printf("document=%d decompressed=%d elements=%ld first=%s\n", document->getXmlDom() != nullptr, decompressed,
              list->getCount(), list->getAt(0)->getStrBuffer());
  CALL(releaseXmlDom, document);
  CALL(rpcSOAP_ReleaseBufferList, list);
  for (auto* const buffer : {envelope, arguments, restored}) CALL(rpcSOAP_ReleaseBuffer, buffer);
  CALL(rpcSOAP_ReleaseRelayMessage, message);
}

}  // namespace

int main(int /*count*/, char** values) {
  library = LoadLibraryA(values[1]);
  std::printf("initialize=%d\n", CALL(rpcSOAPInitialize));
  auto* const call = CALL(rpcSOAP_Create, "Demo", "add", 0, "", "", nullptr, 0);
  call->addParamText("hello");
  pack(*call);
  auto* const error = CALL(rpcSOAP_CreateError);
  const long code = error->setErrorV(12, "code %d: %s", 12, "no");
  std::printf("error=%ld text=%s\n", code, error->getErrorText());
  CALL(rpcSOAP_ReleaseError, error);
  call->setGatewayURL("http://127.0.0.1:1/nobody-listens");
  const long invoked = CALL(rpcSOAPInvoke, call, call, nullptr);
  std::printf("invoked=%ld code=%ld\n", invoked, call->getErrorCode());
  CALL(rpcSOAP_Release, call);
  const long terminated = CALL(rpcSOAPTerminate);
  std::printf("terminate=%ld unloaded=%d\n", terminated, FreeLibrary(library));
}
