// Shows one call through the flat functions: arguments of several types go to the gateway and come back.
//
//   flat_call http://127.0.0.1:8080/gateway
#include <qzSOAP.h>

#include <cstdio>
#include <cstring>

namespace {

int fail(const char* what, const char* why) {
  std::fprintf(stderr, "flat_call: %s: %s\n", what, why == nullptr ? "the log tells more" : why);
  return 1;
}

// A reply comes from outside: take a number only when type and size are those of a number.
bool readLong(const CRpcSOAP& reply, long index, long& value) {
  unsigned char type = 0;
  unsigned char* bytes = nullptr;
  long length = 0;
  if (reply.getParam(index, type, bytes, length) == 0) return false;
  if (type != CRpcSOAP::DT_LONG || length != sizeof value) return false;
  std::memcpy(&value, bytes, sizeof value);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return fail("usage", "flat_call URL");

  // The holders give the objects back at the end. They are empty when memory was short.
  const CRpcSOAP00 request("Demo", "echo", 0, "", "", nullptr, 0), reply("", "", 0, "", "", nullptr, 0);
  if (request.get() == nullptr || reply.get() == nullptr) return fail("no call object", nullptr);
  request->setGatewayURL(argv[1]);
  request->setSoapAction("urn:demo");

  const long answer = 42;
  const double tenth = 0.1;
  if (request->addParamText("Hello, gateway") < 0 || request->addParam(CRpcSOAP::DT_LONG, &answer, sizeof answer) < 0 ||
      request->addParam(CRpcSOAP::DT_DOUBLE, &tenth, sizeof tenth) < 0)
    return fail("the arguments", nullptr);

  // Positive results are the server's own errors, negative ones a qzErrorCode of the library.
  const long result = rpcSOAPInvoke(request, reply, nullptr);
  if (result != E_OK) return fail(result > 0 ? "the server" : "the call", reply->getErrorText());

  long number = 0;
  const char* text = reply->getParamText(0);
  if (text == nullptr || !readLong(*reply, 1, number)) return fail("the reply", "not the arguments that were sent");
  std::printf("%ld arguments came back: '%s' and %ld\n", reply->getNumParams(), text, number);
  return 0;
}
