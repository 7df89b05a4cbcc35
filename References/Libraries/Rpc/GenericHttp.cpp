#include "References/Libraries/Rpc/GenericHttp.h"

#include <string>
#include <utility>

#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Rpc/ExchangeSteps.h"
#include "References/Libraries/Wire/ResponseStatus.h"
#include "References/Libraries/Wire/SoapHeaders.h"
#include "RuntimeEngine/qzSOAP/httpClientHelper.h"

namespace qz::rpc {
namespace {

constexpr unsigned long kNoContent = 204;
constexpr unsigned long kLastAcceptedStatus = 206;

/// One request from its first trace line to its last.
class PlainExchange {
 public:
  PlainExchange(const char* url, const char* soapAction, ExchangeTracer& tracer, SessionToken& token)
      : url_(url), action_(soapAction), tracer_(tracer), token_(token) {}

  Step run(HttpExchange http, std::span<const std::byte> body, ReplySink& reply) {
    if (auto guarded = guardTexts(url_, action_, tracer_); !guarded) return guarded;
    tracer_.text(kSentToGateway);
    XInternetSession session("QZ RPC");
    const auto target = targetOf(url_);
    if (!target) return badUrl();
    const auto connection = session.GetHttpConnection(target->server.c_str(), target->port, nullptr, nullptr);
    if (connection == nullptr) return systemRefused("failed to open a http connection", std::string(": ") + url_);
    if (!connection->SetOption(INTERNET_OPTION_CONNECT_TIMEOUT, kConnectTimeOut)) return systemRefused(kTimeOutFailed);
    const auto file =
        connection->OpenRequest(kPost, target->object.c_str(), nullptr, 1, nullptr, nullptr, target->requestFlags());
    if (file == nullptr) return systemRefused("failed to open request");
    setHTTPCredentials(*file, &std::as_const(token_));
    const std::string headers = wire::withOneLineEnd(wire::soapRequestHeaders(action_, token_.cookieLine()));
    if (const long code = http.safeSend(*file, headers, body); code != E_OK) return failure(code, kSendFailed);
    return judgeReply(*file, reply);
  }

 private:
  Step badUrl() {
    std::string text = std::string("Bad URL: ") + url_;
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
    const auto status = readStatus(file, kReceivedFromGateway, tracer_, headers_);
    if (!status) return tl::unexpected(status.error());
    switch (wire::judgeStatus(*status, kLastAcceptedStatus, token_.hasSiteMinderSession(), headers_)) {
      case wire::StatusVerdict::notLoggedOn:
        return refuse(E_LOGON, *status, {});
      case wire::StatusVerdict::refuse:
        return refuse(E_HTTP, *status, {context()});
      default:
        return readReply(file, *status, reply);
    }
  }

  Step refuse(long code, unsigned long status, std::vector<std::string> details) {
    tracer_.log(headers_);
    return tl::unexpected(Failure{code, static_cast<long>(status), headers_, std::move(details)});
  }

  Step readReply(XHttpFile& file, unsigned long status, ReplySink& reply) {
    reply.clear();
    if (status != kNoContent) {
      const auto text = readBody(file, headers_, tracer_,
                                 [&](wire::ByteSource& source) { return wire::readPlainReply(source, tracer_); });
      if (!text) return unreadable(text.error());
      reply.setEnvelope(text->envelope());
    }
    getHTTPCredentials(file, &token_);
    return {};
  }

  Step unreadable(const wire::ReadFailure& why) {
    constexpr const char* kUnreadable = "Failed to read server response";
    if (!why.raised.empty()) return failure(E_PROXY, why.raised);
    tracer_.log(kUnreadable);
    tracer_.log(context());
    return tl::unexpected(Failure{E_PROXY, {}, "", {kUnreadable, context()}});
  }

  std::string context() const { return std::string("URL: ") + url_; }

  const char* url_;
  const char* action_;
  ExchangeTracer& tracer_;
  SessionToken& token_;
  std::string headers_;
};

}  // namespace

long GenericHttp::send(const char* url, const char* soapAction, std::span<const std::byte> body, ReplySink& reply,
                       SessionToken& token, ErrorChannel& error) noexcept {
  ExchangeTracer tracer(journal_, dump_, "send");
  const bool done = settled(tracer, error, [&] {
    return PlainExchange(orEmpty(url), orEmpty(soapAction), tracer, token).run({journal_, dump_}, body, reply);
  });
  if (!done) reply.clear();
  return error.code();
}

}  // namespace qz::rpc
