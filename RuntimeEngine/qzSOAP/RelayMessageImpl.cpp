#include "RuntimeEngine/qzSOAP/RelayMessageImpl.h"

#include <msxml2.h>

#include "ITKRTT.h"
#include "References/Libraries/Platform/XmlDocument.h"
#include "RuntimeEngine/qzSOAP/FlatRelay.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"

using qz::viewOf;
using qz::flat::checked;
using qz::flat::FlatCodec;
using qz::flat::FlatRelay;
using qz::flat::guarded;

namespace {

constexpr const char* kSource = FlatRelay::kRelaySource;

void require(const void* object, const char* otherwise, long line) {
  if (object == nullptr) throw qz::Err(E_POINTER, otherwise, kSource, "packOutStubTask", line);
}

qz::platform::XmlNode nodeOf(IXMLDOMDocument* document) {
  return qz::platform::XmlNode(qz::platform::ComPtr<IXMLDOMNode>::share(document));
}

}  // namespace

const char* CqzRelayMessageImpl::GetDefaultRequestTemplate() noexcept {
  return guarded(kSource, "GetDefaultRequestTemplate", "",
                 [] { return qz::rpc::templatesOf<FlatRelay>().request.text().c_str(); });
}

const char* CqzRelayMessageImpl::BuildPlaceHolder(const char* name, CqzBuffer* out) noexcept {
  return checked(kSource, "BuildPlaceHolder", "", {out},
                 [&] { return FlatRelay::assign(*out, qz::wire::placeHolder(viewOf(name))); });
}

const char* CqzRelayMessageImpl::BuildNodeXml(const char* name, const char* value, CqzBuffer* out) noexcept {
  return checked(kSource, "BuildNodeXml", "", {out},
                 [&] { return FlatRelay::assign(*out, qz::wire::nodeXml(viewOf(name), viewOf(value))); });
}

int CqzRelayMessageImpl::packOutProxy(const CRpcSOAP* call, CqzBuffer* envelope, CqzBuffer* arguments) noexcept {
  return checked(kSource, "packOutProxy", 0, {call, envelope, arguments},
                 [&] { return FlatCodec::packOutProxy(*call, *envelope, *arguments); });
}

const char* CqzRelayMessageImpl::BuildSOAPEnv(const CRpcSOAP* call, CqzBuffer* out, const char* bodyTemplate,
                                              const char* envelopeTemplate) noexcept {
  return checked(kSource, "BuildSOAPEnv", "", {call, out}, [&] {
    return FlatRelay::assign(*out, FlatCodec::buildEnvelope(*call, viewOf(bodyTemplate), viewOf(envelopeTemplate)));
  });
}

const char* CqzRelayMessageImpl::BuildSOAPBodyXml(const CRpcSOAP* call, CqzBuffer* out,
                                                  const char* bodyTemplate) noexcept {
  return checked(kSource, "BuildSOAPBodyXml", "", {call, out},
                 [&] { return FlatRelay::assign(*out, FlatCodec::buildBody(*call, viewOf(bodyTemplate))); });
}

bool CqzRelayMessageImpl::checkAddCookie(const char* name, const char* value, CqzBuffer* items) noexcept {
  return checked(kSource, "checkAddCookie", false, {items},
                 [&] { return FlatCodec::addCookie(viewOf(name), viewOf(value), *items); });
}

int CqzRelayMessageImpl::buildGenericSOAPEnv(const ITKRTT* token, const char* body, CqzBuffer* out) noexcept {
  // Spelt so in every log that is searched for it.
  return checked(kSource, "buildGeneriicSOAPEnv", 0, {token, out},
                 [&] { return FlatCodec::buildGeneric(*token, viewOf(body), *out); });
}

int CqzRelayMessageImpl::unpackInProxy(const CqzBuffer* envelope, const CqzBuffer* arguments, CRpcSOAP* call) noexcept {
  return checked(kSource, "unpackInProxy", 0, {envelope, call},
                 [&] { return FlatCodec::unpackInProxy(*envelope, arguments, *call); });
}

int CqzRelayMessageImpl::Extract(const CqzBuffer* envelope, CRpcSOAP* call) noexcept {
  return checked(kSource, "Extract", 0, {envelope, call}, [&] { return FlatCodec::extract(*envelope, *call); });
}

int CqzRelayMessageImpl::ExtractHdrBodyXml(const CqzBuffer* envelope, CqzBuffer* header, CqzBuffer* body) noexcept {
  return checked(kSource, "ExtractHdrBodyXml", 0, {envelope, header, body},
                 [&] { return FlatCodec::cutHeaderAndBody(*envelope, *header, *body); });
}

int CqzRelayMessageImpl::ExtractHdrInfo(const CqzBuffer* envelope, CRpcSOAP* call) noexcept {
  return checked(kSource, "ExtractHdrInfo", 0, {envelope, call},
                 [&] { return FlatCodec::extractHdrInfo(*envelope, *call); });
}

