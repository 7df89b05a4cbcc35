#include "References/Libraries/Rpc/HttpPortal.h"

#include "QzTypes.h"
#include "References/Common/Bytes.h"
#include "References/Libraries/Rpc/GenericHttp.h"
#include "References/Libraries/Rpc/TokenPort.h"

namespace qz::rpc {
namespace {

/// The portal's pages are texts.
class PageSink final : public ReplySink {
 public:
  explicit PageSink(std::string& page) : page_(page) {}

  void clear() override { page_.clear(); }
  void setEnvelope(std::string_view text) override { page_ = text; }
  bool wantsAttachment() const override { return false; }
  std::span<std::byte> resize(std::size_t /*index*/, std::size_t /*size*/) override { return {}; }

 private:
  std::string& page_;
};

/// Nobody reads more of an error than whether there is one: its texts are in the log.
class ResultChannel final : public ErrorChannel {
 public:
  long code() const override { return code_; }
  void set(long code, const char* /*text*/) override { code_ = code; }
  void set(long code, long /*subCode*/, const char* /*text*/) override { code_ = code; }
  void add(const char* /*text*/) override {}

 private:
  long code_ = E_OK;
};

}  // namespace

std::optional<PortalReply> HttpPortal::request(const std::string& url, const char* verb, const std::string& headers,
                                               std::string_view body, ITKRTT* token) {
  ITKRTT nobody;
  TokenPort user(token == nullptr ? nobody : *token);
  PortalReply reply;
  PageSink sink(reply.page);
  ResultChannel result;
  const PlainRequest plain{url.c_str(), verb, headers, nullptr, bytesOf(body)};
  const long code = GenericHttp(journal_, dump_.ifOpen())
                        .request(plain, sink, reply.headers, token == nullptr ? nullptr : &user, result);
  return code == E_OK ? std::optional(std::move(reply)) : std::nullopt;
}

}  // namespace qz::rpc
