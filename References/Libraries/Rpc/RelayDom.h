// What the library asks of a reply as an XML document.
#pragma once

#include <optional>
#include <source_location>
#include <string>
#include <string_view>
#include <vector>

#include <tl/expected.hpp>

#include "QzTypes.h"
#include "References/Libraries/Platform/XmlDocument.h"
#include "References/Libraries/Rpc/RelayFields.h"

namespace qz::rpc {

/// One line for the log that answering a question gave rise to.
struct Note {
  long level;
  std::string text;
  std::source_location at;
};

/// The lines in their order; the caller writes them into its face's log.
class Notes {
 public:
  void add(long level, std::string text, std::source_location at = std::source_location::current()) {
    notes_.push_back({level, std::move(text), at});
  }
  auto begin() const { return notes_.begin(); }
  auto end() const { return notes_.end(); }

 private:
  std::vector<Note> notes_;
};

/// Name and text that belong together: a cookie, a preference, a connection.
struct NamedText {
  std::string name;
  std::string text;
};

/// What a relay header says.
struct RelayInfo {
  std::string passportId;  ///< empty: leave the call's own
  std::string contextId;   ///< empty: leave the call's own
  std::vector<NamedText> cookies;
  std::vector<NamedText> preferences;
};

/// What a logon request asks for.
struct PromptInfo {
  struct Item {
    std::string name;
    std::string type;
    std::string value;
  };
  std::string caption;
  std::vector<Item> items;
  std::vector<std::string> options;
};

/// A data source's sign-on.
struct Signon {
  std::string user;
  std::string password;
};

/// What kind of reply an envelope is: E_OK ordinary, E_LOGON or E_FAULT with the text for the caller.
struct ReplyVerdict {
  long code = E_OK;
  std::string text;
};

/// Said when there is no parser.
inline constexpr const char* kNoParser =
    "Failed to create MSXML::IXMLDOMDocumentPtr. Please make sure msxml3.dll is properly installed.";

/// Makes an empty document, or says that it cannot.
tl::expected<platform::XmlDocument, std::string> makeDocument(Notes& notes);

/// Loads a SOAP envelope; the error is the text for the caller, the parser's reason goes into `notes`. After a failure
/// the document is empty.
tl::expected<void, std::string> loadEnvelope(platform::XmlDocument& document, std::string_view text, Notes& notes);
/// The same from the bytes of a file.
tl::expected<void, std::string> loadEnvelopeFile(platform::XmlDocument& document, std::string_view bytes, Notes& notes);
/// Loads any XML text.
bool loadFragment(platform::XmlDocument& document, std::string_view text, Notes& notes,
                  platform::WhiteSpace whiteSpace = platform::WhiteSpace::Trim);

/// Loads an envelope and judges it.
ReplyVerdict openReply(platform::XmlDocument& document, std::string_view text, Notes& notes);

/// True when the relay header's error is the one that a logon cures.
bool isLogonRequired(const platform::XmlDocument& document);
/// Texts of all elements that describe a fault, each in brackets.
std::string faultText(const platform::XmlDocument& document);
/// The same of a text; none when it is no XML.
std::optional<std::string> faultTextOf(std::string_view text, Notes& notes);

/// Reads the relay header; false when there is none or it has no passport.
bool readRelayInfo(const platform::XmlDocument& document, RelayInfo& info, Notes& notes);

/// The relay header as the parser writes it; empty when there is none.
std::string relayHeaderXml(const platform::XmlDocument& document);

/// Reads a logon request; false when a part is missing.
bool readPromptInfo(const platform::XmlDocument& document, PromptInfo& info, Notes& notes);

/// Reads the connections of a data-source query's reply.
/// @param wanted only the connection with this name; empty: all
bool readConnections(const platform::XmlDocument& document, std::string_view wanted, std::vector<NamedText>& found,
                     Notes& notes);
/// Reads a data source's sign-on record.
bool readSignon(const platform::XmlDocument& document, Signon& signon, Notes& notes);

/// Whether a reply is the last of its conversation. A reply that does not say so belongs to no conversation and is.
/// @param text envelope that has been unpacked
/// @throws std::bad_alloc when it can no longer be read
bool isConversationFinished(std::string_view text, Notes& notes);

/// Reads the fields of an escaped inner body straight from a message's text.
RelayFields readEscapedFields(std::string_view bodyText, Notes& notes);
/// Cuts the inner body out of a message's text and reads it as a document, typed arguments included; none when it is
/// missing or no XML.
std::optional<RelayFields> readInnerDocument(std::string_view bodyText, Notes& notes);
/// Reads the fields of an inner body that stands in a document; false when there is none.
bool readInnerElement(const platform::XmlDocument& document, RelayFields& fields, Notes& notes);

/// Text of the first element `name` below `parent`; none when there is no such element.
std::optional<std::string> elementText(const platform::XmlNode& parent, std::string_view name);
/// All such elements as arguments of the types that they name in `xsi:type`.
std::vector<wire::TypedArgument> typedElements(const platform::XmlNode& parent, std::string_view name);

/// Stores the text of a relay header in a call; false when memory is short.
template <class Call>
bool storeRelayHeader(const std::string& text, Call& call) {
  call.setRelayHeader(text.c_str());
  return holds(call.getRelayHeader(), text);
}

/// Stores what a relay header said in a call and its token; false when memory is short for some of it.
template <class Call>
bool storeRelayInfo(const RelayInfo& info, Call& call) {
  auto& token = call.getRTT();
  if (!info.passportId.empty()) call.setPassportId(info.passportId.c_str());
  if (!info.contextId.empty()) token.setPryContext(info.contextId.c_str());
  bool whole = (info.passportId.empty() || holds(call.getPassportId(), info.passportId)) &&
               (info.contextId.empty() || holds(token.getPryContext(), info.contextId));
  for (const auto& [name, value] : info.cookies) {
    token.setCookieValue(name.c_str(), value.c_str());
    whole = whole && holds(token.getCookieValue(name.c_str()), value);
  }
  for (const auto& [name, value] : info.preferences)
    whole = (call.setUserPreference(name.c_str(), value.c_str()) != 0 || value.empty()) && whole;
  return whole;
}

}  // namespace qz::rpc
