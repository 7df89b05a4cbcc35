#include "ITKSOAP.h"

#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/ToolkitLayer.h"
#include "References/Libraries/Rpc/CallOps.h"

namespace {

using Ops = qz::rpc::CallOps<itk::ToolkitLayer>;

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKSOAP";

}  // namespace

ITKSOAP::ITKSOAP() noexcept : ITKSOAP("", "", 0, "", "", nullptr, 0) {}

ITKSOAP::ITKSOAP(const char* interfaceName, const char* methodName, int keepAlive, const char* objectHandle,
                 const char* relayHeader, const ITKRTT* token, long timeoutLimit) noexcept {
  itk::guarded(kSource, [&] {
    Ops::construct(state_, {interfaceName, methodName, keepAlive, objectHandle, relayHeader, token, timeoutLimit});
  });
}

ITKSOAP::~ITKSOAP() = default;

int ITKSOAP::setInterfaceName(const char* text) noexcept { return Ops::setText(state_.interfaceName, text); }
int ITKSOAP::setMethodName(const char* text) noexcept { return Ops::setText(state_.methodName, text); }
int ITKSOAP::setObjectHandle(const char* text) noexcept { return Ops::setText(state_.objectHandle, text); }
int ITKSOAP::setRelayHeader(const char* text) noexcept { return Ops::setText(state_.relayHeader, text); }

const char* ITKSOAP::getInterfaceName() const noexcept { return state_.interfaceName.c_str(); }
const char* ITKSOAP::getMethodName() const noexcept { return Ops::textOrNull(state_.methodName); }
const char* ITKSOAP::getObjectHandle() const noexcept { return Ops::textOrNull(state_.objectHandle); }
const char* ITKSOAP::getRelayHeader() const noexcept { return Ops::textOrNull(state_.relayHeader); }

int ITKSOAP::setGatewayURL(const char* text) noexcept {
  return itk::guarded(kSource, 0, [&] { return Ops::setGatewayURL(state_, text, kSource); });
}

const char* ITKSOAP::getGatewayURL() const noexcept { return state_.token.getURL(); }

int ITKSOAP::setSoapAction(const char* text) noexcept {
  return itk::guarded(kSource, 0, [&] { return Ops::setSoapAction(state_, text, kSource); });
}

const char* ITKSOAP::getSoapAction() const noexcept { return Ops::textOrNull(state_.soapAction); }

int ITKSOAP::setPassportId(const char* text) noexcept { return Ops::setPassportId(state_, text); }
const char* ITKSOAP::getPassportId() const noexcept { return state_.token.getPassportID(); }

int ITKSOAP::setRTT(const ITKRTT& token) noexcept {
  state_.token = token;
  return 1;
}

ITKRTT& ITKSOAP::getRTT() noexcept { return state_.token; }
const ITKRTT& ITKSOAP::getRTT() const noexcept { return state_.token; }
ITKRTT& ITKSOAP::getRTToken() noexcept { return state_.token; }
const ITKRTT& ITKSOAP::getRTToken() const noexcept { return state_.token; }

long ITKSOAP::addParam(unsigned char type, const void* data, long length) noexcept {
  return itk::guarded(kSource, -1L, [&] { return Ops::addParam(state_, type, data, length); });
}

long ITKSOAP::addParam(ITKBuffer* buffer) noexcept { return state_.params.add(buffer); }
long ITKSOAP::addParam(const ITKBufferList& list) noexcept { return state_.params.add(list); }

long ITKSOAP::addParamText(const char* text) noexcept {
  return itk::guarded(kSource, -1L, [&] { return Ops::addParamText(state_, text); });
}

int ITKSOAP::setParam(long index, unsigned char type, const void* data, long length) noexcept {
  return itk::guarded(kSource, 0, [&] { return Ops::setParam(state_, index, type, data, length); });
}

int ITKSOAP::getParam(long index, unsigned char& type, unsigned char*& data, long& length) const noexcept {
  return Ops::getParam(state_, index, type, data, length);
}

ITKBuffer* ITKSOAP::getParamAt(long index) const noexcept { return state_.params.getAt(index); }
const char* ITKSOAP::getParamText(long index) const noexcept { return Ops::getParamText(state_, index); }
int ITKSOAP::removeParam(long index) noexcept { return state_.params.removeAt(index); }
long ITKSOAP::getNumParams() const noexcept { return state_.params.getCount(); }
ITKBufferList& ITKSOAP::getListParams() noexcept { return state_.params; }
const ITKBufferList& ITKSOAP::getListParams() const noexcept { return state_.params; }

int ITKSOAP::parkParams(ITKBuffer& buffer) const noexcept {
  return itk::guarded(kSource, 0, [&] { return Ops::parkParams(state_, buffer, kSource); });
}

