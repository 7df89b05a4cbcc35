#include "Tools/qzcall/ReportCalls.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>

#include "QzTypes.h"

namespace qzcall {
namespace {

constexpr std::size_t kMostOfExchange = std::size_t{4} << 20;
constexpr std::size_t kMostUnderWay = std::size_t{48} << 20;
constexpr std::size_t kMostOpen = 256;
constexpr std::size_t kMostRounds = 200;
constexpr std::size_t kMostLines = 300;
constexpr std::size_t kMostOfLine = 2000;
constexpr const char* kDumpKey = "dump";

struct Said {
  std::string_view operation;  ///< the flat face names it in front of its texts
  std::string_view text;
};

Said partsOf(const LogRecord& record) {
  const std::string_view message = record.message;
  const std::size_t colon = record.hasMillis ? std::string_view::npos : message.find(": ");
  const bool isName = colon != std::string_view::npos && colon > 0 &&
                      message.substr(0, colon).find_first_of(" \r\n=<,\"") == std::string_view::npos;
  return isName ? Said{message.substr(0, colon), message.substr(colon + 2)} : Said{"", message};
}

std::string hexOf(std::uint32_t number) {
  char digits[8];
  std::string text(digits, std::to_chars(digits, digits + sizeof digits, number, 16).ptr);
  std::ranges::transform(text, text.begin(), [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
  return text;
}

std::string threadOf(const LogRecord& record) { return hexOf(record.process) + ':' + hexOf(record.thread); }

/// A boundary ends with the local time at which its request was made: D20261122T05:54:56.
bool readBoundaryTime(std::string_view boundary, std::int64_t& time) {
  using namespace std::chrono;
  const std::size_t end = boundary.find('"', boundary.find("boundary=\"") + 10);
  if (end == std::string_view::npos || end < 18) return false;
  const std::string text(boundary.substr(end - 18, 18));
  if (text[0] != 'D' || text[9] != 'T') return false;
  const auto part = [&](std::size_t at, std::size_t count) { return std::atoi(text.substr(at, count).c_str()); };
  const year_month_day date(year(part(1, 4)), month(static_cast<unsigned>(part(5, 2))),
                            day(static_cast<unsigned>(part(7, 2))));
  if (!date.ok()) return false;
  time =
      milliseconds(sys_days(date).time_since_epoch() + hours(part(10, 2)) + minutes(part(13, 2)) + seconds(part(16, 2)))
          .count();
  return true;
}

/// The seconds at the end of "TIME CONSUMED BY , , ,NAME,T=394,0.088019".
double secondsIn(std::string_view text) {
  return std::strtod(std::string(text.substr(text.rfind(',') + 1)).c_str(), nullptr);
}

std::size_t sizeOf(const Call& call) {
  std::size_t size = 0;
  for (const Round& round : call.rounds) size += round.tree.size();
  for (const NotedLine& line : call.lines) size += line.text.size() + line.source.size() + sizeof line;
  return size;
}

CallOutcome outcomeOf(long code) {
  if (code > 0) return CallOutcome::error;
  switch (code) {
    case E_OK:
      return CallOutcome::ok;
    case E_FAULT:
      return CallOutcome::fault;
    case E_LOGON:
      return CallOutcome::logon;
    case E_TIMEOUT:
      return CallOutcome::timeOut;
    default:
      return CallOutcome::transport;
  }
}

/// What a call came to whose result the log does not tell.
CallOutcome judged(const ExchangeFacts& facts) {
  if (!facts.hasReply) return CallOutcome::transport;
  if (facts.isFault) return CallOutcome::fault;
  if (facts.errorCode != 0) return outcomeOf(facts.errorCode);
  if (facts.httpStatus != 500 && (facts.httpStatus < 200 || facts.httpStatus > 206)) return CallOutcome::transport;
  return facts.isWorking ? CallOutcome::unfinished : CallOutcome::ok;
}

/// The first round names the call, the last one says how it ended.
void merge(ExchangeFacts& call, ExchangeFacts round) {
  const auto keepFirst = [](std::string& kept, std::string& next) { next = kept.empty() ? next : kept; };
  keepFirst(call.url, round.url);
  keepFirst(call.action, round.action);
  keepFirst(call.interfaceName, round.interfaceName);
  keepFirst(call.methodName, round.methodName);
  call = std::move(round);
}

}  // namespace

const char* nameOf(CallOutcome outcome) {
  constexpr const char* kNames[] = {"ok", "error", "fault", "logon", "transport", "time-out", "unfinished"};
  return kNames[static_cast<std::size_t>(outcome)];
}

void CallCollector::take(std::size_t file, LogRecord& record) {
  file_ = file;
  const std::string key = threadOf(record);
  const auto found = open_.find(key);
  Open* const open = found == open_.end() ? nullptr : &found->second;
  if (!record.isBytes) {
    const auto [operation, text] = partsOf(record);
    if (text.starts_with("\r\n\r\nSent to ")) return beginRound(key, operation, text, record);
    if (takeInvoke(key, record, text)) return;
    return takeText(open, record);
  }
  if (open == nullptr || open->phase == Phase::none || open->isOver) {
    record.message = "Byte stream of " + std::to_string(record.message.size() + record.leftOut) + " bytes";
    return noteLine(nullptr, record);
  }
  append(*open, record.message);
  open->round.leftOut += record.leftOut;
  open->round.hasBytes = true;
  open->round.end = open->call.end = record.time;
}

bool CallCollector::takeInvoke(const std::string& key, const LogRecord& record, std::string_view text) {
  constexpr std::string_view kReturned = "Return code = ";
  if (!record.source.starts_with("ITKSOAPAPI ") && !record.source.starts_with("rpcSOAPAPI2 ")) return false;
  if (text.starts_with("URL=")) {
    Open& open = begin(key, record);
    open.isInvoke = true;
    open.call.url = text.substr(4, kMostOfLine);
    return true;
  }
  const auto found = open_.find(key);
  if (found == open_.end() || !found->second.isInvoke || !text.starts_with(kReturned)) return false;
  Open& open = found->second;
  text.remove_prefix(kReturned.size());
  std::from_chars(text.data(), text.data() + text.size(), open.code);
  open.hasCode = open.isOver = true;
  open.call.end = record.time;
  endRound(open);
  return true;
}

void CallCollector::takeText(Open* open, const LogRecord& record) {
  const auto [operation, text] = partsOf(record);
  if (open != nullptr && text.starts_with("TIME CONSUMED BY") &&
      text.find(":rpcSOAPInvoke,") != std::string_view::npos) {
    open->call.seconds = secondsIn(text);
    return;
  }
  if (open == nullptr || open->isOver) return noteLine(nullptr, record);
  if (takeWire(*open, operation, text)) {
    open->round.leftOut += record.leftOut;
    open->round.end = open->call.end = record.time;
    return;
  }
  noteLine(open, record);
  if (open->isInvoke) open->call.end = record.time;
  if (text == "Async call complete") open->isOver = true;
  if (text != "Client side timeout. Operation aborted." || open->isInvoke) return;
  open->hasCode = open->isOver = true;
  open->code = E_TIMEOUT;
}

/// What goes over the wire as text is logged with its line ends, everything else without; only the last line of a reply
/// may lack its own. A reply's headers are logged once more when its status is an error.
bool CallCollector::takeWire(Open& open, std::string_view operation, std::string_view text) {
  if (open.phase == Phase::none || open.phase == Phase::done || operation != open.operation) return false;
  const bool hasEnd = text.ends_with("\r\n");
  const bool isHead = hasEnd && text.starts_with("HTTP/");
  if (!hasEnd && !(open.phase == Phase::body && text.starts_with('<'))) return false;
  if (open.phase == Phase::body && isHead && text.ends_with("\r\n\r\n")) return false;
  append(open, text);
  if (open.phase == Phase::request && text.starts_with("\r\n\r\nReceived from ")) {
    open.phase = Phase::status;
  } else if (open.phase == Phase::status) {
    open.phase = Phase::head;
  } else if (open.phase == Phase::head) {
    open.phase = Phase::body;
  } else if (!hasEnd) {
    open.phase = Phase::done;
  }
  return true;
}

void CallCollector::beginRound(const std::string& key, std::string_view operation, std::string_view text,
                               const LogRecord& record) {
  auto found = open_.find(key);
  if (found != open_.end()) {
    endRound(found->second);
    const Open& open = found->second;
    const bool goesOn = !open.isOver && (open.isInvoke || open.call.facts.isWorking);
    if (!goesOn) found = open_.end();
  }
  Open& open = found == open_.end() ? begin(key, record) : found->second;
  open.phase = Phase::request;
  open.operation = operation;
  open.round = {};
  open.round.begin = open.round.end = open.call.end = record.time;
  append(open, text);
}

CallCollector::Open& CallCollector::begin(const std::string& key, const LogRecord& record) {
  closeAt(key);
  if (open_.size() >= kMostOpen)
    closeAt(std::ranges::min_element(open_, {}, [](const auto& entry) { return entry.second.call.end; })->first);
  Open& open = open_[key];
  open.call.file = file_;
  open.call.number = ++begun_;
  open.call.hasTime = true;
  open.call.hasMillis = record.hasMillis;
  open.call.begin = open.call.end = record.time;
  open.call.thread = key;
  return open;
}

void CallCollector::append(Open& open, std::string_view bytes) {
  std::size_t underWay = 0;
  for (const auto& [key, other] : open_) underWay += other.exchange.size();
  const std::size_t limit = underWay > kMostUnderWay ? 0 : kMostOfExchange;
  const std::size_t room = limit - std::min(limit, open.exchange.size());
  open.exchange += bytes.substr(0, room);
  open.round.leftOut += bytes.size() - std::min(room, bytes.size());
}

void CallCollector::endRound(Open& open) {
  if (open.phase == Phase::none) return;
  ExchangeTree tree =
      treeOfExchange({reinterpret_cast<const unsigned char*>(open.exchange.data()), open.exchange.size()});
  merge(open.call.facts, std::move(tree.facts));
  open.round.tree = std::move(tree.json);
  // Of a conversation that goes on and on, the beginning and the end are kept.
  auto& rounds = open.call.rounds;
  if (rounds.size() == kMostRounds) rounds.erase(rounds.begin() + kMostRounds / 2);
  rounds.push_back(std::move(open.round));
  ++open.call.roundCount;
  open.phase = Phase::none;
  open.round = {};
  open.exchange = {};
}

void CallCollector::judge(Open& open) const {
  Call& call = open.call;
  if (call.url.empty()) call.url = call.facts.url;
  call.outcomeText = call.facts.errorText;
  if (open.hasCode) {
    call.outcome = outcomeOf(open.code);
    if (open.code == E_TIMEOUT) call.outcomeText = "Client side timeout. Operation aborted.";
  } else {
    call.outcome = open.isInvoke ? CallOutcome::unfinished : judged(call.facts);
  }
  if (call.outcome == CallOutcome::ok) call.outcomeText.clear();
  if (call.outcome == CallOutcome::error)
    call.outcomeText = std::to_string(open.hasCode ? open.code : call.facts.errorCode) + ": " + call.outcomeText;
  if (!call.outcomeText.empty()) return;
  const auto failed = std::ranges::find_if(
      call.lines, [](const NotedLine& line) { return line.text.find("System error [") != std::string::npos; });
  if (failed != call.lines.end()) {
    call.outcomeText = failed->text;
  } else if (call.outcome == CallOutcome::transport && call.facts.httpStatus != 0) {
    call.outcomeText = "HTTP status " + std::to_string(call.facts.httpStatus);
  }
}

void CallCollector::close(Open& open) {
  endRound(open);
  judge(open);
  open.call.size = sizeOf(open.call);
  kept_ += open.call.size;
  calls_.push_back(std::move(open.call));
  drop();
}

void CallCollector::closeAt(const std::string& key) {
  const auto found = open_.find(key);
  if (found == open_.end()) return;
  close(found->second);
  open_.erase(found);
}

void CallCollector::endFile() {
  for (auto& [key, open] : open_) close(open);
  open_.clear();
}

void CallCollector::takeDump(std::size_t file, std::string_view exchange, std::uint64_t leftOut) {
  file_ = file;
  const auto found = open_.find(kDumpKey);
  Open next;
  next.call.file = file;
  next.call.thread = kDumpKey;
  next.phase = Phase::body;
  next.exchange = exchange;
  next.round.leftOut = leftOut;
  next.round.hasBytes = true;
  endRound(next);
  next.call.hasTime = readBoundaryTime(next.call.facts.boundary, next.call.begin);
  Round& round = next.call.rounds.front();
  round.begin = round.end = next.call.end = next.call.begin;
  if (found != open_.end() && found->second.call.facts.isWorking &&
      found->second.call.facts.replyHandle == next.call.facts.requestHandle) {
    Call& call = found->second.call;
    call.end = std::max(call.end, next.call.end);
    merge(call.facts, std::move(next.call.facts));
    call.rounds.push_back(std::move(round));
    ++call.roundCount;
    return;
  }
  closeAt(kDumpKey);
  next.call.number = ++begun_;
  open_.emplace(kDumpKey, std::move(next));
}

void CallCollector::noteLine(Open* open, const LogRecord& record) {
  NotedLine line{record.time, record.source, record.message.substr(0, kMostOfLine)};
  const std::size_t missing = record.message.size() + static_cast<std::size_t>(record.leftOut) - line.text.size();
  if (missing > 0) line.text += " ... (" + std::to_string(missing) + " more bytes)";
  if (open != nullptr) {
    ++open->call.lineCount;
    if (open->call.lines.size() < kMostLines) open->call.lines.push_back(std::move(line));
    return;
  }
  looseLines_.push_back(std::move(line));
  if (looseLines_.size() <= limits_.looseLines) return;
  looseLines_.pop_front();
  ++dropped_.lines;
}

/// Lets go of the oldest.
void CallCollector::drop() {
  for (; kept_ > limits_.detail && firstWhole_ < calls_.size(); ++firstWhole_, ++dropped_.trees) {
    Call& call = calls_[firstWhole_];
    kept_ -= call.size;
    call.size = 0;
    for (Round& round : call.rounds) round.tree = {};
    call.lines = {};
  }
  for (; calls_.size() > limits_.calls; ++dropped_.calls) {
    kept_ -= calls_.front().size;
    calls_.pop_front();
    if (firstWhole_ > 0) --firstWhole_;
  }
}

}  // namespace qzcall
