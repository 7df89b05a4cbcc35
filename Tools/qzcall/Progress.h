// How far a conversation has come, on the terminal.
#pragma once

#include <cstddef>
#include <mutex>
#include <string_view>

#include "Tools/qzcall/Interrupt.h"

namespace qzcall {

/// One line that is rewritten in place on the standard error, and erased at the end or by an interrupt. Nothing at all
/// when the standard error is no terminal.
class ProgressLine {
 public:
  ProgressLine();
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Shows it; a qzProgressHandler.
  /// @param line the ProgressLine
  static void __cdecl tell(void* line, long attempts, double waited, long limit);

 private:
  void show(std::string_view text);
  void close();

  std::mutex mutex_;
  bool isOpen_;
  std::size_t width_ = 0;  // of what stands there now
  InterruptAction onInterrupt_;
};

}  // namespace qzcall
