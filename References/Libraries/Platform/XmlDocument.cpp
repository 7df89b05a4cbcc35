#include "References/Libraries/Platform/XmlDocument.h"

#include <msxml2.h>

#include <atomic>
#include <new>
#include <vector>

#include "References/Common/Ascii.h"
#include "References/Libraries/Platform/Bstr.h"
#include "References/Libraries/Wire/XmlGuard.h"

namespace qz::platform {
namespace {

// By hand: the import libraries do not have all of them.
constexpr GUID kDocument30Class = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr GUID kDocumentClass = {0x2933BF90, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr GUID kDocumentId = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr GUID kElementId = {0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
constexpr GUID kFactoryId = {0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

tl::expected<ComPtr<IClassFactory>, HRESULT> findFactory() {
  ComPtr<IClassFactory> factory;
  HRESULT result = S_OK;
  for (const auto& id : {kDocument30Class, kDocumentClass}) {
    result = CoGetClassObject(id, CLSCTX_INPROC_SERVER, nullptr, kFactoryId, factory.receiveAny());
    if (SUCCEEDED(result)) return factory;
  }
  return tl::unexpected(result);
}

/// Pins the parser in the process if the factory is the parser's own object. A factory that stands for one of another
/// apartment belongs to its thread and cannot be kept.
bool pinParser(IClassFactory* factory) {
  const auto* code = *reinterpret_cast<const char* const*>(factory);
  HMODULE owner = nullptr;
  constexpr DWORD byAddress = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
  if (!GetModuleHandleExA(byAddress | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, code, &owner)) return false;
  if (owner != GetModuleHandleA("msxml3.dll")) return false;
  return GetModuleHandleExA(byAddress | GET_MODULE_HANDLE_EX_FLAG_PIN, code, &owner) != FALSE;
}

/// The factory is kept for the life of the process: finding it costs more than making and filling a document.
tl::expected<ComPtr<IClassFactory>, HRESULT> documentFactory() {
  static std::atomic<IClassFactory*> kept{nullptr};
  if (auto* known = kept.load(std::memory_order_acquire)) return ComPtr<IClassFactory>::share(known);
  auto found = findFactory();
  if (!found || !pinParser(found->get())) return found;
  auto extra = ComPtr<IClassFactory>::share(found->get());
  IClassFactory* none = nullptr;
  if (kept.compare_exchange_strong(none, extra.get(), std::memory_order_acq_rel)) extra.release();
  return found;
}

/// Whether the parser did what it was asked to. Short memory is an exception, so that nothing counts as missing for it.
bool succeeded(HRESULT result) {
  if (result == E_OUTOFMEMORY) throw std::bad_alloc();
  return SUCCEEDED(result);
}

bool isNamed(std::wstring_view nodeName, std::wstring_view name) {
  if (nodeName == name) return true;
  const auto colon = nodeName.find(L':');
  return colon != std::wstring_view::npos && nodeName.substr(colon + 1) == name;
}

bool isNamed(IXMLDOMNode* node, std::wstring_view name) {
  Bstr nodeName;
  return succeeded(node->get_nodeName(nodeName.receive())) && isNamed(nodeName.view(), name);
}

bool isElement(IXMLDOMNode* node) {
  DOMNodeType type = NODE_INVALID;
  return succeeded(node->get_nodeType(&type)) && type == NODE_ELEMENT;
}

/// Calls `visit` with each child element until it returns false; false when it did.
template <class Visit>
bool eachChild(IXMLDOMNode* parent, Visit&& visit) {
  ComPtr<IXMLDOMNode> node;
  if (parent == nullptr || !succeeded(parent->get_firstChild(node.receive()))) return true;
  while (node) {
    ComPtr<IXMLDOMNode> next;
    if (!succeeded(node->get_nextSibling(next.receive()))) return true;
    if (isElement(node.get()) && !visit(node)) return false;
    node = std::move(next);
  }
  return true;
}

/// The same for all elements below, in document order, however deep: a document need not have been loaded here.
template <class Visit>
bool eachDescendant(IXMLDOMNode* parent, Visit&& visit) {
  std::vector<ComPtr<IXMLDOMNode>> pending(1);
  if (parent != nullptr) succeeded(parent->get_firstChild(pending.back().receive()));
  while (!pending.empty()) {
    auto node = std::move(pending.back());
    pending.pop_back();
    if (!node) continue;
    succeeded(node->get_nextSibling(pending.emplace_back().receive()));
    if (!isElement(node.get())) continue;
    succeeded(node->get_firstChild(pending.emplace_back().receive()));
    if (!visit(node)) return false;
  }
  return true;
}

/// Visits until a node has this name or local name, and keeps that.
auto takeFirst(std::string_view name, XmlNode& found) {
  return [wanted = widen(name, kUtf8), &found](ComPtr<IXMLDOMNode>& node) {
    if (!isNamed(node.get(), wanted)) return true;
    found = XmlNode(std::move(node));
    return false;
  };
}

std::string toUtf8(const Bstr& text) { return narrow(text.view(), kUtf8); }

std::string parserReason(IXMLDOMDocument* document) {
  ComPtr<IXMLDOMParseError> error;
  Bstr reason;
  if (!succeeded(document->get_parseError(error.receive())) || !error ||
      !succeeded(error->get_reason(reason.receive())))
    return {};
  return std::string(trimAscii(toUtf8(reason)));
}

/// UTF-16 bytes behind their byte order mark.
std::wstring wideFromBytes(std::string_view bytes, bool bigEndian) {
  std::wstring text(bytes.size() / 2, L'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto first = static_cast<unsigned char>(bytes[2 * i]);
    const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
    text[i] = static_cast<wchar_t>(bigEndian ? first << 8 | second : second << 8 | first);
  }
  return text;
}

}  // namespace

XmlNode::XmlNode(ComPtr<IXMLDOMNode> node) noexcept : node_(std::move(node)) {}
XmlNode::XmlNode(XmlNode&&) noexcept = default;
XmlNode& XmlNode::operator=(XmlNode&&) noexcept = default;
XmlNode::~XmlNode() = default;

std::string XmlNode::text() const {
  Bstr text;
  if (!node_ || !succeeded(node_->get_text(text.receive()))) return {};
  return toUtf8(text);
}

std::string XmlNode::xml() const {
  Bstr text;
  if (!node_ || !succeeded(node_->get_xml(text.receive()))) return {};
  return toUtf8(text);
}

std::string XmlNode::attribute(std::string_view name) const {
  ComPtr<IXMLDOMElement> element;
  if (!node_ || !succeeded(node_->QueryInterface(kElementId, element.receiveAny()))) return {};
  VARIANT value;
  VariantInit(&value);
  if (!succeeded(element->getAttribute(Bstr(name, kUtf8).get(), &value)) || value.vt != VT_BSTR) {
    VariantClear(&value);
    return {};
  }
  return toUtf8(Bstr(value.bstrVal));
}

bool XmlNode::is(std::wstring_view qualifiedName) const {
  Bstr name;
  return node_ && isElement(node_.get()) && succeeded(node_->get_nodeName(name.receive())) &&
         name.view() == qualifiedName;
}

XmlNode XmlNode::firstChild() const {
  XmlNode found;
  eachChild(node_.get(), [&](ComPtr<IXMLDOMNode>& node) {
    found = XmlNode(std::move(node));
    return false;
  });
  return found;
}

std::vector<XmlNode> XmlNode::children() const {
  std::vector<XmlNode> found;
  eachChild(node_.get(), [&](ComPtr<IXMLDOMNode>& node) {
    found.emplace_back(std::move(node));
    return true;
  });
  return found;
}

XmlNode XmlNode::child(std::string_view name) const {
  XmlNode found;
  eachChild(node_.get(), takeFirst(name, found));
  return found;
}

XmlNode XmlNode::descendant(std::string_view name) const {
  XmlNode found;
  eachDescendant(node_.get(), takeFirst(name, found));
  return found;
}

std::vector<XmlNode> XmlNode::descendants(std::string_view name) const {
  std::vector<XmlNode> found;
  const auto wanted = widen(name, kUtf8);
  eachDescendant(node_.get(), [&](ComPtr<IXMLDOMNode>& node) {
    if (isNamed(node.get(), wanted)) found.emplace_back(std::move(node));
    return true;
  });
  return found;
}

XmlNode XmlNode::selectFirst(const wchar_t* path) const {
  ComPtr<IXMLDOMNode> found;
  if (!node_ || !succeeded(node_->selectSingleNode(Bstr(std::wstring_view(path)).get(), found.receive()))) return {};
  return XmlNode(std::move(found));
}

std::vector<XmlNode> XmlNode::selectAll(const wchar_t* path) const {
  ComPtr<IXMLDOMNodeList> list;
  if (!node_ || !succeeded(node_->selectNodes(Bstr(std::wstring_view(path)).get(), list.receive())) || !list) return {};
  std::vector<XmlNode> found;
  ComPtr<IXMLDOMNode> node;
  while (succeeded(list->nextNode(node.receive())) && node) found.emplace_back(std::move(node));
  return found;
}

XmlDocument::XmlDocument(ComScope com, ComPtr<IXMLDOMDocument> document) noexcept
    : com_(std::move(com)), document_(std::move(document)) {}
XmlDocument::XmlDocument(XmlDocument&&) noexcept = default;
XmlDocument::~XmlDocument() = default;

tl::expected<XmlDocument, HRESULT> XmlDocument::create() {
  ComScope com;
  auto factory = documentFactory();
  if (!factory) return tl::unexpected(factory.error());
  ComPtr<IXMLDOMDocument> document;
  const HRESULT made = (*factory)->CreateInstance(nullptr, kDocumentId, document.receiveAny());
  if (FAILED(made)) return tl::unexpected(made);
  document->put_async(VARIANT_FALSE);
  document->put_validateOnParse(VARIANT_FALSE);
  document->put_resolveExternals(VARIANT_FALSE);
  return XmlDocument(std::move(com), std::move(document));
}

tl::expected<void, XmlFailure> XmlDocument::loadText(std::string_view text, WhiteSpace whiteSpace) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  return loadWide(Bstr(text.substr(0, text.find('\0')), kUtf8), whiteSpace);
}

tl::expected<void, XmlFailure> XmlDocument::loadBytes(std::string_view bytes) {
  const bool bigEndian = bytes.starts_with("\xFE\xFF");
  if (!bigEndian && !bytes.starts_with("\xFF\xFE")) return loadText(bytes);
  return loadWide(Bstr(wideFromBytes(bytes.substr(2), bigEndian)), WhiteSpace::Trim);
}

tl::expected<void, XmlFailure> XmlDocument::loadWide(const Bstr& text, WhiteSpace whiteSpace) {
  if (const auto risk = wire::findXmlRisk(text.view()); risk != wire::XmlRisk::None) {
    clear();
    return tl::unexpected(XmlFailure{XmlFailure::Kind::Refused, wire::describe(risk)});
  }
  document_->put_preserveWhiteSpace(whiteSpace == WhiteSpace::Preserve ? VARIANT_TRUE : VARIANT_FALSE);
  VARIANT_BOOL loaded = VARIANT_FALSE;
  const HRESULT result = document_->loadXML(text.get(), &loaded);
  if (succeeded(result) && loaded != VARIANT_FALSE) return {};
  const auto reason = parserReason(document_.get());
  clear();
  return tl::unexpected(XmlFailure{XmlFailure::Kind::NotXml, reason.empty() ? "The text is not XML." : reason});
}

XmlNode XmlDocument::root() const { return XmlNode(ComPtr<IXMLDOMNode>::share(document_.get())); }

void XmlDocument::clear() {
  VARIANT_BOOL loaded = VARIANT_FALSE;
  document_->loadXML(Bstr(std::wstring_view()).get(), &loaded);
}

}  // namespace qz::platform
