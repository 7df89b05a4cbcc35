// The trace logs to the byte, as a host's process leaves them.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "Tests/Startup/InstallTree.h"

namespace {

using qz::test::InstallTree;
using qz::test::masked;

/// A tree whose two ini files switch on what is asked for.
class TracingTree : public InstallTree {
 public:
  TracingTree(bool binary, bool info, bool trace) {
    const auto one = [](const char* key, bool on) { return key + std::string(on ? "=1\r\n" : "=0\r\n"); };
    const auto switches = one("LogBinary", binary) + one("LogInfo", info) + one("LogTrace", trace);
    write("configuration\\R7ITK.ini", "[R7ITK Common]\r\nVersion=8300\r\n[R7ITK Internal Tracing]\r\n" + switches);
    write("configuration\\qz.ini", "[SOAP Common]\r\nVersion=8100\r\n[SOAP Internal Tracing]\r\n" + switches);
  }
};

std::string flatLine(const std::string& line, const std::string& text) {
  return "@[:][qzSOAP:RuntimeEngine/qzSOAP/StartupChild L" + line + "] " + text + "\r\n";
}

// Without the lines of the library's own sources.
std::string childsLines(std::string log) {
  std::string out;
  for (std::size_t from = 0; from < log.size();) {
    const auto end = std::min(log.find('\n', from), log.size() - 1) + 1;
    const auto line = log.substr(from, end - from);
    if (line.find("StartupChild L") != std::string::npos) out += line;
    from = end;
  }
  return out;
}

TEST(TraceLog, SwitchesDecideWhichLevelsAreWritten) {
  for (const bool info : {false, true})
    for (const bool trace : {false, true}) {
      const TracingTree tree(false, info, trace);
      tree.run({"levels", "dump"});
      std::string toolkit, flat;
      for (const int level : {0, 1, 2, 3, 4, 5}) {
        if ((level == 2 && !info) || (level == 4 && !trace)) continue;
        const auto line = std::to_string(10 + level), text = "level " + std::to_string(level);
        toolkit += "@[:][StartupChild L" + line + "] " + text + "\r\n";
        flat += flatLine(line, text);
      }
      EXPECT_EQ(masked(tree.toolkitLog()), toolkit);
      EXPECT_EQ(childsLines(masked(tree.flatLog())), flat);
    }
}

TEST(TraceLog, TextsAreNoFormatsAndMayBeMissing) {
  const TracingTree tree(false, false, false);
  tree.run({"odd"});
  EXPECT_EQ(masked(tree.toolkitLog()), "@[:][StartupChild L1] 100%s %n\r\n@[:][ L2] \r\n@[:][ L3] %d\r\n");
  EXPECT_EQ(masked(tree.flatLog()), std::string("@[:][: L4] 100%s %n\r\n@[:][c:s L5] a\0b\r\n", 39));
}

TEST(TraceLog, DumpsAreWholeInTextMode) {
  const TracingTree tree(true, false, false);
  tree.run({"dump"});
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += i == '\n' ? std::string("\r\n") : std::string(1, static_cast<char>(i));
  EXPECT_EQ(masked(tree.toolkitLog()), "@[:][StartupChild L1] Byte stream of size 256\r\r\n" + bytes + "\r\n" +
                                           "@[:][StartupChild L3] Byte stream of size 0\r\r\n\r\n" +
                                           "@[:][StartupChild L4] Byte stream of size 0\r\r\n\r\n");
  EXPECT_EQ(masked(tree.flatLog()),
            "@[P:T][qzSOAP:RuntimeEngine/qzSOAP/StartupChild L2] Byte stream of size 256\r\r\n" + bytes + "\r\n");
}

TEST(TraceLog, FormattedMessagesAreCut) {
  const TracingTree tree(false, false, false);
  const std::size_t lengths[] = {31999, 32000, 32001, 40000};
  tree.run({"long", "31999", "long", "32000", "long", "32001", "long", "40000"});
  const auto toolkit = tree.toolkitLog(), flat = tree.flatLog();
  for (const auto* log : {&toolkit, &flat}) {
    std::size_t from = 0;
    for (const auto length : lengths) {
      const auto begin = log->find('x', from), end = log->find_first_not_of('x', begin);
      EXPECT_EQ(end - begin, std::min<std::size_t>(length, 32000));
      EXPECT_EQ(log->substr(end, 2), "\r\n");
      from = end;
    }
  }
}

TEST(TraceLog, EntryAndExitOfFlatFunctionsAndOfTheLibrary) {
  const TracingTree on(false, false, true);
  EXPECT_EQ(on.run({"flat"}), "service=1 timeout=300000\n");
  const auto log = on.flatLog();
  std::size_t at = 0;
  const auto next = [&](const std::string& source, const std::string& text) {
    at = log.find("[qzSOAP:RuntimeEngine/qzSOAP/" + source + " L", at);
    ASSERT_NE(at, std::string::npos) << text << "\n" << log;
    at = log.find("] ", at) + 2;
    EXPECT_EQ(log.substr(at, log.find('\r', at) - at), text);
  };
  next("qzSOAP", "DllMain: Process attach");
  for (const char* function : {"rpcSOAP_setIsService", "rpcSOAPSetHTTPTimeOutValue", "rpcSOAPGetHTTPTimeOutValue",
                               "rpcSOAP_getIsService", "rpcSOAPSetUserCredential"}) {
    next("rpcSOAPAPI", std::string("Enter ") + function);
    next("rpcSOAPAPI", std::string("Exit ") + function);
  }
  next("qzSOAP", "DllMain: Process detach");
  EXPECT_EQ(log.find("\r\n", at) + 2, log.size());

  const TracingTree off(true, true, false);
  off.run({"flat"});
  EXPECT_EQ(off.flatLog(), "(missing)");
}

TEST(TraceLog, AFileHeldByAnotherProgramIsSkipped) {
  const TracingTree tree(false, false, false);
  tree.run({"levels"});
  const auto before = tree.toolkitLog();
  const HANDLE held =
      CreateFileA(tree.path(tree.toolkitLogName()).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  tree.run({"levels", "odd"});
  CloseHandle(held);
  EXPECT_EQ(tree.toolkitLog(), before);
  tree.run({"levels"});
  EXPECT_EQ(masked(tree.toolkitLog()), masked(before + before));
}

TEST(TraceLog, TheFlatLogLiesWhereItsKeySays) {
  const InstallTree tree;
  const auto logAt = [&](const std::string& relative) {
    tree.write("configuration\\qz.ini", "[SOAP Common]\r\nVersion=8100\r\n[SOAP Internal Tracing]\r\nLogFilePath=" +
                                            tree.path(relative) + "\r\n");
    tree.run({"levels"});
    return tree.read(relative);
  };
  EXPECT_NE(logAt("other\\my.log"), "(missing)");
  // Only one level of folders is made.
  EXPECT_EQ(logAt("far\\away\\my.log"), "(missing)");
  EXPECT_EQ(logAt("deep\\" + std::string(300, 'd') + ".log"), "(missing)");
  EXPECT_EQ(tree.flatLog(), "(missing)");
}

TEST(TraceLog, ThreadsLogAtTheSameTime) {
  const TracingTree tree(false, false, false);
  tree.run({"threads", "100"});
  const auto toolkit = tree.toolkitLog(), flat = tree.flatLog();
  for (const auto* log : {&toolkit, &flat}) {
    std::set<std::string> seen;
    for (std::size_t at = log->find("] thread "); at != std::string::npos; at = log->find("] thread ", at + 1))
      seen.insert(log->substr(at, log->find('\r', at) - at));
    // The log has no lock. Windows appends each line as a whole, other systems may let two of them collide.
    EXPECT_GE(seen.size(), 720u);
    EXPECT_LE(std::count(log->begin(), log->end(), '\n'), 800);
  }
}

TEST(TraceLog, DebuggerOutput) {
  const InstallTree tree;
  auto output = tree.run({"debugger"});
  const auto ids = output.substr(0, output.find(']') + 1);
  EXPECT_EQ(output, ids + " StartupChild[7]: 100% plain\r\n" + ids + " StartupChild[8]: formatted 9\r\n");
  EXPECT_TRUE(std::all_of(ids.begin() + 7, ids.end() - 1, [](char c) { return c == ':' || (c >= '0' && c <= '9'); }))
      << ids;
}

}  // namespace
