// The flat face's error object behind its interface.
#pragma once

#include "CqzSOAPError.h"
#include "QzErrorForms.h"
#include "References/Common/BufferImpl.h"

class CqzSOAPErrorImpl final : public QzErrorForms<CqzSOAPError, CqzSOAPError> {
 public:
  /// @throws std::bad_alloc when memory is too short for its text
  CqzSOAPErrorImpl();
  CqzSOAPErrorImpl(const CqzSOAPErrorImpl&) = delete;
  CqzSOAPErrorImpl& operator=(const CqzSOAPErrorImpl& other) noexcept;

  CqzSOAPErrorImpl& operator=(const CqzSOAPError& other) noexcept override;
  void copy(const CqzSOAPError& other) noexcept override;
  int isError() const noexcept override;
  long getErrorCode() const noexcept override;
  long getErrorSubCode() const noexcept override;
  const char* getErrorText() const noexcept override;
  long setErrorCode(long code) noexcept override;
  long setErrorSubCode(long subCode) noexcept override;
  long setError(long code, const char* text) noexcept override;
  long setError(long code, long subCode, const char* text) noexcept override;
  long addError(const char* text) noexcept override;
  long addError(long code, const char* text) noexcept override;
  long addError(const CqzSOAPError& other, const char* text) noexcept override;
  long addError(const CqzSOAPError& other, long code, const char* text) noexcept override;
  int checkErrorCode(long code, const char* text) noexcept override;
  long clear() noexcept override;
  int serializeOut(CqzBuffer* out, int level) const noexcept override;
  int serializeIn(const CqzBuffer* in) noexcept override;

 private:
  SoapErrorState<CqzBufferImpl> state_;
};
