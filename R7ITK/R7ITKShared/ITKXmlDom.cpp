#include "ITKXmlDom.h"

#include <msxml2.h>

#include <new>
#include <optional>

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "ITKFile.h"
#include "ITKSOAP.h"
#include "ITKSOAPError.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/RelayTraits.h"

using itk::ToolkitCodec;
using qz::viewOf;
using qz::platform::ComPtr;
using qz::platform::ComScope;
using qz::platform::XmlDocument;
using qz::platform::XmlNode;
using qz::rpc::Notes;

namespace {

constexpr const char* kSource = itk::ToolkitRelay::kDomSource;

using MaybeDocument = std::optional<XmlDocument>;

/// Runs `body` with a place for notes, which are logged when it is done.
template <class Body>
bool withNotes(Body&& body, std::source_location at = std::source_location::current()) noexcept {
  return itk::guarded(
      kSource, false,
      [&] {
        Notes notes;
        const bool result = body(notes);
        qz::rpc::writeNotes<itk::ToolkitLayer>(notes, "", kSource);
        return result;
      },
      at);
}

/// The document, made on first use; null when the system has no parser.
XmlDocument* ready(MaybeDocument& document, Notes& notes) {
  if (!document) {
    auto made = qz::rpc::makeDocument(notes);
    if (made) document.emplace(std::move(*made));
  }
  return document ? &*document : nullptr;
}

bool loadEnvelope(MaybeDocument& document, std::string_view text, Notes& notes) {
  auto* target = ready(document, notes);
  return target != nullptr && qz::rpc::loadEnvelope(*target, text, notes);
}

bool loadFragment(MaybeDocument& document, std::string_view text, Notes& notes) {
  auto* target = ready(document, notes);
  return target != nullptr && qz::rpc::loadFragment(*target, text, notes);
}

bool failed(const char* report, Notes& notes, std::source_location at = std::source_location::current()) {
  notes.add(ITKLog::Error, report, at);
  return false;
}

void setText(ITKBuffer& out, const std::string& text) { out.write(text.c_str(), true); }

bool readInfo(const XmlDocument& document, ITKSOAP& call, Notes& notes) {
  const auto headerXml = qz::rpc::relayHeaderXml(document);
  if (!headerXml.empty()) call.setRelayHeader(headerXml.c_str());
  qz::rpc::RelayInfo info;
  if (!qz::rpc::readRelayInfo(document, info, notes)) return false;
  qz::rpc::storeRelayInfo(info, call);
  return true;
}

/// Puts a text that was cut out of an envelope back into one, which declares its prefixes.
std::string wrapped(std::string_view header, std::string_view body) {
  qz::wire::SessionFields session;
  session.relayHeader = header.empty() ? " " : header;
  return qz::wire::fillEnvelope(ToolkitCodec::templates(), {}, session, body);
}

bool readInnerBody(MaybeDocument& document, std::string_view text, qz::rpc::RelayFields& fields, Notes& notes) {
  if (text.find("&lt;qzSOAPBody") != std::string_view::npos) {
    fields = qz::rpc::readEscapedFields(text, notes);
    return true;
  }
  return loadEnvelope(document, wrapped({}, text), notes) && qz::rpc::readInnerElement(*document, fields, notes);
}

}  // namespace

struct ITKXmlDom::Impl {
  // The document ends before COM does.
  ComScope com;
  MaybeDocument document;
};

ITKXmlDom::ITKXmlDom() : impl_(new (std::nothrow) Impl) {}

ITKXmlDom::~ITKXmlDom() = default;

void ITKXmlDom::Destroy() noexcept { impl_.reset(); }

bool ITKXmlDom::createFromText(const char* text, ITKSOAPError& error) noexcept {
  return withNotes([&](Notes& notes) {
    itk::checkPointer(kSource, impl_.get());
    auto made = qz::rpc::ReplyVerdict{E_FAULT, qz::rpc::kNoParser};
    if (auto* document = ready(impl_->document, notes)) made = qz::rpc::openReply(*document, viewOf(text), notes);
    if (made.code != E_OK) error.setError(made.code, made.text.c_str());
    return made.code == E_OK;
  });
}

bool ITKXmlDom::createFromText(const char* text) noexcept {
  return withNotes([&](Notes& notes) {
    itk::checkPointer(kSource, impl_.get());
    return loadEnvelope(impl_->document, viewOf(text), notes);
  });
}

bool ITKXmlDom::createFromFile(const char* path) noexcept {
  return withNotes([&](Notes& notes) {
    itk::checkPointer(kSource, impl_.get());
    ITKBuffer bytes;
    if (path == nullptr || !ITKBuffer::loadFile(path, bytes)) return failed("Failed to read the file", notes);
    auto* document = ready(impl_->document, notes);
    const std::string_view all(bytes.getStrBuffer(), static_cast<std::size_t>(bytes.getLength()));
    return document != nullptr && qz::rpc::loadEnvelopeFile(*document, all, notes);
  });
}

