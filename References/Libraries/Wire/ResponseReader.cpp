#include "References/Libraries/Wire/ResponseReader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>

#include "References/Common/Ascii.h"
#include "References/Common/Number.h"

namespace qz::wire {
namespace {

using Outcome = tl::expected<void, ReadFailure>;

constexpr const char* kPlain = "ReadResponse";
constexpr const char* kMultipart = "ReadResponseMultiPart";

/// Below this size an attachment gets its memory at once, above it doubles while bytes arrive.
constexpr std::size_t kFirstStep = std::size_t{16} << 20;

/// Longest line that is taken for a header in front of an attachment, and most of them.
constexpr std::size_t kMaxHeaderLine = 8192;
constexpr int kMaxHeaderLines = 64;

constexpr bool isPrintable(char c) { return (c >= ' ' && c <= '~') || c == '\t'; }

std::string message(std::string_view before, std::size_t first, std::string_view between, std::size_t second) {
  std::string text(before);
  text += DecimalText(static_cast<std::int64_t>(first)).view();
  text += between;
  text += DecimalText(static_cast<std::int64_t>(second)).view();
  return text;
}

/// Reads lines and raw bytes, and can look at bytes before it takes them.
class Reader {
 public:
  Reader(ByteSource& source, ReplyListener& listener, const char* operation)
      : source_(source), listener_(listener), operation_(operation) {}

  /// Takes and traces the next line. False at the end, also when the text has outgrown its limit.
  bool line(std::string& line) {
    if (!takeLine(line)) return false;
    textBytes_ += line.size();
    listener_.line(line);
    return textBytes_ <= kMaxReplyText;
  }

  std::size_t read(std::span<std::byte> into) {
    if (pending_.empty()) return source_.read(into);
    const std::size_t count = std::min(into.size(), pending_.size());
    std::ranges::copy(std::as_bytes(std::span(pending_)).first(count), into.begin());
    pending_.erase(0, count);
    return count;
  }

  /// The byte at `index` from here, or nothing at the end.
  std::optional<char> peek(std::size_t index) {
    while (pending_.size() <= index) {
      std::byte next{};
      if (source_.read({&next, 1}) != 1) return std::nullopt;
      pending_ += static_cast<char>(next);
    }
    return pending_[index];
  }

  std::string_view peeked(std::size_t count) const { return std::string_view(pending_).substr(0, count); }

  /// Takes bytes that have been looked at, as a line.
  void skip(std::size_t count) {
    listener_.line(peeked(count));
    pending_.erase(0, count);
  }

  ReadFailure fail(std::string_view text) const {
    listener_.error(operation_, text);
    return {};
  }

  /// The text has its limit and the reply arrived whole, or the failure that it did not.
  Outcome checkWhole() {
    if (textBytes_ > kMaxReplyText) return tl::unexpected(fail("Text of the reply is too long"));
    if (!source_.complete()) return tl::unexpected(fail("Reply ended before all of it arrived"));
    return {};
  }

  bool textTooLong() const { return textBytes_ > kMaxReplyText; }
  ReplyListener& listener() const { return listener_; }
  const char* operation() const { return operation_; }

 private:
  bool takeLine(std::string& line) {
    const std::size_t limit = kMaxReplyText - std::min(textBytes_, kMaxReplyText) + 1;
    if (pending_.empty()) return source_.readLine(line, limit);
    const auto end = pending_.find('\n');
    line = pending_.substr(0, end == std::string::npos ? end : end + 1);
    pending_.erase(0, line.size());
    if (end != std::string::npos) return true;
    std::string rest;
    if (source_.readLine(rest, limit)) line += rest;
    return true;
  }

