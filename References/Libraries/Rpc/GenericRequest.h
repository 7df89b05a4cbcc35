// Generic requests as the faces' clients make them, with their own buffers.
#pragma once

#include <string>

#include "ITKRTT.h"
#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Rpc/ExchangePorts.h"
#include "References/Libraries/Rpc/GenericHttp.h"
#include "References/Libraries/Rpc/RoundTrip.h"
#include "References/Libraries/Rpc/TokenPort.h"
#include "References/Libraries/Wire/SoapHeaders.h"

namespace qz::rpc {

/// What a generic request of a face brings into and takes out of buffers.
template <class Buffer>
struct GenericBuffers {
  const Buffer* body;  ///< null: none
  Buffer* response;
  Buffer* responseHeaders;  ///< null: not wanted
};

/// Makes a request and adds the token's cookies to it, unless it has a cookie line of its own. Returns the code of
/// `error`, whose former content is dropped.
/// @param token null: none
template <class Client, class Buffer, class Error>
long sendGeneric(Client& client, PlainRequest request, const GenericBuffers<Buffer>& buffers, ITKRTT* token,
                 Error& error) noexcept {
  constexpr const char* kOperation = "SendGenericHTTP";
  error.clear();
  const auto fail = [&](const char* why) {
    return failReply(client.journal(), error, kOperation, why, {buffers.response, buffers.responseHeaders});
  };
  if (buffers.response == nullptr) return fail(kNullArgument);
  try {
    ITKRTT nobody;
    TokenPort port(token == nullptr ? nobody : *token);
    if (!wire::hasCookieLine(request.headers))
      request.headers = wire::withOneLineEnd(request.headers) + port.cookieLine();
    if (buffers.body != nullptr) request.body = contentOf(*buffers.body);
    std::string headers;
    const long code = client.request(request, *buffers.response, headers, token == nullptr ? nullptr : &port, error);
    if (buffers.responseHeaders != nullptr) setText(*buffers.responseHeaders, headers);
    return code;
  } catch (...) {
    return fail("Exception catched");
  }
}

}  // namespace qz::rpc
