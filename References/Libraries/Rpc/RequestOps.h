// The steps of making a request as a face's client offers them: into its own buffers.
#pragma once

#include "References/Libraries/Rpc/ExchangePorts.h"

namespace qz::rpc {

/// Stores what an exchange would send, for a load test.
/// @param lines receives the header lines; @param body the body, DT_BINARY
/// @return 0, or E_PROXY, which `error` then holds
template <class Buffer, class BufferList>
long loadTestSend(HttpExchange& http, const char* soapAction, const RequestSource& request, const SessionToken& token,
                  BufferList& lines, Buffer& body, ErrorChannel& error) {
  PreparedRequest prepared;
  if (!http.prepare(soapAction, request, token, prepared, error)) return E_PROXY;
  try {
    for (const std::string& line : prepared.headerLines)
      if (lines.add(line.c_str(), &line == &prepared.headerLines.front()) < 0) throw std::bad_alloc();
    setContent(body, ITKBufferType::DT_BINARY, prepared.body.bytes());
    return E_OK;
  } catch (const std::bad_alloc&) {  // The buffers have logged it.
    error.set(E_PROXY, kBuildFailed);
    return E_PROXY;
  }
}

}  // namespace qz::rpc
