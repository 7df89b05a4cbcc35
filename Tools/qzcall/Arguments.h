// Arguments of a call as they are written on the command line, TYPE:VALUE.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

namespace qzcall {

/// One argument of a request.
struct WrittenArgument {
  unsigned char type;  ///< an ITKBufferType code
  std::vector<unsigned char> bytes;
};

/// Makes the argument that `written` describes. Types and what they become:
///   text:WORDS    DT_TEXT with its terminating zero
///   long:N        DT_LONG, short:N DT_I2, byte:N DT_I1, each within its signed range, decimal
///   float:X       DT_FLOAT, double:X DT_DOUBLE
///   hex:DIGITS    DT_BINARY
///   file:PATH     DT_BINARY, the content of a file
/// @return the argument, or a sentence that says what is wrong with `written`
tl::expected<WrittenArgument, std::string> parseArgument(const std::string& written);

/// The same for all of a command's, in order.
/// @return the arguments, or a complaint about the first that is wrong, which begins with the option
tl::expected<std::vector<WrittenArgument>, std::string> parseArguments(const std::vector<std::string>& written);

}  // namespace qzcall
