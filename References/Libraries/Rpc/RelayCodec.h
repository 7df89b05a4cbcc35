// Calls to messages and back, for both faces.
#pragma once

#include <cstring>
#include <functional>
#include <optional>
#include <source_location>
#include <string>
#include <string_view>

#include "References/Common/Ascii.h"
#include "References/Common/Bytes.h"
#include "References/Libraries/Rpc/BufferListOps.h"
#include "References/Libraries/Rpc/RelayLayer.h"
#include "References/Libraries/Rpc/XmlDomOps.h"
#include "References/Libraries/Wire/TagScan.h"

namespace qz::rpc {

/// The operations of a face's codec class over its own types. Nothing is checked for null here. `int` results are 1 and
/// 0.
template <RelayLayer L>
class RelayCodec {
 public:
  using Buffer = typename L::Buffer;
  using BufferList = typename L::BufferList;
  using Call = typename L::Call;
  using Text = typename L::Text;

  static int packOutProxy(const Call& call, Buffer& envelope, Buffer& arguments) {
    const auto fields = callFields(call);
    if (fields.numArguments > 255)
      report("packOutProxy", "more than 255 arguments: their number does not fit the count of the argument stream");
    wire::Filling filling(fields);
    wire::fillRequest(templatesOf<L>(), sessionFields(call), fields, filling);
    if (!writeText(filling.text, envelope)) return 0;
    return call.parkParams(arguments);
  }

  static int packOutStub(const Call& call, Buffer& body, Buffer& arguments) {
    const auto fields = callFields(call);
    wire::Filling filling(fields);
    wire::fillReplyBody(templatesOf<L>(), fields, filling);
    if (!writeText(filling.text, body)) return 0;
    if (call.getError().isError()) return L::writeError(call.getError(), arguments, call.getComressParams());
    return call.parkParams(arguments);
  }

  /// The reply to a task: its body alone, a fault when the call holds an error.
  static int packOutStubTask(const Call& call, Buffer& body) {
    return call.getError().isError() ? buildTaskFault(call, body) : buildTaskReply(body);
  }

  static int buildTaskReply(Buffer& body) {
    setText(body, templatesOf<L>().taskReply.text());
    return 1;
  }

  static int buildTaskFault(const Call& call, Buffer& body) {
    const auto& error = call.getError();
    setText(body, wire::fillFault(templatesOf<L>(),
                                  {error.getErrorCode(), error.getErrorSubCode(), viewOf(error.getErrorText())}));
    return 1;
  }

  /// @param body may stand in `out`
  template <class Token>
  static int buildGeneric(const Token& token, std::string_view body, Buffer& out) {
    const wire::SessionFields session{{}, viewOf(token.getPassportID()), viewOf(token.getPryContext()), {}};
    wire::FilledText text;
    wire::fillGeneric(templatesOf<L>(), session, body, text);
    if (standsIn(out, body)) text.adopt(text.str());
    return writeText(text, out) ? 1 : 0;
  }

  static bool addCookie(std::string_view name, std::string_view value, Text& items) {
    std::string all(L::viewOf(items));
    const bool added = wire::appendCookieItem(templatesOf<L>(), name, value, all);
    if (added) L::assign(items, all);
    return added;
  }

  /// A whole envelope around any body template; `envelopeTemplate` empty means the default one.
  static std::string buildEnvelope(const Call& call, std::string_view bodyTemplate, std::string_view envelopeTemplate) {
    return wire::fillEnvelope(templatesOf<L>(), envelopeTemplate, sessionFields(call), buildBody(call, bodyTemplate));
  }

  static std::string buildBody(const Call& call, std::string_view bodyTemplate) {
    return wire::fillBody(bodyTemplate, callFields(call));
  }

  static int unpackInProxy(const Buffer& envelope, const Buffer* arguments, Call& call) {
    if (!extract(envelope, call)) {
      report("unpackInProxy", "Failed to extract response information");
      return 0;
    }
    if (arguments == nullptr || arguments->isEmpty()) return 1;
    if (call.getError().getErrorCode() != L::noError) return L::readError(call.getError(), *arguments);
    return call.unparkParams(*arguments);
  }

