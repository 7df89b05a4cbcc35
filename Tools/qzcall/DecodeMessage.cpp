// Multipart bodies, and dump files of whole exchanges.
#include <algorithm>

#include "References/Common/Number.h"
#include "References/Libraries/Wire/HeaderParameters.h"
#include "Tools/qzcall/DecodeParts.h"

namespace qzcall {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kLineEnd = "\r\n";

/// True for bytes that are an argument stream and so no header line, whatever they may spell.
bool beginsStream(std::string_view text) { return text.starts_with('\x07') || text.starts_with("NIRA"); }

bool isHeaderLine(std::string_view line) {
  constexpr std::string_view kNameBytes = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  const std::size_t end = line.find_first_not_of(kNameBytes);
  return end != kNone && end > 0 && line[end] == ':';
}

/// A position that moves through a piece.
class Cursor {
 public:
  Cursor(Level& level, const Piece& piece) : level_(level), piece_(piece), text_(piece.text()) {}

 protected:
  std::string_view rest() const { return text_.substr(at_); }
  bool atEnd() const { return at_ == text_.size(); }
  std::uint64_t offset() const { return piece_.offset + at_; }

  /// The line at the position, without its end.
  std::string_view line() const { return rest().substr(0, rest().find(kLineEnd)); }
  void passLine() { at_ = std::min(text_.size(), at_ + line().size() + kLineEnd.size()); }
  void pass(std::string_view text) {
    if (rest().starts_with(text)) at_ += text.size();
  }

  /// Adds the line as one of the headers of `level` and passes it. False when there are too many parts.
  bool takeLine(Level& level) {
    const Node* const added = level.addValue(Kind::headerLine, "", piece_.from(at_, line().size()));
    passLine();
    return added != nullptr;
  }

  bool isAtHeaderLine() const {
    return !beginsStream(rest()) && (isHeaderLine(line()) || line().starts_with("Failed to add the header line above"));
  }

  /// Takes header lines and returns them as a text. The empty line behind them, if there is one, is left.
  std::string_view takeHeaders(Level& level) {
    const std::size_t begin = at_;
    while (isAtHeaderLine() && takeLine(level)) {
    }
    return text_.substr(begin, at_ - begin);
  }

  Level& level_;
  const Piece& piece_;
  std::string_view text_;
  std::size_t at_ = 0;
};

class MultipartReader : private Cursor {
 public:
  MultipartReader(Level& level, const Piece& piece, std::string_view boundary)
      : Cursor(level, piece), boundary_(boundary) {}

  void read() {
    if (!findFirstMark()) return;
    for (std::size_t number = 1; takePart(number); ++number) {
    }
  }

 private:
  bool findFirstMark() {
    if (!boundary_.empty()) {
      const std::size_t found = text_.find("--" + std::string(boundary_));
      if (found == kNone) return refuse("the boundary that the headers name does not occur");
      at_ = found;
    } else {
      pass(kLineEnd);
      if (!rest().starts_with("--")) return refuse("a multipart body begins with a line of two hyphens and a boundary");
    }
    if (line().size() == rest().size()) return refuse("the line of the first mark does not end");
    mark_ = line();
    passLine();
    return true;
  }

  /// Reads one part and the mark behind it; false when there is none to follow.
  bool takePart(std::size_t number) {
    Node* const part = level_.add(Kind::part, "part " + std::to_string(number), piece_.from(at_, 0));
    if (part == nullptr) return false;
    bool isWhole = true;
    level_.descend(*part, [&](Level& inner) { isWhole = takeContent(inner, number); });
    return isWhole && takeMark();
  }

  bool takeContent(Level& level, std::size_t number) {
    const std::size_t begin = at_;
    const std::string_view headers = takeHeaders(level);
    if (!headers.empty()) pass(kLineEnd);
    const auto announced = qz::wire::declaredLength(headers);
    const std::size_t end = announced ? endByLength(level, *announced) : endByMark(level, number);
    addContent(level, piece_.from(at_, end - at_));
    at_ = end;
    level.node().length = at_ - begin;
    return level.node().faults.empty();
  }

