/// @file
/// The flat face of the library: exported functions named `rpcSOAP...`.
///
/// Conventions of this face:
/// - Objects are made by a `rpcSOAP_Create...` function and given back to its `rpcSOAP_Release...`; holders named `...00`
///   do that by themselves. The objects are interfaces: their operations are called through the object, so a host needs
///   nothing of the library but its functions, and a compiler that lays out virtual tables as the library's own does.
///   Tokens, credentials, settings and CRpcHttpClient are classes of the DLL instead: they need the library's compiler.
/// - Every function is exported undecorated, follows the C calling convention and never throws: it returns its failure
///   value and has written the reason to the log by then.
/// - `long` has 32 bits, `bool` is the compiler's one-byte type. Texts are null-terminated.
/// - With the key "LogTrace" on, each function writes one log line when it is entered and one when it returns.
/// - Calls on different objects may run on different threads; one object belongs to one thread at a time. The settings
///   are shared by all and are not locked.
#pragma once

#include "CRpcHttpClient.h"
#include "CRpcSOAP.h"
#include "CqzBuffer.h"
#include "CqzBufferList.h"
#include "CqzES.h"
#include "CqzRelayMessage.h"
#include "CqzSOAPError.h"
#include "CqzXmlDom.h"
#include "ITKRTT.h"
#include "QzExport.h"
#include "QzTypes.h"

/// @defgroup flat Flat face
/// Exported functions named `rpcSOAP...` and the objects that they make.
/// @{

