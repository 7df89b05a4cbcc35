// Bytes from a file or from the standard input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace qzcall {

/// A file that is open for reading; "-" is the standard input.
class Input {
 public:
  /// @param path UTF-8. Whether it could be opened shows in read().
  explicit Input(const std::string& path);
  ~Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  /// Waits for up to `size` bytes.
  /// @return how many came, 0 at the end; nothing when they cannot be read
  std::optional<std::size_t> read(void* into, std::size_t size);

  /// The bytes of a file on a disk; nothing for a pipe or a terminal.
  std::optional<std::uint64_t> size() const;
  /// Reads on from this offset of such a file; false when that is none.
  bool moveTo(std::uint64_t offset);

 private:
  bool isStandard_;
  void* handle_;
};

/// All bytes of such a file, or what is wrong with it: "cannot be read", "holds 2 GB or more".
tl::expected<std::vector<unsigned char>, std::string> readAll(const std::string& path);

}  // namespace qzcall
