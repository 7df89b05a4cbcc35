// Calls to messages and back, for both faces.
#pragma once

#include <concepts>
#include <string>
#include <string_view>

#include "References/Common/Ascii.h"
#include "References/Libraries/Rpc/Journal.h"
#include "References/Libraries/Rpc/Layer.h"
#include "References/Libraries/Rpc/RelayDom.h"
#include "References/Libraries/Rpc/TemplateShelf.h"
#include "References/Libraries/Wire/TagScan.h"

namespace qz::rpc {

/// What the codec needs to know of a face beside its types.
template <class L>
concept RelayLayer = Layer<L> && requires(std::string_view text, Notes& notes) {
  /// Source paths of the face's codec class and of its XML class, which asks the questions to a reply.
  { L::kRelaySource } -> std::convertible_to<const char*>;
  { L::kDomSource } -> std::convertible_to<const char*>;
  /// Host of the schema namespaces from the settings; empty: the default.
  { L::schemaHost() } -> std::convertible_to<std::string_view>;
  /// Reads the inner body out of a message's body: one face scans the escaped text, the other parses it.
  { L::readFields(text, notes) } -> std::same_as<std::optional<RelayFields>>;
};

/// The operations of a face's codec class over its own types. Nothing is checked for null here. `int` results are 1 and
/// 0.
template <RelayLayer L>
class RelayCodec {
 public:
  using Buffer = typename L::Buffer;
  using Call = typename L::Call;
  using Error = typename L::Error;

  static const wire::EnvelopeTemplates& templates() {
    const std::string_view host = L::schemaHost();
    if (host.empty()) return templatesFor(wire::SCHEMA_HOST);
    if (wire::isSchemaHost(host)) return templatesFor(host);
    report("GetDefaultRequestTemplate",
           std::string("the setting SchemaHost is not the name of a host and is ignored: ").append(host));
    return templatesFor(wire::SCHEMA_HOST);
  }

  static int packOutProxy(const Call& call, Buffer& envelope, Buffer& arguments) {
    const auto fields = callFields(call);
    if (fields.numArguments > 255)
      report("packOutProxy", "more than 255 arguments: their number does not fit the count of the argument stream");
    wire::Filling filling(fields);
    wire::fillRequest(templates(), sessionFields(call), fields, filling);
    if (!write(filling.text, envelope)) return 0;
    return call.parkParams(arguments);
  }

  static int packOutStub(const Call& call, Buffer& body, Buffer& arguments) {
    const auto fields = callFields(call);
    wire::Filling filling(fields);
    wire::fillReplyBody(templates(), fields, filling);
    if (!write(filling.text, body)) return 0;
    if (call.getError().isError()) return call.getError().serializeOut(arguments, call.getComressParams());
    return call.parkParams(arguments);
  }

  /// The reply to a task: its body alone, a fault when the call holds an error.
  static int packOutStubTask(const Call& call, Buffer& body) {
    const auto& error = call.getError();
    wire::FilledText text;
    if (error.isError())
      text.adopt(
          wire::fillFault(templates(), {error.getErrorCode(), error.getErrorSubCode(), viewOf(error.getErrorText())}));
    else
      text.add(templates().taskReply.text());
    return write(text, body) ? 1 : 0;
  }

  template <class Token>
  static int buildGeneric(const Token& token, std::string_view body, Buffer& out) {
    const wire::SessionFields session{{}, viewOf(token.getPassportID()), viewOf(token.getPryContext()), {}};
    wire::FilledText text;
    wire::fillGeneric(templates(), session, body, text);
    return write(text, out) ? 1 : 0;
  }

  /// A whole envelope around any body template; `envelopeTemplate` empty means the default one.
  static std::string buildEnvelope(const Call& call, std::string_view bodyTemplate, std::string_view envelopeTemplate) {
    return wire::fillEnvelope(templates(), envelopeTemplate, sessionFields(call), buildBody(call, bodyTemplate));
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
    if (call.getError().getErrorCode() != E_OK) return call.getError().serializeIn(*arguments);
    return call.unparkParams(*arguments);
  }

  static int unpackInStub(std::string_view body, const Buffer& arguments, Call& call) {
    if (!extractDataMembers(body, call)) return 0;
    return arguments.isEmpty() ? 1 : call.unparkParams(arguments);
  }

