#include "References/Libraries/Wire/LogLine.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "QzExport.h"
#include "References/Common/PathText.h"

namespace qz::wire {
namespace {

// Half of the prefix for the two texts leaves ample room for all the numbers.
constexpr std::size_t kTextLimit = kPrefixLimit / 4;

int shown(std::string_view text) { return static_cast<int>(std::min(text.size(), kTextLimit)); }

// Returns how much of `out` is used afterwards.
QZ_PRINTF(3, 4)
std::size_t append(PrefixBuffer& out, std::size_t used, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const int added = std::vsnprintf(out.data() + used, out.size() - used, format, values);
  va_end(values);
  return used + std::min(static_cast<std::size_t>(std::max(added, 0)), out.size() - used - 1);
}

std::size_t flatTime(PrefixBuffer& out, const CivilTime& t) {
  return append(out, 0, "%d-%02d-%02d %02d:%02d:%02d ", t.year, t.month, t.day, t.hour, t.minute, t.second);
}

std::size_t flatPlace(PrefixBuffer& out, std::size_t used, const LogPlace& p) {
  return append(out, used, "[%.*s:%.*s L%ld] ", shown(p.component), p.component.data(), shown(p.source),
                p.source.data(), p.line);
}

std::size_t byteCount(PrefixBuffer& out, std::size_t used, long count) {
  return append(out, used, "Byte stream of size %ld\r\n", count);
}

}  // namespace

std::string_view flatTextPrefix(PrefixBuffer& out, const LogPlace& place) {
  auto used = flatTime(out, place.time);
  used = append(out, used, "[%lX:%lX]", place.processId, place.threadId);
  return {out.data(), flatPlace(out, used, place)};
}

std::string_view flatDumpPrefix(PrefixBuffer& out, const LogPlace& place, long count) {
  auto used = flatTime(out, place.time);
  used = append(out, used, "[P%lu:T%lu]", place.processId, place.threadId);
  return {out.data(), byteCount(out, flatPlace(out, used, place), count)};
}

std::string_view toolkitTextPrefix(PrefixBuffer& out, const LogPlace& place) {
  const auto& t = place.time;
  const auto file = lastComponent(place.source);
  const auto used = append(out, 0, "%d%02d%02d %02d:%02d:%02d.%03d ", t.year, t.month, t.day, t.hour, t.minute,
                           t.second, t.millisecond);
  return {out.data(), append(out, used, "[%lX:%lX][%.*s L%ld] ", place.processId, place.threadId, shown(file),
                             file.data(), place.line)};
}

std::string_view toolkitDumpPrefix(PrefixBuffer& out, const LogPlace& place, long count) {
  const auto used = toolkitTextPrefix(out, place).size();
  return {out.data(), byteCount(out, used, count)};
}

}  // namespace qz::wire