int CqzRelayMessageImpl::ExtractDataMembers(const char* bodyText, CRpcSOAP* call) noexcept {
  return checked(kSource, "ExtractDataMembers", 0, {call},
                 [&] { return FlatCodec::extractDataMembers(viewOf(bodyText), *call); });
}

long CqzRelayMessageImpl::FindBeginTag(const char* text, long start, const char* name, bool escaped) noexcept {
  return guarded(kSource, "FindBeginTag", -1L,
                 [&] { return FlatCodec::findBeginTag(viewOf(text), start, viewOf(name), escaped); });
}

long CqzRelayMessageImpl::FindEndTag(const char* text, long start, const char* name, bool escaped) noexcept {
  return guarded(kSource, "FindEndTag", -1L,
                 [&] { return FlatCodec::findEndTag(viewOf(text), start, viewOf(name), escaped); });
}

const char* CqzRelayMessageImpl::ExtractXmlNodeValue(const char* text, const char* name, CqzBuffer* out,
                                                     bool escaped) noexcept {
  return checked<const char*>(kSource, "ExtractXmlNodeValue", nullptr, {out},
                              [&] { return FlatCodec::copyNodeValue(viewOf(text), viewOf(name), *out, escaped); });
}

long CqzRelayMessageImpl::ExtractXmlNodeValueLong(const char* text, const char* name, long defaultValue,
                                                  bool escaped) noexcept {
  return guarded(kSource, "ExtractXmlNodeValueLong", defaultValue,
                 [&] { return FlatCodec::nodeNumber(viewOf(text), viewOf(name), defaultValue, escaped); });
}

int CqzRelayMessageImpl::extractXmlNodeValue(const char* xml, const char* name, char* out, long size) noexcept {
  return checked(kSource, "extractXmlNodeValue", 0, {out}, [&] {
    if (size <= 0) return qz::flat::refuse(kSource, "extractXmlNodeValue", "Insufficient buffer size", 0);
    return FlatCodec::copyNodeValue(viewOf(xml), viewOf(name), out, static_cast<std::size_t>(size));
  });
}

int CqzRelayMessageImpl::extractXmlNodeValue(const char* xml, const char* name, CqzBuffer* out) noexcept {
  return checked(kSource, "extractXmlNodeValue", 0, {out},
                 [&] { return FlatCodec::copyNodeValue(viewOf(xml), viewOf(name), *out); });
}

long CqzRelayMessageImpl::extractXmlNodeValueLong(const char* xml, const char* name, long defaultValue,
                                                  bool escaped) noexcept {
  return ExtractXmlNodeValueLong(xml, name, defaultValue, escaped);
}

int CqzRelayMessageImpl::extractXmlNodeValue(IXMLDOMDocument* document, const char* name, CqzBuffer* out) noexcept {
  return checked(kSource, "extractXmlNodeValue", 0, {document, out},
                 [&] { return FlatCodec::copyElementText(nodeOf(document), viewOf(name), *out); });
}

long CqzRelayMessageImpl::extractXmlNodeValueLong(IXMLDOMDocument* document, const char* name,
                                                  long defaultValue) noexcept {
  return checked(kSource, "extractXmlNodeValueLong", defaultValue, {document},
                 [&] { return FlatCodec::elementNumber(nodeOf(document), viewOf(name), defaultValue); });
}

int CqzRelayMessageImpl::extractXmlNodeValueList(IXMLDOMDocument* document, const char* name,
                                                 CqzBufferList* list) noexcept {
  return checked(kSource, "extractXmlNodeValueList", 0, {document, list},
                 [&] { return FlatCodec::appendElements(nodeOf(document), viewOf(name), *list); });
}

int CqzRelayMessageImpl::packOutStub(CRpcSOAP* call, CqzBuffer* body, CqzBuffer* arguments) noexcept {
  return checked(kSource, "packOutStub", 0, {call, body, arguments},
                 [&] { return FlatCodec::packOutStub(*call, *body, *arguments); });
}

int CqzRelayMessageImpl::unpackInStub(const char* body, const CqzBuffer* arguments, CRpcSOAP* call) noexcept {
  return checked(kSource, "unpackInStub", 0, {call},
                 [&] { return FlatCodec::unpackInStub(viewOf(body), arguments, *call); });
}

int CqzRelayMessageImpl::packOutStubTask(const CRpcSOAP* call, CqzBuffer* body) {
  require(call, "Soap object is required", __LINE__);
  require(body, "Soap buffer is required", __LINE__);
  return guarded(kSource, "packOutStubTask", 0, [&] { return FlatCodec::packOutStubTask(*call, *body); });
}

int CqzRelayMessageImpl::buildSoapBodyTask(CqzBuffer* body) noexcept {
  return checked(kSource, "buildSoapBodyTask", 0, {body}, [&] { return FlatCodec::buildTaskReply(*body); });
}

int CqzRelayMessageImpl::buildSoapBodyTaskFault(const CRpcSOAP* call, CqzBuffer* body) noexcept {
  return checked(kSource, "buildSoapBodyTaskFault", 0, {call, body},
                 [&] { return FlatCodec::buildTaskFault(*call, *body); });
}
