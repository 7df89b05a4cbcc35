/// @file
/// The exception of the toolkit face. It never leaves a public operation.
#pragma once

#include <string>
#include <utility>

/// @addtogroup toolkit
/// @{

/// A broken check inside the toolkit: text plus the place that raised it.
class R7ITKException {
 public:
  /// @param text what failed, copied
  /// @param source source path without extension, a literal that outlives the exception
  /// @param line source line
  R7ITKException(std::string text, const char* source, long line)
      : text_(std::move(text)), source_(source), line_(line) {}

  /// The text; lives as long as the exception, never null.
  const char* getText() const noexcept { return text_.c_str(); }
  /// Source path of the place that raised it.
  const char* getSource() const noexcept { return source_; }
  /// Source line of the place that raised it.
  long getLine() const noexcept { return line_; }

 private:
  std::string text_;
  const char* source_;
  long line_;
};

/// @}
