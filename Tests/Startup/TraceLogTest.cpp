// The trace logs to the byte.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "Tests/Support/DebuggerWatch.h"
#include "Tests/Support/InstallTree.h"

namespace {

using qz::test::BothSettings;
using qz::test::DebuggerWatch;
using qz::test::InstallTree;
using qz::test::masked;

constexpr const char* kToolkitSource = "R7ITK/R7ITKShared/X";
constexpr const char* kFlatSource = "RuntimeEngine/qzSOAP/x";

std::string switches(bool binary, bool info, bool trace) {
  const auto digit = [](bool on) { return std::to_string(static_cast<int>(on)); };
  return "LogBinary=" + digit(binary) + "\r\nLogInfo=" + digit(info) + "\r\nLogTrace=" + digit(trace);
}

TEST(TraceLog, SwitchesDecideWhatIsWritten) {
  for (const bool info : {false, true})
    for (const bool trace : {false, true}) {
      const InstallTree tree;
      tree.configure(switches(false, info, trace));
      BothSettings settings(tree);
      std::string toolkit, flat;
      for (long level = 0; level <= 5; ++level) {
        settings.toolkit.logTextV(level, kToolkitSource, level, "level %ld", level);
        settings.flat.logTextV(level, "qzSOAP", kFlatSource, level, "level %ld", level);
        if ((level == 2 && !info) || (level == 4 && !trace)) continue;
        const auto digit = std::to_string(level), rest = " L" + digit + "] level " + digit + "\r\n";
        toolkit += "@[:][X" + rest;
        flat += "@[:][qzSOAP:RuntimeEngine/qzSOAP/x" + rest;
      }
      const unsigned char byte = 1;
      settings.toolkit.logByteStream(kToolkitSource, 1, &byte, 1);
      settings.flat.logByteStream("qzSOAP", kFlatSource, 1, &byte, 1);
      EXPECT_EQ(masked(tree.toolkitLog()), toolkit);
      EXPECT_EQ(masked(tree.flatLog()), flat);
    }
}

// A "%" in a text is no format, and null is no text.
TEST(TraceLog, TextsAreNoFormatsAndMayBeMissing) {
  const InstallTree tree;
  tree.configure("");
  BothSettings settings(tree);
  settings.toolkit.logText(ITKLog::Error, kToolkitSource, 1, "100%s %n");
  settings.toolkit.logText(ITKLog::Error, nullptr, 2, static_cast<const char*>(nullptr));
  settings.toolkit.logTextV(ITKLog::Error, "", 3, "%s", "%d");
  settings.flat.logText(CqzLog::Error, nullptr, nullptr, 4, "100%s %n");
  settings.flat.logText(CqzLog::Error, "c", "s", 5, std::string_view("a\0b", 3));
  EXPECT_EQ(masked(tree.toolkitLog()), "@[:][X L1] 100%s %n\r\n@[:][ L2] \r\n@[:][ L3] %d\r\n");
  EXPECT_EQ(masked(tree.flatLog()), std::string("@[:][: L4] 100%s %n\r\n@[:][c:s L5] a\0b\r\n", 39));
}

TEST(TraceLog, DumpsAreWholeInTextMode) {
  const InstallTree tree;
  tree.configure(switches(true, false, false));
  BothSettings settings(tree);
  // Every byte value, so that a zero, a line feed and an end-of-file mark are among them.
  std::array<unsigned char, 256> bytes{};
  std::string stored;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<unsigned char>(i);
    stored += i == '\n' ? std::string("\r\n") : std::string(1, static_cast<char>(i));
  }
  settings.toolkit.logByteStream(kToolkitSource, 1, bytes.data(), 256);
  settings.toolkit.logByteStream(kToolkitSource, 3, nullptr, 5);
  settings.toolkit.logByteStream(kToolkitSource, 4, bytes.data(), -1);
  settings.flat.logByteStream("qzSOAP", kFlatSource, 2, bytes.data(), 256);
  EXPECT_EQ(masked(tree.toolkitLog()), "@[:][X L1] Byte stream of size 256\r\r\n" + stored + "\r\n" +
                                           "@[:][X L3] Byte stream of size 0\r\r\n\r\n" +
                                           "@[:][X L4] Byte stream of size 0\r\r\n\r\n");
  EXPECT_EQ(masked(tree.flatLog()),
            "@[P:T][qzSOAP:RuntimeEngine/qzSOAP/x L2] Byte stream of size 256\r\r\n" + stored + "\r\n");
}

