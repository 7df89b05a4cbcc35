// The flat face's buffer behind its interface.
#pragma once

#include "CqzBuffer.h"

class CqzBufferImpl final : public CqzBuffer {
 public:
  /// Empty DT_BINARY, no block.
  CqzBufferImpl() noexcept = default;
  /// Empty, with room for `size` bytes, or 1,024 for 0; without a block when memory is short.
  CqzBufferImpl(long size, unsigned char type) noexcept;
  CqzBufferImpl(const CqzBufferImpl&) = delete;
  CqzBufferImpl& operator=(const CqzBufferImpl& other) noexcept;
  ~CqzBufferImpl() override;

  int write(const char* text, bool asText) noexcept override;
  int write(const void* bytes, long length) noexcept override;
  unsigned char* getBuffer() const noexcept override;
  unsigned char* getBuffer(long capacity) noexcept override;
  const char* getStrBuffer() const noexcept override;
  long getLength() const noexcept override;
  unsigned char getType() const noexcept override;
  unsigned char* getBufferSetLen(long length) noexcept override;
  int reset(long size, unsigned char type) noexcept override;
  int empty() noexcept override;
  int isEmpty() const noexcept override;
  CqzBufferImpl& operator=(const CqzBuffer& other) noexcept override;
  int copy(const CqzBuffer& other) noexcept override;
  int operator==(const CqzBuffer& other) const noexcept override;
  int release() noexcept override;
  int attach(unsigned char* bytes, long length, unsigned char type) noexcept override;
  int detach() noexcept override;
  int detach(long& capacity, long& length, unsigned char& type, unsigned char*& bytes) noexcept override;
  int serializeFromFile(void* file) noexcept override;
  int serializeToFile(void* file) const noexcept override;
  int truncate(long count) noexcept override;

  /// Frees the own block and takes over the fields of `other`, which becomes empty DT_BINARY.
  void take(CqzBufferImpl& other) noexcept;

 private:
  ByteBlock block_;
};
