// What the HTTP clients of both faces are made of.
#pragma once

#include <concepts>
#include <new>
#include <string>

#include "ITKRTT.h"
#include "QzProgress.h"
#include "References/Libraries/Rpc/ContentManager.h"
#include "References/Libraries/Rpc/DumpFile.h"
#include "References/Libraries/Rpc/GenericHttp.h"
#include "References/Libraries/Rpc/GenericRequest.h"
#include "References/Libraries/Rpc/HttpExchange.h"
#include "References/Libraries/Rpc/Invoke.h"
#include "References/Libraries/Rpc/Layer.h"
#include "References/Libraries/Rpc/RequestOps.h"
#include "References/Libraries/Rpc/ResponseOps.h"
#include "References/Libraries/Rpc/TokenPort.h"
#include "References/Libraries/Wire/HeaderParameters.h"

namespace qz::rpc {

/// What a face provides beside its types.
template <class L>
concept ClientLayer = Layer<L> && requires(typename L::Codec& codec, const typename L::Call& in, typename L::Call& out,
                                           typename L::Buffer& buffer, typename L::Text& text) {
  /// Source path of the face's client class.
  { L::kClientSource } -> std::convertible_to<const char*>;
  /// The face's log, constructed with a source path.
  requires std::derived_from<typename L::Journal, Journal>;
  /// The face's codec and its two operations, whose arguments are references in one face and pointers in the other.
  { L::pack(codec, in, buffer, buffer) } -> std::same_as<int>;
  { L::unpack(codec, buffer, &buffer, out) } -> std::same_as<int>;
  /// Where content-manager calls go whose call and token name no URL.
  { L::defaultEndpoint() } -> std::same_as<Endpoint>;
  /// What the client's steps return texts in.
  L::storeText(text, std::string());
};

/// The client of one face, without a guard against exceptions. The static steps need nothing of it.
template <ClientLayer L>
class HttpClient {
 public:
  using Layer = L;
  using Buffer = typename L::Buffer;
  using OwnBuffer = typename L::OwnBuffer;
  using BufferList = typename L::BufferList;
  using Error = typename L::Error;
  using Call = typename L::Call;
  using Text = typename L::Text;

  /// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
  HttpClient(const char* dumpFile, const ITKRTT& token, int reserved)
      : dump_(dumpFile), token_(token), reserved_(reserved) {}

  Journal& journal() { return journal_; }

  long invoke(const Call* in, Call* out) noexcept { return rpc::invoke(*this, in, out); }

  long sendRequestAsync(const Call* in, Call* out) noexcept { return rpc::sendRequestAsync(*this, in, out); }

  void setProgressHandler(qzProgressHandler handler, void* context) noexcept { progress_ = {handler, context}; }
  void tellProgress(long attempts, double waited, long limit) const {
    if (progress_.handler != nullptr) progress_.handler(progress_.context, attempts, waited, limit);
  }

  long exchange(const char* url, const char* soapAction, RequestSource& request, ReplySink& reply, ITKRTT& token,
                Error& error) noexcept {
    TokenPort tokenPort(token);
    ErrorPort<Error> errorPort(error);
    return http().send(url, soapAction, request, reply, tokenPort, errorPort);
  }

  long sendRequest(const char* url, const char* soapAction, const Buffer& request, const Buffer* attachment,
                   Buffer& response, Buffer* responseAttachment, ITKRTT& token, Error& error) noexcept {
    BufferSource<Buffer> source(request, attachment);
    BufferSink<Buffer> sink(response, responseAttachment);
    return exchange(url, soapAction, source, sink, token, error);
  }

  long loadTestSend(const char* soapAction, const Buffer& request, const Buffer* attachment, const ITKRTT& token,
                    BufferList& headerLines, Buffer& body, Error& error) {
    auto connection = http();
    ITKRTT copy(token);
    ErrorPort<Error> errorPort(error);
    return rpc::loadTestSend(connection, soapAction, BufferSource<Buffer>(request, attachment), TokenPort(copy),
                             headerLines, body, errorPort);
  }

  long invokeCM(const Buffer* request, Buffer* response, const char* url, const char* soapAction, const ITKRTT& token,
                Error& error) noexcept {
    return rpc::invokeCM(*this, request, response, url, soapAction, token, error);
  }

