#include "ITKhttpClientHelper.h"

#include "ITKBufferList.h"
#include "ITKRelayMessage.h"
#include "ITKSOAP.h"
#include "ITKSOAPError.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/ToolkitJournal.h"
#include "References/Libraries/Rpc/HttpExchange.h"
#include "References/Libraries/Rpc/Invoke.h"
#include "References/Libraries/Rpc/RequestOps.h"
#include "References/Libraries/Rpc/ResponseOps.h"
#include "References/Libraries/Rpc/TokenPort.h"
#include "References/Libraries/Wire/HeaderParameters.h"
#include "References/Libraries/Wire/ResponseStatus.h"

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKhttpClientHelper";

/// The dump is an extra: what cannot be written is lost.
class FileDump final : public qz::rpc::WireDump {
 public:
  explicit FileDump(ITKFile& file) : file_(file) {}
  void write(std::span<const std::byte> data) override { file_.write(data.data(), static_cast<long>(data.size())); }

 private:
  ITKFile& file_;
};

/// What the engines need of one client.
class Client {
 public:
  using Buffer = ITKBuffer;
  using Codec = ITKRelayMessage;

  Client(ITKFile& dumpFile, bool dumpOpen) : dump_(dumpFile), dumpOpen_(dumpOpen) {}

  qz::rpc::Journal& journal() { return journal_; }

  qz::rpc::HttpExchange http() { return {journal_, dump()}; }
  qz::rpc::ExchangeTracer tracer(const char* operation) { return {journal_, dump(), operation}; }

  long exchange(const char* url, const char* action, qz::rpc::RequestSource& request, qz::rpc::ReplySink& reply,
                ITKRTT& token, ITKSOAPError& error) {
    qz::rpc::TokenPort tokenPort(token);
    qz::rpc::ErrorPort<ITKSOAPError> errorPort(error);
    return http().send(url, action, request, reply, tokenPort, errorPort);
  }

 private:
  qz::rpc::WireDump* dump() { return dumpOpen_ ? &dump_ : nullptr; }

  itk::ToolkitJournal journal_{kSource};
  FileDump dump_;
  bool dumpOpen_;
};

}  // namespace

ITKhttpClientHelper::ITKhttpClientHelper(const char* dumpFile, const ITKRTT& token, int reserved) noexcept
    : dumpOpen_(*qz::orEmpty(dumpFile) != '\0' && dumpFile_.openAppend(dumpFile)), token_(token), reserved_(reserved) {}

ITKhttpClientHelper::~ITKhttpClientHelper() = default;

long ITKhttpClientHelper::invoke(const ITKSOAP* in, ITKSOAP* out) noexcept {
  Client client(dumpFile_, dumpOpen_);
  return qz::rpc::invoke(client, in, out);
}

long ITKhttpClientHelper::SendRequest(const char* url, const char* soapAction, const ITKBuffer& request,
                                      const ITKBuffer* attachment, ITKBuffer& response, ITKBuffer* responseAttachment,
                                      ITKRTT& token, ITKSOAPError& error) noexcept {
  qz::rpc::BufferSource<ITKBuffer> source(request, attachment);
  qz::rpc::BufferSink<ITKBuffer> sink(response, responseAttachment);
  return Client(dumpFile_, dumpOpen_).exchange(url, soapAction, source, sink, token, error);
}

long ITKhttpClientHelper::LoadTestSend(const char* soapAction, const ITKBuffer& request, const ITKBuffer* attachment,
                                       const ITKRTT& token, ITKBufferList& headerLines, ITKBuffer& body,
                                       ITKSOAPError& error) noexcept {
  return itk::guarded(kSource, static_cast<long>(E_PROXY), [&] {
    Client client(dumpFile_, dumpOpen_);
    auto http = client.http();
    ITKRTT copy(token);
    qz::rpc::ErrorPort<ITKSOAPError> errorPort(error);
    return qz::rpc::loadTestSend(http, soapAction, qz::rpc::BufferSource<ITKBuffer>(request, attachment),
                                 qz::rpc::TokenPort(copy), headerLines, body, errorPort);
  });
}

bool ITKhttpClientHelper::BuildMultipartMessage(const ITKBuffer& request, const ITKBuffer* attachment,
                                                ITKString& boundary, ITKString& start, ITKBuffer& out) noexcept {
  return itk::guarded(kSource, false, [&] {
    itk::check(kSource, attachment == nullptr || attachment->getLength() > 0);
    const auto built = qz::rpc::buildMessage(qz::rpc::BufferSource<ITKBuffer>(request, attachment));
    boundary = built.ids ? built.ids->boundary.c_str() : "";
    start = built.ids ? built.ids->start.c_str() : "";
    qz::rpc::setContent(out, ITKBufferType::DT_BINARY, built.body.bytes());
    return true;
  });
}

long ITKhttpClientHelper::SafeSendHTTPRequest(XHttpFile& request, const char* headers, const ITKBuffer& body) noexcept {
  Client client(dumpFile_, dumpOpen_);
  return client.http().safeSend(request, qz::viewOf(headers), qz::rpc::contentOf(body));
}

bool ITKhttpClientHelper::CheckContentType(const char* rawHeaders) noexcept {
  return qz::wire::checkContentType(qz::viewOf(rawHeaders));
}

void ITKhttpClientHelper::ProcessResponseHeaders(const char* rawHeaders, bool& isMultipart,
                                                 ITKString& boundary) noexcept {
  isMultipart = false;
  boundary.empty();
  itk::guarded(kSource, [&] {
    const auto framing = qz::wire::replyFraming(qz::viewOf(rawHeaders));
    isMultipart = framing.isMultipart;
    boundary = framing.boundary.c_str();
  });
}

bool ITKhttpClientHelper::ReadResponse(XInternetFile& file, ITKBufferList& list) noexcept {
  return itk::guarded(kSource, false, [&] {
    Client client(dumpFile_, dumpOpen_);
    auto tracer = client.tracer("ReadResponse");
    return qz::rpc::readResponse<ITKBufferList, ITKBuffer>(file, tracer, list);
  });
}

bool ITKhttpClientHelper::ReadResponseMultiPart(XInternetFile& file, const char* boundary,
                                                ITKBufferList& list) noexcept {
  return itk::guarded(kSource, false, [&] {
    Client client(dumpFile_, dumpOpen_);
    auto tracer = client.tracer("ReadResponseMultiPart");
    return qz::rpc::readResponseMultiPart<ITKBufferList, ITKBuffer>(file, qz::viewOf(boundary), tracer, list);
  });
}

bool ITKhttpClientHelper::ExtractSoapEnvXml(const char* text, ITKBuffer& envelope) noexcept {
  return itk::guarded(kSource, false, [&] {
    itk::ToolkitJournal journal(kSource);
    const auto found = qz::wire::findEnvelope(qz::viewOf(text));
    if (!found) {
      journal.text(qz::rpc::kError, "ExtractSoapEnvXml", found.error(), std::source_location::current());
      return false;
    }
    // The text may be the envelope's own.
    qz::rpc::setText(envelope, std::string(text + found->begin, found->size));
    return true;
  });
}

bool ITKhttpClientHelper::ProcessResponse(const ITKBufferList& list, ITKBuffer& response,
                                          ITKBuffer* attachment) noexcept {
  return itk::guarded(kSource, false, [&] {
    itk::ToolkitJournal journal(kSource);
    return qz::rpc::processResponse(list, journal, response, attachment);
  });
}
