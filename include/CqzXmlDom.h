/// @file
/// Questions to a reply as an XML document, for the flat face.
#pragma once

#include "CqzBuffer.h"
#include "CqzBufferList.h"

class CRpcSOAP;
class CqzSOAPError;
struct IXMLDOMDocument;
struct IXMLDOMNode;

/// @addtogroup flat
/// @{

/// One parsed XML document and the fixed questions that the library asks of a reply.
///
/// Made by createXmlDomFromText() or createXmlDomFromFile(), given back to releaseXmlDom(), all on one thread; COM is
/// initialised there for as long as the object lives. Texts go in and come out as UTF-8. Elements are looked for by
/// local name, except where a comment names a path. A text with a document type declaration, or nested more than 256
/// elements deep, is refused before the parser sees it; nothing outside the text is ever fetched. Every failure is
/// reported at level 1 with its reason and makes the operation return false (or null, or ""). Text arguments may be
/// null, which means ""; null for an object that is to be filled or read is reported as "NULL pointer passed in". No
/// operation throws.
class CqzXmlDom {
 public:
  CqzXmlDom(const CqzXmlDom&) = delete;
  CqzXmlDom& operator=(const CqzXmlDom&) = delete;
  virtual ~CqzXmlDom() = default;

  /// Loads another reply and tells an ordinary one from a fault.
  /// @param text the envelope
  /// @param error when the text is no SOAP envelope, or its body is a fault, the code and text of that are set here:
  ///   E_LOGON when the fault asks for a logon, otherwise E_FAULT with the fault's texts, each in brackets
  /// @return true when an ordinary reply was loaded; after a fault the document stays loaded and can be asked
  virtual bool createFromText(const char* text, CqzSOAPError* error) noexcept = 0;
  /// Loads another SOAP envelope, whatever its body holds. False also for XML without a `SOAP-ENV:Envelope`; then
  /// nothing is loaded.
  virtual bool createFromText(const char* text) noexcept = 0;
  /// The same from a file in UTF-8, or in UTF-16 with a byte order mark.
  virtual bool createFromFile(const char* path) noexcept = 0;
  /// The parser's document, still owned by this object; empty after a text that could not be loaded.
  virtual IXMLDOMDocument* getXmlDom() noexcept = 0;

  /// Puts the text of the document's first element `name` into `out` (DT_TEXT). False, nothing reported and `out`
  /// unchanged, when there is none.
  virtual bool getElementValue(const char* name, CqzBuffer* out) noexcept = 0;
  /// Reads the reply's relay header into `call`: the header's XML text, passport id, firewall context, session cookies
  /// and user preferences. An empty passport id or context leaves the call's own. False without a relay header or
  /// without a passport element; the header's text is then stored if there was one.
  virtual bool getRELAYInfo(CRpcSOAP* call) noexcept = 0;
  /// True when `bus:relayHeader/ZOT/exception/errorCodeString` of the header is exactly "zotAuthUserRecoverable".
  virtual bool isLogonRequired() noexcept = 0;
  /// Reads a logon request (`ZOT//promptInfo` of the relay header). What is there is delivered even when another part
  /// is missing and the result therefore false.
  /// @param caption receives the captions, separated by line ends (DT_TEXT)
  /// @param names, types, values receive one text per display object; emptied first
  /// @param options receives the text of each prompt option; emptied first
  virtual bool getPromptInfo(CqzBuffer* caption, CqzBufferList* names, CqzBufferList* types, CqzBufferList* values,
                             CqzBufferList* options) noexcept = 0;

  /// Appends to `out` each `faultstring`, then each `messageString`, then each `errorMessage` of `text`, in brackets.
  /// The loaded document stays.
  /// @return the text of `out` when `text` is XML, with or without such elements; "", nothing appended, when it is not
  virtual const char* extractRELAYFaultText(const char* text, CqzBuffer* out) noexcept = 0;
  /// Loads a relay header that was cut out of an envelope and reads it as getRELAYInfo().
  virtual bool parseRELAYInfoFromRELAYHeaderXml(const char* text, CRpcSOAP* call) noexcept = 0;
  /// Reads a `qzSOAPBody` that was cut out of an envelope, escaped or not, into the fields of `call`. False when there
  /// is no such element.
  virtual bool parseSOAPInfoFromQzBodyXml(const char* text, CRpcSOAP* call) noexcept = 0;

  /// Appends name and connection string of each data-source connection of a query reply to `records`, as two texts.
  /// @param reply the envelope of the query's reply
  /// @param input the wanted connection's name as text; null or empty: all connections
  /// @param records owns what is appended
  /// @return true when `reply` is a query reply, even one without a wanted connection
  virtual bool parseDSConnectionInfo(const CqzBuffer* reply, const CqzBuffer* input,
                                     CqzBufferList* records) noexcept = 0;
  /// Reads user name and encrypted password of a data-source sign-on record into DT_TEXT buffers.
  virtual bool parseDSCredential(const CqzBuffer* reply, CqzBuffer* user, CqzBuffer* password) noexcept = 0;
  /// The first child element of `parent` whose name, or local name, is `name`; the caller releases it. Null, nothing
  /// reported, when there is none.
  virtual IXMLDOMNode* getChildNode(IXMLDOMNode* parent, const char* name) noexcept = 0;

 protected:
  CqzXmlDom() = default;
};

extern "C" {
/// A new object with a loaded reply, as CqzXmlDom::createFromText() loads it: with an error object a fault counts as a
/// failure, without one it does not.
/// @return null when the reply cannot be loaded, or is a fault and `error` is not null; the reason is reported, and in
///   `error`
QZSOAP_API CqzXmlDom* __cdecl createXmlDomFromText(const char* text, CqzSOAPError* error = nullptr);
/// A new object with a reply loaded from a file, as CqzXmlDom::createFromFile() loads it; null when that fails.
QZSOAP_API CqzXmlDom* __cdecl createXmlDomFromFile(const char* path);
/// Deletes an object; null is allowed.
QZSOAP_API void __cdecl releaseXmlDom(CqzXmlDom* dom);
}

/// @}
