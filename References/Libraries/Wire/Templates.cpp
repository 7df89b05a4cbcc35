#include "References/Libraries/Wire/Templates.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

#include "References/Libraries/Wire/Replace.h"

namespace qz::wire {
namespace {

// The texts name their namespaces by short marks, so that the host can be put in.
// clang-format off
constexpr std::string_view kRequest =
    R"(<?xml version="1.0" encoding="UTF-8"?> )"
    R"(<SOAP-ENV:Envelope xmlns:SOAP-ENV="SOAPENV-NS" xmlns:SOAP-ENC="SOAPENC-NS" xmlns:bus="RELAY-NS" xmlns:xsi="XSI-NS" xmlns:xs="XSD-NS" xmlns:xsd="XSD-NS" SOAP-ENV:encodingStyle="SOAPENC-NS">)"
    R"(<SOAP-ENV:Header>$$relayHeader$$</SOAP-ENV:Header><SOAP-ENV:Body>$$SOAP-ENV:Body$$)"
    R"(</SOAP-ENV:Body></SOAP-ENV:Envelope>)";

constexpr std::string_view kRelayHeader =
    R"(<bus:relayHeader xsi:type="bus:relayHeader"><bus:PRY xsi:type="bus:PRY">)"
    R"(<contextID xsi:type="xsd:string">$$contextID$$</contextID></bus:PRY><bus:ZOT xsi:type="bus:ZOT">)"
    R"(<bus:ZOTPassport xsi:type="bus:ZOTPassport"><id xsi:type="xs:string">$$passportID$$</id>)"
    R"(</bus:ZOTPassport></bus:ZOT><bus:hdrSession xsi:type="bus:hdrSession">)"
    R"(<bus:cookieVars xsi:type="SOAP-ENC:Array" SOAP-ENC:arrayType="bus:cookieVar[$$numCookies$$]">)"
    R"($$cookieValues$$</bus:cookieVars></bus:hdrSession></bus:relayHeader>)";

constexpr std::string_view kCookieItem =
    R"(<item xsi:type="bus:cookieVar"><name xsi:type="xsd:string">$$cookieName$$</name>)"
    R"(<value xsi:type="xsd:string">$$cookieValue$$</value></item>)";

constexpr std::string_view kRunRequest =
    R"(<rns1:runSpecification xmlns:rns1="REPORT-NS">)"
    R"(<specification xsi:type="bus:tesselRuntimeServiceSpecification">)"
    R"(<bus:data xsi:type="bus:specification">&lt;qzSOAPBody&gt;&lt;className&gt;$$className$$)"
    R"(&lt;/className&gt;&lt;methodName&gt;$$methodName$$&lt;/methodName&gt;&lt;keepAlive&gt;)"
    R"($$keepAlive$$&lt;/keepAlive&gt;&lt;objectHandle&gt;$$objectHandle$$&lt;/objectHandle&gt;)"
    R"(&lt;numArguments&gt;$$numArguments$$&lt;/numArguments&gt;&lt;timeout&gt;$$timeout$$)"
    R"(&lt;/timeout&gt;&lt;asyncMode&gt;$$asyncMode$$&lt;/asyncMode&gt;&lt;timeInterval&gt;)"
    R"($$timeInterval$$&lt;/timeInterval&gt;&lt;/qzSOAPBody&gt;</bus:data></specification>)"
    R"(<parameterValues xsi:type="SOAP-ENC:Array" SOAP-ENC:arrayType="bus:parameterValue[]"/>)"
    R"(<options xsi:type="SOAP-ENC:Array" SOAP-ENC:arrayType="bus:option[]">)"
    R"(<item xsi:type="bus:runOptionInt"><value xsi:type="xsd:int">0</value>)"
    R"(<name xsi:type="bus:runOptionEnum">primaryWaitThreshold</name></item>)"
    R"(<item xsi:type="bus:runOptionInt"><value xsi:type="xsd:int">0</value>)"
    R"(<name xsi:type="bus:runOptionEnum">secondaryWaitThreshold</name></item></options>)"
    R"(</rns1:runSpecification>)";

constexpr std::string_view kRunReply =
    R"(<rns1:runSpecificationResponse xmlns:xsi="XSI-NS" xmlns:SOAP-ENC="SOAPENC-NS" xmlns:bus="RELAY-NS" xmlns:rns1="REPORT-NS">)"
    R"(<result xsi:type="bus:asynchReply">)"
    R"(<details xsi:type="SOAP-ENC:Array" SOAP-ENC:arrayType="bus:asynchDetail[2]">)"
    R"(<item xsi:type="bus:asynchDetailUnstructuredData"><data xsi:type="bus:xmlEncodedXML">)"
    R"(&lt;qzSOAPBody&gt;&lt;className&gt;$$className$$&lt;/className&gt;&lt;methodName&gt;)"
    R"($$methodName$$&lt;/methodName&gt;&lt;objectHandle&gt;$$objectHandle$$&lt;/objectHandle&gt;)"
    R"(&lt;numArguments&gt;$$numArguments$$&lt;/numArguments&gt;&lt;errorCode&gt;$$errorCode$$)"
    R"(&lt;/errorCode&gt;&lt;errorText&gt;$$errorText$$&lt;/errorText&gt;&lt;timeout&gt;$$timeout$$)"
    R"(&lt;/timeout&gt;&lt;asyncMode&gt;$$asyncMode$$&lt;/asyncMode&gt;&lt;timeInterval&gt;)"
    R"($$timeInterval$$&lt;/timeInterval&gt;&lt;/qzSOAPBody&gt;</data></item>)"
    R"(<item xsi:type="bus:asynchDetailParameterValues">)"
    R"(<bus:parameters xsi:type="SOAP-ENC:Array" SOAP-ENC:arrayType="bus:parameterValue[0]"/></item>)"
    R"(</details><primaryRequest xsi:type="bus:asynchRequest" xsi:nil="true"/>)"
    R"(<secondaryRequests xsi:type="SOAP-ENC:Array" SOAP-ENC:arrayType="bus:asynchSecondaryRequest[0]"/>)"
    R"(<status xsi:type="bus:asynchReplyStatusEnum">conversationComplete</status></result>)"
    R"(</rns1:runSpecificationResponse>)";

constexpr std::string_view kTaskReply =
    R"(<ns2:runResponse xmlns:xsi="XSI-NS" xmlns:SOAP-ENC="SOAPENC-NS" xmlns:bus="RELAY-NS" xmlns:ns2="CONSOLE-NS">)"
    R"(<result xsi:type="bus:asynchReply"><primaryRequest xsi:type="bus:asynchRequest" xsi:nil="true"/>)"
    R"(<secondaryRequests xsi:type="SOAP-ENC:Array" SOAP-ENC:arrayType="bus:asynchSecondaryRequest[0]"/>)"
    R"(<status xsi:type="bus:asynchReplyStatusEnum">conversationComplete</status></result>)"
    R"(</ns2:runResponse>)";

constexpr std::string_view kFault =
    R"(<SOAP-ENV:Fault xmlns:SOAP-ENV="SOAPENV-NS"><faultcode>$$faultCode$$</faultcode><faultstring>)"
    R"($$faultString$$</faultstring><detail><bus:exception xmlns:bus="RELAY-NS"><severity>$$severity$$)"
    R"(</severity><errorCode>$$errorCode$$</errorCode><bus:message><nestingLevel>$$nestingLevel$$)"
    R"(</nestingLevel><messageString>$$messageString$$</messageString></bus:message></bus:exception>)"
    R"(</detail></SOAP-ENV:Fault>)";
// clang-format on

constexpr std::array<std::string_view, kFieldCount> kFieldNames = {
    "relayHeader", "SOAP-ENV:Body", "contextID", "passportID",   "numCookies",   "cookieValues",
    "cookieName",  "cookieValue",   "className", "methodName",   "keepAlive",    "objectHandle",
    "errorText",   "errorCode",     "timeout",   "asyncMode",    "timeInterval", "numArguments",
    "faultCode",   "faultString",   "severity",  "nestingLevel", "messageString"};

std::string withNamespaces(std::string_view raw, std::string_view host) {
  const auto own = [&](std::string_view path) { return "\"http://" + std::string(host) + std::string(path) + "\""; };
  std::string text(raw);
  replaceAll(text, "\"SOAPENV-NS\"", "\"http://schemas.xmlsoap.org/soap/envelope/\"");
  replaceAll(text, "\"SOAPENC-NS\"", "\"http://schemas.xmlsoap.org/soap/encoding/\"");
  replaceAll(text, "\"XSI-NS\"", "\"http://www.w3.org/2001/XMLSchema-instance\"");
  replaceAll(text, "\"XSD-NS\"", "\"http://www.w3.org/2001/XMLSchema\"");
  replaceAll(text, "\"RELAY-NS\"", own("/schemas/relay/3/"));
  replaceAll(text, "\"REPORT-NS\"", own("/schemas/reportService/1"));
  replaceAll(text, "\"CONSOLE-NS\"", own("/schemas/tesselAdministrationConsoleService/1"));
  return text;
}

std::optional<Field> fieldNamed(std::string_view name) {
  const auto found = std::ranges::find(kFieldNames, name);
  if (found == kFieldNames.end()) return std::nullopt;
  return static_cast<Field>(found - kFieldNames.begin());
}

using Value = std::pair<Field, std::string_view>;

/// A value that looks like part of a placeholder may be filled in turn by a later replacement.
bool mayHoldPlaceholder(std::string_view value) { return value.find("$$") != std::string_view::npos; }

bool mayHoldPlaceholder(const SessionFields& session) {
  return mayHoldPlaceholder(session.relayHeader) || mayHoldPlaceholder(session.passportId) ||
         mayHoldPlaceholder(session.contextId) || mayHoldPlaceholder(session.vtn);
}

bool mayHoldPlaceholder(const CallFields& call) {
  return mayHoldPlaceholder(call.className) || mayHoldPlaceholder(call.methodName) ||
         mayHoldPlaceholder(call.objectHandle) || mayHoldPlaceholder(call.errorText);
}

/// The rule that everything else must agree with: one replacement after the other over the whole text.
void replaceInOrder(std::string& text, std::span<const Value> values) {
  for (const auto& [field, value] : values) replaceAll(text, placeHolder(fieldName(field)), value);
}

/// A call's values in the order of their replacement.
std::array<Value, 10> callValues(const CallFields& call, const CallNumbers& numbers) {
  return {Value{Field::ClassName, call.className},
          {Field::MethodName, call.methodName},
          {Field::KeepAlive, call.keepAlive ? "1" : "0"},
          {Field::ObjectHandle, call.objectHandle},
          {Field::ErrorText, call.errorText},
          {Field::ErrorCode, numbers.errorCode.view()},
          {Field::Timeout, numbers.timeout.view()},
          {Field::AsyncMode, numbers.asyncMode.view()},
          {Field::TimeInterval, numbers.timeInterval.view()},
          {Field::NumArguments, numbers.numArguments.view()}};
}

/// What stands for each placeholder when none of the values can hold another: a text or a further template.
class Values {
 public:
  void set(Field field, std::string_view text) { slot(field) = {Kind::Text, text, nullptr}; }
  void set(Field field, const Template& nested) { slot(field) = {Kind::Nested, {}, &nested}; }
  void set(std::span<const Value> values) {
    for (const auto& [field, text] : values) set(field, text);
  }

