// Files of a report, read piece by piece.
#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <optional>
#include <string>

#include "Tools/qzcall/ReportCalls.h"
#include "Tools/qzcall/ReportPage.h"

namespace qzcall {

/// Reads up to `size` bytes: how many came, 0 at the end, nothing when they cannot be read.
using ReadPiece = std::function<std::optional<std::size_t>(char* into, std::size_t size)>;

/// Local times between which records count, both included.
struct Period {
  std::int64_t from = std::numeric_limits<std::int64_t>::min();
  std::int64_t to = std::numeric_limits<std::int64_t>::max();
};

/// The time that a text names, "2026-11-22", "2026-11-22 05:54" or "2026-11-22 05:54:56"; nothing for other texts.
std::optional<std::int64_t> timeNamed(const std::string& text);

/// Reads a log or a dump file, whichever it is, and hands its calls to the collector.
/// @param index number of the file among all
/// @return false when it cannot be read
bool readReportFile(const ReadPiece& read, std::size_t index, const Period& period, ReportFile& file,
                    CallCollector& collector);

}  // namespace qzcall
