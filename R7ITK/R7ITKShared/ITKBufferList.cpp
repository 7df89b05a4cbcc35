#include "ITKBufferList.h"

#include "R7ITK/R7ITKShared/Guard.h"
#include "R7ITK/R7ITKShared/ToolkitLayer.h"
#include "References/Libraries/Platform/Variant.h"
#include "References/Libraries/Rpc/BufferListOps.h"

namespace {

using itk::checkPointer;
using itk::guarded;
using Ops = qz::rpc::BufferListOps<itk::ToolkitLayer>;

constexpr const char* kSource = itk::ToolkitLayer::bufferListSource;

}  // namespace

ITKBufferList::ITKBufferList() noexcept = default;

ITKBufferList::~ITKBufferList() { Ops::destroy(state_); }

long ITKBufferList::add(ITKBuffer* buffer) noexcept {
  return guarded(kSource, -1L, [&] {
    checkPointer(kSource, buffer);
    return Ops::append(state_, buffer);
  });
}

long ITKBufferList::add(const ITKBuffer& buffer) noexcept {
  return guarded(kSource, -1L, [&] { return Ops::appendBytes(state_, buffer.getType(), qz::contentOf(buffer)); });
}

long ITKBufferList::add(const char* text) noexcept { return add(text, 0); }

long ITKBufferList::add(const char* text, int first) noexcept {
  return guarded(kSource, -1L, [&] { return Ops::appendText(state_, text, first != 0); });
}

long ITKBufferList::add(BSTR& text) noexcept {
  auto value = qz::platform::stringVariant(text);
  return add(value);
}

long ITKBufferList::add(VARIANT& value) noexcept {
  return guarded(kSource, -1L, [&] {
    auto buffer = std::make_unique<ITKBuffer>();
    itk::check(kSource, buffer->fromVARIANT(value));
    return Ops::append(state_, std::move(buffer));
  });
}

long ITKBufferList::add(const ITKBufferList& list) noexcept {
  return guarded(kSource, -1L, [&] { return Ops::appendList(state_, list.state_); });
}

int ITKBufferList::copy(const ITKBufferList& other) noexcept {
  return guarded(kSource, 0, [&] { return Ops::copy(state_, other.state_); });
}

ITKBuffer* ITKBufferList::getAt(long index) const noexcept { return Ops::at(state_, index); }

int ITKBufferList::setAt(long index, ITKBuffer* buffer) noexcept {
  return guarded(kSource, 0, [&] {
    checkPointer(kSource, buffer);
    return Ops::setAt(state_, index, buffer);
  });
}

int ITKBufferList::removeAt(long index) noexcept {
  return guarded(kSource, 0, [&] { return Ops::removeAt(state_, index); });
}

void ITKBufferList::removeAll() noexcept { Ops::removeAll(state_); }

long ITKBufferList::getCount() const noexcept { return state_.count; }

void ITKBufferList::toString(ITKBuffer& out) const noexcept {
  guarded(kSource, [&] { Ops::toString(state_, out); });
}

int ITKBufferList::serializeTo(ITKBuffer& out, int level) const noexcept {
  return guarded(kSource, 0, [&] { return Ops::serializeTo(state_, out, level); });
}

int ITKBufferList::serializeFrom(const ITKBuffer& in) noexcept {
  return guarded(kSource, 0, [&] { return Ops::serializeFrom(state_, in); });
}

int ITKBufferList::serializeTo(HANDLE file) const noexcept {
  return guarded(kSource, 0, [&] { return Ops::writeFile(state_, file); });
}

int ITKBufferList::serializeFrom(HANDLE file) noexcept {
  return guarded(kSource, 0, [&] { return Ops::readFile(state_, file); });
}

int ITKBufferList::serializeTo(VARIANT& out) const noexcept {
  return guarded(kSource, 0, [&] { return Ops::serializeTo(state_, out); });
}

int ITKBufferList::serializeFrom(const VARIANT& in) noexcept {
  return guarded(kSource, 0, [&] { return Ops::serializeFrom(state_, in); });
}

int ITKBufferList::serializeOut(ITKBuffer* out, int level) const noexcept {
  return guarded(kSource, 0, [&] {
    checkPointer(kSource, out);
    return serializeTo(*out, level);
  });
}

int ITKBufferList::serializeIn(const ITKBuffer* in) noexcept {
  return guarded(kSource, 0, [&] {
    checkPointer(kSource, in);
    return serializeFrom(*in);
  });
}

int ITKBufferList::IncreaseSize(long n) noexcept {
  return guarded(kSource, 0, [&] { return Ops::increaseSize(state_, n); });
}

long ITKBufferList::TotalByteCount() const noexcept { return static_cast<long>(Ops::totalBytes(state_)); }
