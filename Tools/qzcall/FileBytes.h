// Bytes that are looked at piece by piece, so that those of a large file need not all be in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "Tools/qzcall/Text.h"

namespace qzcall {

/// Bytes that can be looked at anywhere and in any order.
class FileBytes {
 public:
  virtual ~FileBytes() = default;

  virtual std::uint64_t size() const = 0;
  /// The bytes from `at` on: `least` of them or all that there are, and more if they are at hand. Good until the next
  /// call.
  virtual std::string_view from(std::uint64_t at, std::size_t least) = 0;

  bool startsWith(std::uint64_t at, std::string_view text) { return from(at, text.size()).starts_with(text); }
};

/// Those that are in memory, and outlive the object.
class MemoryBytes final : public FileBytes {
 public:
  explicit MemoryBytes(Bytes bytes) : text_(reinterpret_cast<const char*>(bytes.data()), bytes.size()) {}

  std::uint64_t size() const override { return text_.size(); }
  std::string_view from(std::uint64_t at, std::size_t /*least*/) override {
    return at < text_.size() ? text_.substr(static_cast<std::size_t>(at)) : std::string_view();
  }

 private:
  std::string_view text_;
};

/// Those of a file, of which a piece is in memory at a time.
class WindowBytes final : public FileBytes {
 public:
  /// Reads up to `size` bytes from the offset `at`: how many came, 0 at the end, nothing when they cannot be read.
  using ReadAt = std::function<std::optional<std::size_t>(std::uint64_t at, char* into, std::size_t size)>;

  WindowBytes(std::uint64_t size, ReadAt read) : size_(size), read_(std::move(read)) {}

  std::uint64_t size() const override { return size_; }
  std::string_view from(std::uint64_t at, std::size_t least) override;
  /// True when something could not be read; it was taken for the end.
  bool hasFailed() const { return hasFailed_; }

 private:
  void load(std::uint64_t at, std::size_t least);

  std::uint64_t size_;
  ReadAt read_;
  std::uint64_t begin_ = 0;  ///< of what is in memory
  std::vector<char> window_;
  bool hasFailed_ = false;
};

/// Searches that together look at about so many bytes and no more.
class Search {
 public:
  explicit Search(FileBytes& bytes, std::uint64_t most = static_cast<std::uint64_t>(-1)) : bytes_(bytes), left_(most) {}

  /// Where `text` begins at or behind `at` and ends at or in front of `end`; nothing when it does not, or when too much
  /// has been searched.
  std::optional<std::uint64_t> find(std::string_view text, std::uint64_t at, std::uint64_t end);
  std::optional<std::uint64_t> find(std::string_view text, std::uint64_t at) { return find(text, at, bytes_.size()); }

  FileBytes& bytes() { return bytes_; }

 private:
  FileBytes& bytes_;
  std::uint64_t left_;
};

}  // namespace qzcall
