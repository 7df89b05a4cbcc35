/// @file
/// The flat face's call object: one remote call and, after it, its outcome.
#pragma once

#include "CqzBuffer.h"
#include "CqzBufferList.h"
#include "CqzSOAPError.h"
#include "ITKMapStringToPtr.h"
#include "ITKRTT.h"
#include "QzHolder.h"

/// @addtogroup flat
/// @{

/// Description of one remote call: fill it, hand it to rpcSOAPInvoke() together with a second one that receives the
/// reply, and read that.
///
/// Made by rpcSOAP_Create(), given back to rpcSOAP_Release(); only such objects may be handed to the library. The object
/// owns its parameters, user preferences, token copy and error object. No operation throws: it has reported the reason
/// to the log when it returns 0, -1 for addParam(), or null. Returned texts and pointers live until the object changes.
/// One object belongs to one thread at a time.
class CRpcSOAP {
 public:
  /// Type codes of parameters, as in ITKBufferType.
  enum : unsigned char {
    DT_BINARY = ITKBufferType::DT_BINARY,         ///< raw bytes
    DT_TEXT = ITKBufferType::DT_TEXT,             ///< text
    DT_I1 = ITKBufferType::DT_I1,                 ///< one-byte integer
    DT_I2 = ITKBufferType::DT_I2,                 ///< two-byte integer
    DT_LONG = ITKBufferType::DT_LONG,             ///< four-byte integer
    DT_FLOAT = ITKBufferType::DT_FLOAT,           ///< four-byte float
    DT_DOUBLE = ITKBufferType::DT_DOUBLE,         ///< eight-byte float
    DT_LIST = ITKBufferType::DT_LIST,             ///< a serialized list
    DT_COMPRESSED = ITKBufferType::DT_COMPRESSED  ///< a compressed block
  };

  CRpcSOAP(const CRpcSOAP&) = delete;
  CRpcSOAP& operator=(const CRpcSOAP&) = delete;
  /// Deletes parameters and user preferences.
  virtual ~CRpcSOAP() = default;

  /// Sets the remote class; 1 when the stored text is not empty, else 0. Null means "".
  virtual int setInterfaceName(const char* text) noexcept = 0;
  /// Sets the remote method; 1 when the stored text is not empty, else 0.
  virtual int setMethodName(const char* text) noexcept = 0;
  /// Sets the server-side object handle; 1 when the stored text is not empty, else 0.
  virtual int setObjectHandle(const char* text) noexcept = 0;
  /// Sets the relay header; 1 when the stored text is not empty, else 0.
  virtual int setRelayHeader(const char* text) noexcept = 0;
  /// The remote class, never null.
  virtual const char* getInterfaceName() const noexcept = 0;
  /// The remote method; null when empty.
  virtual const char* getMethodName() const noexcept = 0;
  /// The server-side object handle; null when empty.
  virtual const char* getObjectHandle() const noexcept = 0;
  /// The relay header to send, or the one received; null when empty.
  virtual const char* getRelayHeader() const noexcept = 0;

  /// Sets the gateway URL in the token; always 1. A null or empty URL is stored too, after "trying to set an empty URL"
  /// was logged at level 1.
  virtual int setGatewayURL(const char* text) noexcept = 0;
  /// The token's URL, never null.
  virtual const char* getGatewayURL() const noexcept = 0;
  /// Sets the SOAP action; always 1. A null or empty one is stored too, after "trying to set an empty SOAP action" was
  /// logged at level 1.
  virtual int setSoapAction(const char* text) noexcept = 0;
  /// The SOAP action; null when empty.
  virtual const char* getSoapAction() const noexcept = 0;
  /// Sets the token's passport id; 1 when it is not empty now, else 0.
  virtual int setPassportId(const char* text) noexcept = 0;
  /// The token's passport id, never null.
  virtual const char* getPassportId() const noexcept = 0;
  /// Takes a copy of `token`, its URL included; always 1.
  virtual int setRTT(const ITKRTT& token) noexcept = 0;
  /// The token, owned by the call.
  virtual ITKRTT& getRTT() noexcept = 0;
  /// The token, owned by the call.
  virtual const ITKRTT& getRTT() const noexcept = 0;
  /// As getRTT().
  virtual ITKRTT& getRTToken() noexcept = 0;
  /// As getRTT().
  virtual const ITKRTT& getRTToken() const noexcept = 0;

