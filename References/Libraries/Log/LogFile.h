// Lines of a trace log. The file is opened for each line and closed after it, so that others may read, move or delete
// it while the process runs; nothing is allocated.
#pragma once

#include <array>
#include <cstdarg>
#include <initializer_list>
#include <string_view>

#include "References/Libraries/Wire/LogLine.h"

namespace qz::log {

/// Storage of a formatted message and its terminating zero.
using MessageBuffer = std::array<char, wire::kMessageLimit + 1>;

/// Formats like `vprintf`, cut to the limit of a message. A null `format`, or values that cannot be formatted, give "".
/// @return a view of `out`, terminated by a zero
std::string_view formatMessage(MessageBuffer& out, const char* format, std::va_list values);

/// This moment, process and thread, with the given place. Null texts mean "".
wire::LogPlace placeOf(const char* component, const char* sourceFile, long line);

/// Appends the parts of a line, one behind the other, and a line end. A file that cannot be opened is skipped.
void appendLogLine(const char* path, std::initializer_list<std::string_view> parts);

/// Creates the file with its heading, unless it exists or cannot be created.
void beginLogFile(const char* path, std::string_view heading);

}  // namespace qz::log