  std::size_t endByLength(Level& level, std::uint64_t announced) {
    if (announced <= rest().size()) return at_ + static_cast<std::size_t>(announced);
    level.fault(offset(), "the part announces " + counted(announced, "byte") + ", of which " +
                              std::to_string(rest().size()) + " are there");
    return text_.size();
  }

  /// A part without a length: an argument stream, which tells its own, or what stands before the next mark. The bytes
  /// of a stream may contain anything, so one that does not end at a mark ends at the last of all.
  std::size_t endByMark(Level& level, std::size_t number) {
    const std::string mark(mark_);
    std::size_t end = kNone;
    if (beginsStream(rest())) {
      const auto length = streamLength(piece_.bytes.subspan(at_));
      end = length && rest().substr(*length).starts_with(mark) ? at_ + *length : text_.rfind(mark + "--");
    } else if (number == 1) {
      end = text_.find(std::string(kLineEnd) + mark, at_);
    } else {
      end = text_.find(mark, at_);
    }
    if (end != kNone && end >= at_) return end;
    level.fault(piece_.offset + text_.size(), "the bytes end before the mark " + shownMark() + " does");
    return text_.size();
  }

  bool takeMark() {
    const std::size_t found = text_.find(mark_, at_);
    if (found == kNone) return refuse("the closing mark " + shownMark() + "-- is missing");
    at_ = found + mark_.size();
    if (!rest().starts_with("--")) {
      if (!rest().starts_with(kLineEnd)) return refuse("the line of the mark goes on");
      pass(kLineEnd);
      return true;
    }
    pass("--");
    pass(kLineEnd);
    if (!atEnd()) level_.addValue(Kind::binary, kBehindTheEnd, piece_.from(at_));
    return false;
  }

  std::string shownMark() const { return forTerminal(mark_, 80); }

  bool refuse(std::string text) {
    level_.fault(offset(), std::move(text));
    return false;
  }

  std::string_view boundary_;
  std::string_view mark_;  ///< with its two hyphens
};

/// What stands in a dump in front of a message, and how the message begins.
struct Banner {
  std::string_view text;
  bool isReply;
};

constexpr Banner kBanners[] = {{"\r\n\r\nSent to Tarvon gateway:\r\n\r\n", false},
                               {"\r\n\r\nSent to remote http server:\r\n\r\n", false},
                               {"\r\n\r\nReceived from Tarvon gateway:\r\n\r\n", true},
                               {"\r\n\r\nReceived from the http server:\r\n\r\n", true}};

class DumpReader : private Cursor {
 public:
  using Cursor::Cursor;

  void read() {
    if (bannerAt(0) == nullptr) return level_.fault(offset(), "an exchange begins with an empty line and \"Sent to\"");
    for (std::size_t number = 1; !atEnd(); ++number) {
      Node* const exchange = level_.add(Kind::exchange, "exchange " + std::to_string(number), piece_.from(at_, 0));
      if (exchange == nullptr) return;
      const std::size_t begin = at_;
      level_.descend(*exchange, [&](Level& inner) { takeExchange(inner); });
      if (at_ == begin) return;
      exchange->length = at_ - begin;
    }
  }

 private:
  const Banner* bannerAt(std::size_t at) const {
    const std::string_view text = text_.substr(at);
    if (!text.starts_with("\r\n\r\n")) return nullptr;
    for (const Banner& banner : kBanners)
      if (text.starts_with(banner.text) && isFollowed(banner, text.substr(banner.text.size()))) return &banner;
    return nullptr;
  }

  /// A banner may stand in the text of a message as well; what follows a real one is known.
  static bool isFollowed(const Banner& banner, std::string_view text) {
    if (text.empty()) return true;
    if (banner.isReply) return text[0] >= '0' && text[0] <= '9';
    return text.starts_with("Content-Type:") || text.starts_with("URL:") || text.starts_with("\r\n\r\nSent to ");
  }

