// Argument streams made from arguments.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "Tools/qzcall/Arguments.h"

namespace qzcall {

/// The stream of these arguments.
/// @param form "list" for a list stream, "block" for one that is compressed, "buffer" for the buffer streams of the
///   arguments, one behind the other
/// @param level of the compression, 1 to 9 or -1 for the usual one
/// @return the bytes, or a sentence that says why there are none
tl::expected<std::string, std::string> encode(std::string_view form, const std::vector<WrittenArgument>& arguments,
                                              int level);

}  // namespace qzcall
