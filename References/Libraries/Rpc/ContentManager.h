// Content-manager calls and the requests of load tests: what the faces' clients do beside their calls.
#pragma once

#include <string>

#include "ITKRTT.h"
#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/ExchangePorts.h"
#include "References/Libraries/Rpc/RoundTrip.h"

namespace qz::rpc {

/// Where a content-manager call goes.
struct Endpoint {
  std::string url;
  std::string soapAction;
};

/// The call's own endpoint; without a URL that of the token; without either `fallback`, under the call's own action if
/// it has one.
inline Endpoint endpointOf(const char* url, const char* soapAction, const ITKRTT& token, const Endpoint& fallback) {
  for (const char* known : {orEmpty(url), token.getURL()})
    if (*known != '\0') return {known, orEmpty(soapAction)};
  return {fallback.url, *orEmpty(soapAction) != '\0' ? soapAction : fallback.soapAction};
}

/// Posts a content-manager request as it is and stores the reply's envelope. Returns the code of `error`, whose former
/// content is dropped.
template <class Client, class Buffer, class Error>
long invokeCM(Client& client, const Buffer* request, Buffer* response, const char* url, const char* soapAction,
              const ITKRTT& token, Error& error) noexcept {
  constexpr const char* kOperation = "InvokeCM";
  error.clear();
  if (request == nullptr || response == nullptr)
    return failReply(client.journal(), error, kOperation, kNullArgument, {response});
  try {
    const auto endpoint = endpointOf(url, soapAction, token, Client::Layer::defaultEndpoint());
    return client.post(endpoint.url.c_str(), endpoint.soapAction.c_str(), *request, *response, ITKRTT(token), error);
  } catch (...) {
    return failReply(client.journal(), error, kOperation, "Exception catched", {response});
  }
}

/// Stores what a call would send: the header lines as one text, and the body. Nothing is sent.
/// @return 0 or E_PROXY
template <class Client, class Call, class Buffer>
long loadTestInvoke(Client& client, const Call* in, Buffer* headers, Buffer* body) {
  using L = typename Client::Layer;
  const auto refuse = [&](const char* message) {
    client.journal().text(kError, "LoadTestInvoke", message);
    return long{E_PROXY};
  };
  if (in == nullptr || headers == nullptr || body == nullptr) return refuse(kNullArgument);
  typename L::Codec codec;
  typename L::OwnBuffer envelope, arguments;
  if (!L::pack(codec, *in, envelope, arguments)) return refuse(kPackFailed);
  typename L::OwnBufferList lines;
  typename L::OwnError error;
  const long code = client.loadTestSend(in->getSoapAction(), envelope, &arguments, in->getRTT(), lines, *body, error);
  if (code != E_OK) return code;
  std::string text;
  for (long i = 0; i < lines.getCount(); ++i) text += messageIn(*lines.getAt(i));
  setText(*headers, text);
  return E_OK;
}

/// One content-manager call with a client of its own, as the faces' functions make it.
/// @tparam Client the face's public client class
/// @tparam OwnError takes the error in place of a null `error`
template <class Client, class OwnError, class Buffer, class Error>
long invokeCMOnce(const Buffer* request, Buffer* response, const char* url, const char* soapAction,
                  const char* dumpFile, Error* error, const ITKRTT& token) {
  OwnError unwanted;
  Client client(dumpFile, token, 0);
  return client.InvokeCM(request, response, url, soapAction, token, error == nullptr ? unwanted : *error);
}

/// The same for the request of a load test.
template <class Client, class Call, class Buffer>
long loadTestOnce(const Call* in, Buffer* headers, Buffer* body, const char* dumpFile) {
  Client client(dumpFile, in == nullptr ? ITKRTT() : in->getRTT(), 0);
  return client.LoadTestInvoke(in, headers, body);
}

}  // namespace qz::rpc
