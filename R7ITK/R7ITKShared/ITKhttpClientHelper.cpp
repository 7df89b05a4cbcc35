#include "ITKhttpClientHelper.h"

#include "ITKBufferList.h"
#include "ITKRelayMessage.h"
#include "ITKSOAP.h"
#include "ITKSOAPError.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/ToolkitJournal.h"
#include "References/Libraries/Rpc/HttpExchange.h"
#include "References/Libraries/Rpc/Invoke.h"
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

  explicit Client(ITKFile* dumpFile) {
    if (dumpFile != nullptr) dump_.emplace(*dumpFile);
  }

  qz::rpc::Journal& journal() { return journal_; }

  qz::rpc::HttpExchange http() { return {journal_, dump()}; }
  qz::rpc::ExchangeTracer tracer() { return {journal_, dump(), "ReadResponse"}; }

  long exchange(const char* url, const char* action, qz::rpc::RequestSource& request, qz::rpc::ReplySink& reply,
                ITKRTT& token, ITKSOAPError& error) {
    qz::rpc::TokenPort tokenPort(token);
    qz::rpc::ErrorPort<ITKSOAPError> errorPort(error);
    return http().send(url, action, request, reply, tokenPort, errorPort);
  }

 private:
  qz::rpc::WireDump* dump() { return dump_ ? &*dump_ : nullptr; }

  itk::ToolkitJournal journal_{kSource};
  std::optional<FileDump> dump_;
};

}  // namespace

ITKhttpClientHelper::ITKhttpClientHelper(const char* dumpFile, const ITKRTT& token, int reserved) noexcept
    : dumpOpen_(*qz::orEmpty(dumpFile) != '\0' && dumpFile_.openAppend(dumpFile)), token_(token), reserved_(reserved) {}

ITKhttpClientHelper::~ITKhttpClientHelper() = default;

long ITKhttpClientHelper::invoke(const ITKSOAP* in, ITKSOAP* out) noexcept {
  return itk::guarded(kSource, static_cast<long>(E_PROXY), [&] {
    Client client(dumpOpen_ ? &dumpFile_ : nullptr);
    return qz::rpc::invoke(client, in, out);
  });
}

long ITKhttpClientHelper::SendRequest(const char* url, const char* soapAction, const ITKBuffer& request,
                                      const ITKBuffer* attachment, ITKBuffer& response, ITKBuffer* responseAttachment,
                                      ITKRTT& token, ITKSOAPError& error) noexcept {
  return itk::guarded(kSource, static_cast<long>(E_PROXY), [&] {
    qz::rpc::BufferSource<ITKBuffer> source(request, attachment);
    qz::rpc::BufferSink<ITKBuffer> sink(response, responseAttachment);
    return Client(dumpOpen_ ? &dumpFile_ : nullptr).exchange(url, soapAction, source, sink, token, error);
  });
}

bool ITKhttpClientHelper::BuildMultipartMessage(const ITKBuffer& request, const ITKBuffer* attachment,
                                                ITKString& boundary, ITKString& start, ITKBuffer& out) noexcept {
  return itk::guarded(kSource, false, [&] {
    itk::check(kSource, attachment == nullptr || attachment->getLength() > 0);
    const auto built = qz::rpc::buildMessage(qz::rpc::BufferSource<ITKBuffer>(request, attachment));
    boundary = built.ids ? built.ids->boundary.c_str() : "";
    start = built.ids ? built.ids->start.c_str() : "";
    const auto bytes = built.body.bytes();
    out.reset(static_cast<long>(bytes.size()), ITKBufferType::DT_BINARY);
    out.write(static_cast<const void*>(bytes.data()), static_cast<long>(bytes.size()));
    return static_cast<std::size_t>(out.getLength()) == bytes.size();
  });
}

long ITKhttpClientHelper::SafeSendHTTPRequest(XHttpFile& request, const char* headers, const ITKBuffer& body) noexcept {
  Client client(dumpOpen_ ? &dumpFile_ : nullptr);
  return client.http().safeSend(request, qz::viewOf(headers), qz::rpc::bytesOf(body));
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
    Client client(dumpOpen_ ? &dumpFile_ : nullptr);
    auto tracer = client.tracer();
    return qz::rpc::readResponse<ITKBufferList, ITKBuffer>(file, tracer, list);
  });
}

bool ITKhttpClientHelper::ReadResponseMultiPart(XInternetFile& file, const char* boundary,
                                                ITKBufferList& list) noexcept {
  return itk::guarded(kSource, false, [&] {
    Client client(dumpOpen_ ? &dumpFile_ : nullptr);
    auto tracer = client.tracer();
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
    qz::rpc::BufferSink<ITKBuffer>(envelope, nullptr).setEnvelope({text + found->begin, found->size});
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
