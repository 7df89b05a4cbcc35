/// @file
/// A moment and the time passed since.
#pragma once

#include <windows.h>

#include "QzExport.h"

/// @addtogroup toolkit
/// @{

/// The moment at which it was made: local wall-clock time for people, a monotonic clock for durations.
class QZSOAP_API ITKTime {
 public:
  /// Now.
  ITKTime() noexcept;

  /// Makes it now again.
  void restart() noexcept;
  /// Milliseconds since then; never negative, unaffected by changes of the wall clock.
  long long getElapsedMilliseconds() const noexcept;

  /// Local year, four digits.
  int getYear() const noexcept { return local_.wYear; }
  /// Local month, 1 to 12.
  int getMonth() const noexcept { return local_.wMonth; }
  /// Local day of the month, 1 to 31.
  int getDay() const noexcept { return local_.wDay; }
  /// Local hour, 0 to 23.
  int getHour() const noexcept { return local_.wHour; }
  /// Minute, 0 to 59.
  int getMinute() const noexcept { return local_.wMinute; }
  /// Second, 0 to 59.
  int getSecond() const noexcept { return local_.wSecond; }
  /// Millisecond, 0 to 999.
  int getMillisecond() const noexcept { return local_.wMilliseconds; }

 private:
  SYSTEMTIME local_{};
  long long ticks_ = 0;
};

/// @}