  /// Appends a new buffer with a copy of `length` bytes. Returns its index; -1 for a negative length, for null `data`
  /// with a length, and when memory is short.
  virtual long addParam(unsigned char type, const void* data, long length) noexcept = 0;
  /// Appends `buffer` itself and takes ownership. Returns its index; -1 for null or when memory is short, the buffer
  /// then stays the caller's.
  virtual long addParam(CqzBuffer* buffer) noexcept = 0;
  /// Appends one DT_LIST element that holds the whole list. Returns its index or -1.
  virtual long addParam(const CqzBufferList& list) noexcept = 0;
  /// Appends the text with its terminating zero, which counts as part of the bytes. Returns its index; -1 for null.
  virtual long addParamText(const char* text) noexcept = 0;
  /// Replaces the element at `index` by a new buffer as addParam() makes it; 1, or 0 when there is no such element
  /// ("index [%d] out of range") or the buffer could not be made.
  virtual int setParam(long index, unsigned char type, const void* data, long length) noexcept = 0;
  /// Type, block and length of the element at `index`, still owned by the call; 1, or 0 when there is none (the
  /// arguments then stay as they are).
  virtual int getParam(long index, unsigned char& type, unsigned char*& data, long& length) const noexcept = 0;
  /// The element, still owned by the call; null (nothing logged) when `index` is outside 0..getNumParams()-1.
  virtual CqzBuffer* getParamAt(long index) const noexcept = 0;
  /// The element's text; null when there is none or its type is not DT_TEXT.
  virtual const char* getParamText(long index) const noexcept = 0;
  /// Copies the element's text with its terminator into an array of `size` characters; 1. 0 with "Try to get a text
  /// string which is not a text" when there is no such element or its type is not DT_TEXT, and with "Insufficient buffer
  /// size" when the array is null or too short; it then holds "" if it has room for that.
  virtual int getParamText(long index, char* buffer, long size) const noexcept = 0;
  /// Deletes the element; 1, or 0 with "index [%d] out of range".
  virtual int removeParam(long index) noexcept = 0;
  /// Number of parameters.
  virtual long getNumParams() const noexcept = 0;
  /// The parameter list, owned by the call.
  virtual CqzBufferList& getListParams() noexcept = 0;
  /// The parameter list, owned by the call.
  virtual const CqzBufferList& getListParams() const noexcept = 0;

  /// Writes the parameters as a list stream into `buffer`, compressed at the level of getComressParams() unless that is
  /// 0; 1, or 0 with "Failed to serialize out parameters".
  virtual int parkParams(CqzBuffer& buffer) const noexcept = 0;
  /// Replaces the parameters by what a list stream holds; 1, or 0 with "Failed to serialize in parameters", no
  /// parameters left.
  virtual int unparkParams(const CqzBuffer& buffer) noexcept = 0;

  /// Stores a preference, replacing one of the same name; 1. 0 and nothing changed when `name` is null or `value` null
  /// or empty.
  virtual int setUserPreference(const char* name, const char* value) noexcept = 0;
  /// The value; null when there is none of that name.
  virtual const char* getUserPreference(const char* name) const noexcept = 0;
  /// Empties `list` and appends every name as a text element; 1 when there is at least one, else 0.
  virtual int getUserPreferenceNames(CqzBufferList& list) const noexcept = 0;
  /// Name to CqzBuffer*, owned by the map.
  virtual ITKMapStringToPtr& getUserPreferenceVars() noexcept = 0;
  /// Name to CqzBuffer*, owned by the map.
  virtual const ITKMapStringToPtr& getUserPreferenceVars() const noexcept = 0;
  /// Deletes all preferences.
  virtual void ClearUserPreferenceVars() noexcept = 0;

  /// Passed through to the server.
  virtual void setKeepAlive(int keepAlive) noexcept = 0;
  /// The same from decimal text; null or empty gives 0.
  virtual void setKeepAlive(const char* text) noexcept = 0;
  /// What setKeepAlive() or a reply set.
  virtual int getKeepAlive() const noexcept = 0;
  /// The argument count that a reply announced, in decimal; null or empty gives 0. Nothing depends on it.
  virtual void setNumParamsChecksum(const char* text) noexcept = 0;
  /// The argument count that the last reply announced.
  virtual long getNumParamsChecksum() const noexcept = 0;

