#include "References/Libraries/Rpc/HttpExchange.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <limits>
#include <memory>
#include <source_location>
#include <utility>
#include <vector>

#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Platform/Clock.h"
#include "References/Libraries/Platform/LinkedZlib.h"
#include "References/Libraries/Rpc/ExchangeTracer.h"
#include "References/Libraries/Rpc/InternetSource.h"
#include "References/Libraries/Rpc/TimeConsumed.h"
#include "References/Libraries/Wire/ErrorText.h"
#include "References/Libraries/Wire/HeaderParameters.h"
#include "References/Libraries/Wire/InflatedReply.h"
#include "References/Libraries/Wire/Multipart.h"
#include "References/Libraries/Wire/RequestGuard.h"
#include "References/Libraries/Wire/ResponseStatus.h"
#include "RuntimeEngine/qzSOAP/INET.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"

namespace qz::rpc {
namespace {

constexpr const char* kOperation = "SendReceive";
constexpr long kGeneralFailure = static_cast<long>(0x80004005);
constexpr unsigned long kRequestFlags =
    INTERNET_FLAG_EXISTING_CONNECT | INTERNET_FLAG_NO_AUTO_REDIRECT | INTERNET_FLAG_NO_COOKIES;
constexpr unsigned long kLastAcceptedStatus = 202;
/// Longest body that is kept in memory until it is inflated.
constexpr std::size_t kMaxDeflatedReply = std::size_t{256} << 20;

/// A failure on its way to the error object.
struct Failure {
  long code = E_PROXY;
  std::optional<long> subCode = {};
  std::string text;
  std::vector<std::string> details;  ///< appended to the error's text, one line each
};

using Step = tl::expected<void, Failure>;

tl::unexpected<Failure> failure(long code, std::string text) {
  return tl::unexpected(Failure{code, {}, std::move(text), {}});
}

Err systemFailure(unsigned long code, std::source_location at = std::source_location::current()) {
  return Err(static_cast<long>(code), wire::systemError(code, XInternetException(1, code).errorText()), "", "",
             static_cast<long>(at.line()));
}

std::string computerName() {
  std::array<char, 1024> name{};
  DWORD size = name.size();
  return GetComputerNameA(name.data(), &size) ? std::string(name.data(), size) : std::string();
}

[[noreturn]] void raise(const char* text, long line) { throw Err(kGeneralFailure, text, "", kOperation, line); }

/// A text with a line break would add header lines of its own.
Step guard(const char* url, const char* soapAction, const ExchangeTracer& tracer) {
  const auto dirty = wire::textWithLineBreak(url, soapAction);
  if (dirty.empty()) return {};
  std::string text = "The " + std::string(dirty) + " contains a line break; nothing was sent";
  tracer.log(text);
  return failure(E_PROXY, std::move(text));
}

BuiltMessage buildMessage(const RequestSource& request) {
  const auto attachment = request.attachment();
  if (!attachment) return {std::nullopt, wire::plainBody(request.envelope())};
  if (attachment->empty()) raise(kInvalidCondition, __LINE__);
  auto ids = wire::makeMultipartIds(computerName(), platform::localTime());
  auto body = wire::multipartBody(ids, request.envelope(), *attachment);
  if (body.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    raise(kInvalidCondition, __LINE__);
  return {std::move(ids), std::move(body)};
}

tl::expected<BuiltMessage, Failure> tryBuild(const RequestSource& request, const ExchangeTracer& tracer) {
  try {
    return buildMessage(request);
  } catch (const Err& e) {
    tracer.log(e);
  } catch (const std::bad_alloc&) {
    tracer.log("Exception catched");
  }
  tracer.log(kBuildFailed);
  return failure(E_PROXY, kBuildFailed);
}

bool sendWith(XHttpFile& file, std::string_view headers, std::span<const std::byte> body) {
  return file.SendRequest(headers.empty() ? nullptr : headers.data(), static_cast<unsigned long>(headers.size()),
                          body.data(), static_cast<unsigned long>(body.size()));
}

/// Where the request goes.
struct Target {
  bool secure = false;
  std::string server;
  std::string object;
  unsigned short port = 0;
};

/// One exchange from its first trace line to its last.
class Exchange {
 public:
  Exchange(const char* url, const char* soapAction, ExchangeTracer& tracer, SessionToken& token)
      : url_(url), action_(soapAction), tracer_(tracer), token_(token) {}

  Step run(RequestSource& request, ReplySink& reply) {
    if (auto guarded = guard(url_, action_, tracer_); !guarded) return guarded;
    tracer_.text("\r\n\r\nSent to Tarvon gateway:\r\n\r\n");
    if (auto built = buildBody(request); !built) return built;
    XInternetSession session("QZ RPC");
    Target target;
    if (auto parsed = parseTarget(target); !parsed) return parsed;
    const auto connection = session.GetHttpConnection(target.server.c_str(), target.port, nullptr, nullptr);
    if (auto checked = checkConnection(connection.get(), target); !checked) return checked;
    const auto file = connection->OpenRequest(kPost, target.object.c_str(), nullptr, 1, nullptr, nullptr,
                                              kRequestFlags | (target.secure ? INTERNET_FLAG_SECURE : 0));
    if (file == nullptr) return openFailure(target);
    setHTTPCredentials(*file, &std::as_const(token_));
    addHeaders(*file);
    if (auto sent = post(*file); !sent) return sent;
    if (auto judged = judgeReply(*file); !judged) return judged;
    return readReply(*file, reply);
  }

 private:
  Step buildBody(RequestSource& request) {
    auto built = tryBuild(request, tracer_);
    if (!built) return tl::unexpected(std::move(built.error()));
    message_ = std::move(*built);
    request.release();
    return {};
  }

  Step parseTarget(Target& target) {
    unsigned long service = 0;
    if (!xParseURL(url_, service, target.server, target.object, target.port))
      return logged(E_HTTP, std::string("bad URL: ") + url_);
    if (service != kServiceHttp && service != kServiceHttps) raise("Protocol type must be http: or https:", __LINE__);
    target.secure = service == kServiceHttps;
    return {};
  }

  Step checkConnection(XHttpConnection* connection, const Target& target) {
    if (connection == nullptr)
      return logged(E_HTTP, "failed to connect to " + target.server + ", port " + std::to_string(target.port));
    if (!connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, kConnectTimeOut))
      return logged(E_HTTP, "failed to set timeout to 5 minutes");
    return {};
  }

  Step openFailure(const Target& target) {
    tracer_.log("Failed to open " + target.object);
    return failure(E_HTTP, "Failed to open a HTTP for request");
  }

  void addHeaders(XHttpFile& file) {
    for (const std::string& line : wire::requestHeaderLines(message_.ids ? &*message_.ids : nullptr, action_)) {
      tracer_.text(line);
      if (!file.AddRequestHeaders(line.c_str(), HTTP_ADDREQ_FLAG_ADD_IF_NEW))
        tracer_.text("Failed to add the header line above\r\n");
    }
  }

  Step post(XHttpFile& file) {
    const std::string cookies = token_.cookieLine();
    const auto failed = timedSend(file, cookies);
    if (!cookies.empty()) tracer_.text(cookies);
    tracer_.bytes(message_.body.bytes());
    message_.body.release();
    if (!failed) return {};
    tracer_.log(systemFailure(*failed));
    return logged(E_PROXY, "Failed to send request");
  }

  /// The system's error if there was one.
  std::optional<unsigned long> timedSend(XHttpFile& file, std::string_view cookies) {
    TimeConsumed timer(tracer_.journal(), "CRpcHttpClient:SendRequest");
    if (sendWith(file, cookies, message_.body.bytes())) return std::nullopt;
    return GetLastError();
  }

  Step judgeReply(XHttpFile& file) {
    tracer_.text("\r\n\r\nReceived from Tarvon gateway:\r\n\r\n");
    unsigned long status = 0;
    if (!file.QueryInfoStatusCode(status) || status == 0) return noStatus();
    if (!file.QueryInfo(HTTP_QUERY_RAW_HEADERS_CRLF, headers_)) headers_.clear();
    tracer_.text(std::to_string(status) + "\r\n");
    tracer_.text(headers_);
    const auto verdict = wire::judgeStatus(status, kLastAcceptedStatus, token_.hasSiteMinderSession(), headers_);
    if (verdict != wire::StatusVerdict::refuse) token_.takeReplyCookies(headers_);
    switch (verdict) {
      case wire::StatusVerdict::read:
        return {};
      case wire::StatusVerdict::readFault:
        return logServerError();
      case wire::StatusVerdict::notLoggedOn:
        return notLoggedOn(status);
      default:
        return refuse(file, status);
    }
  }

  /// The system lets an empty answer pass as one.
  Step noStatus() {
    tracer_.log("The reply has no status line");
    return logged(E_PROXY, "Failed to send request");
  }

  Step logServerError() {
    tracer_.log("500 - internal server error. " + wire::contextLine(url_, action_));
    tracer_.log(headers_);
    return {};
  }

  Step notLoggedOn(unsigned long status) {
    tracer_.log(headers_);
    return tl::unexpected(Failure{E_LOGON, static_cast<long>(status), headers_, {}});
  }

  Step refuse(XHttpFile& file, unsigned long status) {
    std::string text;
    if (!file.QueryInfo(HTTP_QUERY_STATUS_TEXT, text)) text.clear();
    const std::string context = wire::contextLine(url_, action_);
    for (const std::string& line : {text, context, headers_}) tracer_.log(line);
    return tl::unexpected(
        Failure{E_HTTP, static_cast<long>(status), wire::statusMessage(status, text), {context, headers_}});
  }

  Step readReply(XHttpFile& file, ReplySink& reply) {
    reply.clear();
    auto text = readBody(file, reply);
    getHTTPCredentials(file, &token_);
    if (!text) return unreadable(text.error());
    if (reply.wantsAttachment() && text->attachments > 1) raise(kInvalidCondition, __LINE__);
    reply.setEnvelope(text->envelope());
    return {};
  }

  Step unreadable(const wire::ReadFailure& why) {
    if (!why.raised.empty()) return failure(E_PROXY, why.raised);
    tracer_.error("ProcessResponse", "no reponse available");
    tracer_.log(wire::contextLine(url_, action_));
    return failure(E_PROXY, "Failed to process response");
  }

  tl::expected<wire::ReplyText, wire::ReadFailure> readBody(XHttpFile& file, ReplySink& reply) {
    InternetSource source(file, wire::declaredLength(headers_));
    if (!wire::isDeflated(headers_)) return readParts(source, reply);
    if (const auto body = inflate(source)) {
      wire::MemorySource inflated(*body);
      return readParts(inflated, reply);
    }
    tracer_.log("Failed to inflate the reply");
    return tl::unexpected(wire::ReadFailure{});
  }

  static std::optional<std::vector<std::byte>> inflate(InternetSource& source) {
    const auto packed = source.readAll(kMaxDeflatedReply);
    if (!packed || !source.complete()) return std::nullopt;
    auto body = wire::inflateAll(platform::linkedZlib(), *packed);
    return body ? std::optional(std::move(*body)) : std::nullopt;
  }

  tl::expected<wire::ReplyText, wire::ReadFailure> readParts(wire::ByteSource& source, ReplySink& reply) {
    const auto framing = wire::replyFraming(headers_);
    return framing.isMultipart ? wire::readMultipartReply(source, framing.boundary, reply, tracer_)
                               : wire::readPlainReply(source, tracer_);
  }

  /// A failure whose text is also its log line.
  tl::unexpected<Failure> logged(long code, std::string text,
                                 std::source_location at = std::source_location::current()) const {
    tracer_.log(text, at);
    return failure(code, std::move(text));
  }

  const char* url_;
  const char* action_;
  ExchangeTracer& tracer_;
  SessionToken& token_;
  BuiltMessage message_;
  std::string headers_;
};

void settle(ErrorChannel& error, const Failure& why) {
  if (why.subCode)
    error.set(why.code, *why.subCode, why.text.c_str());
  else
    error.set(why.code, why.text.c_str());
  for (const std::string& line : why.details) error.add(line.c_str());
}

/// An exception must not turn a failure that is already noted into another one.
void settleException(ErrorChannel& error, long code, const char* text) {
  if (error.code() == E_OK) error.set(code, text);
}

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

}  // namespace

long HttpExchange::safeSend(XHttpFile& request, std::string_view headers, std::span<const std::byte> body) noexcept
    try {
  ExchangeTracer tracer(journal_, dump_, "SafeSendHTTPRequest");
  tracer.text(headers);
  tracer.bytes(body);
  if (sendWith(request, headers, body)) return E_OK;
  const unsigned long error = GetLastError();
  tracer.log("Failed to send request");
  tracer.log(systemFailure(error));
  return E_PROXY;
} catch (...) {
  journal_.text(kError, "SafeSendHTTPRequest", "Exception catched");
  return E_PROXY;
}

long HttpExchange::send(const char* url, const char* soapAction, RequestSource& request, ReplySink& reply,
                        SessionToken& token, ErrorChannel& error) noexcept {
  ExchangeTracer tracer(journal_, dump_, kOperation);
  const bool done = settled(
      tracer, error, [&] { return Exchange(orEmpty(url), orEmpty(soapAction), tracer, token).run(request, reply); });
  if (!done) reply.clear();
  return error.code();
}

std::optional<BuiltMessage> HttpExchange::build(const RequestSource& request) noexcept try {
  auto built = tryBuild(request, ExchangeTracer(journal_, dump_, "BuildMultipartMessage"));
  return built ? std::optional(std::move(*built)) : std::nullopt;
} catch (...) {
  journal_.text(kError, "BuildMultipartMessage", "Exception catched");
  return std::nullopt;
}

bool HttpExchange::prepare(const char* soapAction, const RequestSource& request, const SessionToken& token,
                           PreparedRequest& prepared, ErrorChannel& error) noexcept {
  ExchangeTracer tracer(journal_, dump_, "LoadTestSend");
  return settled(tracer, error, [&]() -> Step {
    const char* action = orEmpty(soapAction);
    if (auto guarded = guard("", action, tracer); !guarded) return guarded;
    auto built = tryBuild(request, tracer);
    if (!built) return tl::unexpected(std::move(built.error()));
    prepared = {
        wire::loadTestHeaderLines(built->ids ? &*built->ids : nullptr, action, token.passport(), token.pryContext()),
        std::move(built->body)};
    return {};
  });
}

}  // namespace qz::rpc
