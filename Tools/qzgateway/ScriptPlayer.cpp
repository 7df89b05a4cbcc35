#include "Tools/qzgateway/ScriptPlayer.h"

#include <algorithm>

#include "Tools/qzcall/Values.h"
#include "Tools/qzgateway/RandomId.h"
#include "Tools/qzgateway/WaitOperation.h"

namespace qzgateway {
namespace {

bool matches(const std::string& pattern, const std::string& name) { return pattern == "*" || pattern == name; }

bool fits(const ArgumentPattern& pattern, const ITKBuffer* buffer) {
  if (buffer == nullptr) return false;
  const qzcall::Argument argument = qzcall::argumentIn(*buffer);
  return (!pattern.type || *pattern.type == argument.type) &&
         (!pattern.bytes || std::ranges::equal(*pattern.bytes, argument.bytes));
}

bool fits(const ArgumentPatterns& patterns, const ITKSOAP& call) {
  const std::size_t count = static_cast<std::size_t>(call.getNumParams());
  if (count < patterns.first.size() || (count > patterns.first.size() && !patterns.isMoreAllowed)) return false;
  for (std::size_t i = 0; i < patterns.first.size(); ++i)
    if (!fits(patterns.first[i], call.getParamAt(static_cast<long>(i)))) return false;
  return true;
}

/// Makes the reply of each form of answer.
struct Replying {
  const Request& request;
  const Answer& answer;

  ReplyPointer operator()(const ArgumentsAnswer& arguments) const {
    request.call.getListParams().removeAll();
    for (const auto& [type, bytes] : arguments)
      if (request.call.addParam(type, bytes.data(), static_cast<long>(bytes.size())) < 0)
        return refusal(500, "the arguments of the reply do not fit into memory");
    if (answer.objectHandle) request.call.setObjectHandle(answer.objectHandle->c_str());
    return replyOf(request);
  }
  ReplyPointer operator()(const ErrorAnswer& error) const { return serverError(request, error.code, error.text); }
  ReplyPointer operator()(const FaultAnswer& wanted) const {
    return wanted.isLogon ? logonFault(wanted.text) : fault(request.session, wanted.code, wanted.text, wanted.detail);
  }
  ReplyPointer operator()(const PageAnswer& page) const {
    auto reply = std::make_unique<Reply>();
    reply->status = page.status;
    reply->contentType = page.contentType;
    reply->head = page.body;
    reply->headers = page.headers;
    return reply;
  }
  ReplyPointer operator()(const NoAnswer&) const {
    auto reply = std::make_unique<Reply>();
    reply->isDropped = true;
    return reply;
  }
};

ReplyPointer lastReply(const Request& request, const Answer& answer) {
  ReplyPointer reply = std::visit(Replying{request, answer}, answer.form);
  reply->truncateAt = answer.truncateAt;
  reply->cookies.insert(reply->cookies.end(), answer.cookies.begin(), answer.cookies.end());
  return reply;
}

ReplyPointer unmatchedFault(const Request& request) {
  return fault(request.session, "Client", "no rule matches",
               textOf(request.call.getInterfaceName()) + "." + textOf(request.call.getMethodName()) + " with " +
                   std::to_string(request.call.getNumParams()) + " arguments");
}

}  // namespace

bool fits(const CallPattern& pattern, const ITKSOAP& call) {
  return matches(pattern.interfaceName, textOf(call.getInterfaceName())) &&
         matches(pattern.method, textOf(call.getMethodName())) &&
         (!pattern.arguments || fits(*pattern.arguments, call));
}

ScriptPlayer::ScriptPlayer(Script script, GatewayTime& time)
    : script_(std::move(script)),
      time_(time),
      fitting_(script_.rules.size()),
      answered_(script_.rules.size()),
      running_(time, 1000, std::chrono::minutes(5)) {}

std::optional<ScriptPlayer::Played> ScriptPlayer::play(const Request& request) {
  std::string id = request.isConversation ? textOf(request.call.getObjectHandle()) : "";
  if (const auto running = goOn(id, request)) {
    request.call.setObjectHandle(running->objectHandle.c_str());
    return Played{answer(request, *running, std::move(id)), labelOf(running->rule)};
  }
  if (const auto rule = choose(request.call)) {
    const Running begun{request.session.passport, *rule, request.isConversation ? script_.rules[*rule].answer.polls : 0,
                        textOf(request.call.getObjectHandle())};
    return Played{answer(request, begun, {}), labelOf(*rule)};
  }
  if (script_.isRestBuiltIn) return {};
  return Played{unmatchedFault(request), "no rule"};
}

/// Every rule counts the calls that it is for, so that the numbers of several rules for one method go together.
std::optional<std::size_t> ScriptPlayer::choose(const ITKSOAP& call) {
  const std::lock_guard lock(mutex_);
  std::optional<std::size_t> chosen;
  for (std::size_t i = 0; i < script_.rules.size(); ++i) {
    const CallPattern& pattern = script_.rules[i].pattern;
    if (!fits(pattern, call)) continue;
    ++fitting_[i];
    const bool isDue =
        (!pattern.call || *pattern.call == fitting_[i]) && (!pattern.times || answered_[i] < *pattern.times);
    if (isDue && !chosen) chosen = i;
  }
  if (chosen) ++answered_[*chosen];
  return chosen;
}

std::optional<ScriptPlayer::Running> ScriptPlayer::goOn(const std::string& id, const Request& request) {
  const std::lock_guard lock(mutex_);
  const Running* const found = id.empty() ? nullptr : running_.find(id);
  return found != nullptr && found->owner == request.session.passport ? std::optional(*found) : std::nullopt;
}

ReplyPointer ScriptPlayer::answer(const Request& request, Running running, std::string id) {
  const Answer& answer = script_.rules[running.rule].answer;
  const bool isCancelled = !id.empty() && request.call.getTimeoutLimit() < 0;
  if (!isCancelled && !time_.wait(std::chrono::duration_cast<GatewayTime::Duration>(answer.delay)))
    return refusal(503, "the gateway is ending");
  if (!isCancelled && running.polls-- > 0) {
    if (id.empty()) id = randomId();
    const std::lock_guard lock(mutex_);
    running_.put(id, running);
    return stillWorking(request, id);
  }
  {
    const std::lock_guard lock(mutex_);
    running_.erase(id);
  }
  return isCancelled ? cancelled(request) : lastReply(request, answer);
}

std::string ScriptPlayer::labelOf(std::size_t rule) const {
  const std::string& name = script_.rules[rule].name;
  return "rule " + std::to_string(rule + 1) + (name.empty() ? "" : " '" + name + "'");
}

}  // namespace qzgateway
