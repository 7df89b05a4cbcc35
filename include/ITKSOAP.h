/// @file
/// The toolkit's call object: one remote call and, after it, its outcome.
#pragma once

#include <memory>

#include "CallState.h"
#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "ITKMapStringToPtr.h"
#include "ITKRTT.h"
#include "ITKSOAPError.h"
#include "QzExport.h"

/// @addtogroup toolkit
/// @{

/// Description of one remote call: fill it, hand it to ITKrpcSOAPInvoke() together with a second one that receives the
/// reply, and read that.
///
/// The object owns its parameters, user preferences, token copy and error object. No operation lets an exception out:
/// it is logged at level 1 and the operation returns 0, -1 for addParam(), or null. Returned texts and pointers live
/// until the object changes. One object belongs to one thread at a time.
class QZSOAP_API ITKSOAP {
 public:
  /// Everything empty or 0; parameters are compressed unless the ini key "NoCompression" of section "R7ITK Common" is
  /// not 0.
  ITKSOAP() noexcept;
  /// As the default constructor, then takes copies of the arguments; null texts mean "".
  /// @param interfaceName the remote class
  /// @param methodName the remote method
  /// @param keepAlive passed through to the server
  /// @param objectHandle handle of an object on the server, or ""
  /// @param relayHeader header text to send instead of one made from the token, or ""
  /// @param token copied; null: an empty token
  /// @param timeoutLimit client-side limit of a conversation in seconds
  ITKSOAP(const char* interfaceName, const char* methodName, int keepAlive, const char* objectHandle,
          const char* relayHeader, const ITKRTT* token, long timeoutLimit)
  noexcept;
  ITKSOAP(const ITKSOAP&) = delete;
  ITKSOAP& operator=(const ITKSOAP&) = delete;
  /// Deletes parameters and user preferences.
  virtual ~ITKSOAP();

  /// Sets the remote class; 1 when the stored text is not empty, else 0. Null means "".
  int setInterfaceName(const char* text) noexcept;
  /// Sets the remote method; 1 when the stored text is not empty, else 0.
  int setMethodName(const char* text) noexcept;
  /// Sets the server-side object handle; 1 when the stored text is not empty, else 0.
  int setObjectHandle(const char* text) noexcept;
  /// Sets the relay header; 1 when the stored text is not empty, else 0.
  int setRelayHeader(const char* text) noexcept;
  /// The remote class, never null.
  const char* getInterfaceName() const noexcept;
  /// The remote method; null when empty.
  const char* getMethodName() const noexcept;
  /// The server-side object handle; null when empty.
  const char* getObjectHandle() const noexcept;
  /// The relay header to send, or the one received; null when empty.
  const char* getRelayHeader() const noexcept;

  /// Sets the gateway URL in the token; always 1. A null or empty URL is stored too, after "trying to set an empty URL"
  /// was logged at level 1.
  int setGatewayURL(const char* text) noexcept;
  /// The token's URL, never null.
  const char* getGatewayURL() const noexcept;
  /// Sets the SOAP action; always 1. A null or empty one is stored too, after "trying to set an empty SOAP action" was
  /// logged at level 1.
  int setSoapAction(const char* text) noexcept;
  /// The SOAP action; null when empty.
  const char* getSoapAction() const noexcept;
  /// Sets the token's passport id; 1 when it is not empty now, else 0.
  int setPassportId(const char* text) noexcept;
  /// The token's passport id, never null.
  const char* getPassportId() const noexcept;
  /// Takes a copy of `token`, its URL included; always 1.
  int setRTT(const ITKRTT& token) noexcept;
  /// The token, owned by the call.
  ITKRTT& getRTT() noexcept;
  /// The token, owned by the call.
  const ITKRTT& getRTT() const noexcept;
  /// As getRTT().
  ITKRTT& getRTToken() noexcept;
  /// As getRTT().
  const ITKRTT& getRTToken() const noexcept;

  /// Appends a new buffer with a copy of `length` bytes. Returns its index, or -1: negative length ("Check failed"),
  /// null `data` with a length ("NULL pointer"), or short memory.
  long addParam(unsigned char type, const void* data, long length) noexcept;
  /// Appends `buffer` itself and takes ownership. Returns its index; -1 for null or when memory is short, the buffer
  /// then stays the caller's.
  long addParam(ITKBuffer* buffer) noexcept;
  /// Appends one DT_LIST element that holds the whole list. Returns its index or -1.
  long addParam(const ITKBufferList& list) noexcept;
  /// Appends the text with its terminating zero, which counts as part of the bytes. Returns its index; -1 for null.
  long addParamText(const char* text) noexcept;
  /// Replaces the element at `index` by a new buffer as addParam() makes it; 1, or 0 when there is no such element
  /// ("index [%d] out of range") or the buffer could not be made.
  int setParam(long index, unsigned char type, const void* data, long length) noexcept;
  /// Type, block and length of the element at `index`, still owned by the call; 1, or 0 when there is none (the
  /// arguments then stay as they are).
  int getParam(long index, unsigned char& type, unsigned char*& data, long& length) const noexcept;
  /// The element, still owned by the call; null (nothing logged) when `index` is outside 0..getNumParams()-1.
  ITKBuffer* getParamAt(long index) const noexcept;
  /// The element's text; null when there is none or its type is not DT_TEXT.
  const char* getParamText(long index) const noexcept;
  /// Deletes the element; 1, or 0 with "index [%d] out of range".
  int removeParam(long index) noexcept;
  /// Number of parameters.
  long getNumParams() const noexcept;
  /// The parameter list, owned by the call.
  ITKBufferList& getListParams() noexcept;
  /// The parameter list, owned by the call.
  const ITKBufferList& getListParams() const noexcept;

