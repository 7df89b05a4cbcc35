// Replacement of every occurrence of a pattern.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qz::wire {

/// Replaces every `pattern` in `text` by `value` and returns how many there were. Inserted text is not searched again;
/// an empty pattern replaces nothing. One allocation of the final size; `pattern` and `value` may be parts of `text`.
std::size_t replaceAll(std::string& text, std::string_view pattern, std::string_view value);

}  // namespace qz::wire
