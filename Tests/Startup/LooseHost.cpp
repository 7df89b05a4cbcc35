// A host that is linked without the library: it knows qzSOAP.h, and the file named on its command line. What it prints
// is for the test to compare; a function that is missing ends it by an exception.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
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

CRpcSOAP* makeCall() { return CALL(rpcSOAP_Create, "Demo", "add", 0, "", "", nullptr, 0); }

void carryArguments(CRpcSOAP& call) {
  auto* const stream = CALL(rpcSOAP_CreateBuffer, 0, CRpcSOAP::DT_BINARY);
  const std::int32_t number = 40;
  call.addParamText("hello");
  call.addParam(CRpcSOAP::DT_LONG, &number, sizeof number);
  call.parkParams(*stream);
  auto* const other = makeCall();
  other->unparkParams(*stream);
  std::int32_t second = 0;
  std::memcpy(&second, other->getParamAt(1)->getBuffer(), sizeof second);
  std::printf("arguments=%ld first=%s back=%ld second=%ld\n", call.getNumParams(), other->getParamText(0),
              other->getNumParams(), static_cast<long>(second));
  CALL(rpcSOAP_Release, other);
  CALL(rpcSOAP_ReleaseBuffer, stream);
}

void nestLists(const CRpcSOAP& call) {
  auto* const outer = CALL(rpcSOAP_CreateBufferList);
  auto* const inner = CALL(rpcSOAP_CreateBufferList);
  outer->add(call.getListParams());
  inner->serializeFrom(*outer->getAt(0));
  std::printf("nested=%ld element=%s\n", outer->getCount(), inner->getAt(0)->getStrBuffer());
  CALL(rpcSOAP_ReleaseBufferList, inner);
  CALL(rpcSOAP_ReleaseBufferList, outer);
}

void pack(const CRpcSOAP& call) {
  auto* const message = CALL(rpcSOAP_CreateRelayMessage);
  auto* const envelope = CALL(rpcSOAP_CreateBuffer, 0, CRpcSOAP::DT_TEXT);
  auto* const arguments = CALL(rpcSOAP_CreateBuffer, 0, CRpcSOAP::DT_BINARY);
  message->packOutProxy(&call, envelope, arguments);
  auto* const document = CALL(createXmlDomFromText, envelope->getStrBuffer(), nullptr);
  auto* const read = makeCall();
  message->ExtractDataMembers(envelope->getStrBuffer(), read);
  std::printf("method=%s in envelope=%d\n", read->getMethodName(),
              document != nullptr && document->getXmlDom() != nullptr);
  CALL(rpcSOAP_Release, read);
  CALL(releaseXmlDom, document);
  CALL(rpcSOAP_ReleaseBuffer, arguments);
  CALL(rpcSOAP_ReleaseBuffer, envelope);
  CALL(rpcSOAP_ReleaseRelayMessage, message);
}

void compress(CqzBuffer& text) {
  auto* const packed = CALL(rpcSOAP_CreateBuffer, 0, CRpcSOAP::DT_BINARY);
  auto* const unpacked = CALL(rpcSOAP_CreateBuffer, 0, CRpcSOAP::DT_TEXT);
  const long compressed = CALL(rpcSOAPCompress, &text, packed, 9);
  const long decompressed = CALL(rpcSOAPDecompress, packed, unpacked);
  std::printf("compressed=%ld type=%d decompressed=%ld text=%s\n", compressed, packed->getType(), decompressed,
              unpacked->getStrBuffer());
  CALL(rpcSOAP_ReleaseBuffer, unpacked);
  CALL(rpcSOAP_ReleaseBuffer, packed);
}

void describeAnError() {
  auto* const error = CALL(rpcSOAP_CreateError);
  const long code = error->setErrorV(12, "code %d: %s", 12, "no");
  std::printf("error=%ld text=%s\n", code, error->getErrorText());
  CALL(rpcSOAP_ReleaseError, error);
}

// Nobody listens on port 1.
void invoke(CRpcSOAP& call) {
  auto* const reply = makeCall();
  call.setGatewayURL("http://127.0.0.1:1/gateway");
  call.setSoapAction("urn:demo");
  const long result = CALL(rpcSOAPInvoke, &call, reply, nullptr);
  std::printf("invoked=%ld code=%ld has text=%d\n", result, reply->getErrorCode(),
              reply->getErrorText() != nullptr && reply->getErrorText()[0] != '\0');
  CALL(rpcSOAP_Release, reply);
}

}  // namespace

int main(int /*count*/, char** values) {
  library = LoadLibraryA(values[1]);
  std::printf("initialize=%d\n", CALL(rpcSOAPInitialize));
  auto* const call = makeCall();
  carryArguments(*call);
  nestLists(*call);
  pack(*call);
  compress(*call->getParamAt(0));
  describeAnError();
  invoke(*call);
  CALL(rpcSOAP_Release, call);
  const long terminated = CALL(rpcSOAPTerminate);
  std::printf("terminate=%ld unloaded=%d\n", terminated, FreeLibrary(library));
}
