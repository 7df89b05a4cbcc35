#include "CRpcHttpClient.h"
#include "References/Libraries/Rpc/HttpClient.h"
#include "References/Libraries/Rpc/TokenCookies.h"
#include "References/Libraries/Wire/ResponseStatus.h"
#include "RuntimeEngine/qzSOAP/BufferListImpl.h"
#include "RuntimeEngine/qzSOAP/FlatJournal.h"
#include "RuntimeEngine/qzSOAP/FlatLayer.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"
#include "RuntimeEngine/qzSOAP/RelayMessageImpl.h"
#include "RuntimeEngine/qzSOAP/SOAPErrorImpl.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPApp.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPImpl.h"

namespace {

/// The flat face as its client sees it.
struct ClientTraits : qz::flat::FlatLayer {
  static constexpr const char* kClientSource = "RuntimeEngine/qzSOAP/rpcHttpClient";
  using Journal = qz::flat::FlatJournal;
  using Codec = CqzRelayMessageImpl;
  using Text = CqzBuffer;

  static int pack(CqzRelayMessage& codec, const CRpcSOAP& call, CqzBuffer& envelope, CqzBuffer& arguments) {
    return codec.packOutProxy(&call, &envelope, &arguments);
  }
  static int unpack(CqzRelayMessage& codec, const CqzBuffer& envelope, const CqzBuffer* arguments, CRpcSOAP& call) {
    return codec.unpackInProxy(&envelope, arguments, &call);
  }
  static qz::rpc::Endpoint defaultEndpoint() { return {getDllApp().getCMUrl(), getDllApp().getCMSoapAction()}; }
  static void storeText(CqzBuffer& out, const std::string& text) { qz::rpc::setText(out, text); }
};

constexpr const char* kSource = ClientTraits::kClientSource;

using Client = qz::rpc::HttpClient<ClientTraits>;
using qz::flat::guarded;
using qz::rpc::present;

}  // namespace

struct CRpcHttpClient::Impl : Client {
  using Client::Client;
};

CRpcHttpClient::CRpcHttpClient(const char* dumpFile, const ITKRTT& token, int reserved) noexcept
    : impl_(new (std::nothrow) Impl(dumpFile, token, reserved)) {}

CRpcHttpClient::~CRpcHttpClient() = default;

long CRpcHttpClient::invoke(const CRpcSOAP* in, CRpcSOAP* out) noexcept {
  return guarded(kSource, "invoke", long{E_PROXY}, [&] { return present(impl_.get()).invoke(in, out); });
}

long CRpcHttpClient::SendRequestAsync(const CRpcSOAP* in, CRpcSOAP* out) noexcept {
  return guarded(kSource, "SendRequestAsync", long{E_PROXY},
                 [&] { return present(impl_.get()).sendRequestAsync(in, out); });
}

void CRpcHttpClient::setProgressHandler(qzProgressHandler handler, void* context) noexcept {
  if (impl_) impl_->setProgressHandler(handler, context);
}

long CRpcHttpClient::SendRequest(const char* url, const char* soapAction, const CqzBuffer& request,
                                 const CqzBuffer* attachment, CqzBuffer& response, CqzBuffer* responseAttachment,
                                 ITKRTT& token, CqzSOAPError& error) noexcept {
  return guarded(kSource, "SendReceive", long{E_PROXY}, [&] {
    return present(impl_.get())
        .sendRequest(url, soapAction, request, attachment, response, responseAttachment, token, error);
  });
}

long CRpcHttpClient::LoadTestSend(const char* soapAction, const CqzBuffer& request, const CqzBuffer* attachment,
                                  const ITKRTT& token, CqzBufferList& headerLines, CqzBuffer& body,
                                  CqzSOAPError& error) noexcept {
  return guarded(kSource, "LoadTestSend", long{E_PROXY}, [&] {
    return present(impl_.get()).loadTestSend(soapAction, request, attachment, token, headerLines, body, error);
  });
}

long CRpcHttpClient::InvokeCM(const CqzBuffer* request, CqzBuffer* response, const char* url, const char* soapAction,
                              const ITKRTT& token, CqzSOAPError& error) noexcept {
  return guarded(kSource, "InvokeCM", long{E_PROXY},
                 [&] { return present(impl_.get()).invokeCM(request, response, url, soapAction, token, error); });
}

