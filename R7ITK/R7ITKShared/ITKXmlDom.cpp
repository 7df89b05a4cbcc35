#include "ITKXmlDom.h"

#include <msxml2.h>

#include <new>

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "ITKSOAP.h"
#include "ITKSOAPError.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/RelayTraits.h"

using itk::ToolkitDom;
using qz::viewOf;
using qz::rpc::messageIn;

namespace {

constexpr const char* kSource = itk::ToolkitRelay::kDomSource;

}  // namespace

struct ITKXmlDom::Impl : qz::rpc::XmlDomState {};

ITKXmlDom::ITKXmlDom() : impl_(new (std::nothrow) Impl) {}

ITKXmlDom::~ITKXmlDom() = default;

void ITKXmlDom::Destroy() noexcept { impl_.reset(); }

/// Runs an operation on the state, which a destroyed object no longer has.
template <class Operation>
bool ITKXmlDom::run(Operation&& operation, std::source_location at) noexcept {
  return itk::guarded(
      kSource, false,
      [&] {
        itk::checkPointer(kSource, impl_.get(), at);
        return operation(*impl_);
      },
      at);
}

bool ITKXmlDom::createFromText(const char* text, ITKSOAPError& error) noexcept {
  return run([&](Impl& state) { return ToolkitDom::createFromText(state, viewOf(text), error); });
}

bool ITKXmlDom::createFromText(const char* text) noexcept {
  return run([&](Impl& state) { return ToolkitDom::createFromText(state, viewOf(text)); });
}

bool ITKXmlDom::createFromFile(const char* path) noexcept {
  return run([&](Impl& state) { return ToolkitDom::createFromFile(state, path); });
}

IXMLDOMDocument* ITKXmlDom::getXmlDom() noexcept { return impl_ ? ToolkitDom::documentOf(*impl_) : nullptr; }

bool ITKXmlDom::getElementValue(const char* name, ITKBuffer& out) noexcept {
  return run([&](Impl& state) { return ToolkitDom::getElementValue(state, viewOf(name), out); });
}

bool ITKXmlDom::getRELAYInfo(ITKSOAP& call) noexcept {
  return run([&](Impl& state) { return ToolkitDom::getRELAYInfo(state, call); });
}

bool ITKXmlDom::isLogonRequired() noexcept {
  return run([](Impl& state) { return ToolkitDom::isLogonRequired(state); });
}

bool ITKXmlDom::getPromptInfo(ITKBuffer& caption, ITKBufferList& names, ITKBufferList& types, ITKBufferList& values,
                              ITKBufferList& options) noexcept {
  return run([&](Impl& state) { return ToolkitDom::getPromptInfo(state, caption, names, types, values, options); });
}

bool ITKXmlDom::extractRELAYFaultText(const char* text, ITKBuffer& out) noexcept {
  return itk::guarded(kSource, false, [&] { return ToolkitDom::extractRELAYFaultText(viewOf(text), out); });
}

bool ITKXmlDom::parseRELAYInfoFromRELAYHeaderXml(const char* text, ITKSOAP& call) noexcept {
  return run([&](Impl& state) { return ToolkitDom::parseRELAYInfoFromRELAYHeaderXml(state, viewOf(text), call); });
}

bool ITKXmlDom::parseSOAPInfoFromQzBodyXml(const char* text, ITKSOAP& call) noexcept {
  return run([&](Impl& state) { return ToolkitDom::parseSOAPInfoFromQzBodyXml(state, viewOf(text), call); });
}

bool ITKXmlDom::parseDSConnectionInfo(const ITKBuffer& reply, const ITKBuffer& input, ITKBufferList& records) noexcept {
  return run([&](Impl& state) {
    return ToolkitDom::parseDSConnectionInfo(state, messageIn(reply), messageIn(input), records);
  });
}

bool ITKXmlDom::parseDSCredential(const ITKBuffer& reply, ITKBuffer& user, ITKBuffer& password) noexcept {
  return run([&](Impl& state) { return ToolkitDom::parseDSCredential(state, messageIn(reply), user, password); });
}

IXMLDOMNode* ITKXmlDom::getChildNode(IXMLDOMNode* parent, const char* name) noexcept {
  return itk::guarded<IXMLDOMNode*>(kSource, nullptr, [&] { return ToolkitDom::childNode(parent, viewOf(name)); });
}
