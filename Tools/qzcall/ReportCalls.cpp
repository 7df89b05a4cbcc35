#include "Tools/qzcall/ReportCalls.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>
#include <vector>

#include "QzTypes.h"
#include "Tools/qzcall/ReportOutcome.h"
#include "Tools/qzcall/ReportTimes.h"

namespace qzcall {
namespace {

/// What stays of a request when the bytes of all calls are too many.
constexpr std::size_t kHeadOfRequest = std::size_t{64} << 10;
constexpr std::size_t kMostOpen = 256;
constexpr std::size_t kMostOfLine = 2000;
constexpr std::size_t kMostOfUrl = 500;

std::string hexOf(std::uint32_t number) {
  char digits[8];
  std::string text(digits, std::to_chars(digits, digits + sizeof digits, number, 16).ptr);
  std::ranges::transform(text, text.begin(), [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
  return text;
}

std::string threadOf(const LogRecord& record) { return hexOf(record.process) + ':' + hexOf(record.thread); }

/// The seconds at the end of "TIME CONSUMED BY , , ,NAME,T=394,0.088019"; below 0 when there are none.
double secondsIn(std::string_view text) {
  text = text.substr(text.rfind(',') + 1);
  text = text.substr(0, text.find('\n'));
  double seconds = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds, std::chars_format::fixed);
  const bool isNumber = error == std::errc() && end == text.data() + text.size() && std::isfinite(seconds);
  return isNumber ? seconds : -1;
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

bool isOfInvoke(const LogRecord& record) {
  return record.source.starts_with("ITKSOAPAPI ") || record.source.starts_with("rpcSOAPAPI2 ");
}

}  // namespace

CallCollector::Said CallCollector::saidBy(const LogRecord& record) {
  const std::string_view message = record.message;
  const std::size_t colon = record.origin == Origin::flatLog ? message.find(": ") : std::string_view::npos;
  const bool isName = colon != std::string_view::npos && colon > 0 &&
                      message.substr(0, colon).find_first_of(" \r\n=<,\"") == std::string_view::npos;
  return isName ? Said{record, message.substr(0, colon), message.substr(colon + 2)} : Said{record, "", message};
}

void CallCollector::take(std::size_t file, const LogRecord& record) {
  file_ = file;
  const std::string key = threadOf(record);
  const auto found = open_.find(key);
  Open* const open = found == open_.end() ? nullptr : &found->second;
  if (record.isBytes) return takeBytes(open, record);
  const Said said = saidBy(record);
  if (said.text.starts_with("\r\n\r\nSent to ")) return beginRound(key, said);
  if (!takeInvoke(key, said)) takeText(open, said);
}

void CallCollector::takeBytes(Open* open, const LogRecord& record) {
  if (open == nullptr || open->phase == Phase::none || open->isOver)
    return noteLine(nullptr, record,
                    "Byte stream of " + std::to_string(record.message.size() + record.leftOut) + " bytes");
  append(*open, record.message);
  open->round.leftOut += record.leftOut;
  open->round.hasBytes = true;
  open->round.end = open->call->end = record.time;
}

bool CallCollector::takeInvoke(const std::string& key, const Said& said) {
  constexpr std::string_view kUrl = "URL=";
  constexpr std::string_view kReturned = "Return code = ";
  if (!isOfInvoke(said.record)) return false;
  if (said.text.starts_with(kUrl)) {
    Open& open = begin(key, said.record);
    open.isInvoke = true;
    open.call->url = said.text.substr(kUrl.size(), kMostOfUrl);
    return true;
  }
  const auto found = open_.find(key);
  if (found == open_.end() || !found->second.isInvoke || !said.text.starts_with(kReturned)) return false;
  Open& open = found->second;
  const std::string_view code = said.text.substr(kReturned.size());
  std::from_chars(code.data(), code.data() + code.size(), open.code);
  open.hasCode = open.isOver = true;
  open.call->end = said.record.time;
  endRound(open);
  return true;
}

void CallCollector::takeText(Open* open, const Said& said) {
  const LogRecord& record = said.record;
  if (open != nullptr && takeDuration(*open, said)) return;
  if (open == nullptr || open->isOver) return noteLine(nullptr, record, record.message);
  if (takeWire(*open, said)) {
    open->round.leftOut += record.leftOut;
    open->round.end = open->call->end = record.time;
    return;
  }
  noteLine(open, record, record.message);
  if (open->isInvoke) open->call->end = record.time;
  if (said.text == "Async call complete") open->isOver = true;
  if (said.text != "Client side timeout. Operation aborted." || open->isInvoke) return;
  open->hasCode = open->isOver = true;
  open->code = E_TIMEOUT;
}

/// The flat face tells behind a call how long it took. Texts of a server may say the same; those have another source,
/// and no call took longer than the log says.
bool CallCollector::takeDuration(Open& open, const Said& said) {
  if (!open.isInvoke || !open.isOver || !isOfInvoke(said.record) ||
      !said.text.starts_with("TIME CONSUMED BY , , ,qzcSoap:rpcSOAPInvoke,"))
    return false;
  const double seconds = secondsIn(said.text);
  const auto atMost = static_cast<double>(said.record.time - open.call->begin) / 1000 + 1;
  if (seconds < 0 || seconds > atMost) return false;
  open.call->seconds = seconds;
  return true;
}

/// What goes over the wire as text is logged with its line ends, everything else without; only the last line of a reply
/// may lack its own. A reply's headers are logged once more when its status is an error.
bool CallCollector::takeWire(Open& open, const Said& said) {
  const std::string_view text = said.text;
  if (open.phase == Phase::none || open.phase == Phase::done || said.operation != open.operation) return false;
  const bool hasEnd = text.ends_with("\r\n");
  const bool isHead = hasEnd && text.starts_with("HTTP/");
  if (!hasEnd && !(open.phase == Phase::body && text.starts_with('<'))) return false;
  if (open.phase == Phase::body && isHead && text.ends_with("\r\n\r\n")) return false;
  const bool isReply = open.phase == Phase::request && text.starts_with("\r\n\r\nReceived from ");
  if (isReply) open.phase = Phase::status;
  append(open, text);
  if (isReply) return true;
  if (open.phase == Phase::status) {
    open.phase = Phase::head;
  } else if (open.phase == Phase::head) {
    open.phase = Phase::body;
  } else if (!hasEnd) {
    open.phase = Phase::done;
  }
  return true;
}

void CallCollector::beginRound(const std::string& key, const Said& said) {
  auto found = open_.find(key);
  if (found != open_.end()) {
    endRound(found->second);
    const Open& open = found->second;
    const bool goesOn = !open.isOver && (open.isInvoke || open.call->facts.isWorking);
    if (!goesOn) found = open_.end();
  }
  Open& open = found == open_.end() ? begin(key, said.record) : found->second;
  open.phase = Phase::request;
  open.operation = said.operation;
  open.round.begin = open.round.end = open.call->end = said.record.time;
  append(open, said.text);
}

CallCollector::Open& CallCollector::begin(const std::string& key, const LogRecord& record) {
  closeAt(key);
  if (open_.size() >= kMostOpen)
    closeAt(std::ranges::min_element(open_, {}, [](const auto& entry) { return entry.second.call->end; })->first);
  Open& open = open_[key];
  open.call = &store_.begin(file_, record.origin);
  open.call->hasTime = true;
  open.call->begin = open.call->end = record.time;
  open.call->thread = key;
  return open;
}

void CallCollector::append(Open& open, std::string_view bytes) {
  std::string& message = open.phase == Phase::request ? open.request : open.reply;
  const std::string_view taken = bytes.substr(0, kMostOfMessage - message.size());
  message += taken;
  open.round.leftOut += bytes.size() - taken.size();
  underWay_ += taken.size();
  if (underWay_ > store_.limits().underWay) freeBytes(open);
}

/// The calls that rest longest give way: one that has a reply has most likely come to its end, of another one the
/// beginning of the request stays.
void CallCollector::freeBytes(const Open& current) {
  std::vector<Open*> others;
  for (auto& [key, open] : open_)
    if (&open != &current && open.size() > kHeadOfRequest) others.push_back(&open);
  std::ranges::sort(others, {}, [](const Open* open) { return open->call->end; });
  for (Open* const open : others) {
    if (underWay_ <= store_.limits().underWay) return;
    if (open->phase == Phase::body || open->phase == Phase::done) {
      endRound(*open);
    } else if (open->request.size() > kHeadOfRequest) {
      const std::size_t freed = open->request.size() - kHeadOfRequest;
      open->request.resize(kHeadOfRequest);
      open->request.shrink_to_fit();
      open->round.leftOut += freed;
      underWay_ -= freed;
    }
  }
}

void CallCollector::endRound(Open& open) {
  if (open.phase == Phase::none) return;
  open.phase = Phase::none;
  underWay_ -= open.size();
  addRound(open, treeOfExchange(std::exchange(open.request, {}), std::exchange(open.reply, {})),
           std::exchange(open.round, {}));
}

void CallCollector::addRound(Open& open, ExchangeTree tree, Round round) {
  merge(open.call->facts, std::move(tree.facts));
  round.tree = std::move(tree.json);
  store_.addRound(*open.call, std::move(round));
}

void CallCollector::close(Open& open) {
  endRound(open);
  judge(*open.call, open.hasCode ? std::optional(open.code) : std::nullopt, open.isInvoke);
  store_.finish(*open.call);
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
  if (dumped_) close(*dumped_);
  dumped_.reset();
}

void CallCollector::takeDump(std::size_t file, std::string_view request, std::string_view reply,
                             std::uint64_t leftOut) {
  ExchangeTree tree = treeOfExchange(request, reply);
  const auto known = timeInBoundary(tree.facts.boundary);
  const std::int64_t time = known.value_or(0);
  // A request belongs to the conversation whose object the reply before it has named.
  const bool goesOn = dumped_ && dumped_->call->facts.isWorking && !tree.facts.requestHandle.empty() &&
                      dumped_->call->facts.replyHandle == tree.facts.requestHandle;
  if (!goesOn) {
    if (dumped_) close(*dumped_);
    dumped_.emplace().call = &store_.begin(file, Origin::dump);
    Call& call = *dumped_->call;
    call.hasTime = known.has_value();
    call.begin = call.end = time;
    call.thread = "dump";
  }
  dumped_->call->end = std::max(dumped_->call->end, time);
  addRound(*dumped_, std::move(tree), {time, time, {}, leftOut, true});
}

void CallCollector::noteLine(Open* open, const LogRecord& record, std::string_view text) {
  NotedLine line{record.time, record.source, std::string(text.substr(0, kMostOfLine))};
  const std::uint64_t missing = text.size() - line.text.size() + (record.isBytes ? 0 : record.leftOut);
  if (missing > 0) line.text += " ... (" + std::to_string(missing) + " more bytes)";
  if (open != nullptr) {
    store_.addLine(*open->call, std::move(line));
  } else {
    store_.addLooseLine(std::move(line));
  }
}

}  // namespace qzcall
