#include "RuntimeEngine/qzSOAP/BufferListImpl.h"

#include "References/Libraries/Platform/Variant.h"
#include "References/Libraries/Rpc/BufferListOps.h"
#include "RuntimeEngine/qzSOAP/FlatLayer.h"
#include "RuntimeEngine/qzSOAP/Guarded.h"

namespace {

using qz::flat::FlatLayer;
using qz::flat::guarded;
using qz::flat::refuse;
using Ops = qz::rpc::BufferListOps<FlatLayer>;

constexpr const char* kSource = FlatLayer::bufferListSource;
constexpr const char* kNoBuffer = "NULL pointer";

}  // namespace

CqzBufferListImpl::~CqzBufferListImpl() { Ops::destroy(state_); }

long CqzBufferListImpl::add(CqzBuffer* buffer) noexcept {
  if (buffer == nullptr) return refuse(kSource, "add", kNoBuffer, -1L);
  return guarded(kSource, "add", -1L, [&] { return Ops::append(state_, buffer); });
}

long CqzBufferListImpl::add(const CqzBuffer& buffer) noexcept {
  return guarded(kSource, "add", -1L,
                 [&] { return Ops::appendBytes(state_, buffer.getType(), qz::contentOf(buffer)); });
}

long CqzBufferListImpl::add(const char* text) noexcept { return add(text, 0); }

long CqzBufferListImpl::add(const char* text, int first) noexcept {
  return guarded(kSource, "add", -1L, [&] { return Ops::appendText(state_, text, first != 0); });
}

long CqzBufferListImpl::add(BSTR& text) noexcept {
  auto value = qz::platform::stringVariant(text);
  return add(value);
}

long CqzBufferListImpl::add(VARIANT& value) noexcept {
  return guarded(kSource, "add", -1L, [&] {
    auto buffer = std::make_unique<CqzBufferImpl>();
    if (!FlatLayer::fromVariant(*buffer, value)) return refuse(kSource, "add", "Check failed", -1L);
    return Ops::append(state_, std::move(buffer));
  });
}

long CqzBufferListImpl::add(const CqzBufferList& list) noexcept {
  return guarded(kSource, "add", -1L,
                 [&] { return Ops::appendList(state_, static_cast<const CqzBufferListImpl&>(list).state_); });
}

int CqzBufferListImpl::copy(const CqzBufferList& other) noexcept {
  return guarded(kSource, "copy", 0,
                 [&] { return Ops::copy(state_, static_cast<const CqzBufferListImpl&>(other).state_); });
}

CqzBuffer* CqzBufferListImpl::getAt(long index) const noexcept { return Ops::at(state_, index); }

int CqzBufferListImpl::setAt(long index, CqzBuffer* buffer) noexcept {
  if (buffer == nullptr) return refuse(kSource, "setAt", kNoBuffer, 0);
  return guarded(kSource, "setAt", 0, [&] { return Ops::setAt(state_, index, buffer); });
}

int CqzBufferListImpl::removeAt(long index) noexcept {
  return guarded(kSource, "removeAt", 0, [&] { return Ops::removeAt(state_, index); });
}

void CqzBufferListImpl::removeAll() noexcept { Ops::removeAll(state_); }

long CqzBufferListImpl::getCount() const noexcept { return state_.count; }

void CqzBufferListImpl::toString(CqzBuffer& out) const noexcept { Ops::toString(state_, out); }

int CqzBufferListImpl::serializeTo(CqzBuffer& out, int level) const noexcept {
  return guarded(kSource, "serializeOut", 0, [&] { return Ops::serializeTo(state_, out, level); });
}

int CqzBufferListImpl::serializeFrom(const CqzBuffer& in) noexcept {
  return guarded(kSource, "serializeIn", 0, [&] { return Ops::serializeFrom(state_, in); });
}

int CqzBufferListImpl::serializeTo(void* file) const noexcept {
  return guarded(kSource, "serializeOut", 0, [&] { return Ops::writeFile(state_, file); });
}

int CqzBufferListImpl::serializeFrom(void* file) noexcept {
  return guarded(kSource, "serializeIn", 0, [&] { return Ops::readFile(state_, file); });
}

int CqzBufferListImpl::serializeTo(VARIANT& out) const noexcept {
  return guarded(kSource, "serializeOut", 0, [&] { return Ops::serializeTo(state_, out); });
}

int CqzBufferListImpl::serializeFrom(const VARIANT& in) noexcept {
  return guarded(kSource, "serializeIn", 0, [&] { return Ops::serializeFrom(state_, in); });
}

int CqzBufferListImpl::serializeOut(CqzBuffer* out, int level) const noexcept {
  if (out == nullptr) return refuse(kSource, "serializeOut", "Object receiving the out put is a NULL pointer", 0);
  return serializeTo(*out, level);
}

int CqzBufferListImpl::serializeIn(const CqzBuffer* in) noexcept {
  if (in == nullptr) return refuse(kSource, "serializeIn", "Input object is NULL", 0);
  return serializeFrom(*in);
}
