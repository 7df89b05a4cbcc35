// A host of the library for the start-up tests: runs the commands of its command line, one after the other, against the
// DLL beside it. Each command is a name and its arguments; what it prints is for the test to compare. A word that is
// missing or unknown ends it by an exception.
#include <windows.h>

#include <array>
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

constexpr const char* kToolkitSource = "R7ITK/R7ITKShared/StartupChild";
constexpr const char* kFlatSource = "RuntimeEngine/qzSOAP/StartupChild";
constexpr unsigned long kDebugOutput = 0x40010006;

// The words of the command line that no command has taken yet.
std::deque<std::string> words;

std::string next() {
  const auto word = words.at(0);
  words.pop_front();
  return word;
}

int nextNumber() { return std::stoi(next()); }

void show() {
  std::printf("root=%s\nlog=%s\nlevels=%d %d\nservice=%d %d\n", getITKes().getRenditionFolder(),
              getITKes().getLogFilePath(), getITKes().getTraceLevel(), rpcSOAP_GetES().getTraceLevel(),
              getITKes().getIsService(), rpcSOAP_GetES().getIsService());
}

// Every byte value, so that a zero, a line feed and an end-of-file mark are among them.
void dumpAllBytes() {
  std::array<unsigned char, 256> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i);
  getITKes().logByteStream(kToolkitSource, 1, bytes.data(), 256);
  rpcSOAP_GetES().logByteStream("qzSOAP", kFlatSource, 2, bytes.data(), 256);
  getITKes().logByteStream(kToolkitSource, 3, nullptr, 5);
  getITKes().logByteStream(kToolkitSource, 4, bytes.data(), -1);
}

void logLevels() {
  for (long level = 0; level <= 5; ++level) {
    getITKes().logTextV(level, kToolkitSource, 10 + level, "level %ld", level);
    rpcSOAP_GetES().logTextV(level, "qzSOAP", kFlatSource, 10 + level, "level %ld", level);
  }
}

// A "%" in a text is no format, and null is no text.
void logOddTexts() {
  getITKes().logText(ITKLog::Error, kToolkitSource, 1, "100%s %n");
  getITKes().logText(ITKLog::Error, nullptr, 2, static_cast<const char*>(nullptr));
  getITKes().logTextV(ITKLog::Error, "", 3, "%s", "%d");
  rpcSOAP_GetES().logText(CqzLog::Error, nullptr, nullptr, 4, "100%s %n");
  rpcSOAP_GetES().logText(CqzLog::Error, "c", "s", 5, std::string_view("a\0b", 3));
}

void logLong() {
  const std::string text(static_cast<std::size_t>(nextNumber()), 'x');
  getITKes().logTextV(ITKLog::Error, kToolkitSource, 1, "%s", text.c_str());
  rpcSOAP_GetES().logTextV(CqzLog::Error, "qzSOAP", kFlatSource, 1, "%s", text.c_str());
}

void callFlatFunctions() {
  rpcSOAP_setIsService(1);
  rpcSOAPSetHTTPTimeOutValue(1);
  std::printf("service=%d timeout=%ld\n", rpcSOAP_getIsService(), rpcSOAPGetHTTPTimeOutValue());
  rpcSOAPSetUserCredential(ITKCredential());
}

void joinPaths() {
  std::array<char, 300> room{};
  for (const char* relative : {"\\data", "data", "", static_cast<const char*>(nullptr)})
    std::printf("path=%s\n", getITKes().buildRuntimePath(room.data(), 300, relative));
  const int needed = static_cast<int>(std::string(getITKes().getRenditionFolder()).size() + sizeof "\\data");
  for (const int size : {needed, needed - 1, 1, 0, -1})
    std::printf("fits=%d\n", getITKes().buildRuntimePath(room.data(), size, "data") != nullptr);
}

void readKeys() {
  auto& es = rpcSOAP_GetES();
  std::array<char, 8> room{};
  const auto text = [&](const char* key, const char* otherwise) {
    const char* found = es.getIniKeyString(key, room.data(), room.size(), otherwise, nullptr, nullptr);
    std::printf("text=%s\n", found == nullptr ? "(null)" : found);
  };
  es.setIniKeyString("Name", "abcdefghij", nullptr, nullptr);
  text("name", "");
  text("Missing", "default");
  text("Missing", nullptr);
  es.setIniKeyString("Name", nullptr, nullptr, nullptr);
  text("Name", "gone");
  es.setIniKeyInt("Number", -2147483647, "Other", nullptr);
  std::printf("number=%ld %ld\n", es.getIniKeyInt("number", 1, "OTHER", nullptr),
              es.getIniKeyInt("Number", 1, nullptr, nullptr));
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

long CALLBACK printDebugOutput(EXCEPTION_POINTERS* exception) {
  const auto& record = *exception->ExceptionRecord;
  if (record.ExceptionCode == kDebugOutput)
    std::printf("debug=%s", reinterpret_cast<const char*>(record.ExceptionInformation[1]));
  return EXCEPTION_CONTINUE_SEARCH;
}

void traceToDebugger() {
  const auto handler = AddVectoredExceptionHandler(1, printDebugOutput);
  getITKes().trace_(kToolkitSource, 7, "100% plain");
  getITKes().traceV(kToolkitSource, 8, "%s %d", "formatted", 9);
  RemoveVectoredExceptionHandler(handler);
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
    {"dump", dumpAllBytes},
    {"levels", logLevels},
    {"odd", logOddTexts},
    {"long", logLong},
    {"flat", callFlatFunctions},
    {"paths", joinPaths},
    {"keys", readKeys},
    {"debugger", traceToDebugger},
    {"service", [] { getITKes().setIsService(nextNumber()); }},
    {"set-no-auto-cert", [] { getITKes().setNoAutoCert(nextNumber()); }},
    {"no-auto-cert", [] { std::printf("noAutoCert=%d\n", getITKes().getNoAutoCert()); }},
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
