#include "Tools/qzcall/HttpRequest.h"

#include <memory>
#include <new>

#include "ITKBuffer.h"
#include "ITKSOAPAPI.h"
#include "ITKSOAPError.h"
#include "Tools/qzcall/Values.h"
#include "qzSOAP.h"

namespace qzcall {
namespace {

std::string orNothing(const char* text) { return text == nullptr ? "" : text; }

template <class Buffer>
std::string contentOf(const Buffer& buffer) {
  const Bytes bytes = argumentIn(buffer).bytes;
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The objects of a face that take part in a request; null when there is no memory for one.
template <class Buffer, class Error>
struct Parts {
  Buffer* body;
  Buffer* response;
  Buffer* headers;
  Error* error;
};

template <class Buffer, class Error>
HttpReply exchange(auto send, const Parts<Buffer, Error>& parts, const HttpRequest& request, const char* dumpFile,
                   ITKRTT* token) {
  if (parts.body == nullptr || parts.response == nullptr || parts.headers == nullptr || parts.error == nullptr)
    throw std::bad_alloc();
  const auto size = static_cast<long>(request.body.size());
  if (size != 0) parts.body->write(request.body.data(), size);
  if (parts.body->getLength() != size) throw std::bad_alloc();
  const long code = send(request.url.c_str(), request.verb.c_str(), request.headers.c_str(),
                         size == 0 ? nullptr : parts.body, parts.response, parts.headers, dumpFile, token, parts.error);
  return {{code, parts.error->getErrorSubCode(), orNothing(parts.error->getErrorText())},
          contentOf(*parts.headers),
          contentOf(*parts.response)};
}

HttpReply sendToolkit(const HttpRequest& request, const char* dumpFile, ITKRTT* token) {
  ITKBuffer body, response, headers;
  ITKSOAPError error;
  return exchange(ITKrpcSOAPSendGenericHTTP, Parts{&body, &response, &headers, &error}, request, dumpFile, token);
}

HttpReply sendFlat(const HttpRequest& request, const char* dumpFile, ITKRTT* token) {
  const CqzBuffer00 body, response, headers;
  const std::unique_ptr<CqzSOAPError, decltype(&rpcSOAP_ReleaseError)> error(rpcSOAP_CreateError(),
                                                                             rpcSOAP_ReleaseError);
  return exchange(rpcSOAPSendGenericHTTP, Parts{body.get(), response.get(), headers.get(), error.get()}, request,
                  dumpFile, token);
}

}  // namespace

HttpReply sendHttp(Face face, const HttpRequest& request, const std::string& dumpFile, ITKRTT* token) {
  const char* const dump = dumpFile.empty() ? nullptr : dumpFile.c_str();
  return face == Face::flat ? sendFlat(request, dump, token) : sendToolkit(request, dump, token);
}

}  // namespace qzcall
