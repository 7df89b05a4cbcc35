// The fixed texts that every message is made of, and how their placeholders are filled.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "References/Common/Number.h"

#ifndef QZ_SCHEMA_HOST
#define QZ_SCHEMA_HOST "schemas.tessel.example"
#endif

namespace qz::wire {

/// Host of the server's own schema namespaces, unless the settings name another. Only written, never compared with.
inline constexpr std::string_view SCHEMA_HOST = QZ_SCHEMA_HOST;
/// Path of the content manager's namespace on that host.
inline constexpr std::string_view kContentManagerPath = "/schemas/contentManagerService/1";
/// Path of the run-time service's namespace on that host.
inline constexpr std::string_view kRuntimeServicePath = "/schemas/tesselRuntimeService/1";

/// True when `host` can stand in a namespace URI: letters, digits and ".-_:", 1 to 255 of them.
bool isSchemaHost(std::string_view host);

/// Everything that a placeholder can stand for.
enum class Field : unsigned char {
  RelayHeader,
  Body,
  ContextId,
  PassportId,
  NumCookies,
  CookieValues,
  CookieName,
  CookieValue,
  ClassName,
  MethodName,
  KeepAlive,
  ObjectHandle,
  ErrorText,
  ErrorCode,
  Timeout,
  AsyncMode,
  TimeInterval,
  NumArguments,
  FaultCode,
  FaultString,
  Severity,
  NestingLevel,
  MessageString
};

inline constexpr std::size_t kFieldCount = 23;

/// The name between the dollar signs.
std::string_view fieldName(Field field);

/// "$$" + name + "$$".
std::string placeHolder(std::string_view name);

/// A text split at its placeholders. The pieces point into the text, so the object stays where it was made.
class Template {
 public:
  /// What stands between two placeholders, and the placeholder behind it (none behind the last).
  struct Piece {
    std::string_view literal;
    std::string_view placeholder;
    Field field;
  };

  explicit Template(std::string text);
  Template(const Template&) = delete;
  Template& operator=(const Template&) = delete;

  const std::string& text() const { return text_; }
  const std::vector<Piece>& pieces() const { return pieces_; }

 private:
  std::string text_;
  std::vector<Piece> pieces_;
};

/// All templates for one schema host.
struct EnvelopeTemplates {
  explicit EnvelopeTemplates(std::string_view schemaHost);

  const std::string host;
  const Template request;      ///< the envelope
  const Template relayHeader;  ///< the header of a call that holds none of its own
  const Template cookieItem;   ///< one cookie of that header
  const Template runRequest;   ///< body of a request
  const Template runReply;     ///< body of a reply
  const Template taskReply;    ///< body of a task's reply; no placeholders
  const Template fault;        ///< body of a task's failure
};

/// What the header of an envelope is made of. Views must outlive the filled text, here and below.
struct SessionFields {
  std::string_view relayHeader;  ///< the call's own header; when not empty it stands instead of the other three
  std::string_view passportId;
  std::string_view contextId;
  std::string_view vtn;  ///< value of the only cookie that travels in the header; empty: none
};

/// What the body of a call or reply is made of.
struct CallFields {
  std::string_view className;
  std::string_view methodName;
  std::string_view objectHandle;
  std::string_view errorText;
  bool keepAlive = false;
  long errorCode = 0;
  long timeout = 0;
  long asyncMode = 0;
  long timeInterval = 0;
  long numArguments = 0;
};

/// What the fault of a task is made of.
struct FaultFields {
  long code = 0;
  long subCode = 0;
  std::string_view message;
};

/// A filled message as a sequence of pieces, to be copied once into a block of exactly its size. Points into the
/// templates and the values that it was made from, and into itself.
class FilledText {
 public:
  FilledText() = default;
  FilledText(const FilledText&) = delete;
  FilledText& operator=(const FilledText&) = delete;

  std::size_t size() const { return size_; }
  /// Writes size() bytes, no terminator.
  void copyTo(char* target) const;
  std::string str() const;

  /// Appends a piece.
  void add(std::string_view piece);
  /// Makes the whole text one string, owned here.
  void adopt(std::string text);

 private:
  // A request has 33 pieces, a reply body 19.
  std::array<std::string_view, 48> pieces_;
  std::size_t count_ = 0;
  std::size_t size_ = 0;
  std::string owned_;
};

/// The decimal texts of a call's numbers, which a filled text points into.
struct CallNumbers {
  explicit CallNumbers(const CallFields& call);

  DecimalText errorCode;
  DecimalText timeout;
  DecimalText asyncMode;
  DecimalText timeInterval;
  DecimalText numArguments;
};

/// Storage and result of one filling; keep it until the text was copied out.
struct Filling {
  explicit Filling(const CallFields& call) : numbers(call) {}

  const CallNumbers numbers;
  FilledText text;
};

/// Fills a whole request.
void fillRequest(const EnvelopeTemplates& templates, const SessionFields& session, const CallFields& call,
                 Filling& out);
/// Fills the body of a reply.
void fillReplyBody(const EnvelopeTemplates& templates, const CallFields& call, Filling& out);
/// Fills the body of a task's failure.
std::string fillFault(const EnvelopeTemplates& templates, const FaultFields& fault);
/// Fills an envelope around a ready body. The header's cookie placeholders stay in the text.
void fillGeneric(const EnvelopeTemplates& templates, const SessionFields& session, std::string_view body,
                 FilledText& out);

/// Fills a call's fields into any text.
std::string fillBody(std::string_view bodyTemplate, const CallFields& call);
/// Fills header and ready body into any envelope.
/// @param envelopeTemplate own envelope, its apostrophes become double quotes; empty: the default one
std::string fillEnvelope(const EnvelopeTemplates& templates, std::string_view envelopeTemplate,
                         const SessionFields& session, std::string_view body);
/// Puts a ready header and body into the default envelope, as they are.
std::string wrapInEnvelope(const EnvelopeTemplates& templates, std::string_view header, std::string_view body);
/// Appends the item of one cookie; false, nothing appended, when the value is empty.
bool appendCookieItem(const EnvelopeTemplates& templates, std::string_view name, std::string_view value,
                      std::string& items);

/// "<name>value</name>", the value as it is.
std::string nodeXml(std::string_view name, std::string_view value);

}  // namespace qz::wire
