// What every kind of exchange with a server is made of.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <source_location>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>
#include <vector>

#include "QzTypes.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/ExchangeTracer.h"
#include "References/Libraries/Rpc/HttpExchange.h"
#include "References/Libraries/Wire/InflatedReply.h"
#include "References/Libraries/Wire/ResponseReader.h"
#include "RuntimeEngine/qzSOAP/INET.h"

namespace qz::rpc {

inline constexpr const char* kSendFailed = "Failed to send request";
inline constexpr const char* kTimeOutFailed = "failed to set timeout to 5 minutes";

/// A failure on its way to the error object.
struct Failure {
  long code = E_PROXY;
  std::optional<long> subCode = {};
  std::string text;
  std::vector<std::string> details;  ///< appended to the error's text, one line each
};

using Step = tl::expected<void, Failure>;

tl::unexpected<Failure> failure(long code, std::string text);

/// Ends the exchange with a text for the log and the error object.
[[noreturn]] void raise(const char* text, std::source_location at = std::source_location::current());

/// Refuses texts that would add header lines of their own by a line break.
Step guardTexts(const char* url, const char* soapAction, const ExchangeTracer& tracer);

/// Where a request goes.
struct Target {
  bool secure = false;
  std::string server;
  std::string object;
  unsigned short port = 0;

  /// What a request is opened with: cookies travel in its headers only, and the caller sees every redirection.
  unsigned long requestFlags() const;
};

/// Nothing for a URL that cannot be taken apart; a scheme other than http and https ends the exchange.
std::optional<Target> targetOf(const char* url);

/// Posts an opened request; false when the system fails.
bool sendWith(XHttpFile& file, std::string_view headers, std::span<const std::byte> body);

/// Logs what the system says of its error `code`.
void logSystemFailure(const ExchangeTracer& tracer, unsigned long code,
                      std::source_location at = std::source_location::current());

/// Status and raw headers of a reply, traced behind `banner`.
tl::expected<unsigned long, Failure> readStatus(XHttpFile& file, std::string_view banner, ExchangeTracer& tracer,
                                                std::string& headers);

/// Reads the body of a reply.
using BodyReader = std::function<tl::expected<wire::ReplyText, wire::ReadFailure>(wire::ByteSource&)>;

/// Gives `reader` the body of a reply, inflated if `headers` say that it is deflated.
/// @param most a deflated body of more bytes is refused before it is in memory
tl::expected<wire::ReplyText, wire::ReadFailure> readBody(XHttpFile& file, std::string_view headers,
                                                          const ExchangeTracer& tracer, const BodyReader& reader,
                                                          std::size_t most = wire::kMostInflated);

/// Notes a failure in the error object.
void settle(ErrorChannel& error, const Failure& why);
/// The same for an exception, which must not turn a failure that is already noted into another one.
void settleException(ErrorChannel& error, long code, const char* text);

/// Runs `steps` and notes its failure, or the exception that ended it, in `error`. False when it did not succeed.
template <class Steps>
bool settled(ExchangeTracer& tracer, ErrorChannel& error, Steps&& steps) noexcept try {
  try {
    const Step done = steps();
    if (!done) settle(error, done.error());
    return done.has_value();
  } catch (const XInternetException& e) {
    const Err failure(static_cast<long>(e.getError()), "XInternetException: " + e.errorText(), "", "", __LINE__);
    tracer.log(failure);
    settleException(error, E_HTTP, failure.description.c_str());
  } catch (const Err& e) {
    tracer.log(e);
    settleException(error, E_PROXY, e.description.c_str());
  }
  return false;
} catch (...) {
  tracer.log("Exception catched");
  settleException(error, E_PROXY, "Exception catched");
  return false;
}

}  // namespace qz::rpc
