// Arguments that stand in a reply's XML with a schema type.
#pragma once

#include <string>
#include <string_view>

namespace qz::wire {

/// Type code and bytes of one argument.
struct TypedArgument {
  unsigned char type = 0;
  std::string bytes;
};

/// Turns an element into bytes by its `xsi:type`.
/// @param schemaType value of the attribute, with or without a prefix; empty when there is none. int, short, byte,
///   float and double become little-endian numbers of 4, 2, 1, 4 and 8 bytes (the low bytes of a larger integer);
///   every other type becomes text
/// @param text text of the element as UTF-8
TypedArgument makeTypedArgument(std::string_view schemaType, std::string_view text);

/// The number at the head of `text`: leading white space, optional sign, decimal digits, point, exponent; the rest is
/// ignored. No number gives 0, one out of range infinity or 0. The host's locale has no part in it.
double parseDouble(std::string_view text);

}  // namespace qz::wire
