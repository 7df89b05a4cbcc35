#include "References/Libraries/Rpc/GenericHttp.h"

#include <optional>
#include <string>
#include <utility>

#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Common/Bytes.h"
#include "References/Libraries/Rpc/ExchangeSteps.h"
#include "References/Libraries/Wire/DumpBanners.h"
#include "References/Libraries/Wire/ResponseStatus.h"
#include "References/Libraries/Wire/SoapHeaders.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"

namespace qz::rpc {
namespace {

constexpr std::string_view kGetVerb = "GET";
constexpr std::string_view kPostVerb = "POST";
constexpr std::size_t kPieceSize = 65536;
constexpr unsigned long kNoContent = 204;
constexpr unsigned long kLastAcceptedStatus = 206;

constexpr const char* kUnreadable = "Failed to read server response";

/// What an exchange sends, and how it speaks of itself.
struct Plan {
  const char* url;
  const char* soapAction;
  const char* verb;
  std::string headers;
  std::span<const std::byte> body;
  std::string sentBanner;
  std::string_view receivedBanner;
  std::string context;  ///< line for failures
};

/// One request from its first trace line to its last.
class PlainExchange {
 public:
  PlainExchange(const Plan& plan, ExchangeTracer& tracer, SessionToken* token)
      : plan_(plan), tracer_(tracer), token_(token) {}
  virtual ~PlainExchange() = default;

  Step run(HttpExchange http, ReplySink& reply) {
    if (auto guarded = guardTexts(plan_.url, plan_.soapAction, tracer_); !guarded) return guarded;
    tracer_.text(plan_.sentBanner);
    XInternetSession session("QZ RPC");
    const auto target = targetOf(plan_.url);
    if (!target) return badUrl();
    const auto connection = session.GetHttpConnection(target->server.c_str(), target->port, nullptr, nullptr);
    if (connection == nullptr) return systemRefused("failed to open a http connection", std::string(": ") + plan_.url);
    if (!connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, kConnectTimeOut)) return systemRefused(kTimeOutFailed);
    const auto file = connection->OpenRequest(plan_.verb, target->object.c_str(), nullptr, 1, nullptr, nullptr,
                                              target->requestFlags() | furtherFlags());
    if (file == nullptr) return systemRefused("failed to open request");
    setHTTPCredentials(*file, std::as_const(token_));
    const long sent = http.safeSend(*file, wire::withOneLineEnd(plan_.headers), plan_.body);
    return sent == E_OK ? judgeReply(*file, reply) : failure(sent, kSendFailed);
  }

  const std::string& replyHeaders() const { return headers_; }

 protected:
  virtual unsigned long furtherFlags() const { return 0; }
  virtual std::string notLoggedOnText(unsigned long /*status*/) const { return headers_; }
  virtual tl::expected<wire::ReplyText, wire::ReadFailure> read(wire::ByteSource& source) {
    return wire::readPlainReply(source, tracer_);
  }

  const Plan& plan_;
  ExchangeTracer& tracer_;
  std::string headers_;

 private:
  Step badUrl() {
    std::string text = std::string("Bad URL: ") + plan_.url;
    tracer_.log(text);
    return failure(E_URL, std::move(text));
  }

  /// `more` is for the caller, who may not have the log.
  Step systemRefused(const char* text, const std::string& more = "") {
    const auto code = static_cast<long>(GetLastError());
    tracer_.log(text);
    return tl::unexpected(Failure{E_HTTP, code, text + more, {}});
  }

  Step judgeReply(XHttpFile& file, ReplySink& reply) {
    const auto status = readStatus(file, plan_.receivedBanner, tracer_, headers_);
    if (!status) return tl::unexpected(status.error());
    const bool siteMinder = token_ != nullptr && token_->hasSiteMinderSession();
    switch (wire::judgeStatus(*status, kLastAcceptedStatus, siteMinder, headers_)) {
      case wire::StatusVerdict::notLoggedOn:
        return refuse(E_LOGON, *status, notLoggedOnText(*status), {});
      case wire::StatusVerdict::refuse:
        return refuse(E_HTTP, *status, headers_, {plan_.context});
      default:
        return readReply(file, *status, reply);
    }
  }

  Step refuse(long code, unsigned long status, std::string text, std::vector<std::string> details) {
    tracer_.log(headers_);
    return tl::unexpected(Failure{code, static_cast<long>(status), std::move(text), std::move(details)});
  }

  Step readReply(XHttpFile& file, unsigned long status, ReplySink& reply) {
    reply.clear();
    if (status != kNoContent) {
      const auto text = readBody(
          file, headers_, tracer_, [&](wire::ByteSource& source) { return read(source); }, wire::kMaxReplyText);
      if (!text) return unreadable(text.error());
      reply.setEnvelope(text->envelope());
    }
    getHTTPCredentials(file, token_);
    return {};
  }

