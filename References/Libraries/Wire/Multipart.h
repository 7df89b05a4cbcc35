/// @file
/// The body of a request: an envelope and an argument stream framed as one multipart message.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "References/Common/CivilTime.h"

namespace qz::wire {

/// The two identifiers of one multipart message. They have the resolution of a second.
struct MultipartIds {
  std::string boundary;  ///< separates the parts
  std::string start;     ///< Content-ID of the envelope, angle brackets included
};

/// Makes the identifiers of a message that this computer sends at this moment.
MultipartIds makeMultipartIds(std::string_view computerName, const CivilTime& now);

/// The bytes of a request in one block of exactly their size, move-only.
class MessageBody {
 public:
  MessageBody() = default;
  /// Allocates `size` bytes without filling them.
  explicit MessageBody(std::size_t size) : bytes_(std::make_unique_for_overwrite<std::byte[]>(size)), size_(size) {}

  std::span<std::byte> bytes() { return {bytes_.get(), size_}; }
  std::span<const std::byte> bytes() const { return {bytes_.get(), size_}; }
  std::size_t size() const { return size_; }
  /// Frees the bytes.
  void release() { *this = MessageBody(); }

 private:
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t size_ = 0;
};

/// The body of a request without arguments: the envelope as it is.
MessageBody plainBody(std::string_view envelope);

/// The body of a request with arguments: line break, first boundary, headers of the envelope, envelope, second
/// boundary, the bytes of `attachment` as they are, closing mark. `attachment` must not be empty.
MessageBody multipartBody(const MultipartIds& ids, std::string_view envelope, std::span<const std::byte> attachment);

/// The header lines of a request in their order, each with its line break.
/// @param ids of a multipart body; null for a plain one
std::vector<std::string> requestHeaderLines(const MultipartIds* ids, std::string_view soapAction);

/// The same for a request that a load test repeats: a passport, if there is one, travels with the context as a line of
/// its own, without the line breaks that either may hold.
std::vector<std::string> loadTestHeaderLines(const MultipartIds* ids, std::string_view soapAction,
                                             std::string_view passport, std::string_view context);

}  // namespace qz::wire
