#include "Tools/qzcall/ReportLogLine.h"

#include <algorithm>
#include <charconv>
#include <chrono>

namespace qzcall {
namespace {

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
  const seconds s(in.number(2));
  if (h >= days(1) || m >= hours(1) || s >= minutes(1)) in.pass("no time of day");
  return h + m + s;
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

}  // namespace

std::optional<LogPrefix> prefixOf(std::string_view line) {
  if (line.size() < 20 || line[0] < '0' || line[0] > '9') return std::nullopt;
  const bool isFlat = line[4] == '-';
  PrefixReader in(line.substr(0, kLongestPrefix));
  LogPrefix prefix{};
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
  prefix.head.origin = isFlat ? Origin::flatLog : Origin::toolkitLog;
  prefix.length = in.at();
  return prefix;
}

std::optional<Announced> announcedIn(std::string_view message) {
  PrefixReader in(message);
  in.pass("Byte stream of size ");
  const std::uint64_t count = in.number(10);
  in.pass("\r\n");
  return in.good() ? std::optional(Announced{count, in.at()}) : std::nullopt;
}

}  // namespace qzcall
