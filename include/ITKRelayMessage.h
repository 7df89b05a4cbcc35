/// @file
/// The message codec of the toolkit: calls to envelopes and replies to calls.
#pragma once

#include "ITKString.h"
#include "QzExport.h"

class ITKBuffer;
class ITKRTT;
class ITKSOAP;

/// @addtogroup toolkit
/// @{

/// Packs a call into an envelope and an argument stream, and unpacks the reply; the `Stub` operations are the server's
/// half of the same format.
///
/// The object has no state: one can serve many calls, and different calls may be packed on different threads. Values are
/// put into an envelope as they are; a value that needs XML escaping must come escaped. Text arguments may be null,
/// which means "". No operation lets an exception out: it is logged at level 1 and the operation returns 0, false or
/// "". Integer results are 1 for success and 0 for failure.
class QZSOAP_API ITKRelayMessage {
 public:
  /// Packs a request.
  /// @param call read only
  /// @param envelope becomes DT_TEXT with the whole envelope; its length does not count a terminator
  /// @param arguments receives the parameter list as a stream, compressed as the call says
  /// @return what packing the arguments returns; the envelope is written in any case
  int packOutProxy(const ITKSOAP& call, ITKBuffer& envelope, ITKBuffer& arguments) noexcept;
  /// Unpacks a reply into `call`: relay header, token, fields, error and output parameters.
  /// @param envelope the reply's envelope
  /// @param arguments the reply's attachment: output parameters, or the error's details when the reply holds an error;
  ///   null or empty when there was none
  /// @param call receives the reply
  /// @return 0 when the envelope has no header or body, does not parse, or holds a fault ("Failed to extract response
  ///   information" is logged; the call's error has the reason, its other fields are unchanged), and when the attachment
  ///   cannot be read
  int unpackInProxy(const ITKBuffer& envelope, const ITKBuffer* arguments, ITKSOAP& call) noexcept;
  /// Packs a reply: its body alone, without an envelope, and the error's details or else the parameters.
  int packOutStub(ITKSOAP& call, ITKBuffer& body, ITKBuffer& arguments) noexcept;
  /// Unpacks a request: the fields of its body, and the parameters unless `arguments` is empty.
  int unpackInStub(const char* body, const ITKBuffer& arguments, ITKSOAP& call) noexcept;
  /// Wraps any body in an envelope with the token's passport and context. The header's cookie placeholders stay
  /// unfilled.
  /// @param token gives passport and context
  /// @param body the content of the SOAP body, as it is
  /// @param out becomes DT_TEXT with the envelope
  int buildGenericSOAPEnv(const ITKRTT& token, const char* body, ITKBuffer& out) noexcept;

  /// The request envelope before filling. Lives as long as the library is loaded.
  const char* GetDefaultRequestTemplate() noexcept;
  /// "$$" + name + "$$".
  ITKString BuildPlaceHolder(const char* name) noexcept;
  /// Sets `out` to "<name>value</name>" and returns its text.
  const char* BuildNodeXml(const char* name, const char* value, ITKString& out) noexcept;
  /// Fills a whole request envelope into `out` and returns its text.
  /// @param call read only
  /// @param out receives the envelope
  /// @param bodyTemplate template of the body
  /// @param envelopeTemplate own envelope, in which every apostrophe is turned into a double quote; null or empty means
  ///   the default one
  const char* BuildSOAPEnv(const ITKSOAP& call, ITKString& out, const char* bodyTemplate,
                           const char* envelopeTemplate = nullptr) noexcept;
  /// Fills the fields of `call` into `bodyTemplate` and returns the text of `out`.
  const char* BuildSOAPBodyXml(const ITKSOAP& call, ITKString& out, const char* bodyTemplate) noexcept;
  /// Appends a cookie item to `items` and returns true; false, nothing appended, when `value` is null or empty.
  bool checkAddCookie(const char* name, const char* value, ITKString& items) noexcept;

  /// Reads everything of a reply but its attachment into `call`; all or nothing, except for the call's error.
  int Extract(const ITKBuffer& envelope, ITKSOAP& call) noexcept;
  /// Cuts out the content of `SOAP-ENV:Header` and `SOAP-ENV:Body`. 0 unless both are there; a missing one is empty and
  /// logged as by ExtractXmlNodeValue().
  int ExtractHdrBodyXml(const ITKBuffer& envelope, ITKString& header, ITKString& body) noexcept;
  /// Parses the envelope and reads its relay header into `call` (ITKXmlDom::getRELAYInfo()).
  int ExtractHdrInfo(const ITKBuffer& envelope, ITKSOAP& call) noexcept;
  /// Reads the fields of the escaped inner body in `bodyText` into `call`; a missing one counts as empty or 0. The error
  /// text is read only with an error code that is not 0.
  int ExtractDataMembers(const char* bodyText, ITKSOAP& call) noexcept;

  /// Index just behind the first start tag that begins with `name`, at or behind `start`; -1 when there is none.
  /// @param text the text to search
  /// @param start index to begin at; a negative one finds nothing
  /// @param name a tag whose name begins so is found too
  /// @param escaped true: tags are written "&lt;name&gt;"
  long FindBeginTag(const char* text, long start, const char* name, bool escaped) noexcept;
  /// Index at which the first end tag of `name` begins, at or behind `start`; -1 when there is none.
  long FindEndTag(const char* text, long start, const char* name, bool escaped) noexcept;
  /// Copies what stands between the tags of `name` into `out`, as it is, and returns its text. Null, `out` empty, when
  /// a tag is missing, which is logged at level 2 ("No open tag for node %s", "No close tag for node %s").
  const char* ExtractXmlNodeValue(const char* text, const char* name, ITKString& out, bool escaped) noexcept;
  /// The same as a decimal number: optional sign and digits, the rest ignored, no digits 0; `defaultValue` when missing.
  long ExtractXmlNodeValueLong(const char* text, const char* name, long defaultValue, bool escaped) noexcept;

  /// ExtractXmlNodeValue() of unescaped tags into an array.
  /// @param xml the text to search
  /// @param name of the element
  /// @param out receives the value and its terminator; "" on failure
  /// @param size size of `out` in characters
  /// @return 0 when the value is missing, or when it does not fit ("Insufficient buffer size" is logged)
  int extractXmlNodeValue(const char* xml, const char* name, char* out, long size) noexcept;
  /// The same into a buffer, which becomes DT_TEXT; empty when the value is missing.
  int extractXmlNodeValue(const char* xml, const char* name, ITKBuffer& out) noexcept;
  /// As ExtractXmlNodeValueLong().
  long extractXmlNodeValueLong(const char* xml, const char* name, long defaultValue, bool escaped) noexcept;
};

/// @}
