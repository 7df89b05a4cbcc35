// A reply that arrives in small pieces.
#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "References/Common/Bytes.h"
#include "RuntimeEngine/qzSOAP/INET.h"

namespace qz::test {

/// A request whose data come from the test, at most `most` bytes at a time.
class ShortReads final : public XInternetFile {
 public:
  ShortReads(std::string data, unsigned long most)
      : XInternetFile(XInternetHandle(), nullptr, "/", "host", 1), data_(std::move(data)), most_(most) {}

  bool Read(void* buffer, unsigned long count, unsigned long& got) override {
    const auto piece = data_.substr(at_, std::min(count, most_));
    copyBytes(buffer, bytesOf(piece));
    got = static_cast<unsigned long>(piece.size());
    at_ += got;
    return true;
  }

 private:
  std::string data_;
  unsigned long most_;
  std::size_t at_ = 0;
};

}  // namespace qz::test
