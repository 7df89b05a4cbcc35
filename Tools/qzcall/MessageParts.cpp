#include "Tools/qzcall/MessageParts.h"

#include <algorithm>
#include <charconv>

#include "References/Common/Ascii.h"
#include "References/Common/LittleEndian.h"
#include "References/Libraries/Wire/CompressedBlock.h"
#include "References/Libraries/Wire/HeaderParameters.h"
#include "References/Libraries/Wire/ListStream.h"
#include "Tools/qzcall/DecodeParts.h"

namespace qzcall {
namespace {

using qz::wire::kBlockHeaderSize;
using qz::wire::kElementHeadSize;
using qz::wire::kListHeadSize;

constexpr std::size_t kLongestHeader = std::size_t{1} << 16;
constexpr std::uint64_t kLongestHeaders = std::uint64_t{1} << 20;
constexpr std::string_view kBlockMark = "NIRA";

std::uint32_t numberAt(FileBytes& bytes, std::uint64_t at) {
  return qz::loadLittle32(std::as_bytes(std::span(bytes.from(at, 4))).data());
}

std::uint64_t endOfBlock(FileBytes& bytes, std::uint64_t at) {
  const bool hasHeader = bytes.size() - at >= kBlockHeaderSize;
  return at + kBlockHeaderSize + (hasHeader ? numberAt(bytes, at + kBlockMark.size()) : 0);
}

std::optional<std::uint64_t> endOfList(FileBytes& bytes, std::uint64_t at) {
  const std::string_view head = bytes.from(at, kListHeadSize);
  const unsigned count = head.size() < kListHeadSize ? 0 : static_cast<unsigned char>(head[1]);
  at += kListHeadSize;
  for (unsigned i = 0; i < count; ++i) {
    if (at > bytes.size() || bytes.size() - at < kElementHeadSize) return at + kElementHeadSize;
    const std::uint32_t length = numberAt(bytes, at + 1);
    if (length > 0x7FFFFFFFU) return std::nullopt;
    at += kElementHeadSize + length;
  }
  return at;
}

}  // namespace

std::size_t lineLength(std::string_view text) {
  const std::size_t end = text.find('\n');
  return end == std::string_view::npos ? text.size() : end + 1;
}

std::size_t headerLength(std::string_view text, Folding folding) {
  text = text.substr(0, kLongestHeader);
  std::size_t name = 0;
  while (name < text.size() && qz::isTokenByte(text[name])) ++name;
  const bool isHeader = name > 0 && name < text.size() && text[name] == ':';
  // What the library says in a dump of a line that the system refused.
  if (!isHeader && !text.starts_with("Failed to add the header line above")) return 0;
  std::size_t length = lineLength(text);
  while (folding == Folding::allowed && length < text.size() && (text[length] == ' ' || text[length] == '\t'))
    length += lineLength(text.substr(length));
  return length;
}

std::uint64_t endOfHeaders(FileBytes& bytes, std::uint64_t at, Folding folding) {
  const std::uint64_t begin = at;
  while (at - begin < kLongestHeaders) {
    const std::string_view text = bytes.from(at, kLongestHeader);
    const std::size_t length = beginsStream(text) ? 0 : headerLength(text, folding);
    if (length == 0) break;
    at += length;
  }
  return at;
}

std::uint64_t behindLineBreak(FileBytes& bytes, std::uint64_t at) {
  if (bytes.startsWith(at, "\r\n")) return at + 2;
  return bytes.startsWith(at, "\n") ? at + 1 : at;
}

std::optional<std::uint64_t> behindLine(FileBytes& bytes, std::uint64_t at) {
  const std::string_view text = bytes.from(at, kLongestHeader).substr(0, kLongestHeader);
  const bool isWhole = text.find('\n') != std::string_view::npos || text.size() == bytes.size() - at;
  return isWhole ? std::optional(at + lineLength(text)) : std::nullopt;
}

bool beginsStream(std::string_view text) {
  return text.starts_with(static_cast<char>(qz::wire::kListMark)) || text.starts_with(kBlockMark);
}

std::optional<std::uint64_t> endOfStream(FileBytes& bytes, std::uint64_t at) {
  if (bytes.startsWith(at, kBlockMark)) return endOfBlock(bytes, at);
  return beginsStream(bytes.from(at, 1)) ? endOfList(bytes, at) : std::nullopt;
}

BodyParts::BodyParts(Search& search, std::uint64_t begin, std::string_view boundary, BrokenStream brokenStream)
    : search_(search),
      bytes_(search.bytes()),
      at_(begin),
      mark_(boundary.empty() ? std::string() : "--" + std::string(boundary)),
      brokenStream_(brokenStream) {}

std::optional<BodyPart> BodyParts::next() {
  if (isDone_ || (count_ == 0 && !findFirstMark())) return std::nullopt;
  ++count_;
  BodyPart part = readPart();
  isBroken_ = !part.fault.empty();
  isDone_ = !passMark(part) || isBroken_;
  return part;
}

bool BodyParts::findFirstMark() {
  if (!mark_.empty()) {
    const auto found = search_.find(mark_, at_);
    if (!found) return stop("the boundary that the headers name does not occur");
    firstMark_ = *found;
  } else {
    firstMark_ = behindLineBreak(bytes_, at_);
    if (!bytes_.startsWith(firstMark_, "--"))
      return stop("a multipart body begins with a line of two hyphens and a boundary");
  }
  at_ = firstMark_;
  if (!passLine()) return stop("the line of the first mark does not end");
  if (mark_.empty()) {
    const auto length = static_cast<std::size_t>(withoutLineBreak(firstMark_, at_) - firstMark_);
    mark_ = bytes_.from(firstMark_, length).substr(0, length);
  }
  return true;
}

bool BodyParts::passLine() {
  const auto next = behindLine(bytes_, at_);
  if (!next || !bytes_.startsWith(*next - 1, "\n")) return false;
  at_ = *next;
  return true;
}

BodyPart BodyParts::readPart() {
  BodyPart part;
  part.begin = at_;
  part.headersEnd = endOfHeaders(bytes_, at_, Folding::allowed);
  part.content = part.headersEnd == at_ ? at_ : behindLineBreak(bytes_, part.headersEnd);
  part.told = part.content;
  readLength(part);
  findEnd(part);
  part.behind = at_ = part.end;
  return part;
}

/// Reads the length as the library does, which is content with any number at the head of the value.
void BodyParts::readLength(BodyPart& part) {
  const auto size = static_cast<std::size_t>(part.headersEnd - part.begin);
  const std::string_view headers = bytes_.from(part.begin, size).substr(0, size);
  const auto value = qz::wire::headerValue(headers, "Content-Length");
  if (!value) return;
  std::int32_t length = 0;
  const bool isNumber = std::from_chars(value->data(), value->data() + value->size(), length).ec == std::errc();
  part.length = isNumber && length >= 0 ? BodyPart::Length::announced : BodyPart::Length::broken;
  if (part.length == BodyPart::Length::announced) part.end = part.content + static_cast<std::uint32_t>(length);
}

/// A part without a length is an argument stream, which tells its own, or what stands in front of the next mark.
void BodyParts::findEnd(BodyPart& part) {
  if (part.length == BodyPart::Length::announced) {
    const std::uint64_t there = bytes_.size() - part.content;
    const std::uint64_t announced = part.end - part.content;
    part.told = std::min(part.end, bytes_.size());
    if (announced <= there) return;
    part.fault = "the part announces " + counted(announced, "byte") + ", of which " + countedAre(there) + " there";
    part.faultAt = part.content;
    part.end = bytes_.size();
    isCut_ = true;
  } else if (beginsStream(bytes_.from(part.content, kBlockMark.size()))) {
    findEndOfStream(part);
  } else {
    findEndByMark(part, search_.find(mark_, part.content));
    if (count_ == 1) part.end = withoutLineBreak(part.content, part.end);
  }
}

/// The bytes of a stream may contain anything, so one that does not end at a mark ends at the last of all.
void BodyParts::findEndOfStream(BodyPart& part) {
  const auto end = endOfStream(bytes_, part.content);
  if (end && bytes_.startsWith(*end, mark_)) {
    part.told = part.end = *end;
    return;
  }
  isCut_ = end && *end + mark_.size() > bytes_.size();
  findEndByMark(part, brokenStream_ == BrokenStream::stops ? std::nullopt : lastMark(part.content));
}

void BodyParts::findEndByMark(BodyPart& part, std::optional<std::uint64_t> mark) {
  part.end = mark.value_or(bytes_.size());
  if (mark) return;
  part.fault = "the bytes end before the mark " + shownMark() + " does";
  part.faultAt = bytes_.size();
}

/// Passes the mark behind a part; false when it is the closing one or there is none.
bool BodyParts::passMark(BodyPart& part) {
  if (!part.fault.empty()) return false;
  const auto mark = search_.find(mark_, part.end);
  if (!mark) return stop("the closing mark " + shownMark() + "-- is missing");
  part.behind = std::max(part.end, withoutLineBreak(part.end, *mark));
  at_ = *mark + mark_.size();
  if (bytes_.startsWith(at_, "--")) {
    at_ = behindLineBreak(bytes_, at_ + 2);
    return false;
  }
  return passLine() || stop("the line of the mark does not end");
}

bool BodyParts::stop(std::string fault) {
  isDone_ = true;
  fault_ = std::move(fault);
  return false;
}

std::optional<std::uint64_t> BodyParts::lastMark(std::uint64_t from) {
  std::optional<std::uint64_t> last;
  for (auto at = search_.find(mark_ + "--", from); at; at = search_.find(mark_ + "--", *at + 1)) last = at;
  return last;
}

/// `end` in front of the line break that ends there.
std::uint64_t BodyParts::withoutLineBreak(std::uint64_t from, std::uint64_t end) {
  if (end == from || !bytes_.startsWith(end - 1, "\n")) return end;
  --end;
  return end > from && bytes_.startsWith(end - 1, "\r") ? end - 1 : end;
}

std::string BodyParts::shownMark() const { return forTerminal(mark_, 80); }

}  // namespace qzcall
