#include "RuntimeEngine/qzSOAP/rpcSOAPImpl.h"

#include <cstring>
#include <new>

#include "References/Libraries/Rpc/CallOps.h"
#include "RuntimeEngine/qzSOAP/FlatLayer.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"

namespace {

using qz::flat::checked;
using qz::flat::guarded;
using qz::flat::refuse;
using Ops = qz::rpc::CallOps<qz::flat::FlatLayer>;
using Place = std::source_location;

constexpr const char* kSource = "RuntimeEngine/qzSOAP/rpcSOAPImpl";

// The buffer that they are meant for tells of missing bytes only while tracing.
bool areBytes(const char* operation, const void* data, long length, Place at = Place::current()) {
  if (length == 0 || (length > 0 && data != nullptr)) return true;
  if (length > 0) return refuse(kSource, operation, qz::kNullArgument, false, at);
  qz::reportError(CqzLog::Error, kSource, operation, static_cast<long>(at.line()), "length [%ld] out of range", length);
  return false;
}

}  // namespace

CRpcSOAPImpl::CRpcSOAPImpl() : CRpcSOAPImpl("", "", 0, "", "", nullptr, 0) {}

CRpcSOAPImpl::CRpcSOAPImpl(const char* interfaceName, const char* methodName, int keepAlive, const char* objectHandle,
                           const char* relayHeader, const ITKRTT* token, long timeoutLimit) {
  if (!Ops::construct(state_, {interfaceName, methodName, keepAlive, objectHandle, relayHeader, token, timeoutLimit}))
    throw std::bad_alloc();
}

int CRpcSOAPImpl::setInterfaceName(const char* text) noexcept { return Ops::setText(state_.interfaceName, text); }
int CRpcSOAPImpl::setMethodName(const char* text) noexcept { return Ops::setText(state_.methodName, text); }
int CRpcSOAPImpl::setObjectHandle(const char* text) noexcept { return Ops::setText(state_.objectHandle, text); }
int CRpcSOAPImpl::setRelayHeader(const char* text) noexcept { return Ops::setText(state_.relayHeader, text); }

const char* CRpcSOAPImpl::getInterfaceName() const noexcept { return state_.interfaceName.c_str(); }
const char* CRpcSOAPImpl::getMethodName() const noexcept { return Ops::textOrNull(state_.methodName); }
const char* CRpcSOAPImpl::getObjectHandle() const noexcept { return Ops::textOrNull(state_.objectHandle); }
const char* CRpcSOAPImpl::getRelayHeader() const noexcept { return Ops::textOrNull(state_.relayHeader); }

int CRpcSOAPImpl::setGatewayURL(const char* text) noexcept {
  return guarded(kSource, "setGatewayURL", 0, [&] { return Ops::setGatewayURL(state_, text, kSource); });
}

const char* CRpcSOAPImpl::getGatewayURL() const noexcept { return state_.token.getURL(); }

int CRpcSOAPImpl::setSoapAction(const char* text) noexcept {
  return guarded(kSource, "setSoapAction", 0, [&] { return Ops::setSoapAction(state_, text, kSource); });
}

const char* CRpcSOAPImpl::getSoapAction() const noexcept { return Ops::textOrNull(state_.soapAction); }

int CRpcSOAPImpl::setPassportId(const char* text) noexcept { return Ops::setPassportId(state_, text); }
const char* CRpcSOAPImpl::getPassportId() const noexcept { return state_.token.getPassportID(); }

int CRpcSOAPImpl::setRTT(const ITKRTT& token) noexcept {
  state_.token = token;
  return 1;
}

ITKRTT& CRpcSOAPImpl::getRTT() noexcept { return state_.token; }
const ITKRTT& CRpcSOAPImpl::getRTT() const noexcept { return state_.token; }
ITKRTT& CRpcSOAPImpl::getRTToken() noexcept { return state_.token; }
const ITKRTT& CRpcSOAPImpl::getRTToken() const noexcept { return state_.token; }

long CRpcSOAPImpl::addParam(unsigned char type, const void* data, long length) noexcept {
  if (!areBytes("addParam", data, length)) return -1;
  return guarded(kSource, "addParam", -1L, [&] { return Ops::addParam(state_, type, data, length); });
}

long CRpcSOAPImpl::addParam(CqzBuffer* buffer) noexcept { return state_.params.add(buffer); }
long CRpcSOAPImpl::addParam(const CqzBufferList& list) noexcept { return state_.params.add(list); }

long CRpcSOAPImpl::addParamText(const char* text) noexcept {
  return checked(kSource, "addParamText", -1L, {text}, [&] { return Ops::addParamText(state_, text); });
}

int CRpcSOAPImpl::setParam(long index, unsigned char type, const void* data, long length) noexcept {
  if (!areBytes("setParam", data, length)) return 0;
  return guarded(kSource, "setParam", 0, [&] { return Ops::setParam(state_, index, type, data, length); });
}

int CRpcSOAPImpl::getParam(long index, unsigned char& type, unsigned char*& data, long& length) const noexcept {
  return Ops::getParam(state_, index, type, data, length);
}

CqzBuffer* CRpcSOAPImpl::getParamAt(long index) const noexcept { return state_.params.getAt(index); }
const char* CRpcSOAPImpl::getParamText(long index) const noexcept { return Ops::getParamText(state_, index); }