  void fill(const Template& source, FilledText& out) const {
    for (const auto& piece : source.pieces()) {
      out.add(piece.literal);
      if (!piece.placeholder.empty()) fill(piece, out);
    }
  }

 private:
  enum class Kind { Missing, Text, Nested };
  struct Slot {
    Kind kind = Kind::Missing;
    std::string_view text;
    const Template* nested = nullptr;
  };

  Slot& slot(Field field) { return slots_[static_cast<std::size_t>(field)]; }

  void fill(const Template::Piece& piece, FilledText& out) const {
    const auto& slot = slots_[static_cast<std::size_t>(piece.field)];
    if (slot.kind == Kind::Nested)
      fill(*slot.nested, out);
    else
      out.add(slot.kind == Kind::Text ? slot.text : piece.placeholder);
  }

  std::array<Slot, kFieldCount> slots_;
};

void setSession(Values& values, const EnvelopeTemplates& templates, const SessionFields& session) {
  if (session.relayHeader.empty())
    values.set(Field::RelayHeader, templates.relayHeader);
  else
    values.set(Field::RelayHeader, session.relayHeader);
  values.set(Field::PassportId, session.passportId);
  values.set(Field::ContextId, session.contextId);
}

void setCookies(Values& values, const EnvelopeTemplates& templates, const SessionFields& session) {
  values.set(Field::NumCookies, session.vtn.empty() ? "0" : "1");
  if (session.vtn.empty()) {
    values.set(Field::CookieValues, std::string_view());
    return;
  }
  values.set(Field::CookieValues, templates.cookieItem);
  values.set(Field::CookieName, "VTN");
  values.set(Field::CookieValue, session.vtn);
}

/// Header and identity, common to calls and generic envelopes.
std::array<Value, 3> sessionValues(const EnvelopeTemplates& templates, const SessionFields& session) {
  return {Value{Field::RelayHeader, session.relayHeader.empty() ? templates.relayHeader.text() : session.relayHeader},
          {Field::PassportId, session.passportId},
          {Field::ContextId, session.contextId}};
}

}  // namespace

bool isSchemaHost(std::string_view host) {
  const auto fits = [](char c) {
    const char lower = toAsciiLower(c);
    return (lower >= 'a' && lower <= 'z') || isAsciiDigit(c) || c == '.' || c == '-' || c == '_' || c == ':';
  };
  return !host.empty() && host.size() <= 255 && std::ranges::all_of(host, fits);
}

std::string_view fieldName(Field field) { return kFieldNames[static_cast<std::size_t>(field)]; }

std::string placeHolder(std::string_view name) {
  std::string text;
  text.reserve(name.size() + 4);
  return text.append("$$").append(name).append("$$");
}

Template::Template(std::string text) : text_(std::move(text)) {
  const std::string_view all = text_;
  std::size_t done = 0;
  for (std::size_t from = all.find("$$"); from != std::string_view::npos; from = all.find("$$", done)) {
    const auto end = all.find("$$", from + 2);
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): a misspelt placeholder is raised at the first use
    const auto field = fieldNamed(all.substr(from + 2, end - from - 2)).value();
    pieces_.push_back({all.substr(done, from - done), all.substr(from, end + 2 - from), field});
    done = end + 2;
  }
  pieces_.push_back({all.substr(done), {}, {}});
}

