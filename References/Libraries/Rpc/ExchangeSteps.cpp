#include "References/Libraries/Rpc/ExchangeSteps.h"

#include <algorithm>

#include "References/Libraries/Platform/LinkedZlib.h"
#include "References/Libraries/Rpc/InternetSource.h"
#include "References/Libraries/Wire/ErrorText.h"
#include "References/Libraries/Wire/HeaderParameters.h"
#include "References/Libraries/Wire/RequestGuard.h"

namespace qz::rpc {
namespace {

constexpr long kGeneralFailure = static_cast<long>(0x80004005);
/// Longest body that is kept in memory until it is inflated.
constexpr std::size_t kMaxDeflatedReply = std::size_t{256} << 20;

std::optional<std::vector<std::byte>> inflate(InternetSource& source, std::size_t most) {
  const auto packed = source.readAll(std::min(most, kMaxDeflatedReply));
  if (!packed || !source.complete()) return std::nullopt;
  auto body = wire::inflateAll(platform::linkedZlibAndGzip(), *packed, most);
  return body ? std::optional(std::move(*body)) : std::nullopt;
}

}  // namespace

tl::unexpected<Failure> failure(long code, std::string text) {
  return tl::unexpected(Failure{code, {}, std::move(text), {}});
}

void raise(const char* text, std::source_location at) {
  throw Err(kGeneralFailure, text, "", "", static_cast<long>(at.line()));
}

Step guardTexts(const char* url, const char* soapAction, const ExchangeTracer& tracer) {
  const auto dirty = wire::textWithLineBreak(url, soapAction);
  if (dirty.empty()) return {};
  std::string text = "The " + std::string(dirty) + " contains a line break; nothing was sent";
  tracer.log(text);
  return failure(E_PROXY, std::move(text));
}

unsigned long Target::requestFlags() const {
  return INTERNET_FLAG_EXISTING_CONNECT | INTERNET_FLAG_NO_AUTO_REDIRECT | INTERNET_FLAG_NO_COOKIES |
         (secure ? INTERNET_FLAG_SECURE : 0);
}

std::optional<Target> targetOf(const char* url) {
  Target target;
  unsigned long service = 0;
  if (!xParseURL(url, service, target.server, target.object, target.port)) return std::nullopt;
  if (service != kServiceHttp && service != kServiceHttps) raise("Protocol type must be http: or https:");
  target.secure = service == kServiceHttps;
  return target;
}

bool sendWith(XHttpFile& file, std::string_view headers, std::span<const std::byte> body) {
  return file.SendRequest(headers.empty() ? nullptr : headers.data(), static_cast<unsigned long>(headers.size()),
                          body.data(), static_cast<unsigned long>(body.size()));
}

void logSystemFailure(const ExchangeTracer& tracer, unsigned long code, std::source_location at) {
  tracer.log(Err(static_cast<long>(code), wire::systemError(code, XInternetException(1, code).errorText()), "", "",
                 static_cast<long>(at.line())));
}

tl::expected<unsigned long, Failure> readStatus(XHttpFile& file, std::string_view banner, ExchangeTracer& tracer,
                                                std::string& headers) {
  tracer.text(banner);
  unsigned long status = 0;
  // The system lets an empty answer pass as one.
  if (!file.QueryInfoStatusCode(status) || status == 0) {
    tracer.log("The reply has no status line");
    tracer.log(kSendFailed);
    return failure(E_PROXY, kSendFailed);
  }
  if (!file.QueryInfo(HTTP_QUERY_RAW_HEADERS_CRLF, headers)) headers.clear();
  tracer.text(std::to_string(status) + "\r\n");
  tracer.text(headers);
  return status;
}

tl::expected<wire::ReplyText, wire::ReadFailure> readBody(XHttpFile& file, std::string_view headers,
                                                          const ExchangeTracer& tracer, const BodyReader& reader,
                                                          std::size_t most) {
  InternetSource source(file, wire::declaredLength(headers));
  if (!wire::isDeflated(headers)) return reader(source);
  if (const auto body = inflate(source, most)) {
    wire::MemorySource inflated(*body);
    return reader(inflated);
  }
  tracer.log("Failed to inflate the reply");
  return tl::unexpected(wire::ReadFailure{});
}

void settle(ErrorChannel& error, const Failure& why) {
  if (why.subCode)
    error.set(why.code, *why.subCode, why.text.c_str());
  else
    error.set(why.code, why.text.c_str());
  for (const std::string& line : why.details) error.add(line.c_str());
}

void settleException(ErrorChannel& error, long code, const char* text) {
  if (error.code() == E_OK) error.set(code, text);
}

}  // namespace qz::rpc
