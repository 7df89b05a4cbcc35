/// @file
/// The message codec of the flat face: calls to envelopes and replies to calls.
#pragma once

#include "CqzBuffer.h"
#include "CqzBufferList.h"

class CRpcSOAP;
class ITKRTT;
struct IXMLDOMDocument;

/// @addtogroup flat
/// @{

/// Packs a call into an envelope and an argument stream, and unpacks the reply; the `Stub` operations are the server's
/// half of the same format.
///
/// Made by rpcSOAP_CreateRelayMessage(), given back to rpcSOAP_ReleaseRelayMessage(). The object has no state: one can
/// serve many calls, and different calls may be packed on different threads. Values are put into an envelope as they
/// are; a value that needs XML escaping must come escaped. Text arguments may be null, which means "". Pointers to
/// objects must not be null unless it is said that they may: that is reported as "NULL pointer passed in". No operation
/// throws, except packOutStubTask(): a failure is reported to the log before 0, false, null or "" is returned, an
/// element that is missing at level 2 only. Integer results are 1 for success and 0 for failure. Buffers that receive
/// text become DT_TEXT; a returned text is the buffer's and lives until that changes.
class CqzRelayMessage {
 public:
  virtual ~CqzRelayMessage() = default;

  /// The request envelope before filling. Lives as long as the library is loaded.
  virtual const char* GetDefaultRequestTemplate() noexcept = 0;
  /// Sets `out` to "$$" + name + "$$" and returns its text.
  virtual const char* BuildPlaceHolder(const char* name, CqzBuffer* out) noexcept = 0;
  /// Sets `out` to "<name>value</name>" and returns its text.
  virtual const char* BuildNodeXml(const char* name, const char* value, CqzBuffer* out) noexcept = 0;

  /// Packs a request.
  /// @param call read only
  /// @param envelope becomes DT_TEXT with the whole envelope; its length does not count a terminator
  /// @param arguments receives the parameter list as a stream, compressed as the call says
  /// @return what packing the arguments returns; the envelope is written in any case
  virtual int packOutProxy(const CRpcSOAP* call, CqzBuffer* envelope, CqzBuffer* arguments) noexcept = 0;
  /// Fills a whole request envelope into `out` and returns its text.
  /// @param call read only
  /// @param out receives the envelope
  /// @param bodyTemplate template of the body
  /// @param envelopeTemplate own envelope, in which every apostrophe is turned into a double quote; null or empty means
  ///   the default one
  virtual const char* BuildSOAPEnv(const CRpcSOAP* call, CqzBuffer* out, const char* bodyTemplate,
                                   const char* envelopeTemplate = nullptr) noexcept = 0;
  /// Fills the fields of `call` into `bodyTemplate` and returns the text of `out`.
  virtual const char* BuildSOAPBodyXml(const CRpcSOAP* call, CqzBuffer* out, const char* bodyTemplate) noexcept = 0;
  /// Appends a cookie item to `items` and returns true; false, nothing appended, when `value` is null or empty.
  virtual bool checkAddCookie(const char* name, const char* value, CqzBuffer* items) noexcept = 0;
  /// Wraps any body in an envelope with the token's passport and context. The header's cookie placeholders stay
  /// unfilled.
  virtual int buildGenericSOAPEnv(const ITKRTT* token, const char* body, CqzBuffer* out) noexcept = 0;

  /// Unpacks a reply into `call`: relay header, token, fields, arguments of the body, error and output parameters.
  /// @param envelope the reply's envelope
  /// @param arguments the reply's attachment: output parameters, or the error's details when the reply holds an error;
  ///   null or empty when there was none
  /// @param call receives the reply
  /// @return 0 when the envelope has no header or body, does not parse, holds a fault, or has no inner body ("Failed to
  ///   extract response information" is reported; the call's error has the reason, its other fields are unchanged), and
  ///   when the attachment cannot be read
  virtual int unpackInProxy(const CqzBuffer* envelope, const CqzBuffer* arguments, CRpcSOAP* call) noexcept = 0;
  /// Reads everything of a reply but its attachment into `call`; all or nothing, unless memory is short, except for the
  /// call's error.
  virtual int Extract(const CqzBuffer* envelope, CRpcSOAP* call) noexcept = 0;
  /// Cuts out the content of `SOAP-ENV:Header` and `SOAP-ENV:Body`. 0 unless both are there; a missing one is empty and
  /// reported as by ExtractXmlNodeValue().
  virtual int ExtractHdrBodyXml(const CqzBuffer* envelope, CqzBuffer* header, CqzBuffer* body) noexcept = 0;
  /// Parses the envelope and reads its relay header into `call` (CqzXmlDom::getRELAYInfo()).
  virtual int ExtractHdrInfo(const CqzBuffer* envelope, CRpcSOAP* call) noexcept = 0;
  /// Reads the escaped inner body in `bodyText` as a document into `call`; a missing field counts as empty or 0, and
  /// each `argument` becomes a parameter of the type that it names. The error text is read only with an error code that
  /// is not 0. 0 when there is no inner body, it is no XML, or memory is short for an argument.
  virtual int ExtractDataMembers(const char* bodyText, CRpcSOAP* call) noexcept = 0;

