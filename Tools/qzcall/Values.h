// The values inside of output arguments.
#pragma once

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "ITKBufferList.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {

/// One argument of a reply; its bytes belong to somebody else.
struct Argument {
  unsigned char type;
  Bytes bytes;
};

/// What a buffer of either face holds, as long as that is not changed.
template <class Buffer>
Argument argumentIn(const Buffer& buffer) {
  return {buffer.getType(), {buffer.getBuffer(), static_cast<std::size_t>(buffer.getLength())}};
}

/// The word for a type code, as it is written in front of an argument where there is such an argument.
std::string typeName(unsigned char type);

/// The argument's bytes as text, without the terminating zero that text arguments are sent with.
std::string_view textOf(const Argument& argument);

/// Reads the elements of a nested list into `list`.
/// @return false when the argument is no list, or one that does not fit into memory once more
bool readList(const Argument& argument, ITKBufferList& list);

/// The number in the argument, if it has the size of one.
template <class Number>
std::optional<Number> numberIn(const Argument& argument) {
  if (argument.bytes.size() != sizeof(Number)) return std::nullopt;
  Number number;
  std::memcpy(&number, argument.bytes.data(), sizeof number);
  return number;
}

}  // namespace qzcall
