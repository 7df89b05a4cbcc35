// The values inside of output arguments.
#pragma once

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {

/// The word for a type code, as it is written in front of an argument where there is such an argument.
std::string typeName(unsigned char type);

/// The bytes of `buffer`; they live as long as it is not changed.
Bytes bytesOf(const ITKBuffer& buffer);

/// The bytes of `buffer` as text, without the terminating zero that text arguments are sent with.
std::string_view textOf(const ITKBuffer& buffer);

/// Reads the elements of a nested list into `list`.
/// @return false when the buffer holds no list, or one that does not fit into memory once more
bool readList(const ITKBuffer& buffer, ITKBufferList& list);

/// The number in `buffer`, if it has the size of one.
template <class Number>
std::optional<Number> numberIn(const ITKBuffer& buffer) {
  if (buffer.getLength() != static_cast<long>(sizeof(Number))) return std::nullopt;
  Number number;
  std::memcpy(&number, buffer.getBuffer(), sizeof number);
  return number;
}

}  // namespace qzcall
