#include "ITKhttpClientHelper.h"

#include "ITKBufferList.h"
#include "ITKRelayMessage.h"
#include "ITKSOAP.h"
#include "ITKSOAPError.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/ToolkitJournal.h"
#include "R7ITK/R7ITKShared/ToolkitLayer.h"
#include "References/Libraries/Rpc/HttpClient.h"
#include "References/Libraries/Rpc/TokenCookies.h"
#include "References/Libraries/Wire/ResponseStatus.h"

namespace {

/// The toolkit face as its client sees it.
struct ClientTraits : itk::ToolkitLayer {
  static constexpr const char* kClientSource = "R7ITK/R7ITKShared/ITKhttpClientHelper";
  using Journal = itk::ToolkitJournal;
  using Codec = ITKRelayMessage;
  using Text = ITKString;

  static int pack(ITKRelayMessage& codec, const ITKSOAP& call, ITKBuffer& envelope, ITKBuffer& arguments) {
    return codec.packOutProxy(call, envelope, arguments);
  }
  static int unpack(ITKRelayMessage& codec, const ITKBuffer& envelope, const ITKBuffer* arguments, ITKSOAP& call) {
    return codec.unpackInProxy(envelope, arguments, call);
  }
  /// The toolkit has none.
  static qz::rpc::Endpoint defaultEndpoint() { return {}; }
  static void storeText(ITKString& out, const std::string& text) { out = text.c_str(); }
};

constexpr const char* kSource = ClientTraits::kClientSource;

using Client = qz::rpc::HttpClient<ClientTraits>;
using itk::guarded;
using qz::rpc::present;

}  // namespace

struct ITKhttpClientHelper::Impl : Client {
  using Client::Client;
};

ITKhttpClientHelper::ITKhttpClientHelper(const char* dumpFile, const ITKRTT& token, int reserved) noexcept
    : impl_(new (std::nothrow) Impl(dumpFile, token, reserved)) {}

ITKhttpClientHelper::~ITKhttpClientHelper() = default;

long ITKhttpClientHelper::invoke(const ITKSOAP* in, ITKSOAP* out) noexcept {
  return guarded(kSource, long{E_PROXY}, [&] { return present(impl_.get()).invoke(in, out); });
}

long ITKhttpClientHelper::SendRequestAsync(const ITKSOAP* in, ITKSOAP* out) noexcept {
  return guarded(kSource, long{E_PROXY}, [&] { return present(impl_.get()).sendRequestAsync(in, out); });
}

void ITKhttpClientHelper::setProgressHandler(qzProgressHandler handler, void* context) noexcept {
  if (impl_) impl_->setProgressHandler(handler, context);
}

long ITKhttpClientHelper::SendRequest(const char* url, const char* soapAction, const ITKBuffer& request,
                                      const ITKBuffer* attachment, ITKBuffer& response, ITKBuffer* responseAttachment,
                                      ITKRTT& token, ITKSOAPError& error) noexcept {
  return guarded(kSource, long{E_PROXY}, [&] {
    return present(impl_.get())
        .sendRequest(url, soapAction, request, attachment, response, responseAttachment, token, error);
  });
}

long ITKhttpClientHelper::LoadTestSend(const char* soapAction, const ITKBuffer& request, const ITKBuffer* attachment,
                                       const ITKRTT& token, ITKBufferList& headerLines, ITKBuffer& body,
                                       ITKSOAPError& error) noexcept {
  return guarded(kSource, long{E_PROXY}, [&] {
    return present(impl_.get()).loadTestSend(soapAction, request, attachment, token, headerLines, body, error);
  });
}

long ITKhttpClientHelper::InvokeCM(const ITKBuffer* request, ITKBuffer* response, const char* url,
                                   const char* soapAction, const ITKRTT& token, ITKSOAPError& error) noexcept {
  return guarded(kSource, long{E_PROXY},
                 [&] { return present(impl_.get()).invokeCM(request, response, url, soapAction, token, error); });
}

