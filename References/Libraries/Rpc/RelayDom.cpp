#include "References/Libraries/Rpc/RelayDom.h"

#include <new>

#include "References/Common/Ascii.h"
#include "References/Libraries/Rpc/Journal.h"
#include "References/Libraries/Wire/TagScan.h"

namespace qz::rpc {
namespace {

using platform::WhiteSpace;
using platform::XmlDocument;
using platform::XmlFailure;
using platform::XmlNode;

constexpr const char* kFinished = "conversationComplete";
constexpr const char* kNotSoap = "Xml contains no element. It is not a SOAP message.";

tl::expected<void, std::string> rejected(const XmlFailure& failure, Notes& notes) {
  notes.add(kError, failure.text);
  if (failure.kind == XmlFailure::Kind::Refused) return tl::unexpected(failure.text);
  notes.add(kError, kNotSoap);
  return tl::unexpected(kNotSoap);
}

// Selecting costs more than parsing a small reply, so the usual shape is recognised first: the envelope is the
// document, and the header its first child. Selecting would find the same nodes.

bool hasEnvelope(const XmlNode& root) {
  return root.firstChild().is(L"SOAP-ENV:Envelope") || root.selectFirst(L"//SOAP-ENV:Envelope");
}

XmlNode findHeader(const XmlNode& root) {
  const auto envelope = root.firstChild();
  auto first = envelope.firstChild();
  if (envelope.is(L"SOAP-ENV:Envelope") && first.is(L"SOAP-ENV:Header")) return first;
  return root.selectFirst(L"//SOAP-ENV:Envelope/SOAP-ENV:Header");
}

/// The fault in a document that was made from `text`.
XmlNode findFault(const XmlNode& root, std::string_view text) {
  if (text.find("SOAP-ENV:Fault") == std::string_view::npos) return {};
  return root.selectFirst(L"//SOAP-ENV:Envelope/SOAP-ENV:Body/SOAP-ENV:Fault");
}

tl::expected<void, std::string> requireEnvelope(XmlDocument& document, Notes& notes) {
  if (hasEnvelope(document.root())) return {};
  notes.add(kError, kNotSoap);
  document.clear();
  return tl::unexpected(kNotSoap);
}

XmlNode findRelayHeader(const XmlDocument& document) { return findHeader(document.root()).child("relayHeader"); }

bool missing(const XmlNode& node, const char* report, Notes& notes,
             std::source_location at = std::source_location::current()) {
  if (node) return false;
  notes.add(kError, report, at);
  return true;
}

bool readPassport(const XmlNode& header, RelayInfo& info, Notes& notes) {
  const auto manager = header.child("ZOT");
  const auto id = manager.descendant("id");
  if (manager && !missing(id, "Xml contains no passport ID", notes)) {
    info.passportId = id.text();
    return true;
  }
  notes.add(kError, "Xml contains no ZOT information");
  return false;
}

/// A gateway without a firewall is an ordinary thing.
void readContext(const XmlNode& header, RelayInfo& info, Notes& notes) {
  const auto firewall = header.child("PRY");
  const auto context = firewall.descendant("contextID");
  if (context)
    info.contextId = context.text();
  else if (firewall)
    notes.add(kGated, "Xml contains no context ID");
  if (!context) notes.add(kGated, "Xml contains no PRY information");
}

std::vector<NamedText> readPairs(const XmlNode& parent) {
  std::vector<NamedText> pairs;
  for (const auto& item : parent.children()) {
    NamedText pair{item.child("name").text(), item.child("value").text()};
    if (!pair.name.empty()) pairs.push_back(std::move(pair));
  }
  return pairs;
}

void readPreferences(const XmlNode& header, RelayInfo& info, Notes& notes) {
  const auto preferences = header.child("userPreferenceVars");
  if (!missing(preferences, "Xml contains no user preference", notes)) info.preferences = readPairs(preferences);
}

bool readCaptions(const XmlNode& prompt, PromptInfo& info, Notes& notes) {
  const auto captions = prompt.child("captions").descendants("caption");
  for (const auto& caption : captions) {
    if (!info.caption.empty()) info.caption += "\r\n";
    info.caption += caption.text();
  }
  if (captions.empty()) notes.add(kError, "Xml contains no caption");
  return !captions.empty();
}

bool readDisplayObjects(const XmlNode& prompt, PromptInfo& info, Notes& notes) {
  const auto objects = prompt.child("displayObjects");
  if (missing(objects, "Xml contains no display objects", notes)) return false;
  for (const auto& item : objects.descendants("item"))
    if (item.child("name"))
      info.items.push_back({item.child("name").text(), item.child("type").text(), item.child("value").text()});
  if (info.items.empty()) notes.add(kError, "Xml contains no caption/item");
  return !info.items.empty();
}

bool readPromptOptions(const XmlNode& prompt, PromptInfo& info, Notes& notes) {
  const auto options = prompt.descendant("promptOptions");
  if (missing(options, "Xml contains no promptOptions", notes)) return false;
  for (const auto& option : options.children()) info.options.push_back(option.text());
  return true;
}

bool takeSignon(const XmlNode& credentials, Signon& signon) {
  constexpr std::string_view open = "<encryptedValue>";
  constexpr std::string_view close = "</encryptedValue>";
  // The credentials are elements of the record, or a document of their own in its text.
  auto source = credentials.text();
  if (source.find(open) == std::string::npos) source = credentials.xml();
  const auto begin = source.find(open);
  const auto end = source.find(close, begin);
  const auto user = wire::extractNodeValue(source, "username", wire::TagForm::Plain);
  if (begin == std::string::npos || end == std::string::npos || !user) return false;
  const auto element = credentials.descendant("username");
  signon.user = element ? element.text() : std::string(*user);
  signon.password = source.substr(begin + open.size(), end - begin - open.size());
  return true;
}

RelayFields readElements(const XmlNode& parent, Notes& notes) {
  return readRelayFields([&](std::string_view name) {
    auto text = elementText(parent, name);
    if (!text) notes.add(kInformation, wire::missingTagText(wire::MissingTag::Open, name));
    return text;
  });
}

}  // namespace

tl::expected<XmlDocument, std::string> makeDocument(Notes& notes) {
  auto document = XmlDocument::create();
  if (document) return std::move(*document);
  notes.add(kError, kNoParser);
  return tl::unexpected(kNoParser);
}

tl::expected<void, std::string> loadEnvelope(XmlDocument& document, std::string_view text, Notes& notes) {
  const auto loaded = document.loadText(text);
  return loaded ? requireEnvelope(document, notes) : rejected(loaded.error(), notes);
}

tl::expected<void, std::string> loadEnvelopeFile(XmlDocument& document, std::string_view bytes, Notes& notes) {
  const auto loaded = document.loadBytes(bytes);
  return loaded ? requireEnvelope(document, notes) : rejected(loaded.error(), notes);
}

bool loadFragment(XmlDocument& document, std::string_view text, Notes& notes, WhiteSpace whiteSpace) {
  const auto loaded = document.loadText(text, whiteSpace);
  if (!loaded) notes.add(kError, loaded.error().text);
  return loaded.has_value();
}

ReplyVerdict openReply(XmlDocument& document, std::string_view text, Notes& notes) {
  if (const auto loaded = loadEnvelope(document, text, notes); !loaded) return {E_FAULT, loaded.error()};
  const auto fault = findFault(document.root(), text);
  if (!fault) return {};
  if (isLogonRequired(document)) return {E_LOGON, fault.text()};
  return {E_FAULT, faultText(document)};
}

bool isLogonRequired(const XmlDocument& document) {
  const auto code =
      document.root().selectFirst(L"//SOAP-ENV:Envelope/SOAP-ENV:Header/bus:relayHeader/ZOT/exception/errorCodeString");
  return code && code.text() == "zotAuthUserRecoverable";
}

std::string faultText(const XmlDocument& document) {
  std::string text;
  const auto root = document.root();
  for (const auto* path : {L"//faultstring", L"//messageString", L"//errorMessage"})
    for (const auto& node : root.selectAll(path)) text.append("[").append(node.text()).append("]");
  return text;
}

std::optional<std::string> faultTextOf(std::string_view text, Notes& notes) {
  auto document = makeDocument(notes);
  if (!document || !loadFragment(*document, text, notes)) return std::nullopt;
  return faultText(*document);
}

bool readRelayInfo(const XmlDocument& document, RelayInfo& info, Notes& notes) {
  const auto soapHeader = findHeader(document.root());
  if (missing(soapHeader, "Xml contains no SOAP header", notes)) return false;
  const auto header = soapHeader.child("relayHeader");
  if (missing(header, "Xml contains no Relay header information", notes)) return false;
  if (!readPassport(header, info, notes)) {
    notes.add(kError, "Xml contains no ZOT/PRY information");
    return false;
  }
  readContext(header, info, notes);
  info.cookies = readPairs(header.child("hdrSession").child("cookieVars"));
  readPreferences(header, info, notes);
  return true;
}

std::string relayHeaderXml(const XmlDocument& document) { return findRelayHeader(document).xml(); }

bool readPromptInfo(const XmlDocument& document, PromptInfo& info, Notes& notes) {
  const auto manager = findRelayHeader(document).child("ZOT");
  if (missing(manager, "Xml contains no ZOT section", notes)) return false;
  if (manager.children().empty()) {
    notes.add(kError, "Xml contains no ZOT info");
    return false;
  }
  const auto prompt = manager.descendant("promptInfo");
  if (missing(prompt, "Xml contains no prompt info", notes)) return false;
  const bool captions = readCaptions(prompt, info, notes);
  const bool objects = readDisplayObjects(prompt, info, notes);
  const bool options = readPromptOptions(prompt, info, notes);
  return captions && objects && options;
}

bool readConnections(const XmlDocument& document, std::string_view wanted, std::vector<NamedText>& found,
                     Notes& notes) {
  const auto result = document.root().selectFirst(L"//SOAP-ENV:Envelope/SOAP-ENV:Body/cm:queryResponse/queryResult");
  if (missing(result, "Xml contains no querty result", notes)) {
    notes.add(kError, "The input might not be a valid relay SOAP message");
    return false;
  }
  for (const auto& connection : result.descendants("dataSourceConnection")) {
    NamedText record{connection.descendant("defaultName").text(), connection.descendant("connectionString").text()};
    if (wanted.empty() || record.name == wanted) found.push_back(std::move(record));
  }
  return true;
}

bool readSignon(const XmlDocument& document, Signon& signon, Notes& notes) {
  const auto credentials = document.root().descendant("dataSourceSignon").descendant("credentials");
  if (credentials && takeSignon(credentials, signon)) return true;
  notes.add(kError, "The input might not be a valid DS credential");
  return false;
}

bool isConversationFinished(std::string_view text, Notes& notes) {
  constexpr std::string_view kStatus = "status";
  if (text.find(kStatus) == std::string_view::npos) return true;
  auto document = makeDocument(notes);
  if (!document || !loadFragment(*document, text, notes)) throw std::bad_alloc();
  return elementText(document->root(), kStatus).value_or(kFinished) == kFinished;
}

RelayFields readEscapedFields(std::string_view bodyText, Notes& notes) {
  return readRelayFields([&](std::string_view name) -> std::optional<std::string> {
    const auto value = wire::extractNodeValue(bodyText, name, wire::TagForm::Escaped);
    if (value) return std::string(*value);
    notes.add(kInformation, wire::missingTagText(value.error(), name));
    return std::nullopt;
  });
}

std::optional<RelayFields> readInnerDocument(std::string_view bodyText, Notes& notes) {
  const auto inner = wire::cutInnerBody(bodyText);
  if (!inner) {
    notes.add(kInformation, wire::missingTagText(inner.error(), "qzSOAPBody"));
    return std::nullopt;
  }
  auto document = makeDocument(notes);
  const auto text = wire::withDeclaredPrefixes(wire::unescapeInnerBody(*inner));
  if (!document || !loadFragment(*document, text, notes, WhiteSpace::Preserve)) return std::nullopt;
  auto fields = readElements(document->root(), notes);
  fields.arguments = typedElements(document->root(), "argument");
  return fields;
}

bool readInnerElement(const XmlDocument& document, RelayFields& fields, Notes& notes) {
  const auto body = document.root().descendant("qzSOAPBody");
  if (missing(body, "No open tag for node qzSOAPBody", notes)) return false;
  fields = readElements(body, notes);
  return true;
}

std::optional<std::string> elementText(const XmlNode& parent, std::string_view name) {
  const auto element = parent.descendant(name);
  return element ? std::optional(element.text()) : std::nullopt;
}

std::vector<wire::TypedArgument> typedElements(const XmlNode& parent, std::string_view name) {
  std::vector<wire::TypedArgument> found;
  for (const auto& element : parent.descendants(name))
    found.push_back(wire::makeTypedArgument(element.attribute("xsi:type"), element.text()));
  return found;
}

}  // namespace qz::rpc
