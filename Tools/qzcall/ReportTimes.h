// Times of a report: as people write and read them, and as places on an axis.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Tools/qzcall/ReportCall.h"

namespace qzcall {

/// Local times from the first to the last millisecond.
struct Period {
  std::int64_t from = std::numeric_limits<std::int64_t>::min();
  std::int64_t to = std::numeric_limits<std::int64_t>::max();

  bool holds(std::int64_t time) const { return time >= from && time <= to; }
};

/// The day, minute or second that a text names, "2026-11-22", "2026-11-22 05:54" or "2026-11-22 05:54:56"; nothing for
/// other texts.
std::optional<Period> periodNamed(const std::string& text);

/// The local time at which a request was made, which stands at the end of its boundary: D20261122T05:54:56.
/// @param contentType the header line
std::optional<std::int64_t> timeInBoundary(std::string_view contentType);

/// "2026-11-22 05:54:56", with its milliseconds where a log tells them.
std::string timeText(std::int64_t time, bool hasMillis);
/// The same without its day.
std::string clockText(std::int64_t time, bool hasMillis);
/// "0.250 s".
std::string secondsText(double seconds);
/// How long a call took, as far as that is known.
std::string durationText(const Call& call);

/// Where a moment lies on the axis of all calls. Stretches in which there was no call are drawn short.
class Axis {
 public:
  static constexpr double kWidth = 1000;

  /// @param calls in the order of their beginnings
  explicit Axis(const std::vector<const Call*>& calls);

  bool empty() const { return stretches_.empty(); }
  std::int64_t begin() const { return stretches_.front().begin; }
  std::int64_t end() const { return stretches_.back().end; }
  bool isShortened() const { return isShortened_; }
  double at(std::int64_t time) const;

 private:
  struct Stretch {
    std::int64_t begin;
    std::int64_t end;
    double at;
  };

  void addCall(const Call& call);
  void place();

  std::vector<Stretch> stretches_;
  double total_ = 0;
  bool isShortened_ = false;
};

/// When a call ended, by its log's lines or by its measured duration, whichever is later; never before it began.
std::int64_t endOf(const Call& call);

}  // namespace qzcall