long ITKhttpClientHelper::LoadTestInvoke(const ITKSOAP* in, ITKBuffer* headers, ITKBuffer* body) noexcept {
  return guarded(kSource, long{E_PROXY}, [&] { return present(impl_.get()).loadTestInvoke(in, headers, body); });
}

long ITKhttpClientHelper::SendGenericHTTP(const char* url, const char* verb, const char* headers, const ITKBuffer* body,
                                          ITKBuffer* response, ITKBuffer* responseHeaders, ITKRTT* token,
                                          ITKSOAPError& error) noexcept {
  return guarded(kSource, long{E_PROXY}, [&] {
    return present(impl_.get()).sendGenericHttp(url, verb, headers, {body, response, responseHeaders}, token, error);
  });
}

long ITKhttpClientHelper::SendCDKRequest(const char* url, const char* soapAction, const char* extraHeader,
                                         const ITKBuffer* body, ITKBuffer* response, ITKRTT* token,
                                         ITKSOAPError& error) noexcept {
  return guarded(kSource, long{E_PROXY}, [&] {
    return present(impl_.get()).sendCdkRequest(url, soapAction, extraHeader, {body, response, nullptr}, token, error);
  });
}

void ITKhttpClientHelper::BuildRequestHTTPHeaders(const char* soapAction, const char* extraHeader,
                                                  ITKBuffer& out) noexcept {
  guarded(kSource, 0, [&] {
    qz::rpc::setText(out, qz::wire::soapRequestHeaders(qz::viewOf(soapAction), qz::viewOf(extraHeader)));
    return 0;
  });
}

void ITKhttpClientHelper::BuildRequestHTTPHeaders(const char* soapAction, const ITKRTT& token,
                                                  ITKBuffer& out) noexcept {
  guarded(kSource, 0, [&] {
    BuildRequestHTTPHeaders(soapAction, qz::rpc::cookieLineOf(token).c_str(), out);
    return 0;
  });
}

bool ITKhttpClientHelper::BuildMultipartMessage(const ITKBuffer& request, const ITKBuffer* attachment,
                                                ITKString& boundary, ITKString& start, ITKBuffer& out) noexcept {
  return guarded(kSource, false,
                 [&] { return present(impl_.get()).buildMultipartMessage(request, attachment, boundary, start, out); });
}

long ITKhttpClientHelper::SafeSendHTTPRequest(XHttpFile& request, const char* headers, const ITKBuffer& body) noexcept {
  return guarded(kSource, long{E_PROXY}, [&] { return present(impl_.get()).safeSend(request, headers, body); });
}

bool ITKhttpClientHelper::CheckContentType(const char* rawHeaders) noexcept {
  return qz::wire::checkContentType(qz::viewOf(rawHeaders));
}

void ITKhttpClientHelper::ProcessResponseHeaders(const char* rawHeaders, bool& isMultipart,
                                                 ITKString& boundary) noexcept {
  guarded(kSource, [&] { Client::processResponseHeaders(rawHeaders, isMultipart, boundary); });
}

bool ITKhttpClientHelper::ReadResponse(XInternetFile& file, ITKBufferList& list) noexcept {
  return guarded(kSource, false, [&] { return present(impl_.get()).readResponse(file, list); });
}

bool ITKhttpClientHelper::ReadResponseMultiPart(XInternetFile& file, const char* boundary,
                                                ITKBufferList& list) noexcept {
  return guarded(kSource, false, [&] { return present(impl_.get()).readResponseMultiPart(file, boundary, list); });
}

bool ITKhttpClientHelper::ExtractSoapEnvXml(const char* text, ITKBuffer& envelope) noexcept {
  return guarded(kSource, false, [&] { return Client::extractSoapEnvXml(text, envelope); });
}

bool ITKhttpClientHelper::ProcessResponse(const ITKBufferList& list, ITKBuffer& response,
                                          ITKBuffer* attachment) noexcept {
  return guarded(kSource, false, [&] { return Client::processResponse(list, response, attachment); });
}
