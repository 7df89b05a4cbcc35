#include "Tools/qzcall/ReportFiles.h"

#include <algorithm>
#include <vector>

#include "Tools/qzcall/DumpFile.h"

namespace qzcall {
namespace {

/// Reads pieces of a file.
class Pieces {
 public:
  explicit Pieces(const ReportInput& input) : input_(input), piece_(std::size_t{1} << 18) {}

  /// The next piece; empty at the end, or when there was a fault.
  std::string_view next() { return nextOf(1); }
  /// The same with `least` bytes, if there are so many.
  std::string_view nextOf(std::size_t least) {
    std::size_t size = 0;
    while (size < least) {
      const auto got = input_.read(piece_.data() + size, piece_.size() - size);
      hasFailed_ = hasFailed_ || !got;
      if (!got || *got == 0) break;
      size += *got;
    }
    return {piece_.data(), size};
  }
  bool hasFailed() const { return hasFailed_; }

 private:
  const ReportInput& input_;
  std::vector<char> piece_;
  bool hasFailed_ = false;
};

/// The bytes of a message, or as many as are kept of one.
std::string bytesOf(FileBytes& bytes, const std::optional<DumpMessage>& message, std::uint64_t& leftOut) {
  if (!message) return {};
  const std::uint64_t size = message->end - message->begin;
  const auto kept = static_cast<std::size_t>(std::min<std::uint64_t>(size, CallCollector::kMostOfMessage));
  leftOut += size - kept;
  return std::string(bytes.from(message->begin, kept).substr(0, kept));
}

void readExchanges(FileBytes& bytes, std::size_t index, ReportFile& file, CallCollector& collector) {
  DumpReader reader(bytes);
  file.size = bytes.size();
  file.foreignBytes = reader.firstBanner();
  while (const auto exchange = reader.next()) {
    ++file.exchanges;
    std::uint64_t leftOut = 0;
    const std::string request = bytesOf(bytes, exchange->request, leftOut);
    collector.takeDump(index, request, bytesOf(bytes, exchange->reply, leftOut), leftOut);
  }
}

/// A dump that comes through a pipe must be in memory, as no place of it can be read twice.
bool readDump(const ReportInput& input, std::string_view head, Pieces& pieces, std::size_t index, ReportFile& file,
              CallCollector& collector) {
  if (input.size) {
    WindowBytes bytes(*input.size, [&](std::uint64_t at, char* into, std::size_t size) {
      return input.moveTo(at) ? input.read(into, size) : std::nullopt;
    });
    readExchanges(bytes, index, file, collector);
    return !bytes.hasFailed();
  }
  std::string all(head);
  for (std::string_view piece = pieces.next(); !piece.empty(); piece = pieces.next()) all += piece;
  MemoryBytes bytes({reinterpret_cast<const unsigned char*>(all.data()), all.size()});
  readExchanges(bytes, index, file, collector);
  return !pieces.hasFailed();
}

bool readLog(std::string_view head, Pieces& pieces, std::size_t index, const Period& period, ReportFile& file,
             CallCollector& collector) {
  LogReader reader([&](LogRecord& record) {
    if (period.holds(record.time)) {
      collector.take(index, record);
    } else {
      ++file.outside;
    }
  });
  for (std::string_view piece = head; !piece.empty(); piece = pieces.next()) {
    file.size += piece.size();
    reader.feed(piece);
  }
  reader.finish();
  file.counts = reader.counts();
  return !pieces.hasFailed();
}

}  // namespace

bool readReportFile(const ReportInput& input, std::size_t index, const Period& period, ReportFile& file,
                    CallCollector& collector) {
  Pieces pieces(input);
  const std::string_view head = pieces.nextOf(kDumpHead);
  if (pieces.hasFailed()) return false;
  file.isDump = isDump(head);
  const bool isWhole = file.isDump ? readDump(input, head, pieces, index, file, collector)
                                   : readLog(head, pieces, index, period, file, collector);
  collector.endFile();
  return isWhole;
}

}  // namespace qzcall
