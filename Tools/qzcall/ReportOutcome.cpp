#include "Tools/qzcall/ReportOutcome.h"

#include <algorithm>

#include "QzTypes.h"

namespace qzcall {
namespace {

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
CallOutcome outcomeOf(const ExchangeFacts& facts) {
  if (!facts.hasReply) return CallOutcome::transport;
  if (facts.isFault) return CallOutcome::fault;
  if (facts.errorCode != 0) return outcomeOf(facts.errorCode);
  if (facts.httpStatus != 500 && (facts.httpStatus < 200 || facts.httpStatus > 206)) return CallOutcome::transport;
  return facts.isWorking ? CallOutcome::unfinished : CallOutcome::ok;
}

/// What the log says where the reply says nothing.
std::string textOfFailure(const Call& call) {
  const auto failed = std::ranges::find_if(
      call.lines, [](const NotedLine& line) { return line.text.find("System error [") != std::string::npos; });
  if (failed != call.lines.end()) return failed->text;
  const bool hasStatus = call.outcome == CallOutcome::transport && call.facts.httpStatus != 0;
  return hasStatus ? "HTTP status " + std::to_string(call.facts.httpStatus) : "";
}

std::string textOf(const Call& call, std::optional<long> code) {
  switch (call.outcome) {
    case CallOutcome::ok:
      return {};
    case CallOutcome::error:
      return std::to_string(code.value_or(call.facts.errorCode)) + ": " + call.facts.errorText;
    case CallOutcome::timeOut:
      if (code) return "Client side timeout. Operation aborted.";
      [[fallthrough]];
    default:
      return call.facts.errorText.empty() ? textOfFailure(call) : call.facts.errorText;
  }
}

}  // namespace

const char* nameOf(CallOutcome outcome) {
  constexpr const char* kNames[] = {"ok", "error", "fault", "logon", "transport", "time-out", "unfinished"};
  return kNames[static_cast<std::size_t>(outcome)];
}

void judge(Call& call, std::optional<long> code, bool tellsCode) {
  if (call.url.empty()) call.url = call.facts.url;
  if (code) {
    call.outcome = outcomeOf(*code);
  } else {
    call.outcome = tellsCode ? CallOutcome::unfinished : outcomeOf(call.facts);
  }
  call.outcomeText = textOf(call, code);
}

}  // namespace qzcall
