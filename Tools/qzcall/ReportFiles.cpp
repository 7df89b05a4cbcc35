#include "Tools/qzcall/ReportFiles.h"

#include <algorithm>
#include <vector>

namespace qzcall {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kSent = "\r\n\r\nSent to ";
constexpr std::string_view kBanners[] = {"\r\n\r\nSent to Tarvon gateway:\r\n\r\n",
                                         "\r\n\r\nSent to remote http server:\r\n\r\n"};
/// A banner and what tells it from one that stands in a text.
constexpr std::size_t kLongestBanner = 64;

/// Cuts a dump file into its exchanges.
class DumpSplitter {
 public:
  using Take = std::function<void(std::string_view exchange, std::uint64_t leftOut)>;

  explicit DumpSplitter(Take take) : take_(std::move(take)) {}

  void feed(std::string_view piece) {
    window_ += piece;
    split(window_.size() - std::min(window_.size(), kLongestBanner));
  }

  void finish() {
    split(window_.size());
    keep(window_);
    if (hasBegun_) take_(exchange_, leftOut_);
  }

  std::uint64_t foreignBytes() const { return foreign_; }

 private:
  /// Banners that begin in front of `end` are found.
  void split(std::size_t end) {
    std::size_t done = 0;
    for (std::size_t at = window_.find(kSent); at < end && at != kNone; at = window_.find(kSent, at + 1)) {
      if (!isBanner(std::string_view(window_).substr(at))) continue;
      keep(std::string_view(window_).substr(done, at - done));
      if (hasBegun_) take_(exchange_, leftOut_);
      exchange_.clear();
      leftOut_ = 0;
      hasBegun_ = true;
      done = at;
    }
    end = std::max(end, done);
    keep(std::string_view(window_).substr(done, end - done));
    window_.erase(0, end);
  }

  static bool isBanner(std::string_view text) {
    for (const std::string_view banner : kBanners) {
      if (!text.starts_with(banner)) continue;
      const std::string_view behind = text.substr(banner.size());
      return behind.empty() || behind.starts_with("Content-Type:") || behind.starts_with("URL:") ||
             behind.starts_with(kSent);
    }
    return false;
  }

  void keep(std::string_view bytes) {
    if (!hasBegun_) {
      foreign_ += bytes.size();
      return;
    }
    const std::size_t room = LogReader::kMostKept - exchange_.size();
    exchange_ += bytes.substr(0, room);
    leftOut_ += bytes.size() - std::min(room, bytes.size());
  }

  Take take_;
  std::string window_;
  std::string exchange_;
  std::uint64_t leftOut_ = 0;
  std::uint64_t foreign_ = 0;
  bool hasBegun_ = false;
};

/// The first bytes, by which the file is known; fewer only at its end.
std::optional<std::size_t> readHead(const ReadPiece& read, std::vector<char>& piece) {
  std::size_t size = 0;
  while (size < kSent.size()) {
    const auto got = read(piece.data() + size, piece.size() - size);
    if (!got) return std::nullopt;
    if (*got == 0) break;
    size += *got;
  }
  return size;
}

/// Hands the first piece and all others to `feed`.
bool readOn(const ReadPiece& read, std::vector<char>& piece, std::size_t got, ReportFile& file,
            const std::function<void(std::string_view)>& feed) {
  while (got > 0) {
    file.size += got;
    feed({piece.data(), got});
    const auto next = read(piece.data(), piece.size());
    if (!next) return false;
    got = *next;
  }
  return true;
}

}  // namespace

bool readReportFile(const ReadPiece& read, std::size_t index, const Period& period, ReportFile& file,
                    CallCollector& collector) {
  std::vector<char> piece(std::size_t{1} << 18);
  const auto got = readHead(read, piece);
  if (!got) return false;
  file.isDump = std::string_view(piece.data(), *got).starts_with(kSent);
  bool isWhole = false;
  if (file.isDump) {
    DumpSplitter splitter([&](std::string_view exchange, std::uint64_t leftOut) {
      ++file.exchanges;
      collector.takeDump(index, exchange, leftOut);
    });
    isWhole = readOn(read, piece, *got, file, [&](std::string_view bytes) { splitter.feed(bytes); });
    splitter.finish();
    file.foreignBytes = splitter.foreignBytes();
  } else {
    LogReader reader([&](LogRecord& record) {
      if (!period.holds(record.time)) {
        ++file.outside;
        return;
      }
      collector.take(index, record);
    });
    isWhole = readOn(read, piece, *got, file, [&](std::string_view bytes) { reader.feed(bytes); });
    reader.finish();
    file.counts = reader.counts();
  }
  collector.endFile();
  return isWhole;
}

}  // namespace qzcall