extern "C" {

/// Makes the process-wide compression object if there is none, loading zlib1.dll from beside the library.
/// @return true when the object exists afterwards; false, with the reason reported, when zlib cannot be loaded or is not
///   version 1.2.3
QZSOAP_API bool __cdecl rpcSOAPInitialize();
/// Deletes the compression object, which rpcSOAPInitialize() can make again; always 0. Unloading the library does it too.
QZSOAP_API long __cdecl rpcSOAPTerminate();

/// Makes one remote call and waits until the gateway has answered, as CRpcHttpClient::invoke() says.
/// @param in the request, not changed; may be the same object as `out`
/// @param out receives output arguments, error and session
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
/// @return 0 for success, the server's error number, or a qzErrorCode, which is also the code of `out`'s error
QZSOAP_API long __cdecl rpcSOAPInvoke(const CRpcSOAP* in, CRpcSOAP* out, const char* dumpFile);

/// Makes one content-manager call with a client of its own, as CRpcHttpClient::InvokeCM() says.
/// @param request the envelope's text, sent as it is
/// @param response receives the reply's envelope; empty after a failure
/// @param url null or empty: that of `token`, else that of rpcSOAPSetCMInfo()
/// @param soapAction null or empty: "", or that of rpcSOAPSetCMInfo() where its URL is taken
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
/// @param error receives code and text of a failure in place of what it held; null: not wanted
/// @param token not changed
/// @return 0 for success or a qzErrorCode, which is also the code of `error`
QZSOAP_API long __cdecl rpcSOAPInvokeCM(const CqzBuffer* request, CqzBuffer* response, const char* url,
                                        const char* soapAction, const char* dumpFile, CqzSOAPError* error,
                                        const ITKRTT& token);
/// Stores the request that rpcSOAPInvoke() would send, and sends nothing, as CRpcHttpClient::LoadTestInvoke() says.
/// @param in the call, not changed; null fails
/// @param headers receives the header lines; @param body receives the body; null fails
/// @return 0, or E_PROXY
QZSOAP_API long __cdecl rpcSOAPLoadTestInvoke(const CRpcSOAP* in, CqzBuffer* headers, CqzBuffer* body);

/// Makes a generic request with a client of its own, as
/// CRpcHttpClient::SendGenericHTTP() says.
/// @param url http: or https: URL
/// @param verb "GET" or "POST"
/// @param headers header lines, each with its CR LF; null: none
/// @param body sent as it is; null: none
/// @param response receives the envelope or the body of the reply; empty after a failure
/// @param responseHeaders receives the raw headers of the reply; null: not wanted
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
/// @param token its cookies and HTTP credentials are sent, the latter taken back; null: none
/// @param error null: not wanted
QZSOAP_API long __cdecl rpcSOAPSendGenericHTTP(const char* url, const char* verb, const char* headers,
                                               const CqzBuffer* body, CqzBuffer* response, CqzBuffer* responseHeaders,
                                               const char* dumpFile, ITKRTT* token, CqzSOAPError* error);
/// Posts an XML body under a SOAP action with a client of its own, as
/// CRpcHttpClient::SendCDKRequest() says.
/// @param url http: or https: URL
/// @param soapAction null means ""
/// @param extraHeader one further header line without its line end; null or empty: none
/// @param body the XML, sent as it is
/// @param response receives the envelope or the body of the reply; empty after a failure
/// @param token its cookies and HTTP credentials are sent, the latter taken back; null: none
/// @param error null: not wanted
QZSOAP_API long __cdecl rpcSOAPSendCDKRequest(const char* url, const char* soapAction, const char* extraHeader,
                                              const CqzBuffer* body, CqzBuffer* response, ITKRTT* token,
                                              CqzSOAPError* error);

/// Asks the gateway's portal for the namespaces that users can be of.
/// @param url the portal; the URL of each request is this and a query
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
/// @param names receives their ids; emptied once the reply has set cookies
/// @param displayNames their names for users are appended; a portal with a single namespace may give none
/// @param cookies receives the reply's cookie lines, "Set-Cookie: " included
/// @param token takes the session that the portal begins, and the URL; what a failed operation has stored stays
/// @return false, with the reason reported, when a list or the token is null, the request fails, its reply sets no
///   cookie, or its page names no namespace
QZSOAP_API bool __cdecl rpcSOAPGetNamespaces(const char* url, const char* dumpFile, CqzBufferList* names,
                                             CqzBufferList* displayNames, CqzBufferList* cookies, ITKRTT* token);
/// Logs a user on at the gateway's portal and stores the session in the token: first user name and password, then
/// cookies, URL and PRY context. Texts are sent byte by byte as they are given; the portal takes them for UTF-8.
/// @param url the portal; the URL of each request is this and a query
/// @param user name of the user
/// @param password sent in the form
/// @param ns id of the user's namespace; null means "", as for the other texts
/// @param nsDisplayName its name for users
/// @param dumpFile path of a file to whose end everything sent and received is written, the password too; null or
///   empty: no dump
/// @param cookies kept for the hosts that pass it: it is not sent, and may be null
/// @param token its cookies are not sent, but replaced
/// @return false, with the reason reported, when the token is null, the request fails or its reply gives no passport; a
///   context that cannot be had is only reported
QZSOAP_API bool __cdecl rpcSOAPSilentLogon(const char* url, const char* user, const char* password, const char* ns,
                                           const char* nsDisplayName, const char* dumpFile,
                                           const CqzBufferList* cookies, ITKRTT* token);
/// Logs a further user on in the session of the token, whose user name and password stay.
/// @param url the portal; the URL of each request is this and a query
/// @param user name of the further user
/// @param password sent in the form
/// @param ns id of the user's namespace; null means "", as for the other texts
/// @param nsDisplayName its name for users
/// @param dumpFile as for rpcSOAPSilentLogon()
/// @param token its cookies are sent, and replaced by those that the reply sets, even if there are none
/// @return as rpcSOAPSilentLogon(), but false as well when the context cannot be had; true without a passport when the
///   portal says that the session has that user already
QZSOAP_API bool __cdecl rpcSOAPSilentLogonAs(const char* url, const char* user, const char* password, const char* ns,
                                             const char* nsDisplayName, const char* dumpFile, ITKRTT* token);
/// Logs the session of the token off at the gateway's portal. The token stays as it is; emptying it is the caller's
/// affair.
/// @return false, with the reason reported, when the token is null or the request fails
QZSOAP_API bool __cdecl rpcSOAPSilentLogoff(const char* url, const char* dumpFile, const ITKRTT* token);
/// Asks the portal for the PRY context that belongs to the token's cookies, and stores it; an empty one leaves the
/// token's own.
/// @return false, with the reason reported, when the token is null, the request fails or its page names no context
QZSOAP_API bool __cdecl rpcSOAPGetPryContextAndCredentialFromPassportID(const char* url, const char* dumpFile,
                                                                        ITKRTT* token);

/// Reads the data-source connections that the content manager keeps and the token's session may see, by one query to the
/// token's URL, else to that of rpcSOAPSetCMInfo().
/// @param list receives two texts per connection, its name and its connection string, in place of what it held; empty
///   after a failure
/// @param token not changed
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
/// @return true also when there are none; false, with the reason reported, when the list or the token is null, the
///   request fails, or its answer is a fault or none to the query
QZSOAP_API bool __cdecl rpcSOAPGetDbConnectionList(CqzBufferList* list, const ITKRTT* token, const char* dumpFile);
/// Reads one of these connections and its sign-on. The password is not logged, but the trace of the request and the dump
/// file hold the reply that carries it.
/// @param name of the connection, in UTF-8; the first one that has it is taken
/// @param connection receives the connection string as DT_TEXT; empty when there is no such connection
/// @param user receives the user name as DT_TEXT; empty when the connection has no sign-on, like `password`
/// @param password receives the password as DT_TEXT, encrypted as it is kept
/// @param token not changed
/// @param dumpFile path of a file to whose end everything sent and received is written; null or empty: no dump
/// @return as above; false as well when a buffer or the name is null, and when there is no such connection or it has no
///   sign-on
QZSOAP_API bool __cdecl rpcSOAPGetDbConnection(const char* name, CqzBuffer* connection, CqzBuffer* user,
                                               CqzBuffer* password, const ITKRTT* token, const char* dumpFile);

/// Compresses the content of `source` into `target`, which becomes DT_COMPRESSED; 1. 0, with the reason reported, before
/// rpcSOAPInitialize(), for null, and when zlib fails.
/// @param source any bytes; may be `target`
/// @param target receives the block; unchanged after a failure
/// @param level zlib's 0 to 9, or -1 for its default
QZSOAP_API long __cdecl rpcSOAPCompress(const CqzBuffer* source, CqzBuffer* target, int level);
/// Restores the content of a compressed buffer into `target`, whose type stays; 1. 0, with the reason reported, before
/// rpcSOAPInitialize(), for null, and for a source that is not compressed or is damaged.
QZSOAP_API long __cdecl rpcSOAPDecompress(const CqzBuffer* source, CqzBuffer* target);

/// What kind of reply a text is: 0 for an ordinary one, E_LOGON for a fault that asks for a logon, E_FAULT for any other
/// fault and for a text that is no SOAP envelope.
QZSOAP_API long __cdecl rpcSOAPGetRelayFaultError(const char* text);

/// Sets the process's default endpoint of content-manager calls, for calls that name none and whose token has no URL;
/// null means "". 1, or 0 when memory is short.
QZSOAP_API int __cdecl rpcSOAPSetCMInfo(const char* url, const char* soapAction);
/// Copies that endpoint into two buffers, which become DT_TEXT; null: not wanted. 1, or 0 when memory is short.
QZSOAP_API int __cdecl rpcSOAPGetCMInfo(CqzBuffer* url, CqzBuffer* soapAction);

/// Whether the host has declared the process a service: the value of the last rpcSOAP_setIsService(), 0 before.
QZSOAP_API int __cdecl rpcSOAP_getIsService();
/// Declares whether the process runs as a service (non-zero).
QZSOAP_API void __cdecl rpcSOAP_setIsService(int isService);

/// The time-out of the transport in milliseconds: always 300,000.
QZSOAP_API long __cdecl rpcSOAPGetHTTPTimeOutValue();
/// Does nothing: the transport's time-out is fixed. Kept for the hosts that call it.
QZSOAP_API void __cdecl rpcSOAPSetHTTPTimeOutValue(long milliseconds);

/// Keeps a copy of the user's credential for requests whose token names no user. A service has no such user: in a
/// process declared as one, the call does nothing.
QZSOAP_API void __cdecl rpcSOAPSetUserCredential(const ITKCredential& credential);

}  // extern "C"

/// @}
