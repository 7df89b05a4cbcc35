#include "RuntimeEngine/qzSOAP/XmlDom.h"

#include <msxml2.h>

#include <memory>
#include <new>

#include "RuntimeEngine/qzSOAP/FlatRelay.h"
#include "RuntimeEngine/qzSOAP/Frame.h"

using qz::viewOf;
using qz::flat::checked;
using qz::flat::FlatDom;
using qz::flat::framed;
using qz::flat::guarded;
using qz::rpc::messageIn;

namespace {

constexpr const char* kSource = qz::flat::FlatRelay::kDomSource;

/// A new object that `load` has loaded; null when it could not.
template <class Load>
CqzXmlDom* makeLoaded(const char* operation, CqzSOAPError* error, Load&& load) {
  std::unique_ptr<CqzXmlDom> dom(new (std::nothrow) CqzXmlDomImpl);
  if (dom) return load(*dom) ? dom.release() : nullptr;
  constexpr const char* reason = "failed to create a Xml DOM object";
  if (error != nullptr) error->setError(E_FAULT, reason);
  return qz::flat::refuse<CqzXmlDom*>(kSource, operation, reason, nullptr);
}

}  // namespace

bool CqzXmlDomImpl::createFromText(const char* text, CqzSOAPError* error) noexcept {
  return checked(kSource, "createFromText", false, {error},
                 [&] { return FlatDom::createFromText(state_, viewOf(text), *error); });
}

bool CqzXmlDomImpl::createFromText(const char* text) noexcept {
  return guarded(kSource, "createFromText", false, [&] { return FlatDom::createFromText(state_, viewOf(text)); });
}

bool CqzXmlDomImpl::createFromFile(const char* path) noexcept {
  return guarded(kSource, "createFromFile", false, [&] { return FlatDom::createFromFile(state_, path); });
}

IXMLDOMDocument* CqzXmlDomImpl::getXmlDom() noexcept { return FlatDom::documentOf(state_); }

bool CqzXmlDomImpl::getElementValue(const char* name, CqzBuffer* out) noexcept {
  return checked(kSource, "getElementValue", false, {out},
                 [&] { return FlatDom::getElementValue(state_, viewOf(name), *out); });
}

bool CqzXmlDomImpl::getRELAYInfo(CRpcSOAP* call) noexcept {
  return checked(kSource, "getRELAYInfo", false, {call}, [&] { return FlatDom::getRELAYInfo(state_, *call); });
}

bool CqzXmlDomImpl::isLogonRequired() noexcept {
  return guarded(kSource, "isLogonRequired", false, [&] { return FlatDom::isLogonRequired(state_); });
}

bool CqzXmlDomImpl::getPromptInfo(CqzBuffer* caption, CqzBufferList* names, CqzBufferList* types, CqzBufferList* values,
                                  CqzBufferList* options) noexcept {
  return checked(kSource, "getPromptInfo", false, {caption, names, types, values, options},
                 [&] { return FlatDom::getPromptInfo(state_, *caption, *names, *types, *values, *options); });
}

const char* CqzXmlDomImpl::extractRELAYFaultText(const char* text, CqzBuffer* out) noexcept {
  return checked(kSource, "extractRELAYFaultText", "", {out}, [&] {
    if (!FlatDom::extractRELAYFaultText(viewOf(text), *out)) return "";
    // The buffer keeps its type, and getStrBuffer() would report any but text. Asking for more room than the content
    // needs terminates that in an attached block too.
    const auto* block = out->getBuffer(out->getLength() + 1);
    return qz::orEmpty(reinterpret_cast<const char*>(block));
  });
}

bool CqzXmlDomImpl::parseRELAYInfoFromRELAYHeaderXml(const char* text, CRpcSOAP* call) noexcept {
  return checked(kSource, "parseRELAYInfoFromRELAYHeaderXml", false, {call},
                 [&] { return FlatDom::parseRELAYInfoFromRELAYHeaderXml(state_, viewOf(text), *call); });
}

bool CqzXmlDomImpl::parseSOAPInfoFromQzBodyXml(const char* text, CRpcSOAP* call) noexcept {
  return checked(kSource, "parseSOAPInfoFromQzBodyXml", false, {call},
                 [&] { return FlatDom::parseSOAPInfoFromQzBodyXml(state_, viewOf(text), *call); });
}

bool CqzXmlDomImpl::parseDSConnectionInfo(const CqzBuffer* reply, const CqzBuffer* input,
                                          CqzBufferList* records) noexcept {
  return checked(kSource, "parseDSConnectionInfo", false, {reply, records}, [&] {
    const auto wanted = input == nullptr ? std::string_view() : messageIn(*input);
    return FlatDom::parseDSConnectionInfo(state_, messageIn(*reply), wanted, *records);
  });
}

bool CqzXmlDomImpl::parseDSCredential(const CqzBuffer* reply, CqzBuffer* user, CqzBuffer* password) noexcept {
  return checked(kSource, "parseDSCredential", false, {reply, user, password},
                 [&] { return FlatDom::parseDSCredential(state_, messageIn(*reply), *user, *password); });
}

IXMLDOMNode* CqzXmlDomImpl::getChildNode(IXMLDOMNode* parent, const char* name) noexcept {
  return checked<IXMLDOMNode*>(kSource, "getChildNode", nullptr, {parent},
                               [&] { return FlatDom::childNode(parent, viewOf(name)); });
}

long relayFaultError(const char* text) { return FlatDom::replyCode(viewOf(text)); }

extern "C" {

CqzXmlDom* __cdecl createXmlDomFromText(const char* text, CqzSOAPError* error) {
  return framed<CqzXmlDom*>(kSource, "createXmlDomFromText", nullptr, [&] {
    return makeLoaded("createXmlDomFromText", error, [&](CqzXmlDom& dom) {
      return error == nullptr ? dom.createFromText(text) : dom.createFromText(text, error);
    });
  });
}

CqzXmlDom* __cdecl createXmlDomFromFile(const char* path) {
  return framed<CqzXmlDom*>(kSource, "createXmlDomFromFile", nullptr, [&] {
    return makeLoaded("createXmlDomFromFile", nullptr, [&](CqzXmlDom& dom) { return dom.createFromFile(path); });
  });
}

void __cdecl releaseXmlDom(CqzXmlDom* dom) {
  const qz::flat::Frame frame(kSource, "releaseXmlDom");
  delete dom;
}

}  // extern "C"
