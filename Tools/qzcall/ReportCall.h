// A call of a report.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Tools/qzcall/ReportLogLine.h"
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
  std::string tree;           ///< JSON; empty when it was let go
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
  Origin origin = Origin::toolkitLog;
  bool hasTime = false;
  std::int64_t begin = 0;
  std::int64_t end = 0;
  double seconds = -1;  ///< as the log measured it; below 0 when it did not
  std::string thread;   ///< "2DC:394"; of a dump "dump"
  std::string url;
  ExchangeFacts facts;  ///< names of the first round, ending of the last one
  CallOutcome outcome = CallOutcome::unfinished;
  std::string outcomeText;
  std::vector<Round> rounds;  ///< without those in the middle, when there are too many
  std::size_t roundCount = 0;
  std::vector<NotedLine> lines;  ///< the first ones
  std::size_t lineCount = 0;
  bool isOpen = true;         ///< more may come
  bool isIncomplete = false;  ///< the trees of rounds, or the lines, were let go

  bool hasMillis() const { return origin == Origin::toolkitLog; }
};

}  // namespace qzcall
