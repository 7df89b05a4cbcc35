// Files of a report, read piece by piece.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>

#include "Tools/qzcall/ReportCalls.h"
#include "Tools/qzcall/ReportPage.h"

namespace qzcall {

/// Reads up to `size` bytes: how many came, 0 at the end, nothing when they cannot be read.
using ReadPiece = std::function<std::optional<std::size_t>(char* into, std::size_t size)>;

/// Reads a log or a dump file, whichever it is, and hands its calls to the collector.
/// @param index number of the file among all
/// @param period records of logs outside of it are passed over
/// @return false when it cannot be read
bool readReportFile(const ReadPiece& read, std::size_t index, const Period& period, ReportFile& file,
                    CallCollector& collector);

}  // namespace qzcall