int CRpcSOAPImpl::getParamText(long index, char* buffer, long size) const noexcept {
  const char* text = getParamText(index);
  if (text == nullptr) return refuse(kSource, "getParamText", "Try to get a text string which is not a text", 0);
  const auto length = static_cast<long>(std::strlen(text));
  if (buffer == nullptr || size <= length) {
    if (buffer != nullptr && size > 0) *buffer = '\0';
    return refuse(kSource, "getParamText", "Insufficient buffer size", 0);
  }
  std::memcpy(buffer, text, static_cast<std::size_t>(length) + 1);
  return 1;
}

int CRpcSOAPImpl::removeParam(long index) noexcept { return state_.params.removeAt(index); }
long CRpcSOAPImpl::getNumParams() const noexcept { return state_.params.getCount(); }
CqzBufferList& CRpcSOAPImpl::getListParams() noexcept { return state_.params; }
const CqzBufferList& CRpcSOAPImpl::getListParams() const noexcept { return state_.params; }

int CRpcSOAPImpl::parkParams(CqzBuffer& buffer) const noexcept {
  return guarded(kSource, "parkParams", 0, [&] { return Ops::parkParams(state_, buffer, kSource); });
}

int CRpcSOAPImpl::unparkParams(const CqzBuffer& buffer) noexcept {
  return guarded(kSource, "unparkParams", 0, [&] { return Ops::unparkParams(state_, buffer, kSource); });
}

int CRpcSOAPImpl::setUserPreference(const char* name, const char* value) noexcept {
  return guarded(kSource, "setUserPreference", 0, [&] { return Ops::setUserPreference(state_, name, value); });
}

const char* CRpcSOAPImpl::getUserPreference(const char* name) const noexcept {
  return guarded(kSource, "getUserPreference", static_cast<const char*>(nullptr),
                 [&] { return Ops::getUserPreference(state_, name); });
}

int CRpcSOAPImpl::getUserPreferenceNames(CqzBufferList& list) const noexcept {
  return guarded(kSource, "getUserPreferenceNames", 0, [&] { return Ops::getUserPreferenceNames(state_, list); });
}

ITKMapStringToPtr& CRpcSOAPImpl::getUserPreferenceVars() noexcept { return state_.userPreferences; }
const ITKMapStringToPtr& CRpcSOAPImpl::getUserPreferenceVars() const noexcept { return state_.userPreferences; }
void CRpcSOAPImpl::ClearUserPreferenceVars() noexcept { state_.userPreferences.removeAll(); }

void CRpcSOAPImpl::setKeepAlive(int keepAlive) noexcept { state_.keepAlive = keepAlive; }
void CRpcSOAPImpl::setKeepAlive(const char* text) noexcept { Ops::setNumber(state_.keepAlive, text); }
int CRpcSOAPImpl::getKeepAlive() const noexcept { return static_cast<int>(state_.keepAlive); }

void CRpcSOAPImpl::setNumParamsChecksum(const char* text) noexcept { Ops::setNumber(state_.numParamsChecksum, text); }
long CRpcSOAPImpl::getNumParamsChecksum() const noexcept { return state_.numParamsChecksum; }

void CRpcSOAPImpl::setReturnCode(const char* text) noexcept { Ops::setReturnCode(state_, text); }
long CRpcSOAPImpl::setReturnCode(long code) noexcept { return state_.error.setErrorCode(code); }
long CRpcSOAPImpl::setReturnCode(int code) noexcept { return state_.error.setErrorCode(code); }
long CRpcSOAPImpl::setErrorCode(long code) noexcept { return state_.error.setErrorCode(code); }
long CRpcSOAPImpl::getReturnCode() const noexcept { return state_.error.getErrorCode(); }
long CRpcSOAPImpl::getErrorCode() const noexcept { return state_.error.getErrorCode(); }
long CRpcSOAPImpl::getErrorSubCode() const noexcept { return state_.error.getErrorSubCode(); }
const char* CRpcSOAPImpl::getErrorText() const noexcept { return state_.error.getErrorText(); }
int CRpcSOAPImpl::hasError() const noexcept { return state_.error.isError(); }
long CRpcSOAPImpl::setError(long code, const char* text) noexcept { return state_.error.setError(code, text); }
long CRpcSOAPImpl::addErrorText(const char* text) noexcept { return state_.error.addError(text); }
CqzSOAPError& CRpcSOAPImpl::getError() noexcept { return state_.error; }
const CqzSOAPError& CRpcSOAPImpl::getError() const noexcept { return state_.error; }

void CRpcSOAPImpl::setTimeoutLimit(long seconds) noexcept { state_.timeoutLimit = seconds; }
long CRpcSOAPImpl::getTimeoutLimit() const noexcept { return state_.timeoutLimit; }
void CRpcSOAPImpl::setAsyncMode(long mode) noexcept { state_.asyncMode = mode; }
long CRpcSOAPImpl::getAsyncMode() const noexcept { return state_.asyncMode; }
void CRpcSOAPImpl::setTimeInterval(long interval) noexcept { state_.timeInterval = interval; }
long CRpcSOAPImpl::getTimeInterval() const noexcept { return state_.timeInterval; }
void CRpcSOAPImpl::setComressParams(int level) noexcept { state_.compressParams = level; }
int CRpcSOAPImpl::getComressParams() const noexcept { return static_cast<int>(state_.compressParams); }

int CRpcSOAPImpl::copy(const CRpcSOAP& other, int withParams) noexcept {
  return guarded(kSource, "copy", 0,
                 [&] { return Ops::copy(state_, static_cast<const CRpcSOAPImpl&>(other).state_, withParams); });
}