long CRpcHttpClient::LoadTestInvoke(const CRpcSOAP* in, CqzBuffer* headers, CqzBuffer* body) noexcept {
  return guarded(kSource, "LoadTestInvoke", long{E_PROXY},
                 [&] { return present(impl_.get()).loadTestInvoke(in, headers, body); });
}

long CRpcHttpClient::SendGenericHTTP(const char* url, const char* verb, const char* headers, const CqzBuffer* body,
                                     CqzBuffer* response, CqzBuffer* responseHeaders, ITKRTT* token,
                                     CqzSOAPError& error) noexcept {
  return guarded(kSource, "SendGenericHTTP", long{E_PROXY}, [&] {
    return present(impl_.get()).sendGenericHttp(url, verb, headers, {body, response, responseHeaders}, token, error);
  });
}

long CRpcHttpClient::SendCDKRequest(const char* url, const char* soapAction, const char* extraHeader,
                                    const CqzBuffer* body, CqzBuffer* response, ITKRTT* token,
                                    CqzSOAPError& error) noexcept {
  return guarded(kSource, "SendCDKRequest", long{E_PROXY}, [&] {
    return present(impl_.get()).sendCdkRequest(url, soapAction, extraHeader, {body, response, nullptr}, token, error);
  });
}

void CRpcHttpClient::BuildRequestHTTPHeaders(const char* soapAction, const char* extraHeader, CqzBuffer& out) noexcept {
  guarded(kSource, "BuildRequestHTTPHeaders", 0, [&] {
    qz::rpc::setText(out, qz::wire::soapRequestHeaders(qz::viewOf(soapAction), qz::viewOf(extraHeader)));
    return 0;
  });
}

void CRpcHttpClient::BuildRequestHTTPHeaders(const char* soapAction, const ITKRTT& token, CqzBuffer& out) noexcept {
  guarded(kSource, "BuildRequestHTTPHeaders", 0, [&] {
    BuildRequestHTTPHeaders(soapAction, qz::rpc::cookieLineOf(token).c_str(), out);
    return 0;
  });
}

bool CRpcHttpClient::BuildMultipartMessage(const CqzBuffer& request, const CqzBuffer* attachment, CqzBuffer& boundary,
                                           CqzBuffer& start, CqzBuffer& out) noexcept {
  return guarded(kSource, "BuildMultipartMessage", false,
                 [&] { return present(impl_.get()).buildMultipartMessage(request, attachment, boundary, start, out); });
}

long CRpcHttpClient::SafeSendHTTPRequest(XHttpFile& request, const char* headers, const CqzBuffer& body) noexcept {
  return guarded(kSource, "SafeSendHTTPRequest", long{E_PROXY},
                 [&] { return present(impl_.get()).safeSend(request, headers, body); });
}

bool CRpcHttpClient::CheckContentType(const char* rawHeaders) noexcept {
  return qz::wire::checkContentType(qz::viewOf(rawHeaders));
}

void CRpcHttpClient::ProcessResponseHeaders(const char* rawHeaders, bool& isMultipart, CqzBuffer& boundary) noexcept {
  guarded(kSource, "ProcessResponseHeaders", 0, [&] {
    Client::processResponseHeaders(rawHeaders, isMultipart, boundary);
    return 0;
  });
}

bool CRpcHttpClient::ReadResponse(XInternetFile& file, CqzBufferList& list) noexcept {
  return guarded(kSource, "ReadResponse", false, [&] { return present(impl_.get()).readResponse(file, list); });
}

bool CRpcHttpClient::ReadResponseMultiPart(XInternetFile& file, const char* boundary, CqzBufferList& list) noexcept {
  return guarded(kSource, "ReadResponseMultiPart", false,
                 [&] { return present(impl_.get()).readResponseMultiPart(file, boundary, list); });
}

bool CRpcHttpClient::ExtractSoapEnvXml(const char* text, CqzBuffer& envelope) noexcept {
  return guarded(kSource, "ExtractSoapEnvXml", false, [&] { return Client::extractSoapEnvXml(text, envelope); });
}

bool CRpcHttpClient::ProcessResponse(const CqzBufferList& list, CqzBuffer& response, CqzBuffer* attachment) noexcept {
  return guarded(kSource, "ProcessResponse", false,
                 [&] { return Client::processResponse(list, response, attachment); });
}
