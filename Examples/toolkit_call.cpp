// Shows one call through the toolkit's classes, and what to do about each kind of failure. A list travels as one
// argument. With a second word, everything that goes over the wire is appended to that file.
//
//   toolkit_call http://127.0.0.1:8080/gateway [DUMP_FILE]
#include <R7ITK.h>

#include <cstdio>

namespace {

int explain(const ITKSOAP& reply) {
  const long code = reply.getErrorCode();
  const char* text = reply.getErrorText();
  std::fprintf(stderr, "code %ld, detail %ld: %s\n", code, reply.getErrorSubCode(), text == nullptr ? "" : text);
  const char* advice = code > 0          ? "an error of the server's own; its manual knows it"
                       : code == E_FAULT ? "the gateway refused the call; the text says why"
                       : code == E_LOGON ? "log on, then make the call again"
                       : code == E_PROXY ? "check host, port and certificate; the log tells the system's error"
                       : code == E_HTTP  ? "check the URL; the detail is the HTTP status"
                                         : "ask for more time, or for less";
  std::fprintf(stderr, "what to do: %s\n", advice);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) return std::fputs("usage: toolkit_call URL [DUMP_FILE]\n", stderr), 2;

  ITKBufferList colours;
  if (colours.add("red") < 0 || colours.add("green") < 0) return 1;

  ITKSOAP request, reply;
  request.setGatewayURL(argv[1]);
  request.setSoapAction("urn:demo");
  request.setInterfaceName("Demo");
  request.setMethodName("echo");
  if (request.addParamText("Hello, gateway") < 0 || request.addParam(colours) < 0) return 1;

  if (ITKrpcSOAPInvoke(&request, &reply, argc == 3 ? argv[2] : nullptr) != E_OK) return explain(reply);

  const char* text = reply.getParamText(0);
  const ITKBuffer* list = reply.getParamAt(1);
  ITKBufferList back;
  if (text == nullptr || list == nullptr || back.serializeFrom(*list) == 0 || back.getCount() != colours.getCount())
    return std::fputs("the reply does not hold what was sent\n", stderr), 1;
  std::printf("'%s' came back, and a list of %ld: %s, %s\n", text, back.getCount(), back.getAt(0)->c_str(),
              back.getAt(1)->c_str());
}
