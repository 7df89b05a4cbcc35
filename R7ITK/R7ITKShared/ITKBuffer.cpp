#include "ITKBuffer.h"

#include <limits>
#include <memory>
#include <new>
#include <string>

#include "ITKFile.h"
#include "R7ITK/R7ITKShared/Guard.h"
#include "References/Common/Ascii.h"
#include "References/Common/ByteBlockOps.h"
#include "References/Libraries/Platform/BlockCompression.h"
#include "References/Libraries/Platform/BlockFile.h"
#include "References/Libraries/Platform/Bstr.h"
#include "References/Libraries/Platform/LinkedZlib.h"
#include "References/Libraries/Platform/Variant.h"
#include "References/Libraries/Wire/CompressedBlock.h"

namespace {

using itk::check;
using itk::checkPointer;
using itk::guarded;
using qz::bytesAt;
using qz::bytesOf;
using qz::viewOf;
namespace platform = qz::platform;
namespace wire = qz::wire;

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKBuffer";

/// Two hidden bytes terminate narrow and wide text alike.
struct ToolkitRules {
  static constexpr long hiddenBytes = 2;
  static constexpr long growthOfZero = 0;

  [[noreturn]] static void noMemory(long bytes) {
    const auto text = "insufficient memory for " + std::to_string(bytes) + " bytes";
    itk::fail(kSource, text.c_str(), text.c_str(), std::source_location::current());
  }
  static bool coAlloc_(void*& block, unsigned long size) { return qz::allocateZeroed(block, size); }
  static void coFree_(void* block) { qz::freeBlock(block); }
};

using Ops = qz::ByteBlockOps<ToolkitRules>;

// A size beyond a signed number becomes one that no heap can satisfy.
long sizeAsLong(std::size_t size) {
  constexpr auto highest = static_cast<std::size_t>(std::numeric_limits<long>::max());
  return static_cast<long>(std::min(size, highest));
}

// Null counts as one character that is not there.
void storeText(ByteBlock& block, const char* s) {
  const auto text = bytesOf(viewOf(s));
  Ops::replace(block, sizeAsLong(s == nullptr ? 2 : text.size() + 1), ITKBufferType::DT_TEXT, text);
}

void logNoMemory(std::source_location at = std::source_location::current()) {
  getITKes().logText(ITKLog::Error, kSource, static_cast<long>(at.line()), "Insufficient memory");
}

bool logFailure(const wire::BlockFailure& failure, std::source_location at = std::source_location::current()) {
  getITKes().logText(ITKLog::Error, kSource, static_cast<long>(at.line()), failure.text().c_str());
  return false;
}

bool compressInto(ByteBlock& block, std::span<const std::byte> content, int level) {
  const auto made = platform::compressInto<ToolkitRules>(block, platform::linkedZlib(), content,
                                                         wire::compressedBound(content.size()), level);
  return made ? true : logFailure(made.error());
}

bool decompressInto(ByteBlock& block, std::span<const std::byte> source) {
  const auto makeRoom = [&](long length) {
    Ops::setLength(block, length);
    return block.data;
  };
  const auto restored = platform::decompressInto(makeRoom, platform::linkedZlib(), source);
  check(kSource, restored || restored.error().reason != wire::BlockFailure::Reason::kNotCompressed);
  return restored ? true : logFailure(restored.error());
}

}  // namespace

ITKBuffer::ITKBuffer() noexcept = default;

ITKBuffer::ITKBuffer(long size, unsigned char type) noexcept { reset(size, type); }

ITKBuffer::ITKBuffer(const void* p, long n, unsigned char type) noexcept {
  block_.type = type;
  guarded(kSource, [&] { Ops::replace(block_, std::max(p == nullptr ? 0 : n, 0L), type, bytesAt(p, n)); });
}

ITKBuffer::ITKBuffer(const ITKBuffer& other) noexcept { copy(other); }

ITKBuffer::ITKBuffer(const char* text) noexcept {
  block_.type = ITKBufferType::DT_TEXT;
  write(text, false);
}

ITKBuffer::ITKBuffer(BSTR text) noexcept { fromBSTR(text); }

ITKBuffer::ITKBuffer(const VARIANT& value) noexcept { fromVARIANT(value); }

ITKBuffer::~ITKBuffer() { Destroy(); }

void ITKBuffer::write(const void* p, long n) noexcept {
  guarded(kSource, [&] {
    check(kSource, n >= 0);
    if (n == 0) return;
    checkPointer(kSource, p);
    Ops::append(block_, bytesAt(p, n));
  });
}

void ITKBuffer::write(const char* s, bool reset) noexcept {
  guarded(kSource, [&] {
    if (reset)
      storeText(block_, s);
    else
      Ops::append(block_, bytesOf(viewOf(s)));
  });
}

void ITKBuffer::write(const ITKBuffer& other) noexcept {
  guarded(kSource, [&] { Ops::append(block_, Ops::bytes(other.block_)); });
}