int ITKSOAP::unparkParams(const ITKBuffer& buffer) noexcept {
  return itk::guarded(kSource, 0, [&] { return Ops::unparkParams(state_, buffer, kSource); });
}

int ITKSOAP::setUserPreference(const char* name, const char* value) noexcept {
  return itk::guarded(kSource, 0, [&] { return Ops::setUserPreference(state_, name, value); });
}

const char* ITKSOAP::getUserPreference(const char* name) const noexcept {
  return itk::guarded(kSource, static_cast<const char*>(nullptr), [&] { return Ops::getUserPreference(state_, name); });
}

int ITKSOAP::getUserPreferenceNames(ITKBufferList& list) const noexcept {
  return itk::guarded(kSource, 0, [&] { return Ops::getUserPreferenceNames(state_, list); });
}

ITKMapStringToPtr& ITKSOAP::getUserPreferenceVars() noexcept { return state_.userPreferences; }
const ITKMapStringToPtr& ITKSOAP::getUserPreferenceVars() const noexcept { return state_.userPreferences; }
void ITKSOAP::ClearUserPreferenceVars() noexcept { state_.userPreferences.removeAll(); }

void ITKSOAP::setKeepAlive(int keepAlive) noexcept { state_.keepAlive = keepAlive; }
void ITKSOAP::setKeepAlive(const char* text) noexcept { Ops::setNumber(state_.keepAlive, text); }
int ITKSOAP::getKeepAlive() const noexcept { return static_cast<int>(state_.keepAlive); }

void ITKSOAP::setNumParamsChecksum(const char* text) noexcept { Ops::setNumber(state_.numParamsChecksum, text); }
long ITKSOAP::getNumParamsChecksum() const noexcept { return state_.numParamsChecksum; }

void ITKSOAP::setReturnCode(const char* text) noexcept { Ops::setReturnCode(state_, text); }
long ITKSOAP::setReturnCode(long code) noexcept { return state_.error.setErrorCode(code); }
long ITKSOAP::setReturnCode(int code) noexcept { return state_.error.setErrorCode(code); }
long ITKSOAP::setErrorCode(long code) noexcept { return state_.error.setErrorCode(code); }
long ITKSOAP::getReturnCode() const noexcept { return state_.error.getErrorCode(); }
long ITKSOAP::getErrorCode() const noexcept { return state_.error.getErrorCode(); }
long ITKSOAP::getErrorSubCode() const noexcept { return state_.error.getErrorSubCode(); }
const char* ITKSOAP::getErrorText() const noexcept { return state_.error.getErrorText(); }
int ITKSOAP::hasError() const noexcept { return state_.error.isError(); }
long ITKSOAP::setError(long code, const char* text) noexcept { return state_.error.setError(code, text); }
long ITKSOAP::addErrorText(const char* text) noexcept { return state_.error.addError(text); }
ITKSOAPError& ITKSOAP::getError() noexcept { return state_.error; }
const ITKSOAPError& ITKSOAP::getError() const noexcept { return state_.error; }

void ITKSOAP::setTimeoutLimit(long seconds) noexcept { state_.timeoutLimit = seconds; }
long ITKSOAP::getTimeoutLimit() const noexcept { return state_.timeoutLimit; }
void ITKSOAP::setAsyncMode(long mode) noexcept { state_.asyncMode = mode; }
long ITKSOAP::getAsyncMode() const noexcept { return state_.asyncMode; }
void ITKSOAP::setTimeInterval(long interval) noexcept { state_.timeInterval = interval; }
long ITKSOAP::getTimeInterval() const noexcept { return state_.timeInterval; }
void ITKSOAP::setComressParams(int level) noexcept { state_.compressParams = level; }
int ITKSOAP::getComressParams() const noexcept { return static_cast<int>(state_.compressParams); }

int ITKSOAP::copy(const ITKSOAP& other, int withParams) noexcept {
  return itk::guarded(kSource, 0, [&] { return Ops::copy(state_, other.state_, withParams); });
}

ITKSOAP00::ITKSOAP00(const char* interfaceName, const char* methodName, int keepAlive, const char* objectHandle,
                     const char* relayHeader, const ITKRTT* token, long timeoutLimit) noexcept {
  itk::guarded(kSource, [&] {
    call_ =
        std::make_unique<ITKSOAP>(interfaceName, methodName, keepAlive, objectHandle, relayHeader, token, timeoutLimit);
  });
}

ITKSOAP00::~ITKSOAP00() = default;

void ITKSOAP00::attatchSOAP(ITKSOAP* call) noexcept {
  if (call != call_.get()) call_.reset(call);
}

ITKSOAP* ITKSOAP00::detatchSOAP() noexcept { return call_.release(); }

void ITKSOAP00::releaseSOAP() noexcept { call_.reset(); }
