#include "Tools/qzcall/ReportStore.h"

#include <algorithm>
#include <utility>

namespace qzcall {
namespace {

constexpr std::size_t kMostRounds = 200;
constexpr std::size_t kMostLines = 300;

std::size_t sizeOf(const Round& round) { return round.tree.size(); }
std::size_t sizeOf(const NotedLine& line) { return line.text.size() + line.source.size() + sizeof line; }

}  // namespace

Call& CallStore::begin(std::size_t file, Origin origin) {
  Call& call = calls_[++begun_];
  call.number = begun_;
  call.file = file;
  call.origin = origin;
  dropCalls();
  return call;
}

void CallStore::addRound(Call& call, Round round) {
  // Of a conversation that goes on and on, the beginning and the end are kept.
  if (call.rounds.size() == kMostRounds) {
    const auto middle = call.rounds.begin() + kMostRounds / 2;
    detail_ -= sizeOf(*middle);
    call.rounds.erase(middle);
  }
  ++call.roundCount;
  round.tree.shrink_to_fit();
  const std::size_t size = sizeOf(round);
  call.rounds.push_back(std::move(round));
  keep(call, size);
}

void CallStore::addLine(Call& call, NotedLine line) {
  ++call.lineCount;
  if (call.lines.size() == kMostLines) return;
  const std::size_t size = sizeOf(line);
  call.lines.push_back(std::move(line));
  keep(call, size);
}

void CallStore::addLooseLine(NotedLine line) {
  looseLines_.push_back(std::move(line));
  if (looseLines_.size() <= limits_.looseLines) return;
  looseLines_.pop_front();
  ++dropped_.lines;
}

void CallStore::finish(Call& call) {
  call.isOpen = false;
  dropCalls();
}

void CallStore::keep(Call& call, std::size_t size) {
  detailed_.insert(call.number);
  detail_ += size;
  dropDetail();
}

void CallStore::dropDetail() {
  while (detail_ > limits_.detail) {
    Call& oldest = calls_.at(*detailed_.begin());
    const bool isOnly = detailed_.size() == 1;
    if (dropDetailOf(oldest, isOnly)) continue;
    if (isOnly) return;
    detailed_.erase(detailed_.begin());
  }
}

/// Drops the tree of the oldest round that has one, at last the lines. False when there is nothing to drop.
/// @param keepsLast the last round is not dropped
bool CallStore::dropDetailOf(Call& call, bool keepsLast) {
  const auto end = call.rounds.end() - (keepsLast && !call.rounds.empty() ? 1 : 0);
  const auto round = std::find_if(call.rounds.begin(), end, [](const Round& one) { return !one.tree.empty(); });
  const bool hasRound = round != end;
  if (!hasRound && call.lines.empty()) return false;
  call.isIncomplete = true;
  if (hasRound) {
    detail_ -= sizeOf(*round);
    // An assignment would keep the memory.
    std::string().swap(round->tree);
  } else {
    for (const NotedLine& line : std::exchange(call.lines, {})) detail_ -= sizeOf(line);
  }
  return true;
}

void CallStore::dropCalls() {
  for (auto oldest = calls_.begin(); calls_.size() > limits_.calls && oldest != calls_.end();) {
    if (oldest->second.isOpen) {
      ++oldest;
      continue;
    }
    for (const Round& round : oldest->second.rounds) detail_ -= sizeOf(round);
    for (const NotedLine& line : oldest->second.lines) detail_ -= sizeOf(line);
    detailed_.erase(oldest->first);
    oldest = calls_.erase(oldest);
    ++dropped_.calls;
  }
}

}  // namespace qzcall