  ByteSource& source_;
  ReplyListener& listener_;
  const char* operation_;
  std::string pending_;
  std::size_t textBytes_ = 0;
};

tl::expected<ReplyText, ReadFailure> cutEnvelope(Reader& reader, std::string text) {
  const auto found = findEnvelope(text);
  if (found) return ReplyText{std::move(text), found->begin, found->size, 0};
  reader.listener().error("ExtractSoapEnvXml", found.error());
  return tl::unexpected(reader.fail("ExtractSoapEnvXml failed" + text));
}

/// What stands in front of the bytes of an attachment.
enum class Head { blankLine, header, data };

struct HeadLine {
  Head kind = Head::data;
  std::size_t size = 0;  ///< bytes up to and including the line break
};

/// Size of the line break at `index`, 0 when there is none.
std::size_t lineBreakAt(Reader& reader, std::size_t index) {
  const auto first = reader.peek(index);
  if (first == '\n') return 1;
  return first == '\r' && reader.peek(index + 1) == '\n' ? 2 : 0;
}

HeadLine lookAtHead(Reader& reader, std::string_view startMark) {
  if (const std::size_t size = lineBreakAt(reader, 0); size > 0) return {Head::blankLine, size};
  std::size_t at = 0;
  while (at < kMaxHeaderLine && isTokenByte(reader.peek(at).value_or(' '))) ++at;
  if (at == 0 || reader.peek(at) != ':') return {};
  while (at < kMaxHeaderLine && isPrintable(reader.peek(at).value_or('\0'))) ++at;
  const std::size_t breakSize = lineBreakAt(reader, at);
  // A short attachment may run into the mark behind it, which can hold a colon.
  if (breakSize == 0 || reader.peeked(at).find(startMark) != std::string_view::npos) return {};
  return {Head::header, at + breakSize};
}

/// Some gateways put the bytes right behind the line that announces them, others end the part's headers first. A list
/// stream begins with a byte that no header has, so the two cannot be confused.
void skipHead(Reader& reader, std::string_view startMark) {
  for (int i = 0; i < kMaxHeaderLines; ++i) {
    const auto head = lookAtHead(reader, startMark);
    if (head.kind == Head::data) return;
    reader.skip(head.size);
    if (head.kind == Head::blankLine) return;
  }
}

/// The number behind "Content-Length:" in `line`, or nothing when there is no such number or it is beyond 31 bits.
std::optional<long> announcedLength(std::string_view line, std::size_t mark) {
  const auto number = trimAscii(line.substr(mark));
  std::int32_t length = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), length);
  if (error != std::errc() || length < 0) return std::nullopt;
  return static_cast<long>(length);
}

/// The bytes of one attachment on their way into the sink.
class AttachmentTransfer {
 public:
  AttachmentTransfer(AttachmentSink& sink, std::size_t index, std::size_t length)
      : sink_(sink), index_(index), length_(length) {
    grow(std::min(length, kFirstStep));
  }

  bool done() const { return position_ == length_; }
  std::size_t position() const { return position_; }
  std::size_t remaining() const { return length_ - position_; }

  /// Where the next bytes go.
  std::span<std::byte> next() {
    if (dropped_) return std::span(scrap_).first(std::min(scrap_.size(), remaining()));
    if (position_ == storage_.size()) grow(std::min(length_, storage_.size() * 2));
    return storage_.subspan(position_);
  }

  void advance(std::size_t count) { position_ += count; }

 private:
  void grow(std::size_t size) {
    storage_ = sink_.resize(index_, size);
    dropped_ = storage_.empty();
  }

  AttachmentSink& sink_;
  std::size_t index_;
  std::size_t length_;
  std::size_t position_ = 0;
  bool dropped_ = false;
  std::span<std::byte> storage_;
  std::array<std::byte, 4096> scrap_{};
};

Outcome readAttachment(Reader& reader, AttachmentSink& sink, std::size_t index, long length) {
  long budget = attachmentReadBudget(length);
  reader.listener().information(reader.operation(),
                                message("Max predicted reads for attachment ", static_cast<std::size_t>(budget),
                                        ", for total bytes ", static_cast<std::size_t>(length)));
  AttachmentTransfer transfer(sink, index, static_cast<std::size_t>(length));
  while (!transfer.done()) {
    const auto into = transfer.next();
    const std::size_t count = budget-- > 0 ? reader.read(into) : 0;
    if (count == 0) {
      auto text = message("Max reads exceeded for attachment, bytes read ", transfer.position(), ", bytes remaining ",
                          transfer.remaining());
      reader.listener().error(reader.operation(), text);
      return tl::unexpected(ReadFailure{std::move(text)});
    }
    reader.listener().bytes(into.first(count));
    transfer.advance(count);
  }
  return {};
}

/// The parts of a reply behind its envelope.
class PartReader {
 public:
  PartReader(Reader& reader, std::string_view boundary, AttachmentSink& sink)
      : reader_(reader), startMark_("--" + std::string(boundary)), endMark_(startMark_ + "--"), sink_(sink) {}

