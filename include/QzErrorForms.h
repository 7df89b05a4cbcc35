/// @file
/// The operations of error objects that take a format, the same for both faces.
#pragma once

#include <array>
#include <cstdarg>
#include <cstdio>

#include "QzExport.h"

/// @addtogroup shared
/// @{

/// The base of a class without another one.
struct QzNoBase {};

/// setError() and addError() with a format. Formats are those of vsnprintf; a formatted text keeps at most 8191
/// characters. A null format counts as a null text.
/// @tparam Error the class that has setError() and addError() and derives from this one
/// @tparam Base base class of `Error` below this one
template <class Error, class Base = QzNoBase>
class QzErrorForms : public Base {
 public:
  /// setError() with a format.
  QZ_PRINTF(3, 4) long setErrorV(long code, const char* format, ...) noexcept {
    std::va_list values;
    va_start(values, format);
    const long result = self().setError(code, Text(format, values).get());
    va_end(values);
    return result;
  }

  /// setError() with a format and the detail code.
  QZ_PRINTF(4, 5) long setErrorV(long code, long subCode, const char* format, ...) noexcept {
    std::va_list values;
    va_start(values, format);
    const long result = self().setError(code, subCode, Text(format, values).get());
    va_end(values);
    return result;
  }

  /// addError() with a format.
  QZ_PRINTF(2, 3) long addErrorV(const char* format, ...) noexcept {
    std::va_list values;
    va_start(values, format);
    const long result = self().addError(Text(format, values).get());
    va_end(values);
    return result;
  }

  /// addError() with code and format.
  QZ_PRINTF(3, 4) long addErrorV(long code, const char* format, ...) noexcept {
    std::va_list values;
    va_start(values, format);
    const long result = self().addError(code, Text(format, values).get());
    va_end(values);
    return result;
  }

  /// addError() with another object and a format.
  QZ_PRINTF(3, 4) long addErrorV(const Error& other, const char* format, ...) noexcept {
    std::va_list values;
    va_start(values, format);
    const long result = self().addError(other, Text(format, values).get());
    va_end(values);
    return result;
  }

  /// addError() with another object, code and format.
  QZ_PRINTF(4, 5) long addErrorV(const Error& other, long code, const char* format, ...) noexcept {
    std::va_list values;
    va_start(values, format);
    const long result = self().addError(other, code, Text(format, values).get());
    va_end(values);
    return result;
  }

 private:
  class Text {
   public:
    Text(const char* format, std::va_list values) : isNull_(format == nullptr) {
      if (!isNull_) std::vsnprintf(text_.data(), text_.size(), format, values);
    }
    const char* get() const { return isNull_ ? nullptr : text_.data(); }

   private:
    std::array<char, 8192> text_{};
    bool isNull_;
  };

  Error& self() { return static_cast<Error&>(*this); }
};

/// @}
