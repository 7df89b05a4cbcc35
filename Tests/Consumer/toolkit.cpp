// Adds two numbers at the gateway named on the command line, through the toolkit.
#include <R7ITK.h>

#include <cstdio>
#include <cstring>

int main(int count, char** words) {
  if (count != 2) return std::puts("usage: toolkit URL"), 2;
  ITKSOAP request, reply;
  request.setGatewayURL(words[1]);
  request.setSoapAction("urn:demo");
  request.setInterfaceName("Demo");
  request.setMethodName("add");
  for (const long number : {40L, 2L}) request.addParam(ITKBufferType::DT_LONG, &number, sizeof number);
  if (ITKrpcSOAPInvoke(&request, &reply, nullptr) != E_OK) return std::puts(reply.getErrorText()), 1;
  long sum = 0;
  std::memcpy(&sum, reply.getParamAt(0)->getBuffer(), sizeof sum);
  std::printf("%ld\n", sum);
}
