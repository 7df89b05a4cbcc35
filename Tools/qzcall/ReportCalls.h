// Calls, found in the records of logs and in the exchanges of dump files.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Tools/qzcall/ReportLog.h"
#include "Tools/qzcall/ReportTree.h"

namespace qzcall {

/// How a call ended.
enum class CallOutcome { ok, error, fault, logon, transport, timeOut, unfinished };

/// The word for an outcome, as filters have it.
const char* nameOf(CallOutcome outcome);

/// One request and its reply.
struct Round {
  std::int64_t begin = 0;
  std::int64_t end = 0;
  std::string tree;           ///< JSON; empty when it was dropped
  std::uint64_t leftOut = 0;  ///< bytes that were too many
  bool hasBytes = false;      ///< byte streams, or the body of a dump
};

/// A line of a call, or of none.
struct NotedLine {
  std::int64_t time = 0;
  std::string source;
  std::string text;
};

/// One call, with all rounds of its conversation.
struct Call {
  std::size_t file = 0;      ///< which of the files
  std::uint64_t number = 0;  ///< order in which calls began
  bool hasTime = false;
  bool hasMillis = false;
  std::int64_t begin = 0;
  std::int64_t end = 0;
  double seconds = -1;  ///< as the log measured it; below 0 when it did not
  std::string thread;   ///< "2DC:394"; of a dump "dump"
  std::string url;
  ExchangeFacts facts;  ///< names of the first round, ending of the last one
  CallOutcome outcome = CallOutcome::unfinished;
  std::string outcomeText;
  std::vector<Round> rounds;
  std::size_t roundCount = 0;
  std::vector<NotedLine> lines;
  std::size_t lineCount = 0;
  std::size_t size = 0;  ///< of its texts
};

/// What the collector had to leave out.
struct Dropped {
  std::uint64_t calls = 0;
  std::uint64_t trees = 0;
  std::uint64_t lines = 0;  ///< outside of calls
};

/// Bounds of what is kept. The newest is kept.
struct KeepLimits {
  std::size_t calls = 20000;
  std::size_t detail = std::size_t{32} << 20;  ///< bytes of trees and lines
  std::size_t looseLines = 2000;
};

/// Collects calls.
class CallCollector {
 public:
  explicit CallCollector(KeepLimits limits) : limits_(limits) {}

  /// Takes a record of the file's log.
  void take(std::size_t file, LogRecord& record);
  /// Takes an exchange of a dump file.
  /// @param leftOut bytes that are missing at its end
  void takeDump(std::size_t file, std::string_view exchange, std::uint64_t leftOut);
  /// No more comes from the file.
  void endFile();

  std::deque<Call>& calls() { return calls_; }
  const std::deque<NotedLine>& looseLines() const { return looseLines_; }
  const Dropped& dropped() const { return dropped_; }

 private:
  enum class Phase { none, request, status, head, body, done };

  /// A call that has begun.
  struct Open {
    Call call;
    bool isInvoke = false;  ///< one of the invoke functions told its beginning and will tell its end
    bool isOver = false;
    bool hasCode = false;
    long code = 0;
    Phase phase = Phase::none;
    std::string operation;  ///< under which the exchange is logged
    std::string exchange;   ///< its bytes
    Round round;
  };

  void takeText(Open* open, const LogRecord& record);
  bool takeWire(Open& open, std::string_view operation, std::string_view text);
  bool takeInvoke(const std::string& key, const LogRecord& record, std::string_view text);
  void beginRound(const std::string& key, std::string_view operation, std::string_view text, const LogRecord& record);
  Open& begin(const std::string& key, const LogRecord& record);
  void append(Open& open, std::string_view bytes);
  void endRound(Open& open);
  void judge(Open& open) const;
  void close(Open& open);
  void closeAt(const std::string& key);
  void noteLine(Open* open, const LogRecord& record);
  void drop();

  KeepLimits limits_;
  Dropped dropped_;
  std::size_t file_ = 0;
  std::uint64_t begun_ = 0;
  std::map<std::string, Open> open_;
  std::deque<Call> calls_;
  std::size_t kept_ = 0;        ///< bytes of detail
  std::size_t firstWhole_ = 0;  ///< calls in front of it have no detail any more
  std::deque<NotedLine> looseLines_;
};

}  // namespace qzcall
