#include "ITKSOAPError.h"

#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/ToolkitLayer.h"
#include "References/Libraries/Rpc/SoapErrorOps.h"

namespace {

using itk::guarded;
using Ops = qz::rpc::SoapErrorOps<itk::ToolkitLayer>;

constexpr const char* kSource = itk::ToolkitLayer::soapErrorSource;

}  // namespace

ITKSOAPError::ITKSOAPError() noexcept { Ops::initialize(state_); }

ITKSOAPError::ITKSOAPError(const ITKSOAPError& other) noexcept { copy(other); }

ITKSOAPError& ITKSOAPError::operator=(const ITKSOAPError& other) noexcept {
  copy(other);
  return *this;
}

ITKSOAPError::~ITKSOAPError() = default;

void ITKSOAPError::copy(const ITKSOAPError& other) noexcept { Ops::copy(state_, other.state_); }

int ITKSOAPError::isError() const noexcept { return Ops::isError(state_); }

long ITKSOAPError::getErrorCode() const noexcept { return state_.errorCode; }

long ITKSOAPError::getErrorSubCode() const noexcept { return state_.errorSubCode; }

const char* ITKSOAPError::getErrorText() const noexcept { return Ops::text(state_); }

long ITKSOAPError::setErrorCode(long code) noexcept { return Ops::setCode(state_, code); }

long ITKSOAPError::setErrorSubCode(long subCode) noexcept { return state_.errorSubCode = subCode; }

long ITKSOAPError::setError(long code, const char* text) noexcept { return Ops::set(state_, code, text); }

long ITKSOAPError::setError(long code, long subCode, const char* text) noexcept {
  return Ops::set(state_, code, subCode, text);
}

long ITKSOAPError::addError(const char* text) noexcept { return Ops::add(state_, text); }

long ITKSOAPError::addError(long code, const char* text) noexcept { return Ops::add(state_, code, text); }

long ITKSOAPError::addError(const ITKSOAPError& other, const char* text) noexcept {
  return Ops::add(state_, other.state_, text);
}

long ITKSOAPError::addError(const ITKSOAPError& other, long code, const char* text) noexcept {
  return Ops::add(state_, other.state_, code, text);
}

int ITKSOAPError::checkErrorCode(long code, const char* text) noexcept { return Ops::check(state_, code, text); }

long ITKSOAPError::clear() noexcept { return Ops::clear(state_); }

int ITKSOAPError::serializeOut(ITKBuffer& out, int level) const noexcept {
  return guarded(kSource, 0, [&] { return Ops::serializeOut(state_, out, level); });
}

int ITKSOAPError::serializeIn(const ITKBuffer& in) noexcept {
  return guarded(kSource, 0, [&] { return Ops::serializeIn(state_, in); });
}
