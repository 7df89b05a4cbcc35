// What a face's XML class does, once for both faces.
#pragma once

#include <new>
#include <optional>
#include <source_location>
#include <string>
#include <string_view>
#include <vector>

#include "References/Libraries/Platform/Com.h"
#include "References/Libraries/Platform/OpenFile.h"
#include "References/Libraries/Rpc/RelayLayer.h"

namespace qz::rpc {

/// The fields of an XML object. The document ends before COM does on its thread.
struct XmlDomState {
  platform::ComScope com;
  std::optional<platform::XmlDocument> document;  ///< made on first use
};

/// Operations over the state of one face's XML object. Each writes its reasons into the face's log.
template <RelayLayer L>
class XmlDomOps {
 public:
  using State = XmlDomState;
  using Buffer = typename L::Buffer;
  using BufferList = typename L::BufferList;
  using Call = typename L::Call;
  using Error = typename L::Error;
  using Place = std::source_location;

  /// Loads a reply; one that is none, or a fault, goes into `error`.
  static bool createFromText(State& state, std::string_view text, Error& error) {
    const auto verdict = judge(state, text);
    if (verdict.code != E_OK) error.setError(verdict.code, verdict.text.c_str());
    return verdict.code == E_OK;
  }

  /// What kind of reply a text is: E_OK, E_LOGON or E_FAULT.
  static long replyCode(std::string_view text) {
    XmlDomState state;
    return judge(state, text).code;
  }

  static bool createFromText(State& state, std::string_view text) {
    return withNotes("createFromText", [&](Notes& notes) { return load(state, text, notes); });
  }

  static bool createFromFile(State& state, const char* path) {
    return withNotes("createFromFile", [&](Notes& notes) {
      const auto bytes = platform::readFile(path);
      if (!bytes) return failed("Failed to read the file", notes);
      auto* document = ready(state, notes);
      return document != nullptr && loadEnvelopeFile(*document, *bytes, notes);
    });
  }

  /// The parser's object; null when nothing was ever loaded.
  static IXMLDOMDocument* documentOf(const State& state) { return state.document ? state.document->get() : nullptr; }

  /// The first child element with a name or local name, with a reference for the caller; null when there is none.
  static IXMLDOMNode* childNode(IXMLDOMNode* parent, std::string_view name) {
    return platform::XmlNode(platform::ComPtr<IXMLDOMNode>::share(parent)).child(name).release();
  }

  static bool getElementValue(const State& state, std::string_view name, Buffer& out) {
    return ask("getElementValue", state, [&](const platform::XmlDocument& document, Notes&) {
      const auto text = elementText(document.root(), name);
      if (text) setText(out, *text);
      return text.has_value();
    });
  }

  static bool getRELAYInfo(const State& state, Call& call) {
    return ask("getRELAYInfo", state,
               [&](const platform::XmlDocument& document, Notes& notes) { return takeInfo(document, call, notes); });
  }

  /// getRELAYInfo() without storing anything.
  static bool readInfo(const State& state, RelayInfo& info) {
    return ask("getRELAYInfo", state, [&](const platform::XmlDocument& document, Notes& notes) {
      return readRelayInfo(document, info, notes);
    });
  }

  static bool isLogonRequired(const State& state) {
    return ask("isLogonRequired", state,
               [](const platform::XmlDocument& document, Notes&) { return rpc::isLogonRequired(document); });
  }

  static bool getPromptInfo(const State& state, Buffer& caption, BufferList& names, BufferList& types,
                            BufferList& values, BufferList& options) {
    return ask("getPromptInfo", state, [&](const platform::XmlDocument& document, Notes& notes) {
      PromptInfo info;
      const bool complete = readPromptInfo(document, info, notes);
      setText(caption, info.caption);
      for (auto* list : {&names, &types, &values, &options}) list->removeAll();
      for (const auto& item : info.items) {
        addText(names, item.name);
        addText(types, item.type);
        addText(values, item.value);
      }
      for (const auto& option : info.options) addText(options, option);
      return complete;
    });
  }

  /// The texts of a fault; none when `text` is no XML.
  static std::optional<std::string> faultTextOf(std::string_view text) {
    return withNotes("extractRELAYFaultText", [&](Notes& notes) { return rpc::faultTextOf(text, notes); });
  }

