// One synchronous call: packed, sent, unpacked.
#pragma once

#include <source_location>
#include <string>

#include "ITKRTT.h"
#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Log/logHelperImpl.h"
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
/// @param client HttpClient of the call's face
/// @param in the request, read only; may be the same object as `out`
/// @param out receives output arguments, session and error; its former error and arguments are dropped
template <class Client, class Call>
long invokeSynchronously(Client& client, const Call& in, Call& out) {
  using L = typename Client::Layer;
  using Buffer = typename L::Buffer;
  constexpr const char* kOperation = "invoke";
  typename L::Codec codec;
  typename L::OwnBuffer envelope, arguments, reply, attachment;
  const int packed = L::pack(codec, in, envelope, arguments);
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
  if (!L::unpack(codec, reply, attachment.getLength() > 0 ? &attachment : nullptr, out))
    return failStep(client.journal(), error, kOperation, "Failed to unpack incoming messages");
  return error.getErrorCode();
}

/// The outermost step of every client: refuses missing call objects and conversations, and stops exceptions.
template <class Client, class Call>
long invoke(Client& client, const Call* in, Call* out) noexcept {
  constexpr const char* kOperation = "invoke";
  if (in == nullptr || out == nullptr) {
    client.journal().text(kError, kOperation, kNullArgument);
    return out == nullptr ? E_PROXY : out->getError().setError(E_PROXY, 0, kNullArgument);
  }
  try {
    if (in->getAsyncMode() == 0) return invokeSynchronously(client, *in, *out);
    out->getError().clear();
    return failStep(client.journal(), out->getError(), kOperation, "Conversations are not available in this build");
  } catch (...) {
    return failStep(client.journal(), out->getError(), kOperation, "Exception catched");
  }
}

/// One call with a client of its own, as the faces' invoke functions make it: the log tells its URL and its result.
/// @tparam Client the face's public client class
template <class Client, class Call>
long invokeOnce(Journal& journal, const Call* in, Call* out, const char* dumpFile,
                std::source_location at = std::source_location::current()) {
  journal.text(kTrace, "", std::string("URL=") + (in == nullptr ? "" : in->getGatewayURL()), at);
  Client client(dumpFile, in == nullptr ? ITKRTT() : in->getRTT(), 0);
  const long result = client.invoke(in, out);
  journal.text(kTrace, "", "Return code = " + std::to_string(result), at);
  return result;
}

}  // namespace qz::rpc
