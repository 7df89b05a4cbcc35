#include "Tools/qzcall/ReportTimes.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace qzcall {
namespace {

double secondsOf(const Call& call) {
  return call.seconds >= 0 ? call.seconds : static_cast<double>(call.end - call.begin) / 1000;
}

struct Civil {
  int year = 0;
  unsigned month = 0;
  unsigned day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

/// Milliseconds since the beginning of 1970; nothing for what is no time.
std::optional<std::int64_t> timeOf(const Civil& c) {
  using namespace std::chrono;
  const year_month_day date(year{c.year}, month{c.month}, day{c.day});
  const auto isBelow = [](int value, int limit) { return value >= 0 && value < limit; };
  if (!date.ok() || !isBelow(c.hour, 24) || !isBelow(c.minute, 60) || !isBelow(c.second, 60)) return std::nullopt;
  return milliseconds(sys_days(date).time_since_epoch() + hours(c.hour) + minutes(c.minute) + seconds(c.second))
      .count();
}

}  // namespace

std::optional<Period> periodNamed(const std::string& text) {
  Civil c;
  int used = 0;
  const int count = std::sscanf(text.c_str(), "%4d-%2u-%2u%n %2d:%2d%n:%2d%n", &c.year, &c.month, &c.day, &used,
                                &c.hour, &c.minute, &used, &c.second, &used);
  const auto from = timeOf(c);
  const bool isWhole = (count == 3 || count == 5 || count == 6) && used == static_cast<int>(text.size());
  if (!isWhole || !from) return std::nullopt;
  const std::chrono::seconds length = count == 3 ? std::chrono::days(1) : std::chrono::seconds(count == 5 ? 60 : 1);
  return Period{*from, *from + std::chrono::milliseconds(length).count() - 1};
}

std::optional<std::int64_t> timeInBoundary(std::string_view contentType) {
  constexpr std::size_t kLength = 18;
  const std::size_t end = contentType.find('"', contentType.find("boundary=\"") + 10);
  if (end == std::string_view::npos || end < kLength) return std::nullopt;
  const std::string text(contentType.substr(end - kLength, kLength));
  Civil c;
  int used = 0;
  std::sscanf(text.c_str(), "D%4d%2u%2uT%2d:%2d:%2d%n", &c.year, &c.month, &c.day, &c.hour, &c.minute, &c.second,
              &used);
  return used == static_cast<int>(kLength) ? timeOf(c) : std::nullopt;
}

std::string timeText(std::int64_t time, bool hasMillis) {
  using namespace std::chrono;
  const year_month_day date(floor<days>(sys_time<milliseconds>(milliseconds(time))));
  char text[64];
  const int used = std::snprintf(text, sizeof text, "%04d-%02u-%02u ", static_cast<int>(date.year()),
                                 static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
  return std::string(text, static_cast<std::size_t>(used)) + clockText(time, hasMillis);
}

std::string clockText(std::int64_t time, bool hasMillis) {
  using namespace std::chrono;
  const milliseconds moment(time);
  const hh_mm_ss clock(moment - floor<days>(moment));
  char text[64];
  const int used = std::snprintf(text, sizeof text, "%02d:%02d:%02d", static_cast<int>(clock.hours().count()),
                                 static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
  if (hasMillis)
    std::snprintf(text + used, sizeof text - static_cast<std::size_t>(used), ".%03d",
                  static_cast<int>(clock.subseconds().count()));
  return text;
}

std::string secondsText(double seconds) {
  char text[64];
  std::snprintf(text, sizeof text, seconds < 10 ? "%.3f s" : "%.1f s", seconds);
  return text;
}

/// The flat face's lines tell whole seconds, and a dump tells only when a request was made.
std::string durationText(const Call& call) {
  // Local time goes back when summer time ends.
  const bool isTurnedBack = call.seconds < 0 && call.end < call.begin;
  if (call.origin == Origin::dump || isTurnedBack) return "not known";
  if (call.seconds >= 0 || call.origin == Origin::toolkitLog) return secondsText(secondsOf(call));
  return call.end == call.begin ? "below 1 s" : "about " + std::to_string((call.end - call.begin) / 1000) + " s";
}

std::int64_t endOf(const Call& call) {
  return std::max({call.begin, call.end, call.begin + static_cast<std::int64_t>(secondsOf(call) * 1000)});
}

Axis::Axis(const std::vector<const Call*>& calls) {
  for (const Call* const call : calls)
    if (call->hasTime) addCall(*call);
  place();
}

double Axis::at(std::int64_t time) const {
  auto after = std::ranges::upper_bound(stretches_, time, {}, &Stretch::begin);
  const Stretch& stretch = after == stretches_.begin() ? *after : *(after - 1);
  const auto inside = std::clamp<std::int64_t>(time - stretch.begin, 0, stretch.end - stretch.begin);
  return (stretch.at + static_cast<double>(inside)) * kWidth / total_;
}

void Axis::addCall(const Call& call) {
  if (!stretches_.empty() && call.begin <= stretches_.back().end) {
    stretches_.back().end = std::max(stretches_.back().end, endOf(call));
  } else {
    stretches_.push_back({call.begin, endOf(call), 0});
  }
}

void Axis::place() {
  std::int64_t busy = 0;
  for (const Stretch& stretch : stretches_) busy += stretch.end - stretch.begin;
  const std::int64_t longest = std::max<std::int64_t>(20, busy / 2 / static_cast<std::int64_t>(stretches_.size() + 1));
  for (std::size_t i = 0; i < stretches_.size(); ++i) {
    const std::int64_t gap = i == 0 ? 0 : stretches_[i].begin - stretches_[i - 1].end;
    isShortened_ = isShortened_ || gap > longest;
    total_ += static_cast<double>(std::min(gap, longest));
    stretches_[i].at = total_;
    total_ += static_cast<double>(stretches_[i].end - stretches_[i].begin);
  }
  total_ = std::max(total_, 1.0);
}

}  // namespace qzcall