void ITKBuffer::write(const ITKBuffer* other) noexcept {
  guarded(kSource, [&] {
    checkPointer(kSource, other);
    Ops::append(block_, Ops::bytes(other->block_));
  });
}

unsigned char* ITKBuffer::getBuffer(long n) noexcept {
  return guarded(kSource, static_cast<unsigned char*>(nullptr), [&] {
    Ops::ensureCapacity(block_, n);
    return block_.data;
  });
}

unsigned char* ITKBuffer::getBufferSetLen(long n) noexcept {
  return guarded(kSource, static_cast<unsigned char*>(nullptr), [&] {
    check(kSource, n >= 0);
    Ops::setLength(block_, n);
    return block_.data;
  });
}

void ITKBuffer::reset(long size, unsigned char type) noexcept {
  guarded(kSource, [&] { Ops::reset(block_, size, type); });
}

void ITKBuffer::empty() noexcept { Destroy(); }

void ITKBuffer::truncate(long n) noexcept { Ops::truncate(block_, n); }

ITKBuffer& ITKBuffer::operator=(const ITKBuffer& other) noexcept {
  copy(other);
  return *this;
}

ITKBuffer& ITKBuffer::operator=(const char* s) noexcept {
  write(s, true);
  return *this;
}

ITKBuffer& ITKBuffer::operator+=(const char* s) noexcept {
  write(s, false);
  return *this;
}

int ITKBuffer::operator==(const ITKBuffer& other) const noexcept { return Ops::equal(block_, other.block_); }

void ITKBuffer::copy(const ITKBuffer& other) noexcept {
  if (this == &other) return;
  guarded(kSource, [&] { Ops::replace(block_, other.block_.length, other.block_.type, Ops::bytes(other.block_)); });
}

void ITKBuffer::attach(ITKBuffer& other) noexcept { Ops::adopt(block_, Ops::release(other.block_)); }

void ITKBuffer::attach(long capacity, long length, unsigned char type, unsigned char* p) noexcept {
  guarded(kSource, [&] {
    check(kSource, length >= 0 && capacity >= length && (p != nullptr || capacity == 0));
    Ops::adopt(block_, {capacity, length, type, p});
  });
}

void ITKBuffer::attach(long n, unsigned char* p) noexcept { attach(n, n, ITKBufferType::DT_BINARY, p); }

void ITKBuffer::detach(ITKBuffer& target) noexcept { target.attach(*this); }

void ITKBuffer::detach(long& capacity, long& length, unsigned char& type, unsigned char*& p) noexcept {
  const auto fields = Ops::release(block_);
  capacity = fields.capacity;
  length = fields.length;
  type = fields.type;
  p = fields.data;
}

void ITKBuffer::detach() noexcept { Init(ITKBufferType::DT_BINARY); }

bool ITKBuffer::fromFile(HANDLE file) noexcept {
  return guarded(kSource, false, [&] { return platform::readBlock<ToolkitRules>(file, block_); });
}

bool ITKBuffer::toFile(HANDLE file) const noexcept { return platform::writeBlock(file, block_); }

bool ITKBuffer::fromFile(const char* path) noexcept {
  ITKFile file;
  return file.openRead(path) && fromFile(file.getHandle());
}

bool ITKBuffer::toFile(const char* path) const noexcept {
  ITKFile file;
  return file.openWrite(path) && toFile(file.getHandle());
}

bool ITKBuffer::loadFile(ITKFile& file, ITKBuffer& target) noexcept {
  const long size = file.getSize();
  if (size < 0) return false;
  auto* bytes = reinterpret_cast<std::byte*>(target.getBufferSetLen(size));
  return target.getLength() == size && platform::readAll(file.getHandle(), {bytes, static_cast<std::size_t>(size)});
}

bool ITKBuffer::loadFile(const char* path, ITKBuffer& target) noexcept {
  ITKFile file;
  return file.openRead(path) && loadFile(file, target);
}

bool ITKBuffer::saveFile(ITKFile& file, const ITKBuffer& source) noexcept {
  return file.write(source.block_.data, source.block_.length);
}

bool ITKBuffer::saveFile(const char* path, const ITKBuffer& source) noexcept {
  ITKFile file;
  return file.openWrite(path) && saveFile(file, source);
}

void ITKBuffer::fromBSTR(BSTR text) noexcept {
  guarded(kSource, [&] { storeText(block_, platform::ansiText(text).c_str()); });
}

bool ITKBuffer::toBSTR(VARIANT& out) const noexcept {
  return guarded(kSource, false, [&] {
    platform::Bstr text(qz::textUpToZero(Ops::bytes(block_)), platform::kAnsi);
    out.vt = VT_BSTR;
    out.bstrVal = text.release();
    return true;
  });
}

bool ITKBuffer::toVARIANT(VARIANT& out) const noexcept {
  return guarded(kSource, false, [&] {
    itk::checkBool(kSource, out.vt == VT_EMPTY);
    VariantInit(&out);
    if (block_.type == ITKBufferType::DT_TEXT) return toBSTR(out);
    const auto stored = platform::storeByteArray(out, Ops::bytes(block_));
    if (!stored && stored.error() == E_OUTOFMEMORY) return false;
    itk::checkResult(kSource, stored ? S_OK : stored.error());
    return true;
  });
}