IXMLDOMDocument* ITKXmlDom::getXmlDom() noexcept { return impl_ && impl_->document ? impl_->document->get() : nullptr; }

/// Asks a question of the loaded document.
template <class Question>
bool ITKXmlDom::ask(Question&& question, std::source_location at) noexcept {
  return withNotes(
      [&](Notes& notes) {
        if (!impl_ || !impl_->document) return failed("No document is loaded", notes, at);
        return question(*impl_->document, notes);
      },
      at);
}

bool ITKXmlDom::getElementValue(const char* name, ITKBuffer& out) noexcept {
  return ask([&](const XmlDocument& document, Notes&) {
    const auto element = document.root().descendant(viewOf(name));
    if (element) setText(out, element.text());
    return static_cast<bool>(element);
  });
}

bool ITKXmlDom::getRELAYInfo(ITKSOAP& call) noexcept {
  return ask([&](const XmlDocument& document, Notes& notes) { return readInfo(document, call, notes); });
}

bool ITKXmlDom::isLogonRequired() noexcept {
  return ask([](const XmlDocument& document, Notes&) { return qz::rpc::isLogonRequired(document); });
}

bool ITKXmlDom::getPromptInfo(ITKBuffer& caption, ITKBufferList& names, ITKBufferList& types, ITKBufferList& values,
                              ITKBufferList& options) noexcept {
  return ask([&](const XmlDocument& document, Notes& notes) {
    qz::rpc::PromptInfo info;
    const bool complete = qz::rpc::readPromptInfo(document, info, notes);
    setText(caption, info.caption);
    for (auto* list : {&names, &types, &values, &options}) list->removeAll();
    for (const auto& item : info.items) {
      names.add(item.name.c_str());
      types.add(item.type.c_str());
      values.add(item.value.c_str());
    }
    for (const auto& option : info.options) options.add(option.c_str());
    return complete;
  });
}

bool ITKXmlDom::extractRELAYFaultText(const char* text, ITKBuffer& out) noexcept {
  return withNotes([&](Notes& notes) {
    const auto found = qz::rpc::faultTextOf(viewOf(text), notes);
    if (found && !found->empty()) out.write(found->c_str(), false);
    return found.has_value();
  });
}

bool ITKXmlDom::parseRELAYInfoFromRELAYHeaderXml(const char* text, ITKSOAP& call) noexcept {
  return withNotes([&](Notes& notes) {
    itk::checkPointer(kSource, impl_.get());
    return loadEnvelope(impl_->document, wrapped(viewOf(text), {}), notes) && readInfo(*impl_->document, call, notes);
  });
}

bool ITKXmlDom::parseSOAPInfoFromQzBodyXml(const char* text, ITKSOAP& call) noexcept {
  return withNotes([&](Notes& notes) {
    itk::checkPointer(kSource, impl_.get());
    qz::rpc::RelayFields fields;
    if (!readInnerBody(impl_->document, viewOf(text), fields, notes)) return false;
    qz::rpc::storeRelayFields(fields, call);
    return true;
  });
}

bool ITKXmlDom::parseDSConnectionInfo(const ITKBuffer& reply, const ITKBuffer& input, ITKBufferList& records) noexcept {
  return withNotes([&](Notes& notes) {
    itk::checkPointer(kSource, impl_.get());
    std::vector<qz::rpc::NamedText> found;
    if (!loadEnvelope(impl_->document, ToolkitCodec::textOf(reply), notes) ||
        !qz::rpc::readConnections(*impl_->document, ToolkitCodec::textOf(input), found, notes))
      return failed("Failed to parse input database connection information", notes);
    for (const auto& [name, connection] : found) {
      records.add(name.c_str());
      records.add(connection.c_str());
    }
    return true;
  });
}

bool ITKXmlDom::parseDSCredential(const ITKBuffer& reply, ITKBuffer& user, ITKBuffer& password) noexcept {
  return withNotes([&](Notes& notes) {
    itk::checkPointer(kSource, impl_.get());
    qz::rpc::Signon signon;
    if (!loadFragment(impl_->document, ToolkitCodec::textOf(reply), notes) ||
        !qz::rpc::readSignon(*impl_->document, signon, notes))
      return failed("Failed to parse input database signon information", notes);
    setText(user, signon.user);
    setText(password, signon.password);
    return true;
  });
}

IXMLDOMNode* ITKXmlDom::getChildNode(IXMLDOMNode* parent, const char* name) noexcept {
  return itk::guarded(kSource, static_cast<IXMLDOMNode*>(nullptr),
                      [&] { return XmlNode(ComPtr<IXMLDOMNode>::share(parent)).child(viewOf(name)).release(); });
}
