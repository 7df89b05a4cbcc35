// One message to a gateway and one back.
#pragma once

#include <initializer_list>
#include <source_location>

#include "ITKRTT.h"
#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Rpc/ExchangePorts.h"
#include "References/Libraries/Rpc/Journal.h"

namespace qz::rpc {

/// Text of a call that cannot be packed.
inline constexpr const char* kPackFailed = "Failed to pack outgoing messages";

/// Notes that a step has failed and returns the call's code, which is then never 0: the step's own code stands, and a
/// text without one is kept in front of `message`.
template <class Error>
long failStep(Journal& journal, Error& error, const char* operation, const char* message,
              std::source_location at = std::source_location::current()) {
  journal.text(kError, operation, message, at);
  if (error.getErrorCode() != E_OK) return error.getErrorCode();
  return *orEmpty(error.getErrorText()) == '\0' ? error.setError(E_PROXY, message) : error.addError(E_PROXY, message);
}

/// The same for a step that promises to leave the buffers of the reply empty; null among them is skipped.
template <class Buffer, class Error>
long failReply(Journal& journal, Error& error, const char* operation, const char* message,
               std::initializer_list<Buffer*> reply, std::source_location at = std::source_location::current()) {
  for (Buffer* buffer : reply) {
    if (buffer != nullptr) buffer->empty();
  }
  return failStep(journal, error, operation, message, at);
}

/// Packs a call, sends it and unpacks the reply.
/// @param client HttpClient of the call's face
/// @param operation name for the log
/// @param call the request, read only; may be the same object as `out`, and `token` its token otherwise
/// @param token its cookies are sent; takes those of the reply
/// @param out receives output arguments, session and error; its former error and arguments are dropped
/// @param reply receives the reply's envelope
/// @return false when a step failed; the error of `out` then has a code that is not 0
template <class Client>
bool roundTrip(Client& client, const char* operation, const typename Client::Call& call, const char* soapAction,
               ITKRTT& token, typename Client::Call& out, typename Client::OwnBuffer& reply) {
  using L = typename Client::Layer;
  typename L::Codec codec;
  typename L::OwnBuffer envelope, arguments, attachment;
  const int packed = L::pack(codec, call, envelope, arguments);
  // Only now: a call that is also its own reply was packed with the error it had.
  auto& error = out.getError();
  error.clear();
  const auto fail = [&](const char* message, std::source_location at = std::source_location::current()) {
    failStep(client.journal(), error, operation, message, at);
    return false;
  };
  if (!packed) return fail(kPackFailed);

  DisposableSource<typename L::Buffer> request(envelope, arguments);
  BufferSink<typename L::Buffer> sink(reply, &attachment);
  if (client.exchange(call.getGatewayURL(), soapAction, request, sink, token, error) != E_OK)
    return fail("Failed to send the SOAP message");

  out.setRTT(token);
  out.getListParams().removeAll();
  return L::unpack(codec, reply, attachment.getLength() > 0 ? &attachment : nullptr, out) != 0 ||
         fail("Failed to unpack incoming messages");
}

}  // namespace qz::rpc
