/// @file
/// The toolkit's HTTP client: one call to a gateway and the steps it is made of.
#pragma once

#include <memory>

#include "ITKBuffer.h"
#include "ITKRTT.h"
#include "ITKString.h"
#include "QzExport.h"
#include "QzProgress.h"
#include "QzTypes.h"

class ITKBufferList;
class ITKSOAP;
class ITKSOAPError;
class XHttpFile;
class XInternetFile;

/// @addtogroup toolkit
/// @{

/// Posts packed calls to a gateway and reads the replies.
///
/// Connections are opened for each request and closed before the operation returns. Texts may be null, which means "".
/// No operation lets an exception out: it is logged at level 1 and the operation returns its failure value. Whatever an
/// operation reports as failed has been logged at level 1. An object is used by one thread at a time.
class QZSOAP_API ITKhttpClientHelper {
 public:
  /// @param dumpFile path of a file that is created when missing and to whose end everything sent and received is
  ///   written; null or empty: no dump. A file that cannot be opened or written to is ignored.
  /// @param token copied
  /// @param reserved kept, without effect
  ITKhttpClientHelper(const char* dumpFile, const ITKRTT& token, int reserved) noexcept;
  ITKhttpClientHelper(const ITKhttpClientHelper&) = delete;
  ITKhttpClientHelper& operator=(const ITKhttpClientHelper&) = delete;

  /// Makes one remote call; one whose async mode is not 0 as SendRequestAsync() does.
  ///
  /// Waits until the gateway has answered or broken off. A connection may take five minutes to open; how long a gateway
  /// may then stay silent is the system's receive time-out (under Wine nothing but the gateway ends the wait).
  /// @param in the request, not changed; may be the same object as `out`
  /// @param out receives output arguments, error, and the session: the token of `in` with what the reply added to it.
  ///   Its former error is dropped, and as soon as there is a reply its former arguments are too.
  /// @return 0 for success, the server's error number, or a qzErrorCode:
  ///   - E_PROXY when packing, sending or reading fails, and when a pointer is null ("NULL pointer passed in")
  ///   - E_HTTP for URLs, connections and statuses; a status is the sub-code
  ///   - E_LOGON when the server or an access manager before it asks for a logon
  ///   - E_FAULT for any other fault
  ///   - E_TIMEOUT for a conversation whose time limit has passed
  virtual long invoke(const ITKSOAP* in, ITKSOAP* out) noexcept;
  /// Closes the dump file.
  virtual ~ITKhttpClientHelper();

  /// Holds a conversation: asks the server again, with what it answered, until it says that it has finished.
  ///
  /// Every request goes to the SOAP action of `in` with ".session" behind it and tells the time that is left, in
  /// milliseconds; the server does the waiting. When the time limit of `in` has passed, as it has at once when it is 0,
  /// one last request asks the server to cancel. A negative limit asks for that in the first request.
  /// @param in the request, not changed; may be the same object as `out`. Its async mode does not matter.
  /// @param out receives output arguments, error and session of the last reply, as from invoke()
  /// @return as invoke(); E_TIMEOUT ("Client side timeout. Operation aborted.") when the server has not finished even
  ///   after the request to cancel
  long SendRequestAsync(const ITKSOAP* in, ITKSOAP* out) noexcept;

  /// Says who is told how far a conversation has come.
  /// @param handler called on the thread of the conversation after each reply that does not end it; null: nobody
  /// @param context handed to it
  void setProgressHandler(qzProgressHandler handler, void* context) noexcept;

  /// Posts one packed message and reads the reply, waiting as invoke() does.
  /// @param url http: or https: URL. With a line break in it or in `soapAction`, nothing is sent: E_PROXY.
  /// @param soapAction null means ""
  /// @param request the envelope's text
  /// @param attachment argument stream, sent as a second part; null: none. An empty one fails with E_PROXY.
  /// @param response receives the reply's envelope; empty after a failure, like the next one
  /// @param responseAttachment receives the reply's argument stream, empty when it has none; null: dropped
  /// @param token its cookies and HTTP credentials are sent; takes those of the reply
  /// @param error receives code and text of a failure
  /// @return the code of `error`, which success leaves as it was
  long SendRequest(const char* url, const char* soapAction, const ITKBuffer& request, const ITKBuffer* attachment,
                   ITKBuffer& response, ITKBuffer* responseAttachment, ITKRTT& token, ITKSOAPError& error) noexcept;

  /// Makes the request that SendRequest() would send, and sends nothing.
  /// @param soapAction null means ""
  /// @param request the envelope's text
  /// @param attachment argument stream, a second part of the body; null: none. An empty one fails.
  /// @param token its passport, if it has one, becomes a last line that sets two cookies: passport and context
  /// @param headerLines receives the header lines in place of what it held, each with its CR LF
  /// @param body receives the body; becomes DT_BINARY
  /// @param error receives code and text of a failure
  /// @return E_OK, or E_PROXY ("Failed to build multipart messages", or a text about a line break in `soapAction`)
  long LoadTestSend(const char* soapAction, const ITKBuffer& request, const ITKBuffer* attachment, const ITKRTT& token,
                    ITKBufferList& headerLines, ITKBuffer& body, ITKSOAPError& error) noexcept;