TEST(TraceLog, FormattedMessagesAreCut) {
  const InstallTree tree;
  tree.configure("");
  BothSettings settings(tree);
  std::string expected;
  for (const std::size_t length : {31999, 32000, 32001, 40000}) {
    settings.toolkit.logTextV(ITKLog::Error, kToolkitSource, 1, "%s", std::string(length, 'x').c_str());
    settings.flat.logTextV(CqzLog::Error, "", "X", 1, "%s", std::string(length, 'x').c_str());
    expected += "X L1] " + std::string(std::min<std::size_t>(length, 32000), 'x') + "\r\n";
  }
  EXPECT_TRUE(std::regex_replace(masked(tree.toolkitLog()), std::regex("@\\[:\\]\\["), "") == expected);
  EXPECT_TRUE(std::regex_replace(masked(tree.flatLog()), std::regex("@\\[:\\]\\[:"), "") == expected);
}

// What the functions returned, each of them called at least once; failures are among them.
constexpr const char* kFlatResults =
    "object object null 0 0 1 0 1 1 0 0 1 1 - - - object null null - - object - object - object "
    "-3 -4 -3 -3 -3 -3 0 0 0 0 0 0 0 - -1 - 1 - 300000 - object ";

// The first group of each hit, each with a line end.
std::string hits(const std::string& text, const std::regex& pattern) {
  std::string out;
  for (std::sregex_iterator hit(text.begin(), text.end(), pattern), end; hit != end; ++hit) out += hit->str(1) + "\n";
  return out;
}

std::string entriesAndExits(const InstallTree& tree) {
  return hits(masked(tree.flatLog()), std::regex("@\\[:\\]\\[qzSOAP:RuntimeEngine/qzSOAP/(?:rpcSOAPAPI2?|XmlDom) "
                                                 "L\\d+\\] ((?:Enter|Exit) (?:rpcSOAP|create|release)\\w+)\r\n"));
}

// What the library exports, without the decorated names of C++.
std::set<std::string> exportedFunctions() {
  const auto* const base = reinterpret_cast<const char*>(GetModuleHandleA("qzSOAP.dll"));
  const auto& dos = *reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto& headers = *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos.e_lfanew);
  const auto& place = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  const auto& directory = *reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place.VirtualAddress);
  const auto* const names = reinterpret_cast<const DWORD*>(base + directory.AddressOfNames);
  std::set<std::string> exported;
  for (DWORD i = 0; i < directory.NumberOfNames; ++i)
    if (const std::string name = base + names[i]; !name.starts_with("_Z")) exported.insert(name);
  return exported;
}

TEST(TraceLog, EveryFlatFunctionSaysThatItIsEnteredAndLeft) {
  const InstallTree on;
  on.configure(switches(false, false, true));
  EXPECT_EQ(on.run({"initialize"}), "initialized=0\n") << "there is no zlib yet";
  on.install("zlib1.dll");
  const auto said = on.run({"flat"});
  EXPECT_EQ(std::regex_replace(said, std::regex("\\w+ (.*)\n"), "$1 "), kFlatResults) << said;
  const auto called = "rpcSOAPInitialize\n" + hits(said, std::regex("(\\w+) .*\n"));
  EXPECT_EQ(entriesAndExits(on), std::regex_replace(called, std::regex("(.+)\n"), "Enter $1\nExit $1\n"));
  std::istringstream lines(called);
  EXPECT_EQ(std::set<std::string>(std::istream_iterator<std::string>(lines), {}), exportedFunctions());

  const InstallTree off;
  off.configure(switches(true, true, false));
  off.install("zlib1.dll");
  EXPECT_EQ(off.run({"flat"}), said);
  EXPECT_EQ(entriesAndExits(off), "");
}

TEST(TraceLog, TheLibrarySaysThatItIsLoadedAndUnloadedAndNothingOfThreads) {
  const InstallTree tree;
  tree.configure(switches(false, false, true));
  tree.run({"thread"});
  EXPECT_EQ(std::regex_replace(masked(tree.flatLog()), std::regex(" L[0-9]+"), ""),
            "@[:][qzSOAP:RuntimeEngine/qzSOAP/qzSOAP] DllMain: Process attach\r\n"
            "@[:][qzSOAP:RuntimeEngine/qzSOAP/qzSOAP] DllMain: Process detach\r\n");
}

