#include "Tools/qzcall/ReportLog.h"

#include <algorithm>
#include <charconv>
#include <chrono>

namespace qzcall {
namespace {

/// No prefix is longer, nor is one with the words of a byte stream.
constexpr std::size_t kLongestPrefix = 1024;
constexpr std::string_view kHeading = "YYYYMMDD HH:MM:SS.MSD [PID:TID][FILE LINE] DESCRIPTION";
constexpr std::string_view kStreamWords = "Byte stream of size ";

/// Reads a prefix from its beginning on; once something is not there, nothing is any more.
class PrefixReader {
 public:
  explicit PrefixReader(std::string_view text) : text_(text) {}

  bool good() const { return good_; }
  std::size_t at() const { return at_; }
  bool sees(char c) const { return at_ < text_.size() && text_[at_] == c; }

  void pass(std::string_view word) {
    good_ = good_ && text_.substr(at_).starts_with(word);
    at_ += good_ ? word.size() : 0;
  }

  std::uint32_t number(std::size_t digits, int base = 10) {
    std::uint32_t value = 0;
    const char* const begin = text_.data() + std::min(at_, text_.size());
    const char* const end = begin + std::min(digits, text_.size() - std::min(at_, text_.size()));
    const auto [stop, error] = std::from_chars(begin, end, value, base);
    good_ = good_ && error == std::errc();
    at_ += good_ ? static_cast<std::size_t>(stop - begin) : 0;
    return value;
  }

  std::string_view until(std::string_view mark) {
    const std::size_t found = text_.find(mark, at_);
    good_ =
        good_ && found != std::string_view::npos && text_.substr(at_, found - at_).find('\n') == std::string_view::npos;
    if (!good_) return {};
    const std::string_view part = text_.substr(at_, found - at_);
    at_ = found + mark.size();
    return part;
  }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
  bool good_ = true;
};

std::chrono::milliseconds readDay(PrefixReader& in, std::string_view mark) {
  using namespace std::chrono;
  const year y(static_cast<int>(in.number(4)));
  in.pass(mark);
  const month m(in.number(2));
  in.pass(mark);
  const day d(in.number(2));
  const year_month_day date(y, m, d);
  if (!date.ok()) in.pass("no day");
  return in.good() ? sys_days(date).time_since_epoch() : milliseconds(0);
}

std::chrono::milliseconds readClock(PrefixReader& in) {
  using namespace std::chrono;
  in.pass(" ");
  const hours h(in.number(2));
  in.pass(":");
  const minutes m(in.number(2));
  in.pass(":");
  return h + m + seconds(in.number(2));
}

void readIds(PrefixReader& in, LogRecord& record) {
  in.pass(" [");
  const bool isDecimal = in.sees('P');
  if (isDecimal) in.pass("P");
  record.process = in.number(10, isDecimal ? 10 : 16);
  in.pass(":");
  if (isDecimal) in.pass("T");
  record.thread = in.number(10, isDecimal ? 10 : 16);
  in.pass("][");
}

struct Prefix {
  LogRecord head;
  std::size_t length;
};

/// The prefix of a line, if there is one.
std::optional<Prefix> prefixOf(std::string_view line) {
  if (line.size() < 20 || line[0] < '0' || line[0] > '9') return std::nullopt;
  const bool isFlat = line[4] == '-';
  PrefixReader in(line.substr(0, kLongestPrefix));
  Prefix prefix{};
  auto time = readDay(in, isFlat ? "-" : "");
  time += readClock(in);
  if (!isFlat) {
    in.pass(".");
    time += std::chrono::milliseconds(in.number(3));
  }
  readIds(in, prefix.head);
  if (isFlat) in.until(":");
  const std::string_view source = in.until("] ");
  if (!in.good() || source.find(" L") == std::string_view::npos) return std::nullopt;
  prefix.head.source = source.substr(source.find_last_of('/') + 1);
  prefix.head.time = time.count();
  prefix.head.hasMillis = !isFlat;
  prefix.length = in.at();
  return prefix;
}

/// How many bytes a message announces, and how long it is itself with its line feed.
struct Announced {
  std::uint64_t count;
  std::size_t length;
};

std::optional<Announced> announcedIn(std::string_view text) {
  PrefixReader in(text);
  in.pass(kStreamWords);
  const std::uint64_t count = in.number(10);
  in.pass("\r\n");
  return in.good() ? std::optional(Announced{count, in.at()}) : std::nullopt;
}

}  // namespace

void LogReader::feed(std::string_view piece) {
  unfold(piece);
  parse();
}

void LogReader::finish() {
  if (hasReturn_) pending_ += '\r';
  hasReturn_ = false;
  isLast_ = true;
  parse();
  if (state_ == State::stream) ++counts_.brokenStreams;
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
  const bool isHeading = rest().starts_with(kHeading);
  if (record_ && !mustBegin_ && !isHeading) return keep("\n");
  if (record_ && mustBegin_) ++counts_.brokenStreams;
  endRecord();
  counts_.hasHeading = counts_.hasHeading || isHeading;
  if (!isHeading && !rest().starts_with('\n')) ++counts_.foreignLines;
}

bool LogReader::takeInsideLine() {
  const std::size_t end = rest().find('\n');
  keep(rest().substr(0, end));
  at_ = end == std::string_view::npos ? pending_.size() : at_ + end + 1;
  if (end != std::string_view::npos) state_ = State::lineStart;
  return true;
}

bool LogReader::takeStream() {
  const std::string_view part =
      rest().substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(streamLeft_, rest().size())));
  keep(part);
  at_ += part.size();
  streamLeft_ -= part.size();
  if (streamLeft_ == 0) state_ = State::behindStream;
  return true;
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
  state_ = State::insideLine;
  return true;
}

void LogReader::keep(std::string_view text) {
  if (!record_) return;
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