  /// Posts a content-manager request as it is and reads the reply, waiting as invoke() does. Statuses from 200 to 206
  /// and 500 are read.
  /// @param request the envelope's text; null fails with E_PROXY ("NULL pointer passed in")
  /// @param response receives the reply's envelope, nothing for status 204; empty after a failure; null as above
  /// @param url http: or https: URL; null or empty: that of the token. With a line break in it or in `soapAction`,
  ///   nothing is sent: E_PROXY.
  /// @param soapAction null means ""
  /// @param token its cookies and HTTP credentials are sent; not changed
  /// @param error receives code and text of a failure in place of what it held
  /// @return 0 for success, or a qzErrorCode: E_URL for a URL that cannot be taken apart, E_HTTP for connections and
  ///   statuses (sub-code: the system's error, or the status), E_LOGON when an access manager answers, else E_PROXY
  long InvokeCM(const ITKBuffer* request, ITKBuffer* response, const char* url, const char* soapAction,
                const ITKRTT& token, ITKSOAPError& error) noexcept;

  /// Packs a call and stores the request that invoke() would send for it when it is no conversation, and sends nothing.
  /// @param in the call, not changed; null, here and below, fails
  /// @param headers becomes DT_TEXT: the header lines, each with its CR LF, as LoadTestSend() makes them
  /// @param body becomes DT_BINARY: envelope and argument stream as parts of one body
  /// @return 0, or E_PROXY
  long LoadTestInvoke(const ITKSOAP* in, ITKBuffer* headers, ITKBuffer* body) noexcept;

  /// Makes a request as it is and reads its reply, waiting as invoke() does. Statuses as from InvokeCM(); redirections
  /// are not followed. A body that was deflated or gzipped on its way is restored; 64 MB is the most that is taken.
  /// @param url http: or https: URL
  /// @param verb "GET" or "POST"; anything else fails with E_PROXY
  /// @param headers header lines, each with its CR LF; null: none. The token's cookie line is added unless there is one.
  /// @param body sent as it is; null: none
  /// @param response receives the envelope of a reply that holds one, otherwise all of its body; empty after a failure;
  ///   null fails with E_PROXY
  /// @param responseHeaders receives the raw headers of whatever reply came; null: not wanted
  /// @param token its cookies and HTTP credentials are sent, the latter taken back; null: none
  /// @param error receives code and text of a failure in place of what it held
  /// @return as InvokeCM()
  long SendGenericHTTP(const char* url, const char* verb, const char* headers, const ITKBuffer* body,
                       ITKBuffer* response, ITKBuffer* responseHeaders, ITKRTT* token, ITKSOAPError& error) noexcept;
  /// Posts an XML body under a SOAP action by SendGenericHTTP().
  /// @param url http: or https: URL
  /// @param soapAction null means ""
  /// @param extraHeader one further header line without its line end; null or empty: none
  /// @param body the XML, sent as it is; null: none
  /// @param response receives the envelope of a reply that holds one, otherwise all of its body; empty after a failure
  /// @param token its cookies and HTTP credentials are sent, the latter taken back; null: none
  /// @param error receives code and text of a failure in place of what it held
  long SendCDKRequest(const char* url, const char* soapAction, const char* extraHeader, const ITKBuffer* body,
                      ITKBuffer* response, ITKRTT* token, ITKSOAPError& error) noexcept;
  /// Replaces `out` by the header lines of such a request; DT_TEXT.
  void BuildRequestHTTPHeaders(const char* soapAction, const char* extraHeader, ITKBuffer& out) noexcept;
  /// The same with the token's cookie line, whose own line end is followed by another.
  void BuildRequestHTTPHeaders(const char* soapAction, const ITKRTT& token, ITKBuffer& out) noexcept;

  /// Builds the body of a request.
  /// @param request the envelope's text
  /// @param attachment null: `out` becomes the envelope alone, and boundary and start become empty
  /// @param boundary receives the text between the parts
  /// @param start receives the Content-ID of the envelope's part, angle brackets included
  /// @param out becomes DT_BINARY
  /// @return false when the attachment is empty or memory is short
  bool BuildMultipartMessage(const ITKBuffer& request, const ITKBuffer* attachment, ITKString& boundary,
                             ITKString& start, ITKBuffer& out) noexcept;
  /// Sends an opened request with further header lines and a body, and traces both.
  /// @param request opened by its connection
  /// @param headers null or empty: none
  /// @param body sent as it is
  /// @return 0, or E_PROXY with "Failed to send request" logged
  long SafeSendHTTPRequest(XHttpFile& request, const char* headers, const ITKBuffer& body) noexcept;

  /// True when raw response headers hold "Content-Type:" and "text/xml" or "text/html".
  bool CheckContentType(const char* rawHeaders) noexcept;
  /// Tells from raw response headers whether the reply has parts, and the boundary between them.
  void ProcessResponseHeaders(const char* rawHeaders, bool& isMultipart, ITKString& boundary) noexcept;
  /// Reads a reply without parts; `list` then holds its envelope alone. False when it cannot be read, `list` then empty.
  bool ReadResponse(XInternetFile& file, ITKBufferList& list) noexcept;
  /// Reads a reply with parts; `list` then holds its envelope and its attachments. False when it cannot be read, `list`
  /// then empty.
  bool ReadResponseMultiPart(XInternetFile& file, const char* boundary, ITKBufferList& list) noexcept;
  /// Cuts the SOAP envelope out of a text; false, `envelope` unchanged, when a mark is missing.
  bool ExtractSoapEnvXml(const char* text, ITKBuffer& envelope) noexcept;
  /// Takes envelope and attachment out of `list`.
  /// @param list as ReadResponse() or ReadResponseMultiPart() leaves it
  /// @param response receives the envelope
  /// @param attachment null: dropped
  /// @return false when the list is empty, or has more than one attachment and one is wanted
  bool ProcessResponse(const ITKBufferList& list, ITKBuffer& response, ITKBuffer* attachment) noexcept;

 private:
  struct Impl;

  std::unique_ptr<Impl> impl_;
};

/// @}
