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

/// Runs `act` with room for no block, for one and so on, until it needs no more; tells `judge` what it returned and
/// whether it lacked memory.
template <class Act, class Judge>
void withEverMoreMemory(Act act, Judge judge) {
  for (long allowed = 0, wasShort = 1; wasShort != 0; ++allowed) {
    const auto actShort = [&] {
      const ScarceMemory memory(allowed);
      auto result = act();
      wasShort = memory.wasShort();
      return result;
    };
    const auto result = actShort();
    judge(result, wasShort != 0);
  }
}

}  // namespace qz::test