  std::size_t nextBanner(std::size_t from) const {
    for (std::size_t at = text_.find("\r\n\r\n", from); at != kNone; at = text_.find("\r\n\r\n", at + 2))
      if (bannerAt(at) != nullptr) return at;
    return text_.size();
  }

  bool endsAt(std::size_t at) const { return at == text_.size() || (at < text_.size() && bannerAt(at) != nullptr); }

  void takeExchange(Level& exchange) {
    const Banner* banner = bannerAt(at_);
    if (!banner->isReply) {
      takeMessage(exchange, *banner);
      banner = atEnd() ? nullptr : bannerAt(at_);
    }
    if (banner != nullptr && banner->isReply) takeMessage(exchange, *banner);
  }

  void takeMessage(Level& exchange, const Banner& banner) {
    const std::size_t begin = at_;
    at_ += banner.text.size();
    Node* const message = exchange.add(banner.isReply ? Kind::reply : Kind::request, "", piece_.from(at_, 0));
    if (message == nullptr) {
      at_ = text_.size();
      return;
    }
    const std::size_t head = at_;
    exchange.descend(*message, [&](Level& inner) { banner.isReply ? takeReply(inner) : takeRequest(inner); });
    if (at_ == head) at_ = nextBanner(std::max(head, begin + 1));
    message->length = at_ - head;
  }

  void takeRequest(Level& level) {
    const std::string_view headers = takeHeaders(level);
    takeBody(level, headers, endOfRequest(headers));
  }

  void takeReply(Level& level) {
    takeLine(level);
    if (line().starts_with("HTTP/")) takeLine(level);
    const std::string_view headers = takeHeaders(level);
    pass(kLineEnd);
    takeBody(level, headers, endOfReply(headers));
  }

  /// An argument may hold another dump. The body ends with a closing mark, and behind that stands the reply.
  std::size_t endOfRequest(std::string_view headers) {
    const std::string boundary = qz::wire::replyFraming(headers).boundary;
    const std::size_t end = boundary.empty() || searched_ > kMostSearched * text_.size() ? kNone : endByMark(boundary);
    return end == kNone ? nextBanner(at_) : end;
  }

  std::size_t endByMark(const std::string& boundary) {
    const std::string close = "--" + boundary + "--\r\n";
    for (std::size_t at = text_.find(close, at_); at != kNone; at = text_.find(close, at + 1))
      if (endsAt(at + close.size())) return at + close.size();
    searched_ += rest().size();
    return kNone;
  }

  std::size_t endOfReply(std::string_view headers) const {
    const auto length = qz::wire::declaredLength(headers);
    if (length && *length <= rest().size() && endsAt(at_ + static_cast<std::size_t>(*length)))
      return at_ + static_cast<std::size_t>(*length);
    return nextBanner(at_);
  }

  void takeBody(Level& level, std::string_view headers, std::size_t end) {
    const auto framing = qz::wire::replyFraming(headers);
    const Piece body = piece_.from(at_, end - at_);
    at_ = end;
    if (body.size() == 0) return;
    if (!framing.isMultipart) return addContent(level, body);
    Node* const node = level.add(Kind::multipart, "", body);
    if (node != nullptr) level.descend(*node, [&](Level& inner) { readMultipart(inner, body, framing.boundary); });
  }

  /// The file is not searched to its end more often than this for marks that are not there.
  static constexpr std::uint64_t kMostSearched = 16;
  std::uint64_t searched_ = 0;
};

}  // namespace

void readMultipart(Level& level, const Piece& piece, std::string_view boundary) {
  MultipartReader(level, piece, boundary).read();
}

void readDump(Level& level, const Piece& piece) { DumpReader(level, piece).read(); }

}  // namespace qzcall
