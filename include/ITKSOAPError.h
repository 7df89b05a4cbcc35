/// @file
/// The toolkit's error object.
#pragma once

#include "ITKBuffer.h"
#include "QzErrorForms.h"

/// @addtogroup toolkit
/// @{

/// Error code, sub-code and text of one call.
///
/// The text grows line by line while an error passes through several layers. Text arguments may be null: nothing is
/// appended. They may point into this object. For the codes see qzErrorCode.
class QZSOAP_API ITKSOAPError : public QzErrorForms<ITKSOAPError> {
 public:
  /// No error: both codes 0, empty text.
  ITKSOAPError() noexcept;
  /// Copies codes and text.
  ITKSOAPError(const ITKSOAPError& other) noexcept;
  /// Copies codes and text.
  ITKSOAPError& operator=(const ITKSOAPError& other) noexcept;
  virtual ~ITKSOAPError();

  /// Copies codes and text.
  void copy(const ITKSOAPError& other) noexcept;

  /// 1 when the code is not 0 or the text has at least 2 bytes, else 0.
  int isError() const noexcept;
  /// The code; 0 means none.
  long getErrorCode() const noexcept;
  /// The detail code, for example an HTTP status.
  long getErrorSubCode() const noexcept;
  /// The text, valid until the object changes; null when isError() is 0.
  const char* getErrorText() const noexcept;
  /// Sets and returns the code.
  long setErrorCode(long code) noexcept;
  /// Sets and returns the detail code.
  long setErrorSubCode(long subCode) noexcept;

  /// Sets the code and replaces the text; returns the code.
  long setError(long code, const char* text) noexcept;
  /// The same with the detail code.
  long setError(long code, long subCode, const char* text) noexcept;

  /// Appends the text and a line end; returns the unchanged code.
  long addError(const char* text) noexcept;
  /// Sets the code, appends the text and a line end; returns the code.
  long addError(long code, const char* text) noexcept;
  /// Replaces the text by `text`, then appends the text of `other` if that is an error, and a line end; returns the
  /// code.
  long addError(const ITKSOAPError& other, const char* text) noexcept;
  /// Sets the code, appends `text`, the text of `other` if that is an error, and a line end; returns the code.
  long addError(const ITKSOAPError& other, long code, const char* text) noexcept;

  /// Sets the code and, when it is not 0, appends the text without a line end; 1 when the code is not 0, else 0.
  int checkErrorCode(long code, const char* text) noexcept;
  /// Both codes 0, empty text; returns 0.
  long clear() noexcept;

  /// Writes code and text as a list of two elements (DT_BINARY of 4 bytes, DT_TEXT) into `out`; 1 or 0.
  /// @param out receives the stream; becomes DT_LIST or DT_COMPRESSED
  /// @param level 0 for the plain stream, otherwise the zlib level
  int serializeOut(ITKBuffer& out, int level) const noexcept;
  /// Takes code and text from what serializeOut() wrote, compressed or not; the detail code stays. 0 with "failed to
  /// serialize the incoming stream", the object then unchanged; 1 on success.
  int serializeIn(const ITKBuffer& in) noexcept;

 private:
  SoapErrorState<ITKBuffer> state_;
};

/// @}
