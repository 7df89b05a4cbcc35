// One synchronous call: packed, sent, unpacked.
#pragma once

#include <source_location>

#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Rpc/ExchangePorts.h"

namespace qz::rpc {

/// Notes that a step has failed and returns the call's code, which is then never 0: the step's own code stands, and a
/// text without one is kept in front of `message`.
template <class Error>
long failStep(Journal& journal, Error& error, const char* operation, const char* message,
              std::source_location at = std::source_location::current()) {
  journal.text(kError, operation, message, at);
  if (error.getErrorCode() != E_OK) return error.getErrorCode();
  return *orEmpty(error.getErrorText()) == '\0' ? error.setError(E_PROXY, message) : error.addError(E_PROXY, message);
}

/// Runs a call and returns its code.
/// @param client offers `Buffer`, `Codec`, `journal()` and
///   `long exchange(url, action, RequestSource&, ReplySink&, token, error)`
/// @param in the request, read only; may be the same object as `out`
/// @param out receives output arguments, session and error; its former error and arguments are dropped
template <class Client, class Call>
long invokeSynchronously(Client& client, const Call& in, Call& out) {
  using Buffer = typename Client::Buffer;
  constexpr const char* kOperation = "invoke";
  typename Client::Codec codec;
  Buffer envelope, arguments, reply, attachment;
  const int packed = codec.packOutProxy(in, envelope, arguments);
  // Only now: a call that is also its own reply was packed with the error it had.
  auto& error = out.getError();
  error.clear();
  if (!packed) return failStep(client.journal(), error, kOperation, "Failed to pack outgoing messages");

  auto token = in.getRTT();
  DisposableSource<Buffer> request(envelope, arguments);
  BufferSink<Buffer> sink(reply, &attachment);
  if (client.exchange(in.getGatewayURL(), in.getSoapAction(), request, sink, token, error) != E_OK)
    return failStep(client.journal(), error, kOperation, "Failed to send the SOAP message");

  out.setRTT(token);
  out.getListParams().removeAll();
  if (!codec.unpackInProxy(reply, attachment.getLength() > 0 ? &attachment : nullptr, out))
    return failStep(client.journal(), error, kOperation, "Failed to unpack incoming messages");
  return error.getErrorCode();
}

/// The outermost step of every client: refuses missing call objects and conversations, and stops exceptions.
template <class Client, class Call>
long invoke(Client& client, const Call* in, Call* out) noexcept {
  constexpr const char* kOperation = "invoke";
  if (in == nullptr || out == nullptr) {
    client.journal().text(kError, kOperation, "NULL pointer passed in");
    return E_PROXY;
  }
  try {
    if (in->getAsyncMode() == 0) return invokeSynchronously(client, *in, *out);
    out->getError().clear();
    return failStep(client.journal(), out->getError(), kOperation, "Conversations are not available in this build");
  } catch (...) {
    return failStep(client.journal(), out->getError(), kOperation, "Exception catched");
  }
}

}  // namespace qz::rpc
