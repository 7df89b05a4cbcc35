// The calls of a report, within bounds.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <set>

#include "Tools/qzcall/ReportCall.h"

namespace qzcall {

/// Bounds of what is kept. The newest is kept.
struct KeepLimits {
  std::size_t calls = 20000;
  std::size_t detail = std::size_t{32} << 20;  ///< bytes of trees and lines; the newest call keeps its last round
  std::size_t looseLines = 2000;
  std::size_t underWay = std::size_t{48} << 20;  ///< bytes of exchanges that have not come to their end
};

/// What a store had to let go entirely.
struct Dropped {
  std::uint64_t calls = 0;
  std::uint64_t lines = 0;  ///< outside of calls
};

/// Keeps calls, those that go on as well, and lines outside of calls. Lets go of the oldest.
class CallStore {
 public:
  explicit CallStore(KeepLimits limits) : limits_(limits) {}

  /// A new call. It stays where it is until it is finished.
  Call& begin(std::size_t file, Origin origin);
  void addRound(Call& call, Round round);
  void addLine(Call& call, NotedLine line);
  void addLooseLine(NotedLine line);
  /// Nothing is added to the call any more; others may take its place.
  void finish(Call& call);

  /// By the order in which they began.
  const std::map<std::uint64_t, Call>& calls() const { return calls_; }
  const std::deque<NotedLine>& looseLines() const { return looseLines_; }
  const Dropped& dropped() const { return dropped_; }
  const KeepLimits& limits() const { return limits_; }

 private:
  void keep(Call& call, std::size_t size);
  void dropDetail();
  bool dropDetailOf(Call& call, bool keepsLast);
  void dropCalls();

  KeepLimits limits_;
  Dropped dropped_;
  std::uint64_t begun_ = 0;
  std::map<std::uint64_t, Call> calls_;
  std::set<std::uint64_t> detailed_;  ///< numbers of the calls that have trees or lines
  std::size_t detail_ = 0;            ///< bytes of those
  std::deque<NotedLine> looseLines_;
};

}  // namespace qzcall
