// Where an engine's log lines go. Each face implements it over its own log.
#pragma once

#include <cstddef>
#include <source_location>
#include <span>
#include <string_view>

namespace qz {
class Err;
}

namespace qz::rpc {

/// Log levels as the logs filter them; 3 and 5 are never filtered, so whoever writes them asks traceLevel() first.
enum LogLevel : long { kError = 1, kInformation = 2, kGated = 3, kTrace = 4 };

/// The log of one face, under the source path of the class that an engine works for.
class Journal {
 public:
  virtual ~Journal() = default;

  /// 1, plus 2 when information lines are on, plus 4 when trace lines are on; read from the settings at each call.
  virtual int traceLevel() const = 0;

  /// Writes one line. `operation` is the public operation's name as a literal; a face without a field for it drops it.
  virtual void text(long level, const char* operation, std::string_view message,
                    std::source_location at = std::source_location::current()) = 0;

  /// Writes the description of a failure at level 1, under `operation` and the failure's own line. A face that keeps
  /// records of failures keeps its number there.
  virtual void failure(const char* operation, const Err& error) = 0;

  /// A generic request has failed, and the log has its reason. A face that closes with a line of its own writes it.
  /// @param error HTTP status or system error, or else the result of the request
  virtual void requestFailed(const char* /*url*/, long /*error*/,
                             std::source_location /*at*/ = std::source_location::current()) noexcept {}

  /// Dumps bytes as they are, if byte dumps are on.
  virtual void bytes(std::span<const std::byte> data, std::source_location at = std::source_location::current()) = 0;
};

}  // namespace qz::rpc
