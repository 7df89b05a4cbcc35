#include "Tools/qzgateway/WaitOperation.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

namespace qzgateway {
namespace {

using namespace std::chrono_literals;

constexpr double kMostSeconds = 3600;
constexpr GatewayTime::Duration kPollInterval = 1s;

constexpr std::pair<std::string_view, Outcome> kOutcomes[] = {{"done", Outcome::kDone},
                                                              {"fail", Outcome::kFail},
                                                              {"fault", Outcome::kFault},
                                                              {"never", Outcome::kNever},
                                                              {"stubborn", Outcome::kStubborn}};

bool isEndless(Outcome outcome) { return outcome == Outcome::kNever || outcome == Outcome::kStubborn; }

template <class Number>
std::optional<double> numberIn(const ITKBuffer& buffer) {
  Number value;
  if (buffer.getLength() != sizeof value) return {};
  std::memcpy(&value, buffer.getBuffer(), sizeof value);
  return value >= 0 && value <= kMostSeconds ? std::optional(static_cast<double>(value)) : std::nullopt;
}

std::optional<GatewayTime::Duration> secondsIn(const ITKBuffer* buffer) {
  if (buffer == nullptr) return {};
  const auto seconds = buffer->getType() == ITKBufferType::DT_LONG     ? numberIn<std::int32_t>(*buffer)
                       : buffer->getType() == ITKBufferType::DT_DOUBLE ? numberIn<double>(*buffer)
                                                                       : std::nullopt;
  if (!seconds) return {};
  return std::chrono::duration_cast<GatewayTime::Duration>(std::chrono::duration<double>(*seconds));
}

std::optional<Outcome> outcomeIn(const ITKSOAP& call) {
  if (call.getNumParams() == 1) return Outcome::kDone;
  const std::string word = textOf(call.getParamText(1));
  const auto* const known = std::ranges::find(kOutcomes, word, &std::pair<std::string_view, Outcome>::first);
  if (call.getNumParams() > 2 || known == std::end(kOutcomes)) return {};
  return known->second;
}

/// The arguments as they are kept between requests.
std::string streamOf(const ITKSOAP& call) {
  ITKBuffer stream;
  if (call.parkParams(stream) == 0) return {};
  return {reinterpret_cast<const char*>(stream.getBuffer()), static_cast<std::size_t>(stream.getLength())};
}

/// What a request asks for; nothing when its arguments are wrong.
std::optional<Conversation> readArguments(const Request& request, const GatewayTime& time) {
  const auto seconds = secondsIn(request.call.getParamAt(0));
  const auto outcome = outcomeIn(request.call);
  if (!seconds || !outcome) return {};
  const auto end = isEndless(*outcome) ? GatewayTime::Point::max() : time.now() + *seconds;
  return Conversation{request.session.passport, end, *outcome, streamOf(request.call)};
}

ReplyPointer done(const Request& request, const Conversation& wait) {
  const ITKBuffer stream(wait.arguments.data(), static_cast<long>(wait.arguments.size()), ITKBufferType::DT_BINARY);
  if (request.call.unparkParams(stream) == 0) return refusal(500, "the arguments could not be kept");
  return replyOf(request);
}

ReplyPointer finish(const Request& request, const Conversation& wait) {
  if (wait.outcome == Outcome::kFail) return failureOnRequest(request);
  if (wait.outcome == Outcome::kFault) return faultOnRequest(request);
  return done(request, wait);
}

/// How long this request may wait.
GatewayTime::Duration patience(const Request& request, const Conversation& wait, GatewayTime::Point now) {
  const std::chrono::milliseconds granted(std::max(0L, request.call.getTimeInterval()));
  return std::min({kPollInterval, GatewayTime::Duration(granted), std::max(wait.end - now, GatewayTime::Duration())});
}

ReplyPointer goOn(const Request& request, const Surroundings& around, const std::string& id, const Conversation& wait) {
  const bool isCancelled = request.call.getTimeoutLimit() < 0;
  if (isCancelled && wait.outcome == Outcome::kStubborn) return stillWorking(request, id);
  if (!isCancelled) around.time.wait(patience(request, wait, around.time.now()));
  if (!isCancelled && around.time.now() < wait.end) return stillWorking(request, id);
  around.conversations.close(id);
  // The handle was the conversation's, and that is over.
  request.call.setObjectHandle("");
  return isCancelled ? cancelled(request) : finish(request, wait);
}

ReplyPointer waitToTheEnd(const Request& request, GatewayTime& time, const Conversation& wait) {
  if (isEndless(wait.outcome))
    return serverError(request, kWrongArguments, "such a wait ends in a conversation only, when it is cancelled");
  if (!time.wait(wait.end - time.now())) return refusal(503, "the gateway is ending");
  return finish(request, wait);
}

}  // namespace

ReplyPointer waitAWhile(const Request& request, const Surroundings& around) {
  const std::string id = textOf(request.call.getObjectHandle());
  if (request.isConversation && !id.empty()) {
    const auto wait = around.conversations.find(id, request.session.passport);
    if (wait) return goOn(request, around, id, *wait);
    return fault(request.session, "Client", "There is no conversation '" + id + "'.",
                 "It has ended, was left alone for too long, or is another session's.");
  }
  const auto wait = readArguments(request, around.time);
  if (!wait)
    return serverError(request, kWrongArguments,
                       "wait takes seconds (long or double, 0 to 3600) and, if wanted, one of the texts done, fail, "
                       "fault, never and stubborn");
  if (!request.isConversation) return waitToTheEnd(request, around.time, *wait);
  return goOn(request, around, around.conversations.open(*wait), *wait);
}

}  // namespace qzgateway
