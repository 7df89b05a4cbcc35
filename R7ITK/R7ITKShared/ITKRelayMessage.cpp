#include "ITKRelayMessage.h"

#include "ITKRTT.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/RelayTraits.h"

using itk::ToolkitCodec;
using qz::viewOf;

namespace {

constexpr const char* kSource = itk::ToolkitRelay::kRelaySource;

}  // namespace

int ITKRelayMessage::packOutProxy(const ITKSOAP& call, ITKBuffer& envelope, ITKBuffer& arguments) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::packOutProxy(call, envelope, arguments); });
}

int ITKRelayMessage::unpackInProxy(const ITKBuffer& envelope, const ITKBuffer* arguments, ITKSOAP& call) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::unpackInProxy(envelope, arguments, call); });
}

int ITKRelayMessage::packOutStub(ITKSOAP& call, ITKBuffer& body, ITKBuffer& arguments) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::packOutStub(call, body, arguments); });
}

int ITKRelayMessage::unpackInStub(const char* body, const ITKBuffer& arguments, ITKSOAP& call) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::unpackInStub(viewOf(body), &arguments, call); });
}

int ITKRelayMessage::buildGenericSOAPEnv(const ITKRTT& token, const char* body, ITKBuffer& out) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::buildGeneric(token, viewOf(body), out); });
}

const char* ITKRelayMessage::GetDefaultRequestTemplate() noexcept {
  return itk::guarded(kSource, "", [] { return qz::rpc::templatesOf<itk::ToolkitRelay>().request.text().c_str(); });
}

ITKString ITKRelayMessage::BuildPlaceHolder(const char* name) noexcept {
  return itk::guarded(kSource, ITKString(), [&] { return ITKString(qz::wire::placeHolder(viewOf(name)).c_str()); });
}

const char* ITKRelayMessage::BuildNodeXml(const char* name, const char* value, ITKString& out) noexcept {
  return itk::guarded(kSource, "",
                      [&] { return itk::ToolkitRelay::assign(out, qz::wire::nodeXml(viewOf(name), viewOf(value))); });
}

const char* ITKRelayMessage::BuildSOAPEnv(const ITKSOAP& call, ITKString& out, const char* bodyTemplate,
                                          const char* envelopeTemplate) noexcept {
  return itk::guarded(kSource, "", [&] {
    return itk::ToolkitRelay::assign(out,
                                     ToolkitCodec::buildEnvelope(call, viewOf(bodyTemplate), viewOf(envelopeTemplate)));
  });
}

const char* ITKRelayMessage::BuildSOAPBodyXml(const ITKSOAP& call, ITKString& out, const char* bodyTemplate) noexcept {
  return itk::guarded(
      kSource, "", [&] { return itk::ToolkitRelay::assign(out, ToolkitCodec::buildBody(call, viewOf(bodyTemplate))); });
}

bool ITKRelayMessage::checkAddCookie(const char* name, const char* value, ITKString& items) noexcept {
  return itk::guarded(kSource, false, [&] { return ToolkitCodec::addCookie(viewOf(name), viewOf(value), items); });
}

int ITKRelayMessage::Extract(const ITKBuffer& envelope, ITKSOAP& call) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::extract(envelope, call); });
}

int ITKRelayMessage::ExtractHdrBodyXml(const ITKBuffer& envelope, ITKString& header, ITKString& body) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::cutHeaderAndBody(envelope, header, body); });
}

int ITKRelayMessage::ExtractHdrInfo(const ITKBuffer& envelope, ITKSOAP& call) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::extractHdrInfo(envelope, call); });
}

int ITKRelayMessage::ExtractDataMembers(const char* bodyText, ITKSOAP& call) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::extractDataMembers(viewOf(bodyText), call); });
}

long ITKRelayMessage::FindBeginTag(const char* text, long start, const char* name, bool escaped) noexcept {
  return itk::guarded(kSource, -1L,
                      [&] { return ToolkitCodec::findBeginTag(viewOf(text), start, viewOf(name), escaped); });
}

long ITKRelayMessage::FindEndTag(const char* text, long start, const char* name, bool escaped) noexcept {
  return itk::guarded(kSource, -1L,
                      [&] { return ToolkitCodec::findEndTag(viewOf(text), start, viewOf(name), escaped); });
}

const char* ITKRelayMessage::ExtractXmlNodeValue(const char* text, const char* name, ITKString& out,
                                                 bool escaped) noexcept {
  return itk::guarded<const char*>(
      kSource, nullptr, [&] { return ToolkitCodec::copyNodeValue(viewOf(text), viewOf(name), out, escaped); });
}

long ITKRelayMessage::ExtractXmlNodeValueLong(const char* text, const char* name, long defaultValue,
                                              bool escaped) noexcept {
  return itk::guarded(kSource, defaultValue,
                      [&] { return ToolkitCodec::nodeNumber(viewOf(text), viewOf(name), defaultValue, escaped); });
}

int ITKRelayMessage::extractXmlNodeValue(const char* xml, const char* name, char* out, long size) noexcept {
  return itk::guarded(kSource, 0, [&] {
    itk::checkPointer(kSource, out);
    itk::check(kSource, size > 0);
    return ToolkitCodec::copyNodeValue(viewOf(xml), viewOf(name), out, static_cast<std::size_t>(size));
  });
}

int ITKRelayMessage::extractXmlNodeValue(const char* xml, const char* name, ITKBuffer& out) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::copyNodeValue(viewOf(xml), viewOf(name), out); });
}

long ITKRelayMessage::extractXmlNodeValueLong(const char* xml, const char* name, long defaultValue,
                                              bool escaped) noexcept {
  return ExtractXmlNodeValueLong(xml, name, defaultValue, escaped);
}
