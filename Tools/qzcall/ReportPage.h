// The page of a report.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Tools/qzcall/ReportLog.h"
#include "Tools/qzcall/ReportStore.h"
#include "Tools/qzcall/ReportTimes.h"

namespace qzcall {

/// A file that was read.
struct ReportFile {
  std::string name;
  std::uint64_t size = 0;
  bool isDump = false;
  LogCounts counts;                ///< of a log
  std::uint64_t outside = 0;       ///< records of a log that are outside of the period
  std::uint64_t exchanges = 0;     ///< of a dump file
  std::uint64_t foreignBytes = 0;  ///< in front of a dump file's first exchange
};

/// Everything that a page shows.
struct Report {
  std::vector<ReportFile> files;
  std::optional<Period> period;      ///< of which logs were read, if not everything was
  std::vector<const Call*> calls;    ///< in the order in which they are shown
  const CallStore* store = nullptr;  ///< what else was kept, and what was dropped
  std::string made;                  ///< local time of the page, with its zone
};

/// Writes one HTML page that needs nothing besides itself. Texts of logs and of the wire are data in it, and never
/// markup or script.
void writePage(std::ostream& out, const Report& report);

}  // namespace qzcall