  /// Unless the text is null or empty: sets the error code to the decimal number and appends a line end to the error
  /// text.
  virtual void setReturnCode(const char* text) noexcept = 0;
  /// Sets and returns the error code, nothing else.
  virtual long setReturnCode(long code) noexcept = 0;
  /// The same; keeps a literal 0 from being taken for a null text.
  virtual long setReturnCode(int code) noexcept = 0;
  /// Sets and returns the error code.
  virtual long setErrorCode(long code) noexcept = 0;
  /// The error code, see qzErrorCode; 0 means none.
  virtual long getReturnCode() const noexcept = 0;
  /// As getReturnCode().
  virtual long getErrorCode() const noexcept = 0;
  /// Detail code, for example an HTTP status.
  virtual long getErrorSubCode() const noexcept = 0;
  /// The error text; null when hasError() is 0.
  virtual const char* getErrorText() const noexcept = 0;
  /// 1 when there is an error code or a text of at least 2 bytes, else 0.
  virtual int hasError() const noexcept = 0;
  /// Sets code and text; returns the code.
  virtual long setError(long code, const char* text) noexcept = 0;
  /// Appends the text and a line end; returns the unchanged code.
  virtual long addErrorText(const char* text) noexcept = 0;
  /// The error object, owned by the call.
  virtual CqzSOAPError& getError() noexcept = 0;
  /// The error object, owned by the call.
  virtual const CqzSOAPError& getError() const noexcept = 0;

  /// Client-side limit of a conversation in seconds.
  virtual void setTimeoutLimit(long seconds) noexcept = 0;
  /// Client-side limit of a conversation in seconds.
  virtual long getTimeoutLimit() const noexcept = 0;
  /// Not 0 makes the call a conversation.
  virtual void setAsyncMode(long mode) noexcept = 0;
  /// Not 0 when the call is a conversation.
  virtual long getAsyncMode() const noexcept = 0;
  /// Passed through to the server.
  virtual void setTimeInterval(long interval) noexcept = 0;
  /// What setTimeInterval() or a reply set.
  virtual long getTimeInterval() const noexcept = 0;
  /// Level at which parkParams() compresses: 1 to 9, 0 for no compression.
  virtual void setComressParams(int level) noexcept = 0;
  /// Level at which parkParams() compresses.
  virtual int getComressParams() const noexcept = 0;

  /// Takes over names, handle, relay header, token, keep-alive, error, limits, modes, preferences, SOAP action and
  /// compression of `other`, and its parameters when `withParams` is not 0; own parameters and preferences are deleted
  /// first. The argument count announced by a reply is not copied. Copying a call onto itself changes nothing. 1, or 0
  /// when memory is short.
  virtual int copy(const CRpcSOAP& other, int withParams) noexcept = 0;

 protected:
  CRpcSOAP() = default;
};

/// The same under another name; every call object is one.
class CRpcSOAP2 : public CRpcSOAP {};

extern "C" {
/// A new call object; null when memory is short. Null texts mean "". Its parameters are compressed unless the key
/// "NoCompression" in section "R7ITK Common" of the toolkit's ini file is not 0.
/// @param interfaceName remote class
/// @param methodName remote method
/// @param keepAlive passed through to the server
/// @param objectHandle handle of an object on the server, or ""
/// @param relayHeader header text to send instead of one made from the token, or ""
/// @param token copied; null: an empty token
/// @param timeoutLimit client-side limit of a conversation in seconds
QZSOAP_API CRpcSOAP* __cdecl rpcSOAP_Create(const char* interfaceName, const char* methodName, int keepAlive,
                                            const char* objectHandle, const char* relayHeader, const ITKRTT* token,
                                            long timeoutLimit);
/// Deletes a call object; null is allowed.
QZSOAP_API void __cdecl rpcSOAP_Release(CRpcSOAP* call);
}

/// Owner of one call object.
class CRpcSOAP00 : public QzHolder<CRpcSOAP, rpcSOAP_Release> {
 public:
  /// Makes a call object with the arguments of rpcSOAP_Create(); none when memory is short.
  CRpcSOAP00(const char* interfaceName, const char* methodName, int keepAlive, const char* objectHandle,
             const char* relayHeader, const ITKRTT* token, long timeoutLimit) noexcept
      : QzHolder(rpcSOAP_Create(interfaceName, methodName, keepAlive, objectHandle, relayHeader, token, timeoutLimit)) {
  }

  /// Takes ownership of `call`, which may be null, and deletes the former object.
  void attatchSOAP(CRpcSOAP* call) noexcept { reset(call); }
  /// Hands the object to the caller, who releases it; null when there is none.
  CRpcSOAP* detatchSOAP() noexcept { return detach(); }
  /// Deletes the object, if any.
  void releaseSOAP() noexcept { reset(nullptr); }
};

/// @}
