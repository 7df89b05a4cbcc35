#include "References/Common/BufferImpl.h"

#include "References/Common/Ascii.h"
#include "References/Common/ByteBlockOps.h"
#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Log/logHelperImpl.h"
#include "References/Libraries/Platform/BlockFile.h"
#include "RuntimeEngine/qzSOAP/Frame.h"

namespace {

using qz::bytesAt;
using qz::bytesOf;
using qz::flat::Frame;
using qz::flat::guarded;
using qz::flat::refuse;
using Place = std::source_location;
namespace platform = qz::platform;

constexpr const char* kSource = "References/Common/BufferImpl";

/// One hidden byte terminates text.
struct FlatRules {
  static constexpr long hiddenBytes = 1;
  static constexpr long growthOfZero = 1024;

  static void noMemory(long bytes) {
    qz::reportError(CqzLog::Error, kSource, "Grow", __LINE__, "insufficient memory for %ld bytes", bytes);
  }
  static bool coAlloc_(void*& block, unsigned long size) {
    return qz::allocateZeroed(block, size) || refuse(kSource, "coAlloc_", "Could not allocate %l bytes", false);
  }
  static void coFree_(void* block);
};

using Ops = qz::ByteBlockOps<FlatRules>;

int reportSystemError(const char* operation, Place at = Place::current()) {
  const unsigned long error = GetLastError();
  return guarded(
      kSource, operation, 0, [&] { return refuse(kSource, operation, qz::describeWin32(error).c_str(), 0, at); }, at);
}

// Said only from the trace level that is the report's own level.
void reportGated(long level, const char* operation, const char* message, Place at = Place::current()) {
  if (qz::log::flatSettings().getTraceLevel() < level) return;
  qz::reportText(level, kSource, operation, static_cast<long>(at.line()), message);
}

int refuseNoInput(const char* operation, Place at = Place::current()) {
  constexpr long kLevel = 3;
  reportGated(kLevel, operation, "input buffer is zero size", at);
  return 0;
}

// The outcome of an append of `bytes` bytes.
int appended(bool done, std::size_t bytes, Place at = Place::current()) {
  if (!done)
    qz::reportError(CqzLog::Error, kSource, "write", static_cast<long>(at.line()),
                    "insufficient memory for additional %lu bytes", static_cast<unsigned long>(bytes));
  return done ? 1 : 0;
}

void FlatRules::coFree_(void* block) {
  if (!qz::freeBlock(block)) reportSystemError("coFree_");
}

}  // namespace

CqzBufferImpl::CqzBufferImpl(long size, unsigned char type) noexcept { reset(size, type); }

CqzBufferImpl& CqzBufferImpl::operator=(const CqzBufferImpl& other) noexcept {
  copy(other);
  return *this;
}

CqzBufferImpl::~CqzBufferImpl() { Ops::destroy(block_); }

int CqzBufferImpl::write(const char* text, bool asText) noexcept {
  const auto bytes = bytesOf(qz::viewOf(text));
  if (text == nullptr) {
    if (asText) Ops::reset(block_, 1, ITKBufferType::DT_TEXT);
    return refuseNoInput("write");
  }
  if (!asText) return appended(Ops::append(block_, bytes), bytes.size());
  const auto size = static_cast<long>(bytes.size());
  return appended(Ops::replace(block_, size, ITKBufferType::DT_TEXT, bytes), bytes.size());
}

int CqzBufferImpl::write(const void* bytes, long length) noexcept {
  if (bytes == nullptr || length < 0) return refuseNoInput("write");
  const auto added = bytesAt(bytes, length);
  return appended(Ops::append(block_, added), added.size());
}

unsigned char* CqzBufferImpl::getBuffer() const noexcept { return block_.data; }

unsigned char* CqzBufferImpl::getBuffer(long capacity) noexcept {
  return Ops::ensureCapacity(block_, capacity) ? block_.data : nullptr;
}

const char* CqzBufferImpl::getStrBuffer() const noexcept {
  if (block_.type != ITKBufferType::DT_TEXT)
    reportGated(CqzLog::Information, "getStrBuffer", "Buffer is not string type");
  return qz::orEmpty(reinterpret_cast<const char*>(block_.data));
}

long CqzBufferImpl::getLength() const noexcept { return block_.length; }

unsigned char CqzBufferImpl::getType() const noexcept { return block_.type; }

unsigned char* CqzBufferImpl::getBufferSetLen(long length) noexcept {
  if (length < 0) refuseNoInput("getBufferSetLen");
  return length >= 0 && Ops::setLength(block_, length) ? block_.data : nullptr;
}

int CqzBufferImpl::reset(long size, unsigned char type) noexcept {
  if (size < 0) refuseNoInput("reset");
  return Ops::reset(block_, size, type);
}

int CqzBufferImpl::empty() noexcept { return reset(0, block_.type); }

int CqzBufferImpl::isEmpty() const noexcept { return block_.length == 0; }

CqzBufferImpl& CqzBufferImpl::operator=(const CqzBuffer& other) noexcept {
  copy(other);
  return *this;
}

int CqzBufferImpl::copy(const CqzBuffer& other) noexcept {
  const auto& from = static_cast<const CqzBufferImpl&>(other).block_;
  return &from == &block_ || Ops::replace(block_, from.length, from.type, Ops::bytes(from));
}

int CqzBufferImpl::operator==(const CqzBuffer& other) const noexcept {
  return Ops::equal(block_, static_cast<const CqzBufferImpl&>(other).block_);
}

int CqzBufferImpl::release() noexcept {
  const Frame frame(kSource, "release");
  Ops::destroy(block_);
  return 1;
}

int CqzBufferImpl::attach(unsigned char* bytes, long length, unsigned char type) noexcept {
  if (type == ITKBufferType::DT_TEXT)
    return refuse(kSource, "attach", "Externally allocated memory block is not suitable for text types", 0);
  if (bytes == nullptr || length < 0) return refuseNoInput("attach");
  Ops::adopt(block_, {length, length, type, bytes});
  return 1;
}

int CqzBufferImpl::detach() noexcept {
  block_ = ByteBlock{.type = block_.type};
  return 1;
}

int CqzBufferImpl::detach(long& capacity, long& length, unsigned char& type, unsigned char*& bytes) noexcept {
  const auto fields = Ops::release(block_);
  capacity = fields.capacity;
  length = fields.length;
  type = fields.type;
  bytes = fields.data;
  return 1;
}

int CqzBufferImpl::serializeFromFile(void* file) noexcept {
  const Frame frame(kSource, "serializeFromFile");
  return platform::readBlock<FlatRules>(file, block_) ? 1 : reportSystemError("serializeFromFile");
}

int CqzBufferImpl::serializeToFile(void* file) const noexcept {
  const Frame frame(kSource, "serializeToFile");
  return platform::writeBlock(file, block_) ? 1 : reportSystemError("serializeToFile");
}

int CqzBufferImpl::truncate(long count) noexcept {
  Ops::truncate(block_, count);
  return 1;
}

void CqzBufferImpl::take(CqzBufferImpl& other) noexcept { Ops::adopt(block_, Ops::release(other.block_)); }
