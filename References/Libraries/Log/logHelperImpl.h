// The error facility: one record for every kind of failure, and one way to report it.
#pragma once

#include <cstdarg>
#include <exception>
#include <string>
#include <string_view>

#include "QzExport.h"

class _com_error;

namespace qz {

/// The library's error record, also thrown by value inside the flat layer.
class Err {
 public:
  /// No failure: number 0, all texts empty.
  Err() = default;
  /// @param number error number, 0 when there is none
  /// @param description what failed
  /// @param source source path of the place, or a name such as "std exception"
  /// @param procedure name of the operation that failed
  /// @param line source line of the place
  Err(long number, std::string description, std::string source, std::string procedure, long line);

  long number = 0;          ///< error number or HRESULT
  std::string description;  ///< what failed
  std::string source;       ///< source path, or the kind of the foreign failure
  std::string procedure;    ///< operation that failed
  long line = 0;            ///< source line, 0 when unknown

  /// Takes over a standard exception: its text, source "std exception". Never throws; if the text cannot be taken, the
  /// description says so.
  void assignFrom(const std::exception& failure, const char* procedure, long line) noexcept;
  /// Takes over a COM error: its HRESULT, its own description or else the system's, its own source. Never throws.
  void assignFrom(const _com_error& failure, const char* procedure, long line) noexcept;
};

/// Writes "<procedure>: <message>" to the flat layer's trace log, and a level 1 report also to the error log. Never
/// throws.
/// @param level level of the log line; 3 and 5 are never filtered, so the caller asks for the trace level first
/// @param source source path of the reporting class, a literal
/// @param procedure name of the reporting operation, a literal
/// @param line source line
void reportText(long level, const char* source, const char* procedure, long line, std::string_view message) noexcept;

/// The same with a message in the manner of `printf`, cut at 32,000 characters.
void reportError(long level, const char* source, const char* procedure, long line, const char* format, ...) noexcept
    QZ_PRINTF(5, 6);

/// Reports a record with its own place and number.
void reportErr(long level, const Err& error) noexcept;

/// Reports the exception being handled at level 1, for use inside a catch-all block: an `Err` with its own place, a
/// standard or COM exception converted and under the given place, anything else as "general exception in try block".
void reportCaught(const char* source, const char* procedure, long line) noexcept;

/// The system's own text for a Win32 error number, or one that names a number without a text.
/// @param module looked through besides the system's own texts, for example the internet library's; null for none
std::string win32Message(unsigned long code, void* module = nullptr);
/// Name of a Winsock error number, or "WINSOCK error " and the number.
std::string describeWinsock(long code);
/// Text of a failed Win32 call: "System error [ 0x%08X, %s ]" with the number and the system's text.
std::string describeWin32(unsigned long code);
/// Text of a failed COM call: "Failed HRESULT [0x%08X] :" and the system's description.
std::string describeHresult(long code);
/// The XML form of a record.
std::string toXml(const Err& error);

/// Text for an interface pointer that should not be null.
inline constexpr const char* kNullInterface =
    "NULL pointer: QI failed? function failed? out of memory? out of resources?";
/// Text for an argument that should not be null.
inline constexpr const char* kNullArgument = "NULL pointer passed in";
/// Text for a state that cannot be.
inline constexpr const char* kInvalidCondition = "Invalid internal condition";
/// Text where a value is missing.
inline constexpr const char* kNotSpecified = "not specified";

}  // namespace qz