EnvelopeTemplates::EnvelopeTemplates(std::string_view schemaHost)
    : host(schemaHost),
      request(withNamespaces(kRequest, host)),
      relayHeader(withNamespaces(kRelayHeader, host)),
      cookieItem(withNamespaces(kCookieItem, host)),
      runRequest(withNamespaces(kRunRequest, host)),
      runReply(withNamespaces(kRunReply, host)),
      taskReply(withNamespaces(kTaskReply, host)),
      fault(withNamespaces(kFault, host)) {}

void FilledText::copyTo(char* target) const {
  for (std::size_t i = 0; i < count_; ++i) target = std::ranges::copy(pieces_[i], target).out;
}

std::string FilledText::str() const {
  std::string text(size_, '\0');
  copyTo(text.data());
  return text;
}

void FilledText::add(std::string_view piece) {
  pieces_.at(count_++) = piece;
  size_ += piece.size();
}

void FilledText::adopt(std::string text) {
  owned_ = std::move(text);
  count_ = 0;
  size_ = 0;
  add(owned_);
}

CallNumbers::CallNumbers(const CallFields& call)
    : errorCode(call.errorCode),
      timeout(call.timeout),
      asyncMode(call.asyncMode),
      timeInterval(call.timeInterval),
      numArguments(call.numArguments) {}

