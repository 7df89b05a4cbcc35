// The flat face's call object behind its interface.
#pragma once

#include "CRpcSOAP.h"
#include "CallState.h"
#include "RuntimeEngine/qzSOAP/BufferListImpl.h"
#include "RuntimeEngine/qzSOAP/SOAPErrorImpl.h"

class CRpcSOAPImpl final : public CRpcSOAP2 {
 public:
  CRpcSOAPImpl();
  /// The arguments of rpcSOAP_Create().
  /// @throws std::bad_alloc when memory is too short for all of them
  CRpcSOAPImpl(const char* interfaceName, const char* methodName, int keepAlive, const char* objectHandle,
               const char* relayHeader, const ITKRTT* token, long timeoutLimit);

  int setInterfaceName(const char* text) noexcept override;
  int setMethodName(const char* text) noexcept override;
  int setObjectHandle(const char* text) noexcept override;
  int setRelayHeader(const char* text) noexcept override;
  const char* getInterfaceName() const noexcept override;
  const char* getMethodName() const noexcept override;
  const char* getObjectHandle() const noexcept override;
  const char* getRelayHeader() const noexcept override;
  int setGatewayURL(const char* text) noexcept override;
  const char* getGatewayURL() const noexcept override;
  int setSoapAction(const char* text) noexcept override;
  const char* getSoapAction() const noexcept override;
  int setPassportId(const char* text) noexcept override;
  const char* getPassportId() const noexcept override;
  int setRTT(const ITKRTT& token) noexcept override;
  ITKRTT& getRTT() noexcept override;
  const ITKRTT& getRTT() const noexcept override;
  ITKRTT& getRTToken() noexcept override;
  const ITKRTT& getRTToken() const noexcept override;
  long addParam(unsigned char type, const void* data, long length) noexcept override;
  long addParam(CqzBuffer* buffer) noexcept override;
  long addParam(const CqzBufferList& list) noexcept override;
  long addParamText(const char* text) noexcept override;
  int setParam(long index, unsigned char type, const void* data, long length) noexcept override;
  int getParam(long index, unsigned char& type, unsigned char*& data, long& length) const noexcept override;
  CqzBuffer* getParamAt(long index) const noexcept override;
  const char* getParamText(long index) const noexcept override;
  int getParamText(long index, char* buffer, long size) const noexcept override;
  int removeParam(long index) noexcept override;
  long getNumParams() const noexcept override;
  CqzBufferList& getListParams() noexcept override;
  const CqzBufferList& getListParams() const noexcept override;
  int parkParams(CqzBuffer& buffer) const noexcept override;
  int unparkParams(const CqzBuffer& buffer) noexcept override;
  int setUserPreference(const char* name, const char* value) noexcept override;
  const char* getUserPreference(const char* name) const noexcept override;
  int getUserPreferenceNames(CqzBufferList& list) const noexcept override;
  ITKMapStringToPtr& getUserPreferenceVars() noexcept override;
  const ITKMapStringToPtr& getUserPreferenceVars() const noexcept override;
  void ClearUserPreferenceVars() noexcept override;
  void setKeepAlive(int keepAlive) noexcept override;
  void setKeepAlive(const char* text) noexcept override;
  int getKeepAlive() const noexcept override;
  void setNumParamsChecksum(const char* text) noexcept override;
  long getNumParamsChecksum() const noexcept override;
  void setReturnCode(const char* text) noexcept override;
  long setReturnCode(long code) noexcept override;
  long setReturnCode(int code) noexcept override;
  long setErrorCode(long code) noexcept override;
  long getReturnCode() const noexcept override;
  long getErrorCode() const noexcept override;
  long getErrorSubCode() const noexcept override;
  const char* getErrorText() const noexcept override;
  int hasError() const noexcept override;
  long setError(long code, const char* text) noexcept override;
  long addErrorText(const char* text) noexcept override;
  CqzSOAPError& getError() noexcept override;
  const CqzSOAPError& getError() const noexcept override;
  void setTimeoutLimit(long seconds) noexcept override;
  long getTimeoutLimit() const noexcept override;
  void setAsyncMode(long mode) noexcept override;
  long getAsyncMode() const noexcept override;
  void setTimeInterval(long interval) noexcept override;
  long getTimeInterval() const noexcept override;
  void setComressParams(int level) noexcept override;
  int getComressParams() const noexcept override;
  int copy(const CRpcSOAP& other, int withParams) noexcept override;

 private:
  CallState<CqzBufferImpl, CqzBufferListImpl, CqzSOAPErrorImpl> state_;
};
