// Finds calls in the records of logs and in the exchanges of dump files.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "Tools/qzcall/ReportLog.h"
#include "Tools/qzcall/ReportStore.h"

namespace qzcall {

/// Finds calls and hands them to a store.
class CallCollector {
 public:
  explicit CallCollector(CallStore& store) : store_(store) {}

  /// Bytes that are kept of a request or a reply.
  static constexpr std::size_t kMostOfMessage = LogReader::kMostKept;

  /// Takes a record of the file's log.
  void take(std::size_t file, const LogRecord& record);
  /// Takes a request and its reply of a dump file, each with its banner; what is missing is empty.
  /// @param leftOut bytes that are missing at their ends
  void takeDump(std::size_t file, std::string_view request, std::string_view reply, std::uint64_t leftOut);
  /// No more comes from the file.
  void endFile();

 private:
  enum class Phase { none, request, status, head, body, done };

  /// A call that has begun.
  struct Open {
    Call* call = nullptr;
    bool isInvoke = false;  ///< one of the invoke functions told its beginning and will tell its end
    bool isOver = false;
    bool hasCode = false;
    long code = 0;
    Phase phase = Phase::none;
    std::string operation;  ///< under which the exchange is logged
    std::string request;    ///< its bytes
    std::string reply;
    Round round;

    std::size_t size() const { return request.size() + reply.size(); }
  };

  /// What a record says.
  struct Said {
    const LogRecord& record;
    std::string_view operation;  ///< the flat face names it in front of its texts
    std::string_view text;
  };

  static Said saidBy(const LogRecord& record);
  void takeBytes(Open* open, const LogRecord& record);
  void takeText(Open* open, const Said& said);
  bool takeWire(Open& open, const Said& said);
  bool takeInvoke(const std::string& key, const Said& said);
  bool takeDuration(Open& open, const Said& said);
  void beginRound(const std::string& key, const Said& said);
  Open& begin(const std::string& key, const LogRecord& record);
  void append(Open& open, std::string_view bytes);
  void freeBytes(const Open& current);
  void endRound(Open& open);
  void addRound(Open& open, ExchangeTree tree, Round round);
  void close(Open& open);
  void closeAt(const std::string& key);
  void noteLine(Open* open, const LogRecord& record, std::string_view text);

  CallStore& store_;
  std::size_t file_ = 0;
  std::map<std::string, Open> open_;  ///< by process and thread
  std::optional<Open> dumped_;        ///< the last call of a dump file
  std::size_t underWay_ = 0;          ///< bytes of exchanges that go on
};

}  // namespace qzcall
