#include "ITKRelayMessage.h"

#include "ITKRTT.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/RelayTraits.h"

using itk::ToolkitCodec;
using qz::viewOf;
using qz::wire::TagForm;

namespace {

constexpr const char* kSource = itk::ToolkitRelay::kRelaySource;

TagForm form(bool escaped) { return escaped ? TagForm::Escaped : TagForm::Plain; }

/// The text may be part of what `out` holds.
const char* assign(ITKString& out, std::string_view text) {
  out = ITKString(text.data(), static_cast<long>(text.size()));
  return out.c_str();
}

long toIndex(std::size_t at) { return at == std::string_view::npos ? -1 : static_cast<long>(at); }

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
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::unpackInStub(viewOf(body), arguments, call); });
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
  return itk::guarded(kSource, "", [&] { return assign(out, qz::wire::nodeXml(viewOf(name), viewOf(value))); });
}

const char* ITKRelayMessage::BuildSOAPEnv(const ITKSOAP& call, ITKString& out, const char* bodyTemplate,
                                          const char* envelopeTemplate) noexcept {
  return itk::guarded(kSource, "", [&] {
    return assign(out, ToolkitCodec::buildEnvelope(call, viewOf(bodyTemplate), viewOf(envelopeTemplate)));
  });
}

const char* ITKRelayMessage::BuildSOAPBodyXml(const ITKSOAP& call, ITKString& out, const char* bodyTemplate) noexcept {
  return itk::guarded(kSource, "", [&] { return assign(out, ToolkitCodec::buildBody(call, viewOf(bodyTemplate))); });
}

bool ITKRelayMessage::checkAddCookie(const char* name, const char* value, ITKString& items) noexcept {
  return itk::guarded(kSource, false, [&] {
    std::string item;
    if (!qz::wire::appendCookieItem(qz::rpc::templatesOf<itk::ToolkitRelay>(), viewOf(name), viewOf(value), item))
      return false;
    items.append(item.data(), static_cast<long>(item.size()));
    return true;
  });
}

int ITKRelayMessage::Extract(const ITKBuffer& envelope, ITKSOAP& call) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::extract(envelope, call); });
}

int ITKRelayMessage::ExtractHdrBodyXml(const ITKBuffer& envelope, ITKString& header, ITKString& body) noexcept {
  return itk::guarded(kSource, 0, [&] {
    const auto parts = ToolkitCodec::cutHeaderAndBody(envelope);
    assign(header, parts.header.value_or(std::string_view()));
    assign(body, parts.body.value_or(std::string_view()));
    return parts.header && parts.body ? 1 : 0;
  });
}

int ITKRelayMessage::ExtractHdrInfo(const ITKBuffer& envelope, ITKSOAP& call) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::extractHdrInfo(envelope, call); });
}

int ITKRelayMessage::ExtractDataMembers(const char* bodyText, ITKSOAP& call) noexcept {
  return itk::guarded(kSource, 0, [&] { return ToolkitCodec::extractDataMembers(viewOf(bodyText), call); });
}

long ITKRelayMessage::FindBeginTag(const char* text, long start, const char* name, bool escaped) noexcept {
  if (start < 0) return -1;
  return toIndex(qz::wire::findBeginTag(viewOf(text), static_cast<std::size_t>(start), viewOf(name), form(escaped)));
}

long ITKRelayMessage::FindEndTag(const char* text, long start, const char* name, bool escaped) noexcept {
  if (start < 0) return -1;
  return toIndex(qz::wire::findEndTag(viewOf(text), static_cast<std::size_t>(start), viewOf(name), form(escaped)));
}

const char* ITKRelayMessage::ExtractXmlNodeValue(const char* text, const char* name, ITKString& out,
                                                 bool escaped) noexcept {
  return itk::guarded(kSource, static_cast<const char*>(nullptr), [&]() -> const char* {
    const auto value = ToolkitCodec::nodeValue(viewOf(text), viewOf(name), form(escaped));
    assign(out, value.value_or(std::string_view()));
    return value ? out.c_str() : nullptr;
  });
}

long ITKRelayMessage::ExtractXmlNodeValueLong(const char* text, const char* name, long defaultValue,
                                              bool escaped) noexcept {
  return itk::guarded(kSource, defaultValue, [&] {
    const auto value = ToolkitCodec::nodeValue(viewOf(text), viewOf(name), form(escaped));
    return value ? qz::parseLong(*value) : defaultValue;
  });
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
