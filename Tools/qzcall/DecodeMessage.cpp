// Multipart bodies, and dump files of whole exchanges.
#include <algorithm>
#include <charconv>

#include "References/Libraries/Wire/HeaderParameters.h"
#include "References/Libraries/Wire/ResponseReader.h"
#include "References/Libraries/Wire/ResponseStatus.h"
#include "Tools/qzcall/DecodeParts.h"
#include "Tools/qzcall/DumpFile.h"
#include "Tools/qzcall/MessageParts.h"

namespace qzcall {
namespace {

constexpr char kRefused[] = ", and the library refuses such a reply";

std::size_t placeOf(std::uint64_t place) { return static_cast<std::size_t>(place); }

Piece between(const Piece& piece, std::uint64_t begin, std::uint64_t end) {
  return piece.from(placeOf(begin), placeOf(end - begin));
}

std::size_t lengthWithoutLineEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line.size();
}

enum class IsHead { no, yes };

/// Adds a part for each line; a header is one with the lines that continue it.
void addLines(Level& level, const Piece& lines, IsHead isHead) {
  for (std::size_t at = 0; at < lines.size();) {
    const std::string_view rest = lines.text().substr(at);
    const std::size_t header = isHead == IsHead::yes ? headerLength(rest, Folding::allowed) : 0;
    const std::size_t length = header > 0 ? header : lineLength(rest);
    const Piece line = lines.from(at, lengthWithoutLineEnd(rest.substr(0, length)));
    if (level.addValue(Kind::headerLine, "", line) == nullptr) return;
    if (header == 0 && isHead == IsHead::yes) level.fault(line.offset, "this line is no header");
    at += length;
  }
}

class MultipartReader {
 public:
  MultipartReader(Level& level, const Piece& piece, std::string_view boundary, bool isReply)
      : level_(level),
        piece_(piece),
        bytes_(piece.bytes),
        search_(bytes_),
        parts_(search_, 0, boundary, BodyParts::BrokenStream::endsAtLastMark),
        isReply_(isReply) {
    if (isReply && boundary.empty()) refuse(0, "the headers name no boundary");
  }

  void read() {
    while (const auto part = parts_.next())
      if (!addPart(*part)) return;
    if (!parts_.fault().empty()) level_.fault(piece_.offset + parts_.position(), parts_.fault());
    if (count_ == 0) return addContent(level_, piece_);
    if (!parts_.isWhole()) return;
    if (isReply_ && count_ == 1) refuse(parts_.position(), "no part stands behind the envelope");
    addStray(level_, kBehindTheEnd, piece_.from(placeOf(parts_.position())));
  }

 private:
  bool addPart(const BodyPart& part) {
    if (++count_ == 1) addPreamble();
    const Piece whole = between(piece_, part.begin, std::max(part.end, part.behind));
    Node* const node = level_.add(Kind::part, "part " + std::to_string(count_), whole);
    if (node == nullptr) return false;
    level_.descend(*node, [&](Level& inner) { readPart(inner, part); });
    return true;
  }

  /// A request begins with a line break, which belongs to the mark.
  void addPreamble() {
    const Piece preamble = piece_.from(0, placeOf(parts_.firstMark()));
    if (preamble.text() != "\r\n") addStray(level_, kInFront, preamble);
  }

  void readPart(Level& level, const BodyPart& part) {
    addLines(level, between(piece_, part.begin, part.headersEnd), IsHead::yes);
    const Piece content = between(piece_, part.content, part.end);
    addContent(level, content);
    addStray(level, kBehindTheEnd, between(piece_, part.end, part.behind));
    if (!part.fault.empty()) level.fault(piece_.offset + part.faultAt, part.fault);
    if (isReply_) judge(level, part, content);
  }

  void judge(Level& level, const BodyPart& part, const Piece& content) {
    const auto refuseFor = [&](const char* why) {
      level.fault(piece_.offset + part.begin, std::string(why) + kRefused);
    };
    if (count_ == 1) {
      if (!qz::wire::findEnvelope(content.text())) refuseFor("there is no whole envelope in the first part");
      return;
    }
    if (part.length == BodyPart::Length::missing) return refuseFor("the part announces no length");
    if (part.length == BodyPart::Length::broken) return refuseFor("the length that the part announces is no number");
    if (content.size() > 0 && ++attachments_ == 2) refuseFor("this is a second attachment");
  }

  void refuse(std::uint64_t at, const char* why) { level_.fault(piece_.offset + at, std::string(why) + kRefused); }

