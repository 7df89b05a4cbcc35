// Adds two numbers at the gateway named on the command line, through the flat functions.
#include <qzSOAP.h>

#include <cstdio>
#include <cstring>

int main(int count, char** words) {
  if (count != 2) return std::puts("usage: flat URL"), 2;
  CRpcSOAP00 request("Demo", "add", 0, "", "", nullptr, 0), reply("", "", 0, "", "", nullptr, 0);
  request->setGatewayURL(words[1]);
  request->setSoapAction("urn:demo");
  for (const long number : {40L, 2L}) request->addParam(CRpcSOAP::DT_LONG, &number, sizeof number);
  if (rpcSOAPInvoke(request, reply, nullptr) != E_OK) return std::puts(reply->getErrorText()), 1;
  long sum = 0;
  std::memcpy(&sum, reply->getParamAt(0)->getBuffer(), sizeof sum);
  std::printf("%ld\n", sum);
}
