// One call of either kind, as every client makes it.
#pragma once

#include <source_location>
#include <string>

#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/Conversation.h"
#include "References/Libraries/Rpc/RoundTrip.h"

namespace qz::rpc {

/// The outermost step of every client: refuses missing call objects, and stops exceptions.
/// @param run makes the call with `*in` and `*out` and returns its code
template <class Client, class Call, class Run>
long runCall(Client& client, const char* operation, const Call* in, Call* out, Run&& run) noexcept {
  if (in == nullptr || out == nullptr) {
    client.journal().text(kError, operation, kNullArgument);
    return out == nullptr ? E_PROXY : out->getError().setError(E_PROXY, 0, kNullArgument);
  }
  try {
    return run();
  } catch (...) {
    return failStep(client.journal(), out->getError(), operation, "Exception catched");
  }
}

/// Asks once.
/// @param in the request, read only; may be the same object as `out`
/// @param out receives output arguments, session and error; its former error and arguments are dropped
/// @return the code of its error
template <class Client, class Call>
long invokeSynchronously(Client& client, const Call& in, Call& out) {
  ITKRTT token = in.getRTT();
  typename Client::OwnBuffer reply;
  roundTrip(client, "invoke", in, in.getSoapAction(), token, out, reply);
  return out.getError().getErrorCode();
}

/// Asks until the server has finished, or the call's time limit has passed.
template <class Client, class Call>
long sendRequestAsync(Client& client, const Call* in, Call* out) noexcept {
  return runCall(client, kConversation, in, out, [&] { return Conversation<Client>(client, *in, *out).run(); });
}

/// Makes a call the way that its async mode asks for.
template <class Client, class Call>
long invoke(Client& client, const Call* in, Call* out) noexcept {
  if (in != nullptr && in->getAsyncMode() != 0) return sendRequestAsync(client, in, out);
  return runCall(client, "invoke", in, out, [&] { return invokeSynchronously(client, *in, *out); });
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