void fillRequest(const EnvelopeTemplates& templates, const SessionFields& session, const CallFields& call,
                 Filling& out) {
  if (mayHoldPlaceholder(session) || mayHoldPlaceholder(call)) {
    out.text.adopt(fillEnvelope(templates, {}, session, fillBody(templates.runRequest.text(), call)));
    return;
  }
  Values values;
  setSession(values, templates, session);
  setCookies(values, templates, session);
  values.set(Field::Body, templates.runRequest);
  values.set(callValues(call, out.numbers));
  values.fill(templates.request, out.text);
}

void fillReplyBody(const EnvelopeTemplates& templates, const CallFields& call, Filling& out) {
  if (mayHoldPlaceholder(call)) {
    out.text.adopt(fillBody(templates.runReply.text(), call));
    return;
  }
  Values values;
  values.set(callValues(call, out.numbers));
  values.fill(templates.runReply, out.text);
}

std::string fillFault(const EnvelopeTemplates& templates, const FaultFields& fault) {
  // The message comes last, so whatever it holds is not filled again.
  const DecimalText code(fault.code);
  const DecimalText subCode(fault.subCode);
  Values values;
  values.set(Field::FaultCode, code.view());
  values.set(Field::FaultString, "qz exception");
  values.set(Field::Severity, "error");
  values.set(Field::ErrorCode, subCode.view());
  values.set(Field::NestingLevel, "0");
  values.set(Field::MessageString, fault.message);
  FilledText text;
  values.fill(templates.fault, text);
  return text.str();
}