  static int unpackInStub(std::string_view body, const Buffer* arguments, Call& call) {
    if (!extractDataMembers(body, call)) return 0;
    return arguments == nullptr || arguments->isEmpty() ? 1 : call.unparkParams(*arguments);
  }

  /// Reads everything before anything is stored, so that a reply which fails halfway leaves the call's fields alone.
  static int extract(const Buffer& envelope, Call& call) {
    const auto [header, body] = cutHeaderAndBody(envelope);
    if (!header || !body) return reportFault(messageIn(envelope), call);
    XmlDomState dom;
    RelayInfo info;
    if (!openReply(dom, envelope, call) || !Dom::readInfo(dom, info)) return 0;
    const auto fields = readFields(*body);
    if (!fields) return 0;
    // The next request must carry the header as it came, not as the parser writes it.
    return storeRelayHeader(std::string(*header), call) && storeRelayInfo(info, call) &&
           storeRelayFields(*fields, call);
  }

  static int extractHdrInfo(const Buffer& envelope, Call& call) {
    XmlDomState dom;
    return openReply(dom, envelope, call) && Dom::getRELAYInfo(dom, call) ? 1 : 0;
  }

  static int extractDataMembers(std::string_view body, Call& call) {
    const auto fields = readFields(body);
    return fields && storeRelayFields(*fields, call) ? 1 : 0;
  }

  /// The contents of an envelope's header and body, a missing one logged.
  struct HeaderAndBody {
    std::optional<std::string_view> header;
    std::optional<std::string_view> body;
  };

  static HeaderAndBody cutHeaderAndBody(const Buffer& envelope) {
    const auto text = messageIn(envelope);
    return {nodeValue(text, "SOAP-ENV:Header", wire::TagForm::Plain),
            nodeValue(text, "SOAP-ENV:Body", wire::TagForm::Plain)};
  }

  /// The same into two texts, either of which may be the envelope; 1 when both parts are there.
  static int cutHeaderAndBody(const Buffer& envelope, Text& header, Text& body) {
    const auto parts = cutHeaderAndBody(envelope);
    const std::string bodyText(parts.body.value_or(""));
    L::assign(header, parts.header.value_or(""));
    L::assign(body, bodyText);
    return parts.header && parts.body ? 1 : 0;
  }

  /// Index just behind a start tag, -1 when there is none or `start` is negative.
  static long findBeginTag(std::string_view text, long start, std::string_view name, bool escaped) {
    return start < 0 ? -1 : toIndex(wire::findBeginTag(text, static_cast<std::size_t>(start), name, form(escaped)));
  }

  /// Index of an end tag, or -1 as above.
  static long findEndTag(std::string_view text, long start, std::string_view name, bool escaped) {
    return start < 0 ? -1 : toIndex(wire::findEndTag(text, static_cast<std::size_t>(start), name, form(escaped)));
  }

  /// What stands between the tags, a missing one logged.
  static std::optional<std::string_view> nodeValue(std::string_view text, std::string_view name, wire::TagForm form) {
    const auto value = wire::extractNodeValue(text, name, form);
    if (value) return *value;
    report("ExtractXmlNodeValue", wire::missingTagText(value.error(), name), kInformation);
    return std::nullopt;
  }

  /// The same into a text, which is returned; null, the text empty, when the value is missing.
  static const char* copyNodeValue(std::string_view text, std::string_view name, Text& out, bool escaped) {
    const auto value = nodeValue(text, name, form(escaped));
    const char* copy = L::assign(out, value.value_or(""));
    return value ? copy : nullptr;
  }

  static long nodeNumber(std::string_view text, std::string_view name, long defaultValue, bool escaped) {
    const auto value = nodeValue(text, name, form(escaped));
    return value ? parseLong(*value) : defaultValue;
  }

  /// nodeValue() of plain tags into an array of at least one character. `text` may stand in it.
  static int copyNodeValue(std::string_view text, std::string_view name, char* out, std::size_t size) {
    const auto value = nodeValue(text, name, wire::TagForm::Plain);
    const bool fits = value && value->size() < size;
    if (value && !fits) report("extractXmlNodeValue", "Insufficient buffer size");
    const std::string_view kept = fits ? *value : "";
    std::memmove(out, kept.data(), kept.size());
    out[kept.size()] = '\0';
    return fits ? 1 : 0;
  }

