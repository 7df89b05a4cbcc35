/// @file
/// Questions to a reply as an XML document.
#pragma once

#include <memory>
#include <source_location>

#include "QzExport.h"

class ITKBuffer;
class ITKBufferList;
class ITKSOAP;
class ITKSOAPError;
struct IXMLDOMDocument;
struct IXMLDOMNode;

/// @addtogroup toolkit
/// @{

/// One parsed XML document and the fixed questions that the library asks of a reply.
///
/// Made, loaded, asked and destroyed on one thread; COM is initialised there for as long as the object lives. Texts go
/// in and come out as UTF-8. Elements are looked for by local name, except where a comment names a path. A text with a
/// document type declaration, or nested more than 256 elements deep, is refused before the parser sees it; nothing
/// outside the text is ever fetched. Every failure is logged at level 1 with its reason and makes the operation return
/// false (or null); a question to an object without a document fails. Text arguments may be null, which means "".
class QZSOAP_API ITKXmlDom {
 public:
  /// Initialises COM on the calling thread; nothing is loaded yet.
  ITKXmlDom();
  ITKXmlDom(const ITKXmlDom&) = delete;
  ITKXmlDom& operator=(const ITKXmlDom&) = delete;
  /// As Destroy().
  ~ITKXmlDom();

  /// Releases the document, then COM. The object can only be destroyed after that.
  void Destroy() noexcept;

  /// Loads a reply and tells an ordinary one from a fault.
  /// @param text the envelope
  /// @param error when the text is no SOAP envelope, or its body is a fault, the code and text of that are set here:
  ///   E_LOGON when the fault asks for a logon, otherwise E_FAULT with the fault's texts, each in brackets
  /// @return true when an ordinary reply was loaded; after a fault the document stays loaded and can be asked
  bool createFromText(const char* text, ITKSOAPError& error) noexcept;
  /// Loads a SOAP envelope, whatever its body holds. False also for XML without a `SOAP-ENV:Envelope`; then nothing is
  /// loaded.
  bool createFromText(const char* text) noexcept;
  /// The same from a file in UTF-8, or in UTF-16 with a byte order mark.
  bool createFromFile(const char* path) noexcept;
  /// The parser's document, still owned by this object; null when nothing was ever loaded or parsed.
  IXMLDOMDocument* getXmlDom() noexcept;

  /// Puts the text of the document's first element `name` into `out` (DT_TEXT, terminated). False, nothing logged and
  /// `out` unchanged, when there is none.
  bool getElementValue(const char* name, ITKBuffer& out) noexcept;
  /// Reads the reply's relay header into `call`: the header's XML text, passport id, firewall context, session cookies
  /// and user preferences. An empty passport id or context leaves the call's own. False without a relay header or
  /// without a passport element; the header's text is then stored if there was one.
  bool getRELAYInfo(ITKSOAP& call) noexcept;
  /// True when `bus:relayHeader/ZOT/exception/errorCodeString` of the header is exactly "zotAuthUserRecoverable".
  bool isLogonRequired() noexcept;
  /// Reads a logon request (`ZOT//promptInfo` of the relay header). What is there is delivered even when another part
  /// is missing and the result therefore false.
  /// @param caption receives the captions, separated by line ends (DT_TEXT)
  /// @param names, types, values receive one text per display object; emptied first
  /// @param options receives the text of each prompt option; emptied first
  bool getPromptInfo(ITKBuffer& caption, ITKBufferList& names, ITKBufferList& types, ITKBufferList& values,
                     ITKBufferList& options) noexcept;

  /// Appends to `out` each `faultstring`, then each `messageString`, then each `errorMessage` of `text`, in brackets.
  /// True when the text is XML, with or without such elements; false, nothing appended, when it is not.
  static bool extractRELAYFaultText(const char* text, ITKBuffer& out) noexcept;
  /// Loads a relay header that was cut out of an envelope and reads it as getRELAYInfo().
  bool parseRELAYInfoFromRELAYHeaderXml(const char* text, ITKSOAP& call) noexcept;
  /// Reads a `qzSOAPBody` that was cut out of an envelope, escaped or not, into the fields of `call`. False when there
  /// is no such element.
  bool parseSOAPInfoFromQzBodyXml(const char* text, ITKSOAP& call) noexcept;

  /// Appends name and connection string of each data-source connection of a query reply to `records`, as two texts.
  /// @param reply the envelope of the query's reply
  /// @param input the wanted connection's name as text; empty: all connections
  /// @param records owns what is appended
  /// @return true when `reply` is a query reply, even one without a wanted connection
  bool parseDSConnectionInfo(const ITKBuffer& reply, const ITKBuffer& input, ITKBufferList& records) noexcept;
  /// Reads user name and encrypted password of a data-source sign-on record into DT_TEXT buffers.
  bool parseDSCredential(const ITKBuffer& reply, ITKBuffer& user, ITKBuffer& password) noexcept;

 protected:
  /// The first child element of `parent` whose name, or local name, is `name`; the caller releases it. Null when there
  /// is none, or when `parent` or `name` is null.
  IXMLDOMNode* getChildNode(IXMLDOMNode* parent, const char* name) noexcept;

 private:
  struct Impl;

  template <class Operation>
  bool run(Operation&& operation, std::source_location at = std::source_location::current()) noexcept;

  std::unique_ptr<Impl> impl_;
};

/// @}
