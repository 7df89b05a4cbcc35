// Makes memory short for a test that is linked with the inside of the library.
#pragma once

namespace qz::test {

/// As long as the object lives, this program gets `allowed` more blocks of memory from "new" and from the process heap,
/// and no other. One at a time.
class ScarceMemory {
 public:
  explicit ScarceMemory(long allowed);
  ~ScarceMemory();
  ScarceMemory(const ScarceMemory&) = delete;
  ScarceMemory& operator=(const ScarceMemory&) = delete;

  /// True once a block was refused.
  bool wasShort() const;
};

}  // namespace qz::test