bool ITKBuffer::fromVARIANT(const VARIANT& value) noexcept {
  return guarded(kSource, false, [&] {
    const platform::VariantContent content(value);
    if (content.result() == DISP_E_TYPEMISMATCH) return false;
    itk::checkResult(kSource, content.result());
    const std::size_t terminator = content.type() == ITKBufferType::DT_TEXT ? 1 : 0;
    Ops::replace(block_, sizeAsLong(content.bytes().size() + terminator), content.type(), content.bytes());
    return true;
  });
}

bool ITKBuffer::compress(const ITKBuffer& source, ITKBuffer& target, int level) noexcept {
  return guarded(kSource, false, [&] {
    ITKBuffer packed;
    if (!compressInto(packed.block_, Ops::bytes(source.block_), level)) return false;
    target.attach(packed);
    return true;
  });
}

bool ITKBuffer::compress(const ITKBuffer& source, VARIANT& target, int level) noexcept {
  ITKBuffer packed;
  return compress(source, packed, level) && packed.toVARIANT(target);
}

bool ITKBuffer::compress(const VARIANT& source, ITKBuffer& target, int level) noexcept {
  ITKBuffer plain;
  return plain.fromVARIANT(source) && compress(plain, target, level);
}

bool ITKBuffer::compress(const VARIANT& source, VARIANT& target, int level) noexcept {
  ITKBuffer plain;
  return plain.fromVARIANT(source) && compress(plain, target, level);
}

bool ITKBuffer::decompress(const ITKBuffer& source, ITKBuffer& target) noexcept {
  return guarded(kSource, false, [&] {
    if (&source != &target) return decompressInto(target.block_, Ops::bytes(source.block_));
    ITKBuffer restored(0, target.getType());
    if (!decompressInto(restored.block_, Ops::bytes(source.block_))) return false;
    target.attach(restored);
    return true;
  });
}

bool ITKBuffer::decompress(const ITKBuffer& source, VARIANT& target) noexcept {
  ITKBuffer plain;
  return decompress(source, plain) && plain.toVARIANT(target);
}

bool ITKBuffer::decompress(const VARIANT& source, ITKBuffer& target) noexcept {
  ITKBuffer packed;
  return packed.fromVARIANT(source) && decompress(packed, target);
}

bool ITKBuffer::decompress(const VARIANT& source, VARIANT& target) noexcept {
  ITKBuffer packed;
  return packed.fromVARIANT(source) && decompress(packed, target);
}

bool ITKBuffer::isCompressed(const ITKBuffer& buffer) noexcept { return wire::isCompressed(Ops::bytes(buffer.block_)); }

bool ITKBuffer::coAlloc_(void*& p, unsigned long size) noexcept { return qz::allocateZeroed(p, size); }

void ITKBuffer::coFree_(void*& p) noexcept { qz::freeBlock(std::exchange(p, nullptr)); }

void ITKBuffer::Init(unsigned char type) noexcept { block_ = ByteBlock{.type = type}; }

void ITKBuffer::Grow(long n) {
  if (n > 0) Ops::grow(block_, n);
}

void ITKBuffer::EnsureBufferSize(long n) { Ops::ensureRoom(block_, n); }

void ITKBuffer::Destroy() noexcept { Ops::destroy(block_); }

void ITKBuffer::InitHeader(tagITK_COMPRESSION_HEADER& header, unsigned long uncompressedLength,
                           unsigned long compressedLength, unsigned long crc) noexcept {
  header = {wire::kBlockMagic, compressedLength, uncompressedLength, crc};
}

bool ITKBuffer::GetHeader(const ITKBuffer& buffer, tagITK_COMPRESSION_HEADER& header) noexcept {
  const auto fields = wire::loadBlockHeader(Ops::bytes(buffer.block_));
  if (fields) InitHeader(header, fields->uncompressedLength, fields->compressedLength, fields->checksum);
  return fields.has_value();
}

unsigned char* ITKBuffer::GetDataStream(const ITKBuffer& buffer) noexcept {
  return isCompressed(buffer) ? buffer.block_.data + wire::kBlockHeaderSize : nullptr;
}

ITKCharBuffer::ITKCharBuffer(long n) noexcept
    : data_(static_cast<char*>(qz::allocateZeroed(static_cast<std::size_t>(std::max(n, 0L)) + 1))) {
  if (data_ == nullptr) logNoMemory();
}

ITKCharBuffer::~ITKCharBuffer() { qz::freeBlock(data_); }

char* ITKCharBuffer::getBuffer() noexcept { return data_; }

ITKBuffer00::ITKBuffer00() noexcept : buffer_(new (std::nothrow) ITKBuffer) {
  if (buffer_ == nullptr) logNoMemory();
}

ITKBuffer00::~ITKBuffer00() { delete buffer_; }

ITKBuffer* ITKBuffer00::detach() noexcept { return std::exchange(buffer_, nullptr); }