  /// Index just behind the first start tag that begins with `name`, at or behind `start`; -1 when there is none.
  /// @param text the text to search
  /// @param start index to begin at; a negative one finds nothing
  /// @param name a tag whose name begins so is found too
  /// @param escaped true: tags are written "&lt;name&gt;"
  virtual long FindBeginTag(const char* text, long start, const char* name, bool escaped) noexcept = 0;
  /// Index at which the first end tag of `name` begins, at or behind `start`; -1 when there is none.
  virtual long FindEndTag(const char* text, long start, const char* name, bool escaped) noexcept = 0;
  /// Copies what stands between the tags of `name` into `out`, as it is, and returns its text. Null, `out` empty, when
  /// a tag is missing, which is reported at level 2 ("No open tag for node %s", "No close tag for node %s").
  virtual const char* ExtractXmlNodeValue(const char* text, const char* name, CqzBuffer* out,
                                          bool escaped) noexcept = 0;
  /// The same as a decimal number: optional sign and digits, the rest ignored, no digits 0; `defaultValue` when
  /// missing.
  virtual long ExtractXmlNodeValueLong(const char* text, const char* name, long defaultValue,
                                       bool escaped) noexcept = 0;
  /// ExtractXmlNodeValue() of unescaped tags into an array.
  /// @param xml the text to search
  /// @param name of the element
  /// @param out receives the value and its terminator; "" on failure
  /// @param size size of `out` in characters
  /// @return 0 when the value is missing, or when it does not fit ("Insufficient buffer size" is reported)
  virtual int extractXmlNodeValue(const char* xml, const char* name, char* out, long size) noexcept = 0;
  /// The same into a buffer; empty when the value is missing.
  virtual int extractXmlNodeValue(const char* xml, const char* name, CqzBuffer* out) noexcept = 0;
  /// As ExtractXmlNodeValueLong().
  virtual long extractXmlNodeValueLong(const char* xml, const char* name, long defaultValue, bool escaped) noexcept = 0;

  /// Puts the text of the document's first element `name` into `out`; 0, `out` then empty, when there is none.
  virtual int extractXmlNodeValue(IXMLDOMDocument* document, const char* name, CqzBuffer* out) noexcept = 0;
  /// That text as a decimal number; `defaultValue` when there is no such element.
  virtual long extractXmlNodeValueLong(IXMLDOMDocument* document, const char* name, long defaultValue) noexcept = 0;
  /// Appends one buffer to `list` for each element `name` of the document, in its order: a number of the type that its
  /// attribute `xsi:type` names (int, short, byte, float, double), otherwise the text in UTF-8. 0 when memory is short;
  /// what was appended by then stays.
  virtual int extractXmlNodeValueList(IXMLDOMDocument* document, const char* name, CqzBufferList* list) noexcept = 0;

  /// Packs a reply: its body alone, without an envelope, and the error's details or else the parameters.
  virtual int packOutStub(CRpcSOAP* call, CqzBuffer* body, CqzBuffer* arguments) noexcept = 0;
  /// Unpacks a request: the fields of its body, and the parameters unless `arguments` is null or empty.
  virtual int unpackInStub(const char* body, const CqzBuffer* arguments, CRpcSOAP* call) noexcept = 0;
  /// Packs the reply to a task into `body`: a fault when the call holds an error, otherwise the reply of success.
  /// @throws qz::Err "Soap object is required" or "Soap buffer is required" for null. Code outside the library cannot
  ///   catch it: its process ends.
  virtual int packOutStubTask(const CRpcSOAP* call, CqzBuffer* body) = 0;
  /// The body of a task's reply of success.
  virtual int buildSoapBodyTask(CqzBuffer* body) noexcept = 0;
  /// The body of a task's fault: code, detail code and text of the call's error.
  virtual int buildSoapBodyTaskFault(const CRpcSOAP* call, CqzBuffer* body) noexcept = 0;

 protected:
  CqzRelayMessage() = default;
  /// Copies nothing: there is no state.
  CqzRelayMessage(const CqzRelayMessage&) = default;
  /// Copies nothing: there is no state.
  CqzRelayMessage& operator=(const CqzRelayMessage&) = default;
};

extern "C" {
/// A new codec object; null when memory is short.
QZSOAP_API CqzRelayMessage* __cdecl rpcSOAP_CreateRelayMessage();
/// Deletes a codec object; null is allowed.
QZSOAP_API void __cdecl rpcSOAP_ReleaseRelayMessage(CqzRelayMessage* message);
}

/// @}
