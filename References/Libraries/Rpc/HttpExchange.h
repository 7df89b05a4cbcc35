// One exchange with a gateway: a request goes out, its reply comes back in parts.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "References/Libraries/Rpc/ExchangeTracer.h"
#include "References/Libraries/Rpc/Journal.h"
#include "References/Libraries/Rpc/SessionToken.h"
#include "References/Libraries/Wire/Multipart.h"
#include "References/Libraries/Wire/ResponseReader.h"

class XHttpFile;

namespace qz::rpc {

/// Time that a connection may take, in milliseconds.
inline constexpr unsigned long kConnectTimeOut = 300000;

/// What an exchange sends.
class RequestSource {
 public:
  virtual ~RequestSource() = default;
  /// The envelope's text.
  virtual std::string_view envelope() const = 0;
  /// The argument stream; nothing when the request has none. An empty one is an internal error.
  virtual std::optional<std::span<const std::byte>> attachment() const = 0;
  /// The body has been built from both, they are not asked for again: a caller that needs them no more frees them here,
  /// so that large arguments are not in memory twice while they travel.
  virtual void release() {}
};

/// The body of a request, and its identifiers when it has parts.
struct BuiltMessage {
  std::optional<wire::MultipartIds> ids;
  wire::MessageBody body;
};

/// What a load test sends again and again by its own means.
struct PreparedRequest {
  std::vector<std::string> headerLines;  ///< in their order, each with its line break
  wire::MessageBody body;
};

/// Text of a request whose body cannot be built.
inline constexpr const char* kBuildFailed = "Failed to build multipart messages";

/// Receives the reply. Attachment 0 is the reply's argument stream; further ones are not wanted.
class ReplySink : public wire::AttachmentSink {
 public:
  /// Empties what is there.
  virtual void clear() = 0;
  /// Takes the envelope's text.
  virtual void setEnvelope(std::string_view envelope) = 0;
  /// False when the caller has no use for an attachment.
  virtual bool wantsAttachment() const = 0;
};

/// The error object of the call.
class ErrorChannel {
 public:
  virtual ~ErrorChannel() = default;
  virtual long code() const = 0;
  virtual void set(long code, const char* text) = 0;
  virtual void set(long code, long subCode, const char* text) = 0;
  /// Appends a line to the text.
  virtual void add(const char* text) = 0;
};

/// Makes exchanges for one client. Nothing is kept between them; connections end with their exchange.
class HttpExchange {
 public:
  /// All arguments outlive the object.
  /// @param dump null: nothing is dumped
  HttpExchange(Journal& journal, WireDump* dump) : journal_(journal), dump_(dump) {}

  /// Posts a request and reads its reply into `reply`, cookies and HTTP credentials into `token`.
  /// @param url gateway; null counts as ""
  /// @param soapAction null counts as ""
  /// @return `error`'s code: what it was before when everything went well, otherwise the failure, never 0. A failed
  ///   exchange leaves `reply` empty.
  long send(const char* url, const char* soapAction, RequestSource& request, ReplySink& reply, SessionToken& token,
            ErrorChannel& error) noexcept;

  /// Builds the body of a request. Nothing when the attachment is empty, the body too long to be sent, or memory short.
  std::optional<BuiltMessage> build(const RequestSource& request) noexcept;

  /// Makes what send() would send and sends nothing. The token's passport, if there is one, becomes a header line.
  /// @return false after a failure, which `error` then names: E_PROXY
  bool prepare(const char* soapAction, const RequestSource& request, const SessionToken& token,
               PreparedRequest& prepared, ErrorChannel& error) noexcept;

  /// Sends an opened request, its further header line and its body, and writes both to the trace.
  /// @return 0, or E_PROXY when the system fails
  long safeSend(XHttpFile& request, std::string_view headers, std::span<const std::byte> body) noexcept;

 private:
  Journal& journal_;
  WireDump* dump_;
};

}  // namespace qz::rpc
