// A call whose server answers before it has finished, and is asked again until it has.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <new>
#include <string>

#include <windows.h>

#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Common/Number.h"
#include "References/Libraries/Platform/DebugOutput.h"
#include "References/Libraries/Rpc/RelayDom.h"
#include "References/Libraries/Rpc/RelayLayer.h"
#include "References/Libraries/Rpc/RoundTrip.h"

namespace qz::rpc {

/// Name under which conversations log.
inline constexpr const char* kConversation = "SendRequestAsync";

/// One conversation. It never waits by itself: the server does, for as long as each request allows it to.
/// @tparam Client HttpClient of the call's face
template <class Client>
class Conversation {
 public:
  using Call = typename Client::Call;

  /// @param in the request, read only; may be the same object as `out`
  /// @param out receives output arguments, session and error of the last reply; its former ones are dropped
  /// @throws std::bad_alloc
  Conversation(Client& client, const Call& in, Call& out)
      : client_(client),
        out_(out),
        action_(std::string(orEmpty(in.getSoapAction())) + ".session"),
        limit_(in.getTimeoutLimit()) {
    copyToCall(in);
    call_.setTimeInterval(toField(limitMs()));
  }

  /// Holds it and returns the code of the error that `out` then has.
  long run() {
    for (;;) {
      typename Client::OwnBuffer reply;
      if (!roundTrip(client_, kConversation, call_, action_.c_str(), call_.getRTT(), out_, reply)) return code();
      if (isFinished(reply)) {
        note(kInformation, "Async call complete");
        return code();
      }
      if (call_.getTimeoutLimit() < 0) return giveUp();
      takeOver();
      spendTime();
    }
  }

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr double kSecond = 0.001;

  static long toField(std::int64_t milliseconds) {
    using Field = std::numeric_limits<long>;
    return static_cast<long>(std::clamp<std::int64_t>(milliseconds, Field::min(), Field::max()));
  }

  std::int64_t limitMs() const { return std::int64_t{limit_} * 1000; }
  std::int64_t elapsedMs() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start_).count();
  }
  long code() const { return out_.getError().getErrorCode(); }
  void note(long level, const std::string& message) { client_.journal().text(level, kConversation, message); }

  static bool isFinished(const typename Client::Buffer& reply) {
    return withNotes<typename Client::Layer>(kConversation, Client::Layer::kClientSource, [&](Notes& notes) {
      return isConversationFinished(messageIn(reply), notes);
    });
  }

  long giveUp() {
    constexpr const char* kTimedOut = "Client side timeout. Operation aborted.";
    note(kError, kTimedOut);
    return out_.getError().setError(E_TIMEOUT, kTimedOut);
  }

  /// Makes the reply the next request: the context of the conversation is in it.
  void takeOver() {
    out_.setGatewayURL(call_.getGatewayURL());
    out_.setSoapAction(call_.getSoapAction());
    copyToCall(out_);
  }

  /// Copies a call but for what the server may not decide.
  void copyToCall(const Call& from) {
    if (call_.copy(from, 1) == 0) throw std::bad_alloc();
    call_.setAsyncMode(1);
    call_.setTimeoutLimit(limit_);
  }

  /// Grants the next request what is left, or makes it ask the server to cancel.
  void spendTime() {
    const auto elapsed = elapsedMs();
    const std::string thread = "Thread=" + std::to_string(GetCurrentThreadId()) + "\n";
    const double seconds = static_cast<double>(elapsed) * kSecond;
    const std::string waited(GeneralText(seconds).view());
    // A server that answers within the same millisecond may not keep a call without time alive.
    if (limit_ == 0 || elapsed > limitMs()) {
      call_.setTimeoutLimit(-1);
      call_.setTimeInterval(0);
      platform::debugOutput("ASync RPC call: No time remaining, call cancel requested, " + thread);
    } else {
      const GeneralText limit(static_cast<double>(limitMs()) * kSecond);
      call_.setTimeInterval(toField(limitMs() - elapsed));
      platform::debugOutput(std::string("ASync RPC call: Time limit=").append(limit.view()) +
                            "; Waited for = " + waited + ", " + thread);
    }
    note(kInformation, "Attempt " + std::to_string(++attempts_) + " - Waited " + waited + " seconds");
    client_.tellProgress(attempts_, seconds, limit_);
  }

  Client& client_;
  Call& out_;
  std::string action_;
  long limit_;                            // seconds
  typename Client::Layer::OwnCall call_;  // the next request; its token is the session's
  Clock::time_point start_ = Clock::now();
  int attempts_ = 0;
};

}  // namespace qz::rpc
