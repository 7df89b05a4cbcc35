/// @file
/// The flat face's error object.
#pragma once

#include "CqzBuffer.h"

/// @addtogroup flat
/// @{

/// Error code, sub-code and text of one call.
///
/// Made by rpcSOAP_CreateError(), given back to rpcSOAP_ReleaseError(); only such objects may be handed to the library.
/// The text grows line by line while an error passes through several layers. Text arguments may be null: nothing is
/// appended. They may point into this object. Formats are those of vsnprintf; a formatted text keeps at most 8191
/// characters. For the codes see qzErrorCode. While the trace level is 3 or more, every operation that sets the code
/// reports it at level 3 ("Error code %d is replaced with %d"), also when it stays the same.
class CqzSOAPError {
 public:
  /// The code of an object without an error, E_OK.
  static constexpr long noError = E_OK;

  virtual ~CqzSOAPError() = default;
  /// As copy().
  virtual CqzSOAPError& operator=(const CqzSOAPError& other) noexcept = 0;
  /// Copies codes and text.
  virtual void copy(const CqzSOAPError& other) noexcept = 0;

  /// 1 when the code is not noError or the text has at least 2 bytes, else 0.
  virtual int isError() const noexcept = 0;
  /// The code; noError means none.
  virtual long getErrorCode() const noexcept = 0;
  /// The detail code, for example an HTTP status.
  virtual long getErrorSubCode() const noexcept = 0;
  /// The text, valid until the object changes; null when isError() is 0.
  virtual const char* getErrorText() const noexcept = 0;
  /// Sets and returns the code.
  virtual long setErrorCode(long code) noexcept = 0;
  /// Sets and returns the detail code.
  virtual long setErrorSubCode(long subCode) noexcept = 0;

  /// Sets the code and replaces the text; returns the code.
  virtual long setError(long code, const char* text) noexcept = 0;
  /// The same with the detail code.
  virtual long setError(long code, long subCode, const char* text) noexcept = 0;
  /// setError() with a format. A null format counts as a null text.
  virtual long setErrorV(long code, const char* format, ...) noexcept QZ_PRINTF(3, 4) = 0;
  /// setError() with a format and the detail code.
  virtual long setErrorV(long code, long subCode, const char* format, ...) noexcept QZ_PRINTF(4, 5) = 0;

  /// Appends the text and a line end; returns the unchanged code.
  virtual long addError(const char* text) noexcept = 0;
  /// Sets the code, appends the text and a line end; returns the code.
  virtual long addError(long code, const char* text) noexcept = 0;
  /// Replaces the text by `text`, then appends the text of `other` if that is an error, and a line end; returns the
  /// code.
  virtual long addError(const CqzSOAPError& other, const char* text) noexcept = 0;
  /// Sets the code, appends `text`, the text of `other` if that is an error, and a line end; returns the code.
  virtual long addError(const CqzSOAPError& other, long code, const char* text) noexcept = 0;
  /// addError() with a format.
  virtual long addErrorV(const char* format, ...) noexcept QZ_PRINTF(2, 3) = 0;
  /// addError() with code and format.
  virtual long addErrorV(long code, const char* format, ...) noexcept QZ_PRINTF(3, 4) = 0;
  /// addError() with another object and a format.
  virtual long addErrorV(const CqzSOAPError& other, const char* format, ...) noexcept QZ_PRINTF(3, 4) = 0;
  /// addError() with another object, code and format.
  virtual long addErrorV(const CqzSOAPError& other, long code, const char* format, ...) noexcept QZ_PRINTF(4, 5) = 0;

  /// Sets the code and, unless it is noError, appends the text without a line end and returns 1; otherwise 0.
  virtual int checkErrorCode(long code, const char* text) noexcept = 0;
  /// Code noError, detail code 0, empty text; returns noError.
  virtual long clear() noexcept = 0;

  /// Writes code and text as a list of two elements (DT_BINARY of 4 bytes, DT_TEXT) into `out`; 1 or 0. Null fails with
  /// "Object receiving the out put is a NULL pointer".
  /// @param out receives the stream; becomes DT_LIST or DT_COMPRESSED
  /// @param level 0 for the plain stream, otherwise the zlib level
  virtual int serializeOut(CqzBuffer* out, int level) const noexcept = 0;
  /// Takes code and text from what serializeOut() wrote, compressed or not; the detail code stays. 0 with "failed to
  /// serialize the incoming stream", or for null with "Input object is NULL", the object then unchanged; 1 on success.
  virtual int serializeIn(const CqzBuffer* in) noexcept = 0;

 protected:
  CqzSOAPError() = default;
  /// Copies nothing: the fields are those of the object behind the interface.
  CqzSOAPError(const CqzSOAPError&) = default;
};

extern "C" {
/// A new object without an error; null when memory is short.
QZSOAP_API CqzSOAPError* __cdecl rpcSOAP_CreateError();
/// Deletes an error object; null is allowed.
QZSOAP_API void __cdecl rpcSOAP_ReleaseError(CqzSOAPError* error);
}

/// @}
