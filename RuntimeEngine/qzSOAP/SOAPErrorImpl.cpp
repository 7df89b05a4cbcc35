#include "RuntimeEngine/qzSOAP/SOAPErrorImpl.h"

#include <new>

#include "References/Libraries/Rpc/SoapErrorOps.h"
#include "RuntimeEngine/qzSOAP/FlatLayer.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"

namespace {

using qz::flat::guarded;
using qz::flat::refuse;
using Ops = qz::rpc::SoapErrorOps<qz::flat::FlatLayer>;

constexpr const char* kSource = qz::flat::FlatLayer::soapErrorSource;

// Every error object is made by this library.
const CqzSOAPErrorImpl& implOf(const CqzSOAPError& error) { return static_cast<const CqzSOAPErrorImpl&>(error); }

}  // namespace

CqzSOAPErrorImpl::CqzSOAPErrorImpl() {
  Ops::initialize(state_);
  if (state_.text.getBuffer() == nullptr) throw std::bad_alloc();
}

CqzSOAPErrorImpl& CqzSOAPErrorImpl::operator=(const CqzSOAPErrorImpl& other) noexcept {
  copy(other);
  return *this;
}

CqzSOAPErrorImpl& CqzSOAPErrorImpl::operator=(const CqzSOAPError& other) noexcept { return *this = implOf(other); }

void CqzSOAPErrorImpl::copy(const CqzSOAPError& other) noexcept { Ops::copy(state_, implOf(other).state_); }

int CqzSOAPErrorImpl::isError() const noexcept { return Ops::isError(state_); }

long CqzSOAPErrorImpl::getErrorCode() const noexcept { return state_.errorCode; }

long CqzSOAPErrorImpl::getErrorSubCode() const noexcept { return state_.errorSubCode; }

const char* CqzSOAPErrorImpl::getErrorText() const noexcept { return Ops::text(state_); }

long CqzSOAPErrorImpl::setErrorCode(long code) noexcept { return Ops::setCode(state_, code); }

long CqzSOAPErrorImpl::setErrorSubCode(long subCode) noexcept { return state_.errorSubCode = subCode; }

long CqzSOAPErrorImpl::setError(long code, const char* text) noexcept { return Ops::set(state_, code, text); }

long CqzSOAPErrorImpl::setError(long code, long subCode, const char* text) noexcept {
  return Ops::set(state_, code, subCode, text);
}

long CqzSOAPErrorImpl::addError(const char* text) noexcept { return Ops::add(state_, text); }

long CqzSOAPErrorImpl::addError(long code, const char* text) noexcept { return Ops::add(state_, code, text); }

long CqzSOAPErrorImpl::addError(const CqzSOAPError& other, const char* text) noexcept {
  return Ops::add(state_, implOf(other).state_, text);
}

long CqzSOAPErrorImpl::addError(const CqzSOAPError& other, long code, const char* text) noexcept {
  return Ops::add(state_, implOf(other).state_, code, text);
}

int CqzSOAPErrorImpl::checkErrorCode(long code, const char* text) noexcept { return Ops::check(state_, code, text); }

long CqzSOAPErrorImpl::clear() noexcept { return Ops::clear(state_); }

int CqzSOAPErrorImpl::serializeOut(CqzBuffer* out, int level) const noexcept {
  if (out == nullptr) return refuse(kSource, "serializeOut", "Object receiving the out put is a NULL pointer", 0);
  return guarded(kSource, "serializeOut", 0, [&] { return Ops::serializeOut(state_, *out, level); });
}

int CqzSOAPErrorImpl::serializeIn(const CqzBuffer* in) noexcept {
  if (in == nullptr) return refuse(kSource, "serializeIn", "Input object is NULL", 0);
  return guarded(kSource, "serializeIn", 0, [&] { return Ops::serializeIn(state_, *in); });
}
