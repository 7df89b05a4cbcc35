// The page of a report.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "Tools/qzcall/ReportCalls.h"

namespace qzcall {

/// A file that was read.
struct ReportFile {
  std::string name;
  std::uint64_t size = 0;
  bool isDump = false;
  LogCounts counts;                ///< of a log
  std::uint64_t exchanges = 0;     ///< of a dump file
  std::uint64_t foreignBytes = 0;  ///< in front of a dump file's first exchange
};

/// Everything that a page shows.
struct Report {
  std::vector<ReportFile> files;
  std::vector<const Call*> calls;  ///< in the order in which they are shown
  const std::deque<NotedLine>* looseLines = nullptr;
  Dropped dropped;
  std::string made;  ///< local time of the page, with its zone
};

/// Text for HTML: markup is escaped; control characters, bytes that are no UTF-8 and characters that turn the direction
/// of a text are written out.
std::string htmlText(std::string_view text);

/// Writes one HTML page that needs nothing besides itself. Texts of logs and of the wire are data in it, and never
/// markup or script.
void writePage(std::ostream& out, const Report& report);

}  // namespace qzcall
