// A host of the library for the start-up tests: runs the commands of its command line, one after the other, against the
// DLL beside it. Each command is a name and its arguments; what it prints is for the test to compare. A word that is
// missing or unknown ends it by an exception.
#include <windows.h>

#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <type_traits>

#include "ITKBuffer.h"
#include "ITKCredential.h"
#include "ITKRTT.h"
#include "ITKRelayMessage.h"
#include "ITKSOAP.h"
#include "ITKes.h"
#include "qzSOAP.h"

namespace {

// The words of the command line that no command has taken yet.
std::deque<std::string> words;

std::string next() {
  const auto word = words.at(0);
  words.pop_front();
  return word;
}

void show() {
  std::printf("root=%s\nlog=%s\nlevels=%d %d\nservice=%d %d\n", getITKes().getRenditionFolder(),
              getITKes().getLogFilePath(), getITKes().getTraceLevel(), rpcSOAP_GetES().getTraceLevel(),
              getITKes().getIsService(), rpcSOAP_GetES().getIsService());
}

void say(const char* function) { std::printf("%s -\n", function); }
void say(const char* function, const void* result) {
  std::printf("%s %s\n", function, result != nullptr ? "object" : "null");
}
void say(const char* function, long result) { std::printf("%s %ld\n", function, result); }

// Calls a function, says its name and what it returned, and returns that.
template <class Function, class... Arguments>
auto told(const char* name, Function* function, Arguments... arguments) {
  if constexpr (std::is_void_v<decltype(function(arguments...))>) {
    function(arguments...);
    say(name);
  } else {
    const auto result = function(arguments...);
    say(name, result);
    return result;
  }
}

#define CALL(function, ...) told(#function, function __VA_OPT__(, ) __VA_ARGS__)

void callBufferFunctions() {
  auto* const source = CALL(rpcSOAP_CreateBuffer, 0, ITKBufferType::DT_TEXT);
  auto* const target = CALL(rpcSOAP_CreateBuffer, 10, ITKBufferType::DT_BINARY);
  CALL(rpcSOAP_CreateBuffer, -1, ITKBufferType::DT_BINARY);
  CALL(rpcSOAPCompress, source, target, 1);
  CALL(rpcSOAPDecompress, source, target);
  CALL(rpcSOAPInitialize);
  CALL(rpcSOAPCompress, nullptr, target, 1);
  CALL(rpcSOAPCompress, source, target, 1);
  CALL(rpcSOAPDecompress, target, source);
  CALL(rpcSOAPDecompress, source, target);
  CALL(rpcSOAPTerminate);
  CALL(rpcSOAPSetCMInfo, nullptr, "action");
  CALL(rpcSOAPGetCMInfo, nullptr, target);
  CALL(rpcSOAP_ReleaseBuffer, target);
  CALL(rpcSOAP_ReleaseBuffer, source);
  CALL(rpcSOAP_ReleaseBuffer, nullptr);
}

void callObjectFunctions() {
  auto* const error = CALL(rpcSOAP_CreateError);
  CALL(createXmlDomFromText, "no XML", error);
  CALL(createXmlDomFromFile, "no file");
  CALL(releaseXmlDom, nullptr);
  CALL(rpcSOAP_ReleaseError, error);
  CALL(rpcSOAP_ReleaseBufferList, CALL(rpcSOAP_CreateBufferList));
  CALL(rpcSOAP_ReleaseRelayMessage, CALL(rpcSOAP_CreateRelayMessage));
  auto* const call = CALL(rpcSOAP_Create, nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0);
  CALL(rpcSOAPInvoke, call, nullptr, nullptr);
  CALL(rpcSOAPInvoke, call, call, nullptr);
  CALL(rpcSOAPInvokeCM, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, ITKRTT());
  CALL(rpcSOAPLoadTestInvoke, call, nullptr, nullptr);
  CALL(rpcSOAPSendGenericHTTP, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  CALL(rpcSOAPSendCDKRequest, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  CALL(rpcSOAPGetNamespaces, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  CALL(rpcSOAPSilentLogon, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  CALL(rpcSOAPSilentLogonAs, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  CALL(rpcSOAPSilentLogoff, nullptr, nullptr, nullptr);
  CALL(rpcSOAPGetPryContextAndCredentialFromPassportID, nullptr, nullptr, nullptr);
  CALL(rpcSOAPGetDbConnectionList, nullptr, nullptr, nullptr);
  CALL(rpcSOAPGetDbConnection, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  CALL(rpcSOAP_Release, call);
}

void callSettingsFunctions() {
  CALL(rpcSOAPGetRelayFaultError, nullptr);
  CALL(rpcSOAP_setIsService, 1);
  CALL(rpcSOAP_getIsService);
  CALL(rpcSOAPSetHTTPTimeOutValue, 1);
  CALL(rpcSOAPGetHTTPTimeOutValue);
  CALL(rpcSOAPSetUserCredential, ITKCredential());
  say("rpcSOAP_GetES", &rpcSOAP_GetES());
}

void callFlatFunctions() {
  callBufferFunctions();
  callObjectFunctions();
  callSettingsFunctions();
}

// The first declared namespace whose prefix is "bus", as a request of each face carries it.
void showRelayNamespace() {
  const auto show = [](const std::string& envelope) {
    const auto uri = envelope.find("xmlns:bus=\"") + 11;
    std::printf(" %s", envelope.substr(uri, envelope.find('"', uri) - uri).c_str());
  };
  ITKBuffer envelope, arguments;
  ITKRelayMessage().packOutProxy(ITKSOAP(), envelope, arguments);
  show(envelope.c_str());
  const CqzBuffer00 flatEnvelope, flatArguments;
  const CRpcSOAP00 flatCall("", "", 0, "", "", nullptr, 0);
  CqzRelayMessage* const codec = rpcSOAP_CreateRelayMessage();
  codec->packOutProxy(flatCall, flatEnvelope, flatArguments);
  show(flatEnvelope->getStrBuffer());
  rpcSOAP_ReleaseRelayMessage(codec);
  std::printf("\n");
}

void showCompression() {
  const CRpcSOAP00 flat("", "", 0, "", "", nullptr, 0);
  std::printf("compression=%d %d\n", ITKSOAP().getComressParams(), flat->getComressParams());
}

void invokeWithoutGateway() {
  const CRpcSOAP00 call("Demo", "run", 0, "", "", nullptr, 0);
  call->setGatewayURL("http://127.0.0.1:1/%20");
  std::printf("invoked=%ld\n", rpcSOAPInvoke(call, call, nullptr));
}

void writeIni() {
  const auto file = next(), section = next(), key = next(), value = next();
  WritePrivateProfileStringA(section.c_str(), key.c_str(), value.c_str(), file.c_str());
}

const std::map<std::string, std::function<void()>> kCommands = {
    {"show", show},
    {"flat", callFlatFunctions},
    {"write-ini", writeIni},
    {"compression", showCompression},
    {"relay-namespace", showRelayNamespace},
    {"initialize", [] { std::printf("initialized=%d\n", rpcSOAPInitialize()); }},
    {"invoke", invokeWithoutGateway},
    {"thread", [] { std::thread([] {}).join(); }},
};

}  // namespace

int main(int count, char** values) {
  words.assign(values + 1, values + count);
  while (!words.empty()) kCommands.at(next())();
}