void fillGeneric(const EnvelopeTemplates& templates, const SessionFields& session, std::string_view body,
                 FilledText& out) {
  const SessionFields fresh{{}, session.passportId, session.contextId, {}};
  if (mayHoldPlaceholder(fresh)) {
    std::string text = templates.request.text();
    replaceInOrder(text, sessionValues(templates, fresh));
    replaceInOrder(text, std::array{Value{Field::Body, body}});
    out.adopt(std::move(text));
    return;
  }
  Values values;
  setSession(values, templates, fresh);
  values.set(Field::Body, body);
  values.fill(templates.request, out);
}

std::string fillBody(std::string_view bodyTemplate, const CallFields& call) {
  const CallNumbers numbers(call);
  std::string text(bodyTemplate);
  replaceInOrder(text, callValues(call, numbers));
  return text;
}

std::string fillEnvelope(const EnvelopeTemplates& templates, std::string_view envelopeTemplate,
                         const SessionFields& session, std::string_view body) {
  std::string text(envelopeTemplate.empty() ? templates.request.text() : envelopeTemplate);
  if (!envelopeTemplate.empty()) std::ranges::replace(text, '\'', '"');
  replaceInOrder(text, sessionValues(templates, session));
  std::string items;
  const bool hasCookie = appendCookieItem(templates, "VTN", session.vtn, items);
  replaceInOrder(text, std::array{Value{Field::NumCookies, hasCookie ? "1" : "0"}, Value{Field::CookieValues, items},
                                  Value{Field::Body, body}});
  return text;
}

std::string wrapInEnvelope(const EnvelopeTemplates& templates, std::string_view header, std::string_view body) {
  Values values;
  values.set(Field::RelayHeader, header);
  values.set(Field::Body, body);
  FilledText text;
  values.fill(templates.request, text);
  return text.str();
}

bool appendCookieItem(const EnvelopeTemplates& templates, std::string_view name, std::string_view value,
                      std::string& items) {
  if (value.empty()) return false;
  std::string item = templates.cookieItem.text();
  replaceInOrder(item, std::array{Value{Field::CookieName, name}, Value{Field::CookieValue, value}});
  items += item;
  return true;
}

std::string nodeXml(std::string_view name, std::string_view value) {
  std::string text;
  text.reserve(2 * name.size() + value.size() + 5);
  return text.append("<").append(name).append(">").append(value).append("</").append(name).append(">");
}

}  // namespace qz::wire