  /// The same into a buffer, which is empty when the value is missing.
  static int copyNodeValue(std::string_view text, std::string_view name, Buffer& out) {
    const auto value = nodeValue(text, name, wire::TagForm::Plain);
    setText(out, std::string(value.value_or("")));
    return value ? 1 : 0;
  }

  /// Text of a document's first element `name`, a missing one logged; 0, `out` then empty, when there is none.
  static int copyElementText(const platform::XmlNode& document, std::string_view name, Text& out) {
    const auto text = elementOf(document, name);
    L::assign(out, text.value_or(""));
    return text ? 1 : 0;
  }

  static long elementNumber(const platform::XmlNode& document, std::string_view name, long defaultValue) {
    const auto text = elementOf(document, name);
    return text ? parseLong(*text) : defaultValue;
  }

  /// Appends one buffer for each element `name`, of the type that it names; 0 when memory is short.
  static int appendElements(const platform::XmlNode& document, std::string_view name, BufferList& list) {
    for (const auto& [type, bytes] : typedElements(document, name)) {
      auto buffer = BufferListOps<L>::makeBuffer(type, std::as_bytes(std::span(bytes)));
      if (buffer == nullptr || list.add(buffer.get()) < 0) return 0;
      buffer.release();
    }
    return 1;
  }

 private:
  using Dom = XmlDomOps<L>;

  static wire::TagForm form(bool escaped) { return escaped ? wire::TagForm::Escaped : wire::TagForm::Plain; }

  static long toIndex(std::size_t at) { return at == std::string_view::npos ? -1 : static_cast<long>(at); }

  static void report(const char* operation, std::string_view message, long level = kError,
                     std::source_location at = std::source_location::current()) {
    L::report(level, operation, L::kRelaySource, message, at);
  }

  static wire::SessionFields sessionFields(const Call& call) {
    const auto& token = call.getRTT();
    return {viewOf(call.getRelayHeader()), viewOf(call.getPassportId()), viewOf(token.getPryContext()),
            viewOf(token.getVTN())};
  }

  static wire::CallFields callFields(const Call& call) {
    wire::CallFields fields;
    fields.className = viewOf(call.getInterfaceName());
    fields.methodName = viewOf(call.getMethodName());
    fields.objectHandle = viewOf(call.getObjectHandle());
    fields.errorText = viewOf(call.getError().getErrorText());
    fields.keepAlive = call.getKeepAlive() != 0;
    fields.errorCode = call.getError().getErrorCode();
    fields.timeout = call.getTimeoutLimit();
    fields.asyncMode = call.getAsyncMode();
    fields.timeInterval = call.getTimeInterval();
    fields.numArguments = call.getNumParams();
    return fields;
  }

  static std::optional<std::string> elementOf(const platform::XmlNode& document, std::string_view name) {
    auto text = elementText(document, name);
    if (!text) report("extractXmlNodeValue", wire::missingTagText(wire::MissingTag::Open, name), kInformation);
    return text;
  }

  static bool standsIn(const Buffer& buffer, std::string_view text) {
    const auto block = messageIn(buffer);
    const std::less_equal<> notBehind;
    return notBehind(block.data(), text.data()) && notBehind(text.data(), block.data() + block.size());
  }

  static int reportFault(std::string_view envelope, Call& call) {
    report("Extract", "failed to extract SOAP header/body");
    const auto text = Dom::faultTextOf(envelope).value_or(std::string());
    if (text.empty()) return 0;
    report("Extract", text);
    call.getError().addError(text.c_str());
    return 0;
  }

  /// Loads a reply; what is none, or a fault, goes into the call's error.
  static bool openReply(XmlDomState& dom, const Buffer& envelope, Call& call) {
    if (Dom::createFromText(dom, messageIn(envelope), call.getError())) return true;
    report("ExtractHdrInfo", "Failed to extract RELAY header information");
    return false;
  }

  static std::optional<RelayFields> readFields(std::string_view body) {
    return withNotes<L>("ExtractDataMembers", L::kRelaySource,
                        [&](Notes& notes) { return L::readFields(body, notes); });
  }
};

}  // namespace qz::rpc