  Level& level_;
  const Piece& piece_;
  MemoryBytes bytes_;
  Search search_;
  BodyParts parts_;
  bool isReply_;
  std::size_t count_ = 0;
  std::size_t attachments_ = 0;
};

/// The status of a reply stands in its first line.
unsigned statusOf(std::string_view head) {
  unsigned status = 0;
  std::from_chars(head.data(), head.data() + std::min<std::size_t>(head.size(), 5), status);
  return status;
}

/// Whether the library reads the body of a reply to a call: that of another one is, as a rule, not in the dump either.
bool isRead(unsigned status, std::string_view headers) {
  constexpr unsigned kLastAccepted = 202;
  const auto verdict = qz::wire::judgeStatus(status, kLastAccepted, false, headers);
  return verdict == qz::wire::StatusVerdict::read || verdict == qz::wire::StatusVerdict::readFault;
}

class MessageReader {
 public:
  MessageReader(Level& level, const Piece& file, const DumpMessage& message)
      : level_(level),
        message_(message),
        head_(between(file, message.head, message.headers)),
        headers_(between(file, message.headers, message.headersEnd)),
        body_(between(file, message.body, message.end)),
        framing_(qz::wire::replyFraming(message.headerLines)) {}

  void read() {
    readStatus();
    addLines(level_, headers_, IsHead::yes);
    if (framing_.isMultipart || (message_.isCall && looksMultipart())) return readParts();
    addContent(level_, body_);
    judgeLength();
    if (isCallReply() && !qz::wire::findEnvelope(body_.text()))
      level_.fault(body_.offset, std::string("there is no whole envelope in the body") + kRefused);
  }

 private:
  bool isCallReply() const {
    return message_.isReply && message_.isCall && isRead(statusOf(head_.text()), message_.headerLines);
  }

  void readStatus() {
    addLines(level_, head_, IsHead::no);
    if (message_.isReply && statusOf(head_.text()) == 0) level_.fault(head_.offset, "there is no status");
  }

  bool looksMultipart() const { return body_.text().starts_with("--") || body_.text().starts_with("\r\n--"); }

  void readParts() {
    if (body_.size() == 0 && !isCallReply()) return;
    Node* const node = level_.add(Kind::multipart, "", body_);
    if (node != nullptr)
      level_.descend(*node, [&](Level& inner) { readMultipart(inner, body_, framing_.boundary, isCallReply()); });
  }

  /// The library does not read every reply, and what it reads of a deflated one has another length than was announced.
  void judgeLength() {
    const auto length = qz::wire::declaredLength(message_.headerLines);
    if (!length || body_.size() == 0 || *length == body_.size() || qz::wire::isDeflated(message_.headerLines)) return;
    level_.fault(body_.offset, "the headers announce " + counted(*length, "byte") + ", and there " +
                                   (body_.size() == 1 ? "is " : "are ") + std::to_string(body_.size()));
  }

  Level& level_;
  const DumpMessage& message_;
  Piece head_;
  Piece headers_;
  Piece body_;
  qz::wire::ReplyFraming framing_;
};

void addMessage(Level& exchange, const Piece& file, const std::optional<DumpMessage>& message) {
  if (!message) return;
  Node* const node =
      exchange.add(message->isReply ? Kind::reply : Kind::request, "", between(file, message->head, message->end));
  if (node != nullptr) exchange.descend(*node, [&](Level& inner) { MessageReader(inner, file, *message).read(); });
}

void addFront(Level& level, DumpReader& reader, const Piece& file) {
  const Piece front = file.from(0, placeOf(reader.firstBanner()));
  const auto message = reader.headless();
  if (!message) return addStray(level, kInFront, front);
  Node* const node = level.add(Kind::part, kInFront, front);
  if (node != nullptr) level.descend(*node, [&](Level& inner) { MessageReader(inner, file, *message).read(); });
}

}  // namespace

void readMultipart(Level& level, const Piece& piece, std::string_view boundary, bool isReply) {
  MultipartReader(level, piece, boundary, isReply).read();
}

void readDump(Level& level, const Piece& piece) {
  MemoryBytes bytes(piece.bytes);
  DumpReader reader(bytes);
  if (reader.firstBanner() > 0 || piece.size() == 0) {
    level.fault(piece.offset, "an exchange begins with an empty line and \"Sent to\"");
    addFront(level, reader, piece);
  }
  std::size_t number = 0;
  while (const auto exchange = reader.next()) {
    Node* const node = level.add(Kind::exchange, "exchange " + std::to_string(++number),
                                 between(piece, exchange->begin(), exchange->end()));
    if (node == nullptr) return;
    level.descend(*node, [&](Level& inner) {
      addMessage(inner, piece, exchange->request);
      addMessage(inner, piece, exchange->reply);
    });
  }
}

}  // namespace qzcall
