// How toolkit operations check and how they stop exceptions.
#pragma once

#include <source_location>
#include <string>
#include <utility>

#include "ITKes.h"
#include "R7ITKException.h"

namespace itk {

/// Runs `body` and returns its result. An exception is logged at level 1 under `source` and the caller's line, with the
/// toolkit exception's own text or "Exception catched" for any other, and `failure` is returned.
template <class Result, class Body>
Result guarded(const char* source, Result failure, Body&& body,
               std::source_location at = std::source_location::current()) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const R7ITKException& e) {
    getITKes().logText(ITKLog::Error, source, static_cast<long>(at.line()), e.getText());
  } catch (...) {
    getITKes().logText(ITKLog::Error, source, static_cast<long>(at.line()), "Exception catched");
  }
  return failure;
}

/// The same for operations without a result.
template <class Body>
void guarded(const char* source, Body&& body, std::source_location at = std::source_location::current()) noexcept {
  guarded(
      source, 0, [&] { return std::forward<Body>(body)(), 0; }, at);
}

/// Logs `logged` at level 1 and raises the toolkit exception with `raised` (the two differ by a full stop in one case).
[[noreturn]] inline void fail(const char* source, const char* logged, const char* raised, std::source_location at) {
  getITKes().logText(ITKLog::Error, source, static_cast<long>(at.line()), logged);
  throw R7ITKException(raised, source, static_cast<long>(at.line()));
}

/// Raises "Check failed" unless `condition` holds.
inline void check(const char* source, bool condition, std::source_location at = std::source_location::current()) {
  if (!condition) fail(source, "Check failed", "Check failed", at);
}

/// Raises "NULL pointer" when `pointer` is null.
inline void checkPointer(const char* source, const void* pointer,
                         std::source_location at = std::source_location::current()) {
  if (pointer == nullptr) fail(source, "NULL pointer", "NULL pointer", at);
}

/// Raises "Check BOOL failed" unless `condition` holds; the log line has a full stop.
inline void checkBool(const char* source, bool condition, std::source_location at = std::source_location::current()) {
  if (!condition) fail(source, "Check BOOL failed.", "Check BOOL failed", at);
}

/// Raises "HR = %d" when `result`, an HRESULT, is a failure.
inline void checkResult(const char* source, long result, std::source_location at = std::source_location::current()) {
  if (result >= 0) return;
  const auto text = "HR = " + std::to_string(result);
  fail(source, text.c_str(), text.c_str(), at);
}

}  // namespace itk