  /// Writes the parameters as a list stream into `buffer`, compressed at the level of getComressParams() unless that is
  /// 0; 1, or 0 with "Failed to serialize out parameters".
  int parkParams(ITKBuffer& buffer) const noexcept;
  /// Replaces the parameters by what a list stream holds; 1, or 0 with "Failed to serialize in parameters", no
  /// parameters left.
  int unparkParams(const ITKBuffer& buffer) noexcept;

  /// Stores a preference, replacing one of the same name; 1. 0 and nothing changed when `name` is null or `value` null
  /// or empty.
  int setUserPreference(const char* name, const char* value) noexcept;
  /// The value; null when there is none of that name.
  const char* getUserPreference(const char* name) const noexcept;
  /// Empties `list` and appends every name as a text element; 1 when there is at least one, else 0.
  int getUserPreferenceNames(ITKBufferList& list) const noexcept;
  /// Name to ITKBuffer*, owned by the map.
  ITKMapStringToPtr& getUserPreferenceVars() noexcept;
  /// Name to ITKBuffer*, owned by the map.
  const ITKMapStringToPtr& getUserPreferenceVars() const noexcept;
  /// Deletes all preferences.
  void ClearUserPreferenceVars() noexcept;

  /// Passed through to the server.
  void setKeepAlive(int keepAlive) noexcept;
  /// The same from decimal text; null or empty gives 0.
  void setKeepAlive(const char* text) noexcept;
  /// What setKeepAlive() or a reply set.
  int getKeepAlive() const noexcept;
  /// The argument count that a reply announced, in decimal; null or empty gives 0. Nothing depends on it.
  void setNumParamsChecksum(const char* text) noexcept;
  /// The argument count that the last reply announced.
  long getNumParamsChecksum() const noexcept;

  /// Unless the text is null or empty: sets the error code to the decimal number and appends a line end to the error
  /// text.
  void setReturnCode(const char* text) noexcept;
  /// Sets and returns the error code, nothing else.
  long setReturnCode(long code) noexcept;
  /// The same; keeps a literal 0 from being taken for a null text.
  long setReturnCode(int code) noexcept;
  /// Sets and returns the error code.
  long setErrorCode(long code) noexcept;
  /// The error code, see qzErrorCode; 0 means none.
  long getReturnCode() const noexcept;
  /// As getReturnCode().
  long getErrorCode() const noexcept;
  /// Detail code, for example an HTTP status.
  long getErrorSubCode() const noexcept;
  /// The error text; null when hasError() is 0.
  const char* getErrorText() const noexcept;
  /// 1 when there is an error code or a text of at least 2 bytes, else 0.
  int hasError() const noexcept;
  /// Sets code and text; returns the code.
  long setError(long code, const char* text) noexcept;
  /// Appends the text and a line end; returns the unchanged code.
  long addErrorText(const char* text) noexcept;
  /// The error object, owned by the call.
  ITKSOAPError& getError() noexcept;
  /// The error object, owned by the call.
  const ITKSOAPError& getError() const noexcept;

  /// Client-side limit of a conversation in seconds.
  void setTimeoutLimit(long seconds) noexcept;
  /// Client-side limit of a conversation in seconds.
  long getTimeoutLimit() const noexcept;
  /// Not 0 makes the call a conversation.
  void setAsyncMode(long mode) noexcept;
  /// Not 0 when the call is a conversation.
  long getAsyncMode() const noexcept;
  /// Passed through to the server.
  void setTimeInterval(long interval) noexcept;
  /// What setTimeInterval() or a reply set.
  long getTimeInterval() const noexcept;
  /// Level at which parkParams() compresses: 1 to 9, 0 for no compression.
  void setComressParams(int level) noexcept;
  /// Level at which parkParams() compresses.
  int getComressParams() const noexcept;

  /// Takes over names, handle, relay header, token, keep-alive, error, limits, modes, preferences, SOAP action and
  /// compression of `other`, and its parameters when `withParams` is not 0; own parameters and preferences are deleted
  /// first. The argument count announced by a reply is not copied. Copying a call onto itself changes nothing. 1, or 0
  /// when memory is short.
  int copy(const ITKSOAP& other, int withParams) noexcept;

 private:
  CallState<ITKBuffer, ITKBufferList, ITKSOAPError> state_;
};

/// Owner of one call object on the heap.
class QZSOAP_API ITKSOAP00 {
 public:
  /// Makes a call object with the arguments of ITKSOAP's constructor; none when memory is short (logged at level 1).
  ITKSOAP00(const char* interfaceName, const char* methodName, int keepAlive, const char* objectHandle,
            const char* relayHeader, const ITKRTT* token, long timeoutLimit)
  noexcept;
  ITKSOAP00(const ITKSOAP00&) = delete;
  ITKSOAP00& operator=(const ITKSOAP00&) = delete;
  /// As releaseSOAP().
  ~ITKSOAP00();

  /// Takes ownership of `call`, which may be null, and deletes the former object.
  void attatchSOAP(ITKSOAP* call) noexcept;
  /// Hands the object to the caller, who deletes it; null when there is none.
  ITKSOAP* detatchSOAP() noexcept;
  /// Deletes the object, if any.
  void releaseSOAP() noexcept;

  /// The object, still owned; null after detatchSOAP() or releaseSOAP().
  ITKSOAP* get() const noexcept { return call_.get(); }
  /// The object, still owned.
  ITKSOAP* operator->() const noexcept { return call_.get(); }
  /// The object, still owned.
  ITKSOAP& operator*() const noexcept { return *call_; }
  /// The object, still owned.
  operator ITKSOAP*() const noexcept { return call_.get(); }

 private:
  std::unique_ptr<ITKSOAP> call_;
};

/// @}
