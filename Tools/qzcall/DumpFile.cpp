#include "Tools/qzcall/DumpFile.h"

#include <algorithm>
#include <array>

#include "References/Libraries/Wire/HeaderParameters.h"
#include "Tools/qzcall/MessageParts.h"

namespace qzcall {
namespace {

/// The file is not searched more often than this for marks that are not there.
constexpr std::uint64_t kMostSearched = 16;

constexpr std::uint64_t kLongestHead = std::uint64_t{1} << 20;

constexpr std::string_view kEmptyLines = "\r\n\r\n";
constexpr std::string_view kSent = "\r\n\r\nSent to ";
constexpr std::string_view kReceived = "\r\n\r\nReceived from ";

/// True when `text` begins like this, or ends before it could.
bool mayBegin(std::string_view text, std::string_view like) {
  return text.starts_with(like) || (text.size() < like.size() && like.starts_with(text));
}

}  // namespace

struct DumpReader::Banner {
  std::string_view text;
  bool isReply;
  bool isCall;
};

const DumpReader::Banner DumpReader::kBanners[] = {{qz::wire::kSentToGateway, false, true},
                                                   {qz::wire::kSentToServer, false, false},
                                                   {qz::wire::kReceivedFromGateway, true, true},
                                                   {qz::wire::kReceivedFromServer, true, false}};

bool isDump(std::string_view head) { return head.starts_with(kSent) || head.starts_with(kReceived); }

DumpReader::DumpReader(FileBytes& bytes)
    : bytes_(bytes), search_(bytes, std::max<std::uint64_t>(bytes.size(), 1) * kMostSearched) {
  first_ = at_ = bannerAt(0) != nullptr ? 0 : nextBanner(0);
}

const DumpReader::Banner* DumpReader::bannerAt(std::uint64_t at) {
  const std::string_view text = bytes_.from(at, kDumpHead);
  const auto* const found = std::ranges::find_if(kBanners, [&](const Banner& b) { return text.starts_with(b.text); });
  return found == std::end(kBanners) ? nullptr : found;
}

/// A banner may stand in a text as well; what follows a real one is known.
bool DumpReader::isFollowed(const Banner& banner, std::uint64_t at) {
  const std::string_view text = bytes_.from(at + banner.text.size(), kDumpHead);
  if (text.empty() || mayBegin(text, kSent)) return true;
  if (banner.isReply) return text[0] >= '0' && text[0] <= '9';
  return mayBegin(text, "Content-Type:") || mayBegin(text, "URL:");
}

/// Where the first banner begins there; `end` when none does.
std::uint64_t DumpReader::bannerWithin(std::uint64_t from, std::uint64_t end) {
  // A banner is passed once and no more, so that these searches need no bound.
  Search search(bytes_);
  for (auto at = search.find(kEmptyLines, from, end); at; at = search.find(kEmptyLines, *at + 2, end))
    if (const Banner* const banner = bannerAt(*at); banner != nullptr && isFollowed(*banner, *at)) return *at;
  return end;
}

std::optional<DumpMessage> DumpReader::headless() {
  constexpr int kMostLines = 16;
  DumpMessage message;
  message.isCall = true;
  for (int i = 0; i < kMostLines && message.headers < first_; ++i) {
    const std::uint64_t end = std::min(first_, endOfHeaders(bytes_, message.headers, Folding::none));
    if (end > message.headers) {
      message.headersEnd = message.body = end;
      message.end = first_;
      return message;
    }
    message.headers = behindLine(bytes_, message.headers).value_or(first_);
  }
  return std::nullopt;
}

std::optional<DumpExchange> DumpReader::next() {
  const Banner* banner = bannerAt(at_);
  if (banner == nullptr) return std::nullopt;
  DumpExchange exchange;
  if (!banner->isReply) {
    exchange.request = takeMessage(*banner);
    banner = bannerAt(at_);
  }
  if (banner != nullptr && banner->isReply) exchange.reply = takeMessage(*banner);
  return exchange;
}

DumpMessage DumpReader::takeMessage(const Banner& banner) {
  DumpMessage message;
  message.isReply = banner.isReply;
  message.isCall = banner.isCall;
  message.begin = at_;
  message.head = message.headers = at_ + banner.text.size();
  if (banner.isReply && !endsAt(message.head)) {
    message.headers = behindLine(bytes_, message.head).value_or(message.head);
    if (bytes_.startsWith(message.headers, "HTTP/"))
      message.headers = behindLine(bytes_, message.headers).value_or(message.headers);
  }
  message.headersEnd = endOfHead(message);
  const auto length = static_cast<std::size_t>(message.headersEnd - message.headers);
  message.headerLines = bytes_.from(message.headers, length).substr(0, length);
  message.body = message.headersEnd;
  if (banner.isReply && !endsAt(message.body)) message.body = behindLineBreak(bytes_, message.body);
  message.end = at_ = endOf(message);
  return message;
}

/// A damaged line between those that are good does not end the head.
std::uint64_t DumpReader::endOfHead(const DumpMessage& message) {
  const Folding folding = message.isReply ? Folding::allowed : Folding::none;
  std::uint64_t at = endOfHeaders(bytes_, message.headers, folding);
  while (at - message.headers < kLongestHead && isDamagedHeader(message, at))
    at = endOfHeaders(bytes_, behindLine(bytes_, at).value_or(at), folding);
  return at;
}

/// The body of a plain request may be any text, and so it may begin with such a line.
bool DumpReader::isDamagedHeader(const DumpMessage& message, std::uint64_t at) {
  if (!message.isReply && !message.isCall) return false;
  const std::string_view line = bytes_.from(at, 4);
  if (line.empty() || std::string_view("<\r\n").find(line[0]) != std::string_view::npos) return false;
  if (line.starts_with("--") || beginsStream(line)) return false;
  const auto next = behindLine(bytes_, at);
  if (!next) return false;
  const bool isLast = behindLineBreak(bytes_, *next) > *next || (!message.isReply && bytes_.startsWith(*next, "<"));
  return isLast || headerLength(bytes_.from(*next, kDumpHead), Folding::none) > 0;
}

std::uint64_t DumpReader::endOf(const DumpMessage& message) {
  std::optional<std::uint64_t> end = endByLength(message);
  if (!end && endsAt(message.body)) end = message.body;
  if (!end && isMultipart(message)) end = endByParts(message);
  if (!end && bytes_.startsWith(message.body, "<")) end = endByEnvelope(message.body);
  return end ? *end : nextBanner(message.body);
}

bool DumpReader::isMultipart(const DumpMessage& message) {
  if (qz::wire::replyFraming(message.headerLines).isMultipart) return true;
  return message.isCall && bytes_.startsWith(behindLineBreak(bytes_, message.body), "--");
}

/// What a deflated reply announces is not the length of what is in the dump.
std::optional<std::uint64_t> DumpReader::endByLength(const DumpMessage& message) {
  const auto length = qz::wire::declaredLength(message.headerLines);
  if (!length || *length > bytes_.size() - message.body || !endsAt(message.body + *length)) return std::nullopt;
  return message.body + *length;
}

std::optional<std::uint64_t> DumpReader::endByParts(const DumpMessage& message) {
  const std::string boundary = qz::wire::replyFraming(message.headerLines).boundary;
  BodyParts parts(search_, message.body, boundary, BodyParts::BrokenStream::stops);
  const auto goesOn = [&](std::uint64_t begin, std::uint64_t end) { return bannerWithin(begin, end) < end; };
  std::uint64_t from = message.body;
  while (const auto part = parts.next()) {
    // A reply may have broken off, and then the marks of the next one, which may be the same, are not its own. The empty
    // line of a banner may have been taken for that behind the headers of a part.
    const bool isBroken =
        message.isReply && (goesOn(from, part->content + kEmptyLines.size() - 1) || goesOn(part->told, part->behind));
    if (isBroken) return std::nullopt;
    from = part->behind;
  }
  if (parts.isWhole()) return endsAt(parts.position()) ? parts.position() : nextBanner(parts.position());
  if (message.isReply) return std::nullopt;
  if (const auto end = endByClosingMark(message.body, boundary)) return end;
  // A request is dumped as a whole, so that only the end of the file can have cut it.
  return parts.isCut() ? std::optional(bytes_.size()) : std::nullopt;
}

std::optional<std::uint64_t> DumpReader::endByClosingMark(std::uint64_t from, const std::string& boundary) {
  if (boundary.empty()) return std::nullopt;
  const std::string close = "--" + boundary + "--\r\n";
  for (auto at = search_.find(close, from); at; at = search_.find(close, *at + 1))
    if (endsAt(*at + close.size())) return *at + close.size();
  return std::nullopt;
}

std::optional<std::uint64_t> DumpReader::endByEnvelope(std::uint64_t from) {
  constexpr std::string_view kTag = "</SOAP-ENV:Envelope>";
  const auto tag = search_.find(kTag, from);
  return tag && endsAt(*tag + kTag.size()) ? std::optional(*tag + kTag.size()) : std::nullopt;
}

}  // namespace qzcall
