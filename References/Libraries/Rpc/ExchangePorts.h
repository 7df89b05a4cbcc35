// A face's buffers and error object as an exchange sees them.
#pragma once

#include <new>

#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Libraries/Rpc/BufferListOps.h"
#include "References/Libraries/Rpc/HttpExchange.h"

namespace qz::rpc {

/// A request in two buffers that stay the caller's.
template <class Buffer>
class BufferSource : public RequestSource {
 public:
  /// @param attachment null: none
  BufferSource(const Buffer& envelope, const Buffer* attachment) : envelope_(envelope), attachment_(attachment) {}

  std::string_view envelope() const override { return messageIn(envelope_); }
  std::optional<std::span<const std::byte>> attachment() const override {
    if (attachment_ == nullptr) return std::nullopt;
    return contentOf(*attachment_);
  }

 private:
  const Buffer& envelope_;
  const Buffer* attachment_;
};

/// A request in two buffers that nobody needs once the body is built.
template <class Buffer>
class DisposableSource final : public BufferSource<Buffer> {
 public:
  DisposableSource(Buffer& envelope, Buffer& attachment)
      : BufferSource<Buffer>(envelope, &attachment), envelope_(envelope), attachment_(attachment) {}
  void release() override {
    envelope_.empty();
    attachment_.empty();
  }

 private:
  Buffer& envelope_;
  Buffer& attachment_;
};

/// Sets the length of a buffer whose bytes arrive piece by piece.
template <class Buffer>
std::span<std::byte> resizeBuffer(Buffer& buffer, std::size_t size) {
  unsigned char* bytes = buffer.getBufferSetLen(static_cast<long>(size));
  if (bytes == nullptr) throw std::bad_alloc();
  return {reinterpret_cast<std::byte*>(bytes), size};
}

/// The reply in two buffers of the caller.
template <class Buffer>
class BufferSink final : public ReplySink {
 public:
  /// @param attachment null: not wanted
  BufferSink(Buffer& response, Buffer* attachment) : response_(response), attachment_(attachment) {}

  void clear() override {
    response_.empty();
    if (attachment_ != nullptr) attachment_->reset(0, ITKBufferType::DT_BINARY);
  }
  void setEnvelope(std::string_view envelope) override { setText(response_, envelope); }
  bool wantsAttachment() const override { return attachment_ != nullptr; }
  std::span<std::byte> resize(std::size_t index, std::size_t size) override {
    if (attachment_ == nullptr || index > 0) return {};
    return resizeBuffer(*attachment_, size);
  }

 private:
  Buffer& response_;
  Buffer* attachment_;
};

/// The attachments of a reply at the end of a buffer list.
template <class BufferList, class Buffer>
class ListSink final : public wire::AttachmentSink {
 public:
  explicit ListSink(BufferList& list) : list_(list), first_(list.getCount()) {}

  std::span<std::byte> resize(std::size_t index, std::size_t size) override {
    const long at = first_ + static_cast<long>(index);
    if (at >= list_.getCount() && list_.add(Buffer()) < 0) throw std::bad_alloc();
    return resizeBuffer(*list_.getAt(at), size);
  }

 private:
  BufferList& list_;
  long first_;
};

/// An error object of either face.
template <class Error>
class ErrorPort final : public ErrorChannel {
 public:
  explicit ErrorPort(Error& error) : error_(error) {}

  long code() const override { return error_.getErrorCode(); }
  void set(long code, const char* text) override { error_.setError(code, text); }
  void set(long code, long subCode, const char* text) override { error_.setError(code, subCode, text); }
  void add(const char* text) override { error_.addError(text); }

 private:
  Error& error_;
};

}  // namespace qz::rpc