  /// Reads everything before anything is stored, so that a reply which fails halfway leaves the call's fields alone.
  static int extract(const Buffer& envelope, Call& call) {
    const auto text = textOf(envelope);
    const auto parts = wire::cutHeaderAndBody(text);
    if (!parts) return reportFault(parts.error(), text, call);
    const auto info = readHeader(text, call.getError());
    if (!info) return 0;
    const auto fields = readFields(parts->body);
    if (!fields) return 0;
    // The next request must carry the header as it came, not as the parser writes it.
    call.setRelayHeader(std::string(parts->header).c_str());
    storeRelayInfo(*info, call);
    storeRelayFields(*fields, call);
    return 1;
  }

  static int extractHdrInfo(const Buffer& envelope, Call& call) {
    std::string headerXml;
    const auto info = readHeader(textOf(envelope), call.getError(), &headerXml);
    if (!info) return 0;
    call.setRelayHeader(headerXml.c_str());
    storeRelayInfo(*info, call);
    return 1;
  }

  static int extractDataMembers(std::string_view body, Call& call) {
    const auto fields = readFields(body);
    if (fields) storeRelayFields(*fields, call);
    return fields ? 1 : 0;
  }

  /// Writes what is missing into the log.
  static void reportMissing(wire::MissingTag missing, std::string_view name) {
    if (L::traceLevel() >= kInformation)
      L::report(kInformation, "ExtractXmlNodeValue", L::kRelaySource, wire::missingTagText(missing, name));
  }

  /// A buffer's content up to its first zero byte.
  static std::string_view textOf(const Buffer& buffer) {
    const auto* data = buffer.getBuffer();
    if (data == nullptr) return {};
    const std::string_view all(reinterpret_cast<const char*>(data), static_cast<std::size_t>(buffer.getLength()));
    return all.substr(0, all.find('\0'));
  }

 private:
  static void report(const char* operation, std::string_view message,
                     std::source_location at = std::source_location::current()) {
    L::report(kError, operation, L::kRelaySource, message, at);
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

  /// Copies a filled text straight into its buffer.
  static bool write(const wire::FilledText& text, Buffer& out) {
    const auto size = static_cast<long>(text.size());
    out.reset(size, ITKBufferType::DT_TEXT);
    auto* block = out.getBufferSetLen(size);
    if (block == nullptr) return false;
    text.copyTo(reinterpret_cast<char*>(block));
    return true;
  }

  static int reportFault(const std::string& missing, std::string_view envelope, Call& call) {
    if (L::traceLevel() >= kInformation) L::report(kInformation, "Extract", L::kRelaySource, missing);
    report("Extract", "failed to extract SOAP header/body");
    Notes notes;
    const auto text = faultTextOf(envelope, notes).value_or(std::string());
    writeNotes<L>(notes, "extractRELAYFaultText", L::kDomSource);
    if (text.empty()) return 0;
    report("Extract", text);
    call.getError().addError(text.c_str());
    return 0;
  }

  /// @param headerXml receives the header as the parser writes it; null: not wanted
  static std::optional<RelayInfo> readHeader(std::string_view envelope, Error& error,
                                             std::string* headerXml = nullptr) {
    const auto document = openReply(envelope, error);
    if (!document) {
      report("ExtractHdrInfo", "Failed to extract RELAY header information");
      return std::nullopt;
    }
    Notes notes;
    RelayInfo info;
    const bool complete = readRelayInfo(*document, info, notes);
    writeNotes<L>(notes, "getRELAYInfo", L::kDomSource);
    if (!complete) return std::nullopt;
    if (headerXml != nullptr) *headerXml = relayHeaderXml(*document);
    return info;
  }

  static std::optional<platform::XmlDocument> openReply(std::string_view envelope, Error& error) {
    Notes notes;
    auto document = makeDocument(notes);
    const auto verdict =
        document ? rpc::openReply(*document, envelope, notes) : ReplyVerdict{E_FAULT, document.error()};
    writeNotes<L>(notes, "createFromText", L::kDomSource);
    if (verdict.code == E_OK) return std::move(*document);
    error.setError(verdict.code, verdict.text.c_str());
    return std::nullopt;
  }

  static std::optional<RelayFields> readFields(std::string_view body) {
    Notes notes;
    auto fields = L::readFields(body, notes);
    writeNotes<L>(notes, "ExtractDataMembers", L::kRelaySource);
    return fields;
  }
};

}  // namespace qz::rpc
