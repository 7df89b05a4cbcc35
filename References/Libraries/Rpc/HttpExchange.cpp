#include "References/Libraries/Rpc/HttpExchange.h"

#include <array>
#include <limits>
#include <memory>
#include <source_location>
#include <utility>
#include <vector>

#include "References/Common/Ascii.h"
#include "References/Libraries/Platform/Clock.h"
#include "References/Libraries/Rpc/ExchangeSteps.h"
#include "References/Libraries/Rpc/TimeConsumed.h"
#include "References/Libraries/Wire/DumpBanners.h"
#include "References/Libraries/Wire/HeaderParameters.h"
#include "References/Libraries/Wire/Multipart.h"
#include "References/Libraries/Wire/ResponseStatus.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"

namespace qz::rpc {
namespace {

constexpr const char* kOperation = "SendReceive";
constexpr unsigned long kLastAcceptedStatus = 202;

std::string computerName() {
  std::array<char, 1024> name{};
  DWORD size = name.size();
  return GetComputerNameA(name.data(), &size) ? std::string(name.data(), size) : std::string();
}

BuiltMessage buildMessage(const RequestSource& request) {
  const auto attachment = request.attachment();
  if (!attachment) return {std::nullopt, wire::plainBody(request.envelope())};
  if (attachment->empty()) raise(kInvalidCondition);
  auto ids = wire::makeMultipartIds(computerName(), platform::localTime());
  auto body = wire::multipartBody(ids, request.envelope(), *attachment);
  if (body.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) raise(kInvalidCondition);
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

/// One exchange from its first trace line to its last.
class Exchange {
 public:
  Exchange(const char* url, const char* soapAction, ExchangeTracer& tracer, SessionToken& token)
      : url_(url), action_(soapAction), tracer_(tracer), token_(token) {}

  Step run(RequestSource& request, ReplySink& reply) {
    if (auto guarded = guardTexts(url_, action_, tracer_); !guarded) return guarded;
    tracer_.text(wire::kSentToGateway);
    if (auto built = buildBody(request); !built) return built;
    XInternetSession session("QZ RPC");
    const auto target = targetOf(url_);
    if (!target) return logged(E_HTTP, std::string("bad URL: ") + url_);
    const auto connection = session.GetHttpConnection(target->server.c_str(), target->port, nullptr, nullptr);
    if (auto checked = checkConnection(connection.get(), *target); !checked) return checked;
    const auto file =
        connection->OpenRequest(kPost, target->object.c_str(), nullptr, 1, nullptr, nullptr, target->requestFlags());
    if (file == nullptr) return openFailure(*target);
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

  Step checkConnection(XHttpConnection* connection, const Target& target) {
    if (connection == nullptr)
      return logged(E_HTTP, "failed to connect to " + target.server + ", port " + std::to_string(target.port));
    if (!connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, kConnectTimeOut)) return logged(E_HTTP, kTimeOutFailed);
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
    logSystemFailure(tracer_, *failed);
    return logged(E_PROXY, kSendFailed);
  }

  /// The system's error if there was one.
  std::optional<unsigned long> timedSend(XHttpFile& file, std::string_view cookies) {
    TimeConsumed timer(tracer_.journal(), "CRpcHttpClient:SendRequest");
    if (sendWith(file, cookies, message_.body.bytes())) return std::nullopt;
    return GetLastError();
  }

  Step judgeReply(XHttpFile& file) {
    const auto status = readStatus(file, wire::kReceivedFromGateway, tracer_, headers_);
    if (!status) return tl::unexpected(status.error());
    const auto verdict = wire::judgeStatus(*status, kLastAcceptedStatus, token_.hasSiteMinderSession(), headers_);
    if (verdict != wire::StatusVerdict::refuse) token_.takeReplyCookies(headers_);
    switch (verdict) {
      case wire::StatusVerdict::read:
        return {};
      case wire::StatusVerdict::readFault:
        return logServerError();
      case wire::StatusVerdict::notLoggedOn:
        return notLoggedOn(*status);
      default:
        return refuse(file, *status);
    }
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
    const auto text =
        readBody(file, headers_, tracer_, [&](wire::ByteSource& source) { return readParts(source, reply); });
    getHTTPCredentials(file, &token_);
    if (!text) return unreadable(text.error());
    if (reply.wantsAttachment() && text->attachments > 1) raise(kInvalidCondition);
    reply.setEnvelope(text->envelope());
    return {};
  }

  Step unreadable(const wire::ReadFailure& why) {
    if (!why.raised.empty()) return failure(E_PROXY, why.raised);
    tracer_.error("ProcessResponse", "no reponse available");
    tracer_.log(wire::contextLine(url_, action_));
    return failure(E_PROXY, "Failed to process response");
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

}  // namespace

long HttpExchange::safeSend(XHttpFile& request, std::string_view headers, std::span<const std::byte> body) noexcept
    try {
  ExchangeTracer tracer(journal_, dump_, "SafeSendHTTPRequest");
  tracer.text(headers);
  tracer.bytes(body);
  if (sendWith(request, headers, body)) return E_OK;
  const unsigned long error = GetLastError();
  tracer.log(kSendFailed);
  logSystemFailure(tracer, error);
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
    if (auto guarded = guardTexts("", action, tracer); !guarded) return guarded;
    auto built = tryBuild(request, tracer);
    if (!built) return tl::unexpected(std::move(built.error()));
    prepared = {
        wire::loadTestHeaderLines(built->ids ? &*built->ids : nullptr, action, token.passport(), token.pryContext()),
        std::move(built->body)};
    return {};
  });
}

}  // namespace qz::rpc
