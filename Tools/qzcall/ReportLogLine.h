// How the lines of trace logs begin.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qzcall {

/// What a call is known from.
enum class Origin { toolkitLog, flatLog, dump };

/// What was written to a log in one piece.
struct LogRecord {
  std::int64_t time = 0;  ///< local time, milliseconds since the beginning of 1970
  Origin origin = Origin::toolkitLog;
  std::uint32_t process = 0;
  std::uint32_t thread = 0;
  std::string source;         ///< source file and line, "ITKSOAPAPI L24"
  bool isBytes = false;       ///< byte stream
  std::string message;        ///< without the line feed behind it; or the bytes
  std::uint64_t leftOut = 0;  ///< bytes that are missing at the end of the message
};

/// No prefix is longer, nor is one with the words of a byte stream.
inline constexpr std::size_t kLongestPrefix = 1024;
/// The line that a log of the toolkit begins with.
inline constexpr std::string_view kHeading = "YYYYMMDD HH:MM:SS.MSD [PID:TID][FILE LINE] DESCRIPTION";

/// What stands in front of a message.
struct LogPrefix {
  LogRecord head;
  std::size_t length;
};

/// The prefix of a line, if there is one.
std::optional<LogPrefix> prefixOf(std::string_view line);

/// How many bytes a message announces, and how long it is itself with its line feed.
struct Announced {
  std::uint64_t count;
  std::size_t length;
};

/// What a message says that is the head of a byte stream.
std::optional<Announced> announcedIn(std::string_view message);

}  // namespace qzcall
