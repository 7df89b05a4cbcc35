// A host of the library for the start-up tests: runs the commands of its command line, one after the other, against the
// DLL beside it. Each command is a name and its arguments; what it prints is for the test to compare. A word that is
// missing or unknown ends it by an exception.
#include <windows.h>

#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <string>

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

void callFlatFunctions() {
  rpcSOAP_setIsService(1);
  rpcSOAPSetHTTPTimeOutValue(1);
  std::printf("service=%d timeout=%ld\n", rpcSOAP_getIsService(), rpcSOAPGetHTTPTimeOutValue());
  rpcSOAPSetUserCredential(ITKCredential());
}

// What comes back is in the log.
void harvestCookies() {
  ITKRTT token;
  token.setURL("http://harvest.example.org/dir/gw.cgi");
  token.setVTN("%s");
  token.setCookiePath("VTN", "/");
  token.setAllInternetCookies();
  std::printf("harvested=%d\n", token.createFromCookies(token.getURL()));
}

// The first declared namespace whose prefix is "bus", as a request carries it.
void showRelayNamespace() {
  ITKBuffer envelope, arguments;
  ITKRelayMessage().packOutProxy(ITKSOAP(), envelope, arguments);
  const std::string text = envelope.c_str();
  const auto uri = text.find("xmlns:bus=\"") + 11;
  std::printf("relay=%s\n", text.substr(uri, text.find('"', uri) - uri).c_str());
}

// A reply without firewall context, preferences and most fields.
void unpackReply() {
  const ITKBuffer envelope(
      "<SOAP-ENV:Envelope xmlns:SOAP-ENV='e' xmlns:bus='b'><SOAP-ENV:Header><bus:relayHeader><ZOT><id>P</id></ZOT>"
      "</bus:relayHeader></SOAP-ENV:Header><SOAP-ENV:Body>&lt;className&gt;c&lt;/className&gt;&lt;methodName&gt;"
      "</SOAP-ENV:Body></SOAP-ENV:Envelope>");
  ITKSOAP call;
  std::printf("unpacked=%d\n", ITKRelayMessage().unpackInProxy(envelope, nullptr, call));
}

void writeIni() {
  const auto file = next(), section = next(), key = next(), value = next();
  WritePrivateProfileStringA(section.c_str(), key.c_str(), value.c_str(), file.c_str());
}

const std::map<std::string, std::function<void()>> kCommands = {
    {"show", show},
    {"flat", callFlatFunctions},
    {"write-ini", writeIni},
    {"compression", [] { std::printf("compression=%d\n", ITKSOAP().getComressParams()); }},
    {"cookies", harvestCookies},
    {"relay-namespace", showRelayNamespace},
    {"unpack", unpackReply},
    {"again", [] { getITKes().reInitialize(), rpcSOAP_GetES().reInitialize(); }},
};

}  // namespace

int main(int count, char** values) {
  words.assign(values + 1, values + count);
  while (!words.empty()) kCommands.at(next())();
}