  long loadTestInvoke(const Call* in, Buffer* headers, Buffer* body) {
    return rpc::loadTestInvoke(*this, in, headers, body);
  }

  long sendGenericHttp(const char* url, const char* verb, const char* headers, const GenericBuffers<Buffer>& buffers,
                       ITKRTT* token, Error& error) {
    return rpc::sendGeneric(*this, {url, verb, orEmpty(headers), nullptr, {}}, buffers, token, error);
  }

  long sendCdkRequest(const char* url, const char* soapAction, const char* extraHeader,
                      const GenericBuffers<Buffer>& buffers, ITKRTT* token, Error& error) {
    const char* action = orEmpty(soapAction);
    return rpc::sendGeneric(*this, {url, "POST", wire::soapRequestHeaders(action, viewOf(extraHeader)), action, {}},
                            buffers, token, error);
  }

  long request(const PlainRequest& plain, Buffer& response, std::string& headers, SessionToken* token, Error& error) {
    ErrorPort<Error> errorPort(error);
    BufferSink<Buffer> sink(response, nullptr);
    return GenericHttp(journal_, dump()).request(plain, sink, headers, token, errorPort);
  }

  /// Posts an envelope alone and stores the reply's.
  long post(const char* url, const char* soapAction, const Buffer& request, Buffer& response, ITKRTT&& token,
            Error& error) {
    TokenPort tokenPort(token);
    ErrorPort<Error> errorPort(error);
    BufferSink<Buffer> sink(response, nullptr);
    return GenericHttp(journal_, dump()).send(url, soapAction, bytesOf(messageIn(request)), sink, tokenPort, errorPort);
  }

  bool buildMultipartMessage(const Buffer& request, const Buffer* attachment, Text& boundary, Text& start,
                             Buffer& out) {
    const auto built = http().build(BufferSource<Buffer>(request, attachment));
    if (!built) return false;
    const auto ids = built->ids.value_or(wire::MultipartIds{});
    L::storeText(boundary, ids.boundary);
    L::storeText(start, ids.start);
    setContent(out, ITKBufferType::DT_BINARY, built->body.bytes());
    return true;
  }

  long safeSend(XHttpFile& request, const char* headers, const Buffer& body) noexcept {
    return http().safeSend(request, viewOf(headers), contentOf(body));
  }

  bool readResponse(XInternetFile& file, BufferList& list) {
    auto listener = tracer("ReadResponse");
    return rpc::readResponse<BufferList, OwnBuffer>(file, listener, list);
  }

  bool readResponseMultiPart(XInternetFile& file, const char* boundary, BufferList& list) {
    auto listener = tracer("ReadResponseMultiPart");
    return rpc::readResponseMultiPart<BufferList, OwnBuffer>(file, viewOf(boundary), listener, list);
  }

  static void processResponseHeaders(const char* rawHeaders, bool& isMultipart, Text& boundary) {
    isMultipart = false;
    boundary.empty();
    const auto framing = wire::replyFraming(viewOf(rawHeaders));
    L::storeText(boundary, framing.boundary);
    isMultipart = framing.isMultipart;
  }

  static bool extractSoapEnvXml(const char* text, Buffer& envelope) {
    const auto found = wire::findEnvelope(viewOf(text));
    if (!found) {
      L::report(kError, "ExtractSoapEnvXml", L::kClientSource, found.error());
      return false;
    }
    // The text may be the envelope's own.
    setText(envelope, std::string(text + found->begin, found->size));
    return true;
  }

  static bool processResponse(const BufferList& list, Buffer& response, Buffer* attachment) {
    typename L::Journal journal(L::kClientSource);
    return rpc::processResponse(list, journal, response, attachment);
  }

 private:
  HttpExchange http() { return {journal_, dump()}; }
  ExchangeTracer tracer(const char* operation) { return {journal_, dump(), operation}; }
  WireDump* dump() { return dump_.ifOpen(); }

  typename L::Journal journal_{L::kClientSource};
  DumpFile dump_;
  ITKRTT token_;
  int reserved_;
  struct {
    qzProgressHandler handler = nullptr;
    void* context = nullptr;
  } progress_;
};

/// The client behind a public object, which has none if memory was short when it was made.
/// @throws std::bad_alloc when there is none
template <class Client>
Client& present(Client* client) {
  if (client == nullptr) throw std::bad_alloc();
  return *client;
}

}  // namespace qz::rpc