// The call needs zlib, though nobody has initialised it. Of each message the first line, up to a quotation mark.
TEST(TraceLog, AFlatCallTellsWhatItSendsAndWhyItFails) {
  const InstallTree tree;
  tree.configure(switches(true, false, true));
  tree.install("zlib1.dll");
  EXPECT_EQ(tree.run({"invoke"}), "invoked=-3\n");
  const std::regex ofTheCall("(?:rpcSOAPAPI2|rpcHttpClient|INET) L\\d+\\] ([^\r\n\"]*)");
  const std::regex varying("T=\\d+,\\d+\\.\\d{6}|size \\d+|, [^,\n]+ \\]");
  EXPECT_EQ(std::regex_replace(hits(masked(tree.flatLog()), ofTheCall), varying, "*"),
            "Enter rpcSOAPInvoke\nURL=http://127.0.0.1:1/%20\nSendReceive: \nXInternetSession\nxParseURL\n"
            "_xParseURLWorker\nGetHttpConnection\nSetOption\nOpenRequest\n"
            "SendReceive: Content-Type: multipart/related; boundary=\nAddRequestHeaders\n"
            "SendReceive: Accept: */*\nAddRequestHeaders\n"
            "SendReceive: Accept-Encoding: gxip, deflate\nAddRequestHeaders\n"
            "SendReceive: MIME-Version: 1.0\nAddRequestHeaders\n"
            "SendReceive: soapaction: \nAddRequestHeaders\nSendRequest\n"
            "TIME CONSUMED BY , , ,CRpcHttpClient:SendRequest,*\nByte stream of *\n"
            "SendReceive: System error [ 0x00002EFD*\nSendReceive: Failed to send request\n"
            "invoke: Failed to send the SOAP message\nReturn code = -3\n"
            "TIME CONSUMED BY , , ,qzcSoap:rpcSOAPInvoke,*\nExit rpcSOAPInvoke\n");
  EXPECT_NE(tree.read("Logs\\TesselErrorLog.csv").find("/rpcHttpClient\",\"12029\",\"System error [ 0x00002EFD, "),
            std::string::npos);
}

TEST(TraceLog, AFileHeldByAnotherProgramIsSkipped) {
  const InstallTree tree;
  BothSettings settings(tree);
  const HANDLE held =
      CreateFileA(settings.toolkit.getLogFilePath(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  settings.toolkit.logText(ITKLog::Error, kToolkitSource, 1, "lost");
  CloseHandle(held);
  settings.toolkit.logText(ITKLog::Error, kToolkitSource, 2, "kept");
  EXPECT_EQ(masked(tree.toolkitLog()), "@[:][X L2] kept\r\n");
}

TEST(TraceLog, TheFlatLogLiesWhereItsKeySays) {
  const InstallTree tree;
  const auto logAt = [&](const std::string& relative) {
    tree.configure("LogFilePath=" + tree.path(relative));
    BothSettings(tree).flat.logText(CqzLog::Error, "c", "s", 1, "text");
    return tree.read(relative);
  };
  EXPECT_NE(logAt("other\\my.log"), "(missing)");
  // Only one level of folders is made.
  EXPECT_EQ(logAt("far\\away\\my.log"), "(missing)");
  EXPECT_EQ(logAt("deep\\" + std::string(300, 'd') + ".log"), "(missing)");
  EXPECT_EQ(tree.flatLog(), "(missing)");
}

TEST(TraceLog, DebuggerOutput) {
  const DebuggerWatch debugger;
  getITKes().trace_(kToolkitSource, 7, "100% plain");
  getITKes().traceV(kToolkitSource, 8, "%s %d", "formatted", 9);
  getITKes().trace_(std::string(40000, 's').c_str(), 9, std::string(40000, 'x').c_str());
  const auto ids = "[" + std::to_string(GetCurrentProcessId()) + ":" + std::to_string(GetCurrentThreadId()) + "] ";
  EXPECT_EQ(debugger.text(), ids + "X[7]: 100% plain\r\n" + ids + "X[8]: formatted 9\r\n" + ids +
                                 std::string(4000, 's') + "[9]: " + std::string(32000, 'x') + "\r\n");
}

}  // namespace
