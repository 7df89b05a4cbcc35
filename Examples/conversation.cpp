// Shows a conversation: a call that takes long is asked for until it is done, with progress, and within a time limit.
//
//   conversation http://127.0.0.1:8080/gateway SECONDS LIMIT
#include <R7ITK.h>

#include <cstdio>
#include <cstdlib>

namespace {

// Runs on the thread of the call, after each reply that does not end the conversation. It must not throw.
void __cdecl tellProgress(void* context, long attempts, double waited, long limit) {
  ++*static_cast<int*>(context);
  std::printf("  reply %ld: not done after %.0f of %ld seconds\n", attempts, waited, limit);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return std::fputs("usage: conversation URL SECONDS LIMIT\n", stderr), 2;
  const long seconds = std::atol(argv[2]);

  ITKSOAP request, reply;
  request.setGatewayURL(argv[1]);
  request.setSoapAction("urn:demo");
  request.setInterfaceName("Demo");
  request.setMethodName("wait");
  if (request.addParam(ITKBufferType::DT_LONG, &seconds, sizeof seconds) < 0) return 1;

  // These two make the call a conversation. The limit is the client's own; a limit of 0 has passed at once.
  request.setAsyncMode(1);
  request.setTimeoutLimit(std::atol(argv[3]));

  // Progress needs a client object; ITKrpcSOAPInvoke() holds the same conversation in silence.
  int notes = 0;
  ITKhttpClientHelper client(nullptr, request.getRTT(), 0);
  client.setProgressHandler(tellProgress, &notes);
  const long result = client.invoke(&request, &reply);

  // When the limit has passed, the library asks the server once to cancel. What the server answers is the outcome: its
  // own error when it did, E_TIMEOUT when it goes on all the same.
  if (result == E_TIMEOUT) return std::puts("the server goes on, but nobody waits for it any more"), 1;
  if (result != E_OK) {
    const char* text = reply.getErrorText();
    return std::printf("ended with code %ld: %s\n", result, text == nullptr ? "" : text), 1;
  }
  std::printf("done; the server asked for patience %s\n", notes > 0 ? "meanwhile" : "not once");
}