  Step unreadable(const wire::ReadFailure& why) {
    if (!why.raised.empty()) return failure(E_PROXY, why.raised);
    tracer_.log(kUnreadable);
    tracer_.log(plan_.context);
    return tl::unexpected(Failure{E_PROXY, {}, "", {kUnreadable, plan_.context}});
  }

  SessionToken* token_;
};

/// One whose reply may be any text.
class GenericExchange final : public PlainExchange {
 public:
  using PlainExchange::PlainExchange;

 private:
  /// A page that the system has kept may be of another session.
  unsigned long furtherFlags() const override {
    return std::string_view(plan_.verb) == kGetVerb ? INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE : 0;
  }

  std::string notLoggedOnText(unsigned long status) const override {
    return "Logon error " + std::to_string(status) + ", " + headers_;
  }

  tl::expected<wire::ReplyText, wire::ReadFailure> read(wire::ByteSource& source) override {
    auto body = readAll(source);
    if (!body) return tl::unexpected(wire::ReadFailure{});
    if (wire::findEnvelope(*body)) {
      wire::MemorySource lines(bytesOf(std::string_view(*body)));
      return wire::readPlainReply(lines, tracer_);
    }
    tracer_.bytes(bytesOf(std::string_view(*body)));
    const auto size = body->size();
    return wire::ReplyText{std::move(*body), 0, size, 0};
  }

  /// Nothing for a body that broke off or is too long.
  static std::optional<std::string> readAll(wire::ByteSource& source) {
    std::string body;
    std::vector<std::byte> piece(kPieceSize);
    while (const std::size_t count = source.read(piece)) {
      if (body.size() + count > wire::kMaxReplyText) return std::nullopt;
      body.append(reinterpret_cast<const char*>(piece.data()), count);
    }
    return source.complete() ? std::optional(std::move(body)) : std::nullopt;
  }
};

/// Of the verbs that a caller may name.
bool isKnownVerb(std::string_view verb) { return verb == kGetVerb || verb == kPostVerb; }

Step refuseVerb(const ExchangeTracer& tracer) {
  constexpr const char* kUnknownVerb = "The verb is neither GET nor POST; nothing was sent";
  tracer.log(kUnknownVerb);
  return failure(E_PROXY, kUnknownVerb);
}

}  // namespace

long GenericHttp::send(const char* url, const char* soapAction, std::span<const std::byte> body, ReplySink& reply,
                       SessionToken& token, ErrorChannel& error) noexcept {
  ExchangeTracer tracer(journal_, dump_, "send");
  const bool done = settled(tracer, error, [&] {
    const Plan plan{orEmpty(url),
                    orEmpty(soapAction),
                    "POST",
                    wire::soapRequestHeaders(orEmpty(soapAction), token.cookieLine()),
                    body,
                    std::string(wire::kSentToGateway),
                    wire::kReceivedFromGateway,
                    std::string("URL: ") + orEmpty(url)};
    return PlainExchange(plan, tracer, &token).run({journal_, dump_}, reply);
  });
  if (!done) reply.clear();
  return error.code();
}

long GenericHttp::request(const PlainRequest& request, ReplySink& reply, std::string& replyHeaders, SessionToken* token,
                          ErrorChannel& error) noexcept {
  ExchangeTracer tracer(journal_, dump_, "sendGenericHTTP");
  std::optional<long> detail;
  std::string url;  // a copy, as the caller's may stand in the buffer that is emptied
  const bool done = settled(tracer, error, [&] {
    replyHeaders.clear();
    url = orEmpty(request.url);
    if (!isKnownVerb(viewOf(request.verb))) return refuseVerb(tracer);
    const std::string action(request.soapAction != nullptr ? request.soapAction : wire::soapActionIn(request.headers));
    const Plan plan{url.c_str(),
                    action.c_str(),
                    request.verb,
                    request.headers,
                    request.body,
                    std::string(wire::kSentToServer) + "URL:" + url + "\r\n",
                    wire::kReceivedFromServer,
                    "SOAP action: " + action + ", url=" + url};
    GenericExchange exchange(plan, tracer, token);
    const Step step = exchange.run({journal_, dump_}, reply);
    if (!step) detail = step.error().subCode;
    replyHeaders = exchange.replyHeaders();
    return step;
  });
  if (!done) {
    reply.clear();
    journal_.requestFailed(url.c_str(), detail.value_or(error.code()));
  }
  return error.code();
}

}  // namespace qz::rpc
