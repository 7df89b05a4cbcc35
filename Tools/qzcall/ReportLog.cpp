#include "Tools/qzcall/ReportLog.h"

#include <algorithm>

namespace qzcall {

void LogReader::feed(std::string_view piece) {
  unfold(piece);
  parse();
}

void LogReader::finish() {
  if (hasReturn_) pending_ += '\r';
  hasReturn_ = false;
  isLast_ = true;
  parse();
  if (state_ == State::stream) breakStream();
  endRecord();
}

/// In front of each line feed stands a CR that the file's text mode has added.
void LogReader::unfold(std::string_view piece) {
  pending_.erase(0, at_);
  at_ = 0;
  for (const char c : piece) {
    if (hasReturn_ && c != '\n') pending_ += '\r';
    hasReturn_ = c == '\r';
    if (!hasReturn_) pending_ += c;
  }
}

void LogReader::parse() {
  while (at_ < pending_.size() && step()) {
  }
}

/// False when more of the log must come first.
bool LogReader::step() {
  switch (state_) {
    case State::lineStart:
      return takeLineStart();
    case State::insideLine:
      return takeInsideLine();
    case State::stream:
      return takeStream();
    case State::doubtfulStream:
      return takeDoubtfulStream();
    default:
      return takeBehindStream();
  }
}

bool LogReader::takeLineStart() {
  // What makes a line a byte stream stands in its first bytes, and what unmakes it in those of the next one.
  if (!isLast_ && rest().size() < 3 * kLongestPrefix) return false;
  if (auto prefix = prefixOf(rest())) return beginRecord(std::move(prefix->head), prefix->length);
  continueRecord();
  return true;
}

bool LogReader::beginRecord(LogRecord head, std::size_t length) {
  endRecord();
  mustBegin_ = false;
  at_ += length;
  record_ = std::move(head);
  state_ = State::insideLine;
  const auto announced = announcedIn(rest().substr(0, kLongestPrefix));
  if (!announced) return true;
  // A line that came over the wire may read like the head of a byte stream, but then the next record follows at once.
  const std::string_view behind = rest().substr(announced->length);
  if (announced->count > 0 && behind.starts_with('\n') && prefixOf(behind.substr(1))) return true;
  record_->isBytes = true;
  at_ += announced->length;
  streamLeft_ = announced->count;
  state_ = streamLeft_ == 0 ? State::behindStream : State::stream;
  return true;
}

/// A line without a prefix of its own goes on with the message above.
void LogReader::continueRecord() {
  state_ = State::insideLine;
  isHeading_ = rest().starts_with(kHeading);
  if (record_ && !mustBegin_ && !isHeading_) return keep("\n");
  if (record_ && mustBegin_) ++counts_.brokenStreams;
  endRecord();
  counts_.hasHeading = counts_.hasHeading || isHeading_;
  if (!isHeading_ && !rest().starts_with('\n')) ++counts_.foreignLines;
}

bool LogReader::takeInsideLine() {
  const std::size_t end = rest().find('\n');
  keep(rest().substr(0, end));
  at_ = end == std::string_view::npos ? pending_.size() : at_ + end + 1;
  if (end != std::string_view::npos) state_ = State::lineStart;
  return true;
}

bool LogReader::takeStream() {
  const std::size_t ahead = isLast_ ? 0 : std::min(rest().size(), kLongestPrefix);
  const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(streamLeft_, rest().size() - ahead));
  if (part == 0) return false;
  const std::size_t record = laterRecordWithin(part);
  takeOfStream(std::min(part, record));
  if (record != std::string_view::npos) {
    state_ = State::doubtfulStream;
  } else if (streamLeft_ == 0) {
    state_ = State::behindStream;
  }
  return true;
}

/// Where within the next bytes of a stream a record seems to begin. A copy of a log that was sent holds older ones.
std::size_t LogReader::laterRecordWithin(std::size_t size) const {
  const std::string_view text = rest();
  for (std::size_t at = text.find('\n'); at < size && at + 1 < streamLeft_; at = text.find('\n', at + 1)) {
    const auto prefix = prefixOf(text.substr(at + 1));
    if (prefix && prefix->head.time >= record_->time) return at + 1;
  }
  return std::string_view::npos;
}

/// What seems to be a record is one when the stream does not end where it should: who wrote it was stopped, and the log
/// went on later. So much of the stream is waited for as is kept of a message.
bool LogReader::takeDoubtfulStream() {
  const bool isNear = streamLeft_ <= kMostKept;
  if (isNear && !isLast_ && rest().size() <= streamLeft_ + kLongestPrefix) return false;
  if (isNear && endsWell()) {
    takeOfStream(static_cast<std::size_t>(streamLeft_));
    state_ = State::behindStream;
  } else {
    breakStream();
    state_ = State::lineStart;
  }
  return true;
}

bool LogReader::endsWell() const {
  if (rest().size() < streamLeft_) return false;
  const std::string_view behind = rest().substr(static_cast<std::size_t>(streamLeft_));
  return behind.empty() || (behind[0] == '\n' && (behind.size() == 1 || prefixOf(behind.substr(1))));
}

void LogReader::takeOfStream(std::size_t size) {
  keep(rest().substr(0, size));
  at_ += size;
  streamLeft_ -= size;
}

void LogReader::breakStream() {
  ++counts_.brokenStreams;
  counts_.missingBytes += streamLeft_;
  record_->leftOut += streamLeft_;
  streamLeft_ = 0;
  endRecord();
}

bool LogReader::takeBehindStream() {
  if (rest()[0] == '\n') {
    ++at_;
    mustBegin_ = true;
    state_ = State::lineStart;
    return true;
  }
  ++counts_.brokenStreams;
  endRecord();
  ++counts_.foreignLines;
  isHeading_ = false;
  state_ = State::insideLine;
  return true;
}

void LogReader::keep(std::string_view text) {
  if (!record_) {
    counts_.foreignBytes += isHeading_ ? 0 : text.size();
    return;
  }
  const std::size_t room = kMostKept - std::min(kMostKept, record_->message.size());
  record_->message += text.substr(0, room);
  record_->leftOut += text.size() - std::min(room, text.size());
}

void LogReader::endRecord() {
  mustBegin_ = false;
  if (!record_) return;
  ++counts_.records;
  take_(*record_);
  record_.reset();
}

}  // namespace qzcall
