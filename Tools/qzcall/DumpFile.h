// Dump files, divided into the exchanges that they hold.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "References/Libraries/Wire/DumpBanners.h"
#include "Tools/qzcall/FileBytes.h"

namespace qzcall {

/// One message of a dump file. Its places count from the beginning of the file.
struct DumpMessage {
  bool isReply = false;
  bool isCall = false;           ///< to or from a gateway, no plain request
  std::uint64_t begin = 0;       ///< of its banner
  std::uint64_t head = 0;        ///< behind the banner: of the status lines of a reply, the header lines of a request
  std::uint64_t headers = 0;     ///< of its header lines
  std::uint64_t headersEnd = 0;  ///< in front of the empty line behind those of a reply
  std::uint64_t body = 0;
  std::uint64_t end = 0;  ///< where the next banner begins, or the file ends
  std::string headerLines;
};

/// A request and its reply, one of which may be missing.
struct DumpExchange {
  std::optional<DumpMessage> request;
  std::optional<DumpMessage> reply;

  std::uint64_t begin() const { return request ? request->begin : reply->begin; }
  std::uint64_t end() const { return reply ? reply->end : request->end; }
};

/// Longest banner that begins a dump file, so that so many bytes of a file tell whether it is one.
inline constexpr std::size_t kDumpHead = 64;

/// True for the first bytes of a dump file.
bool isDump(std::string_view head);

/// Reads the exchanges of a dump file in their order. Where a message ends it learns from the lengths that the message
/// announces, and does not take for a banner what stands in an argument. Only in a message that is broken does it look
/// for the next banner.
class DumpReader {
 public:
  /// @param bytes outlive the reader
  explicit DumpReader(FileBytes& bytes);

  /// Where the first banner begins: what stands in front of it belongs to no exchange.
  std::uint64_t firstBanner() const { return first_; }
  /// What stands in front of the first banner, taken for a message whose banner is damaged; nothing when no header lines
  /// are found there.
  std::optional<DumpMessage> headless();
  /// The next exchange; nothing at the end.
  std::optional<DumpExchange> next();

 private:
  struct Banner;
  static const Banner kBanners[];

  const Banner* bannerAt(std::uint64_t at);
  bool isFollowed(const Banner& banner, std::uint64_t at);
  std::uint64_t nextBanner(std::uint64_t from) { return bannerWithin(from, bytes_.size()); }
  std::uint64_t bannerWithin(std::uint64_t from, std::uint64_t end);
  bool endsAt(std::uint64_t at) { return at == bytes_.size() || (at < bytes_.size() && bannerAt(at) != nullptr); }

  DumpMessage takeMessage(const Banner& banner);
  std::uint64_t endOfHead(const DumpMessage& message);
  bool isDamagedHeader(const DumpMessage& message, std::uint64_t at);
  bool isMultipart(const DumpMessage& message);
  std::uint64_t endOf(const DumpMessage& message);
  std::optional<std::uint64_t> endByLength(const DumpMessage& message);
  std::optional<std::uint64_t> endByParts(const DumpMessage& message);
  std::optional<std::uint64_t> endByClosingMark(std::uint64_t from, const std::string& boundary);
  std::optional<std::uint64_t> endByEnvelope(std::uint64_t from);

  FileBytes& bytes_;
  Search search_;
  std::uint64_t first_ = 0;
  std::uint64_t at_ = 0;
};

}  // namespace qzcall
