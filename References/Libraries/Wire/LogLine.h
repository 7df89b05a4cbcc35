// How log lines look: prefixes, names and the text-mode line ends.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "References/Common/CivilTime.h"

namespace qz::wire {

/// Longest message of a formatted line; what exceeds it is cut.
inline constexpr std::size_t kMessageLimit = 32000;
/// Room for any prefix: its texts are cut so that it fits.
inline constexpr std::size_t kPrefixLimit = 8000;

/// Heading of a new toolkit log.
inline constexpr std::string_view kToolkitHeading = "YYYYMMDD HH:MM:SS.MSD [PID:TID][FILE LINE] DESCRIPTION\r\n";

/// When and where a line was written.
struct LogPlace {
  CivilTime time;               ///< local time
  unsigned long processId = 0;  ///< of the writer
  unsigned long threadId = 0;   ///< of the writer
  std::string_view component;   ///< word that names the component; the toolkit's lines have none
  std::string_view source;      ///< source path
  long line = 0;                ///< source line
};

/// Storage of a prefix.
using PrefixBuffer = std::array<char, kPrefixLimit>;

/// Text prefix of the flat layer: hyphens in the date, hexadecimal ids, component and whole source path.
std::string_view flatTextPrefix(PrefixBuffer& out, const LogPlace& place);
/// Dump prefix of the flat layer: decimal ids, and the byte count with its line end.
std::string_view flatDumpPrefix(PrefixBuffer& out, const LogPlace& place, long count);
/// Text prefix of the toolkit: milliseconds, hexadecimal ids, last component of the source path.
std::string_view toolkitTextPrefix(PrefixBuffer& out, const LogPlace& place);
/// Dump prefix of the toolkit: its text prefix, and the byte count with its line end.
std::string_view toolkitDumpPrefix(PrefixBuffer& out, const LogPlace& place, long count);

/// Passes bytes on as a text-mode file stores them, every LF preceded by a CR, in chunks of a fixed size.
/// @tparam Write callable with std::span<const char>
template <class Write>
class TextModeWriter {
 public:
  /// @param write called with each full chunk, and by flush() with the rest
  // The chunk is read only where it was written.
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
  explicit TextModeWriter(Write write) : write_(write) {}

  /// Takes the bytes of `text`.
  void put(std::string_view text) {
    while (!text.empty()) {
      const auto line = text.substr(0, text.find('\n'));
      raw(line);
      if (line.size() == text.size()) return;
      raw("\r\n");
      text.remove_prefix(line.size() + 1);
    }
  }

  /// Passes on what is left.
  void flush() {
    if (used_ != 0) write_(std::span<const char>(chunk_.data(), used_));
    used_ = 0;
  }

 private:
  void raw(std::string_view text) {
    while (!text.empty()) {
      const auto part = text.substr(0, chunk_.size() - used_);
      std::memcpy(chunk_.data() + used_, part.data(), part.size());
      used_ += part.size();
      text.remove_prefix(part.size());
      if (used_ == chunk_.size()) flush();
    }
  }

  Write write_;
  std::array<char, 8192> chunk_;
  std::size_t used_ = 0;
};

}  // namespace qz::wire
