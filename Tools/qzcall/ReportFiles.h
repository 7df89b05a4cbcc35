// Files of a report, read piece by piece.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "Tools/qzcall/ReportCalls.h"
#include "Tools/qzcall/ReportPage.h"

namespace qzcall {

/// A file to read.
struct ReportInput {
  /// Reads up to `size` bytes: how many came, 0 at the end, nothing when they cannot be read.
  std::function<std::optional<std::size_t>(char* into, std::size_t size)> read;
  /// Reads on from this place of a file on a disk; false when that is none.
  std::function<bool(std::uint64_t at)> moveTo;
  std::optional<std::uint64_t> size;  ///< of a file on a disk
};

/// Reads a log or a dump file, whichever it is, and hands its calls to the collector.
/// @param index number of the file among all
/// @param period records of logs outside of it are passed over
/// @return false when it cannot be read
bool readReportFile(const ReportInput& input, std::size_t index, const Period& period, ReportFile& file,
                    CallCollector& collector);

}  // namespace qzcall