  /// Text of the envelope's part, its headers included.
  tl::expected<std::string, ReadFailure> envelopePart() {
    std::string text;
    if (toNextMark() != Mark::start) return text;
    for (std::string line; reader_.line(line); text += trimAscii(line)) {
      const Mark mark = markIn(line);
      if (mark == Mark::end) return tl::unexpected(reader_.fail("Reply has no part behind the envelope"));
      if (mark == Mark::start) break;
    }
    return text;
  }

  /// Reads all attachments and returns how many had bytes.
  tl::expected<std::size_t, ReadFailure> attachments() {
    std::size_t count = 0;
    long room = std::numeric_limits<std::int32_t>::max();
    for (bool more = true; more;) {
      const auto length = partLength();
      if (!length) return tl::unexpected(length.error());
      // A reply may not go on for ever with parts that nobody wants.
      if (*length > room) return tl::unexpected(reader_.fail("Attachments of the reply are too long"));
      room -= *length;
      if (*length > 0) {
        skipHead(reader_, startMark_);
        if (auto read = readAttachment(reader_, sink_, count, *length); !read) return tl::unexpected(read.error());
        ++count;
      }
      more = toNextMark() != Mark::end;
    }
    return count;
  }

 private:
  enum class Mark { none, start, end };

  Mark markIn(std::string_view line) const {
    // The end mark contains the start mark.
    if (line.find(endMark_) != std::string_view::npos) return Mark::end;
    return line.find(startMark_) != std::string_view::npos ? Mark::start : Mark::none;
  }

  tl::expected<long, ReadFailure> partLength() {
    constexpr std::string_view kHeader = "Content-Length:";
    for (std::string line; reader_.line(line) && markIn(line) == Mark::none;) {
      const auto at = findIgnoringAsciiCase(line, kHeader);
      if (at == std::string::npos) continue;
      if (const auto length = announcedLength(line, at + kHeader.size())) return *length;
      return tl::unexpected(reader_.fail("Length of the attachment is no number"));
    }
    return tl::unexpected(reader_.fail("No header mark found"));
  }

  /// At the end of the data the mark is `none`, and the search for the next part's length then says what is missing.
  Mark toNextMark() {
    for (std::string line; reader_.line(line);)
      if (const Mark mark = markIn(line); mark != Mark::none) return mark;
    return Mark::none;
  }

  Reader& reader_;
  std::string startMark_;
  std::string endMark_;
  AttachmentSink& sink_;
};

}  // namespace

tl::expected<EnvelopePosition, const char*> findEnvelope(std::string_view text) {
  constexpr std::string_view kStart = "<SOAP-ENV:Envelope";
  constexpr std::string_view kEnd = "</SOAP-ENV:Envelope>";
  const auto begin = text.find(kStart);
  if (begin == std::string_view::npos)
    return tl::unexpected<const char*>("Could'n find the starting mark of soap envelope");
  const auto end = text.find(kEnd, begin + kStart.size());
  if (end == std::string_view::npos)
    return tl::unexpected<const char*>("Could'n find the ending mark of soap envelope");
  return EnvelopePosition{begin, end + kEnd.size() - begin};
}

tl::expected<ReplyText, ReadFailure> readPlainReply(ByteSource& source, ReplyListener& listener) {
  Reader reader(source, listener, kPlain);
  std::string text;
  for (std::string line; reader.line(line);) text += trimAscii(line);
  if (reader.textTooLong()) return tl::unexpected(reader.checkWhole().error());
  auto reply = cutEnvelope(reader, std::move(text));
  if (!reply) return reply;
  if (auto whole = reader.checkWhole(); !whole) return tl::unexpected(whole.error());
  return reply;
}

tl::expected<ReplyText, ReadFailure> readMultipartReply(ByteSource& source, std::string_view boundary,
                                                        AttachmentSink& sink, ReplyListener& listener) {
  Reader reader(source, listener, kMultipart);
  if (boundary.empty()) return tl::unexpected(reader.fail("Multipart reply does not name its boundary"));
  PartReader parts(reader, boundary, sink);
  auto text = parts.envelopePart();
  if (!text) return tl::unexpected(text.error());
  auto reply = cutEnvelope(reader, std::move(*text));
  if (!reply) return reply;
  const auto count = parts.attachments();
  if (!count) return tl::unexpected(count.error());
  reply->attachments = *count;
  if (auto whole = reader.checkWhole(); !whole) return tl::unexpected(whole.error());
  return reply;
}

}  // namespace qz::wire
