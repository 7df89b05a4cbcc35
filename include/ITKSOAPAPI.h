/// @file
/// The toolkit's entry points for remote calls.
#pragma once

#include "QzExport.h"

class ITKBuffer;
class ITKBufferList;
class ITKRTT;
class ITKSOAP;
class ITKSOAPError;

/// @addtogroup toolkit
/// @{

/// Makes one remote call with a client of its own.
/// @param in the request: gateway URL, SOAP action, interface, method, arguments, token. Not changed.
/// @param out receives output arguments, error and session; may be `in`
/// @param dumpFile path of a file to whose end everything sent and received is appended; null or empty: none
/// @return 0 for success, otherwise what ITKhttpClientHelper::invoke() returns; `out`'s error then tells more
QZSOAP_API long ITKrpcSOAPInvoke(const ITKSOAP* in, ITKSOAP* out, const char* dumpFile);

/// Makes one content-manager call with a client of its own, as ITKhttpClientHelper::InvokeCM() says.
/// @param request the envelope's text, sent as it is
/// @param response receives the reply's envelope; empty after a failure
/// @param url null or empty: that of `token`
/// @param soapAction null means ""
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
/// @param error receives code and text of a failure in place of what it held; null: not wanted
/// @param token not changed
/// @return 0 for success or a qzErrorCode, which is also the code of `error`
QZSOAP_API long ITKrpcSOAPInvokeCM(const ITKBuffer* request, ITKBuffer* response, const char* url,
                                   const char* soapAction, const char* dumpFile, ITKSOAPError* error,
                                   const ITKRTT& token);

/// Stores the request that ITKrpcSOAPInvoke() would send, and sends nothing, as
/// ITKhttpClientHelper::LoadTestInvoke() says.
/// @param in the call, not changed; null fails
/// @param headers receives the header lines; @param body receives the body; null fails
/// @param dumpFile opened as in ITKrpcSOAPInvoke(); nothing is written, as nothing is sent
/// @return 0, or E_PROXY
QZSOAP_API long ITKrpcSOAPLoadTestInvoke(const ITKSOAP* in, ITKBuffer* headers, ITKBuffer* body, const char* dumpFile);

/// Makes a generic request with a client of its own, as
/// ITKhttpClientHelper::SendGenericHTTP() says.
/// @param url http: or https: URL
/// @param verb "GET" or "POST"
/// @param headers header lines, each with its CR LF; null: none
/// @param body sent as it is; null: none
/// @param response receives the envelope or the body of the reply; empty after a failure
/// @param responseHeaders receives the raw headers of the reply; null: not wanted
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
/// @param token its cookies and HTTP credentials are sent, the latter taken back; null: none
/// @param error null: not wanted
QZSOAP_API long ITKrpcSOAPSendGenericHTTP(const char* url, const char* verb, const char* headers, const ITKBuffer* body,
                                          ITKBuffer* response, ITKBuffer* responseHeaders, const char* dumpFile,
                                          ITKRTT* token, ITKSOAPError* error);
/// Posts an XML body under a SOAP action with a client of its own, as
/// ITKhttpClientHelper::SendCDKRequest() says.
/// @param url http: or https: URL
/// @param soapAction null means ""
/// @param extraHeader one further header line without its line end; null or empty: none
/// @param body the XML, sent as it is
/// @param response receives the envelope or the body of the reply; empty after a failure
/// @param token its cookies and HTTP credentials are sent, the latter taken back; null: none
/// @param error null: not wanted
QZSOAP_API long ITKrpcSOAPSendCDKRequest(const char* url, const char* soapAction, const char* extraHeader,
                                         const ITKBuffer* body, ITKBuffer* response, ITKRTT* token,
                                         ITKSOAPError* error);

/// Asks the gateway's portal for the namespaces that users can be of, as ITKPromptInfo::getNamespaces() says.
/// @param gatewayURL the portal; the URL of the request is this and a query
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
/// @param names receives their ids
/// @param displayNames their names for users are appended
/// @param token takes the session that the portal begins, and the URL
QZSOAP_API bool ITKrpcSOAPGetNamespaces(const char* gatewayURL, const char* dumpFile, ITKBufferList& names,
                                        ITKBufferList& displayNames, ITKRTT& token);
/// Logs a user on at the gateway's portal, as ITKPromptInfo::logon() says.
/// @param gatewayURL the portal; the URL of each request is this and a query
/// @param user name of the user, sent byte by byte as it is given
/// @param password likewise
/// @param ns id of the user's namespace
/// @param nsDisplayName its name for users
/// @param dumpFile path of a file to whose end everything sent and received is written, the password too; null or
///   empty: no dump
/// @param componentId the portal's name for the calling component; null means ""
/// @param token receives the user and the session
QZSOAP_API bool ITKrpcSOAPSilentLogon(const char* gatewayURL, const char* user, const char* password, const char* ns,
                                      const char* nsDisplayName, const char* dumpFile, const char* componentId,
                                      ITKRTT& token);
/// Logs a further user on in the session of the token, as ITKPromptInfo::logonAs() says. The arguments are those of
/// ITKrpcSOAPSilentLogon().
QZSOAP_API bool ITKrpcSOAPSilentLogonAs(const char* gatewayURL, const char* user, const char* password, const char* ns,
                                        const char* nsDisplayName, const char* dumpFile, const char* componentId,
                                        ITKRTT& token);
/// Logs the session of the token off, as ITKPromptInfo::logoff() says.
QZSOAP_API bool ITKrpcSOAPSilentLogoff(const char* gatewayURL, const char* dumpFile, const ITKRTT& token);
/// Asks the portal for the PRY context of the token's session, as
/// ITKPromptInfo::getPRYContextAndCredentialFromPassportID() says.
QZSOAP_API bool ITKrpcSOAPGetPryContextAndCredentialFromPassportID(const char* gatewayURL, const char* componentId,
                                                                   const char* dumpFile, ITKRTT& token);

/// Reads the data-source connections that the content manager keeps, as ITKSecureDbConnInfo::getDbConnectionList() says.
/// @param records receives two texts per connection, its name and its connection string; empty after a failure
/// @param token not changed; its URL is asked with its session
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
QZSOAP_API bool ITKrpcSOAPGetDbConnectionList(ITKBufferList& records, const ITKRTT& token, const char* dumpFile);
/// Reads one of them and its sign-on, as ITKSecureDbConnInfo::getDbConnection() says.
/// @param name of the connection, in UTF-8
/// @param connection receives the connection string as DT_TEXT
/// @param user receives the user name as DT_TEXT
/// @param password receives the password as DT_TEXT, encrypted as it is kept
/// @param token not changed; its URL is asked with its session
/// @param dumpFile as above; the reply with the encrypted password goes into it too
QZSOAP_API bool ITKrpcSOAPGetDbConnection(const char* name, ITKBuffer& connection, ITKBuffer& user, ITKBuffer& password,
                                          const ITKRTT& token, const char* dumpFile);

/// What kind of fault a reply is.
/// @param text the reply's envelope
/// @return 0 for an ordinary reply, E_LOGON when the server asks for a logon, E_FAULT for any other fault and for a text
///   that is no SOAP envelope; null counts as such a text
QZSOAP_API long ITKrpcSOAPGetRelayFaultError(const char* text);

/// @}
