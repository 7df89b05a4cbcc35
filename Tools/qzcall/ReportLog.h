// Trace logs, read line by line.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Tools/qzcall/ReportLogLine.h"

namespace qzcall {

/// What a log had that is no record.
struct LogCounts {
  std::uint64_t records = 0;
  bool hasHeading = false;          ///< the toolkit's line of headings, which may be all that there is
  std::uint64_t foreignLines = 0;   ///< lines that belong to no record
  std::uint64_t foreignBytes = 0;   ///< bytes of those lines
  std::uint64_t brokenStreams = 0;  ///< byte streams that do not end where they should
  std::uint64_t missingBytes = 0;   ///< bytes that those announce and do not have
};

/// Takes a log in pieces of any size and hands out its records. It holds no more than one record, its piece,
/// and as much again of a byte stream that may be cut.
class LogReader {
 public:
  using Take = std::function<void(LogRecord&)>;

  /// Bytes of a message that are kept.
  static constexpr std::size_t kMostKept = std::size_t{4} << 20;

  explicit LogReader(Take take) : take_(std::move(take)) {}

  void feed(std::string_view piece);
  /// Says that there is no more.
  void finish();

  const LogCounts& counts() const { return counts_; }

 private:
  enum class State { lineStart, insideLine, stream, doubtfulStream, behindStream };

  void unfold(std::string_view piece);
  void parse();
  bool step();
  bool takeLineStart();
  bool takeInsideLine();
  bool takeStream();
  bool takeDoubtfulStream();
  bool takeBehindStream();
  bool beginRecord(LogRecord head, std::size_t length);
  void takeOfStream(std::size_t size);
  void breakStream();
  std::size_t laterRecordWithin(std::size_t size) const;
  bool endsWell() const;
  void endRecord();
  void keep(std::string_view text);
  void continueRecord();
  std::string_view rest() const { return std::string_view(pending_).substr(at_); }

  Take take_;
  LogCounts counts_;
  std::string pending_;  ///< line ends undone
  std::size_t at_ = 0;
  bool hasReturn_ = false;  ///< a CR that may belong to a line end
  bool isLast_ = false;
  State state_ = State::lineStart;
  std::optional<LogRecord> record_;
  bool isHeading_ = false;  ///< the line is the heading
  std::uint64_t streamLeft_ = 0;
  bool mustBegin_ = false;  ///< behind a byte stream a line begins
};

}  // namespace qzcall
