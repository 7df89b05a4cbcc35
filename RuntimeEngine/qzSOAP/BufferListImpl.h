// The flat face's list behind its interface.
#pragma once

#include "CqzBufferList.h"

class CqzBufferListImpl final : public CqzBufferList {
 public:
  CqzBufferListImpl() noexcept = default;
  ~CqzBufferListImpl() override;

  long add(CqzBuffer* buffer) noexcept override;
  long add(const CqzBuffer& buffer) noexcept override;
  long add(const char* text) noexcept override;
  long add(const char* text, int first) noexcept override;
  long add(wchar_t*& text) noexcept override;
  long add(tagVARIANT& value) noexcept override;
  long add(const CqzBufferList& list) noexcept override;
  int copy(const CqzBufferList& other) noexcept override;
  CqzBuffer* getAt(long index) const noexcept override;
  int setAt(long index, CqzBuffer* buffer) noexcept override;
  int removeAt(long index) noexcept override;
  void removeAll() noexcept override;
  long getCount() const noexcept override;
  void toString(CqzBuffer& out) const noexcept override;
  int serializeTo(CqzBuffer& out, int level) const noexcept override;
  int serializeFrom(const CqzBuffer& in) noexcept override;
  int serializeTo(void* file) const noexcept override;
  int serializeFrom(void* file) noexcept override;
  int serializeTo(tagVARIANT& out) const noexcept override;
  int serializeFrom(const tagVARIANT& in) noexcept override;
  int serializeOut(CqzBuffer* out, int level) const noexcept override;
  int serializeIn(const CqzBuffer* in) noexcept override;

 private:
  BufferListState<CqzBuffer> state_;
};