  /// Appends them to a buffer; false when `text` is no XML.
  static bool extractRELAYFaultText(std::string_view text, Buffer& out) {
    const auto found = faultTextOf(text);
    if (found && !found->empty()) append(out, *found);
    return found.has_value();
  }

  static bool parseRELAYInfoFromRELAYHeaderXml(State& state, std::string_view text, Call& call) {
    return withNotes("parseRELAYInfoFromRELAYHeaderXml", [&](Notes& notes) {
      return load(state, wire::wrapInEnvelope(templatesOf<L>(), text, {}), notes) &&
             takeInfo(*state.document, call, notes);
    });
  }

  static bool parseSOAPInfoFromQzBodyXml(State& state, std::string_view text, Call& call) {
    return withNotes("parseSOAPInfoFromQzBodyXml", [&](Notes& notes) {
      const auto fields = innerFields(state, text, notes);
      return fields && storeRelayFields(*fields, call);
    });
  }

  static bool parseDSConnectionInfo(State& state, std::string_view reply, std::string_view wanted,
                                    BufferList& records) {
    return withNotes("parseDSConnectionInfo", [&](Notes& notes) {
      std::vector<NamedText> found;
      if (!load(state, reply, notes) || !readConnections(*state.document, wanted, found, notes))
        return failed("Failed to parse input database connection information", notes);
      for (const auto& [name, connection] : found) {
        addText(records, name);
        addText(records, connection);
      }
      return true;
    });
  }

  static bool parseDSCredential(State& state, std::string_view reply, Buffer& user, Buffer& password) {
    return withNotes("parseDSCredential", [&](Notes& notes) {
      Signon signon;
      auto* document = ready(state, notes);
      if (document == nullptr || !loadFragment(*document, reply, notes) || !readSignon(*document, signon, notes))
        return failed("Failed to parse input database signon information", notes);
      setText(user, signon.user);
      setText(password, signon.password);
      return true;
    });
  }

 private:
  template <class Ask>
  static auto withNotes(const char* operation, Ask&& ask) {
    return rpc::withNotes<L>(operation, L::kDomSource, std::forward<Ask>(ask));
  }

  static ReplyVerdict judge(State& state, std::string_view text) {
    return withNotes("createFromText", [&](Notes& notes) {
      auto* document = ready(state, notes);
      return document != nullptr ? openReply(*document, text, notes) : ReplyVerdict{E_FAULT, kNoParser};
    });
  }

  // The caller's own buffer: what it cannot take must not count as delivered.
  static void append(Buffer& buffer, std::string_view text) {
    const long length = buffer.getLength() + static_cast<long>(text.size());
    buffer.write(static_cast<const void*>(text.data()), static_cast<long>(text.size()));
    if (buffer.getLength() != length) throw std::bad_alloc();
  }

  /// Asks a question of the loaded document.
  template <class Question>
  static bool ask(const char* operation, const State& state, Question&& question, Place at = Place::current()) {
    return withNotes(operation, [&](Notes& notes) {
      return state.document ? question(*state.document, notes) : failed("No document is loaded", notes, at);
    });
  }

  static bool failed(const char* report, Notes& notes, Place at = Place::current()) {
    notes.add(kError, report, at);
    return false;
  }

  /// The document; null when the system has no parser.
  static platform::XmlDocument* ready(State& state, Notes& notes) {
    if (!state.document) {
      auto made = makeDocument(notes);
      if (made) state.document.emplace(std::move(*made));
    }
    return state.document ? &*state.document : nullptr;
  }

  static bool load(State& state, std::string_view text, Notes& notes) {
    auto* document = ready(state, notes);
    return document != nullptr && loadEnvelope(*document, text, notes);
  }

  static bool takeInfo(const platform::XmlDocument& document, Call& call, Notes& notes) {
    const auto headerXml = relayHeaderXml(document);
    const bool stored = headerXml.empty() || storeRelayHeader(headerXml, call);
    RelayInfo info;
    return readRelayInfo(document, info, notes) && storeRelayInfo(info, call) && stored;
  }

  static std::optional<RelayFields> innerFields(State& state, std::string_view text, Notes& notes) {
    if (text.find("&lt;qzSOAPBody") != std::string_view::npos) return L::readFields(text, notes);
    RelayFields fields;
    if (!load(state, wire::wrapInEnvelope(templatesOf<L>(), {}, text), notes) ||
        !readInnerElement(*state.document, fields, notes))
      return std::nullopt;
    return fields;
  }
};

}  // namespace qz::rpc
