// What every exported flat function has around it.
#pragma once

#include <source_location>
#include <utility>

#include "RuntimeEngine/qzSOAP/Guarded.h"

namespace qz::flat {

/// Entry and exit of one flat function. Made first in the function: it initialises the settings if nobody has, and
/// writes the entry line when tracing is on; at the end of the function, on whatever path, it writes the exit line.
class Frame {
 public:
  /// @param source source path of the function, a literal
  /// @param function the function's own name, a literal
  Frame(const char* source, const char* function, std::source_location at = std::source_location::current()) noexcept;
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;
  ~Frame();

 private:
  const char* source_;
  const char* function_;
  long line_;
  bool traced_;
};

/// Runs `body` in the frame of a flat function and returns its result. Whatever it throws is reported, and `failure` is
/// returned.
template <class Result, class Body>
Result framed(const char* source, const char* function, Result failure, Body&& body,
              std::source_location at = std::source_location::current()) noexcept {
  const Frame frame(source, function, at);
  return guarded(source, function, failure, std::forward<Body>(body), at);
}

}  // namespace qz::flat
