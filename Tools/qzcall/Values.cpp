#include "Tools/qzcall/Values.h"

#include <iterator>

namespace qzcall {

std::string typeName(unsigned char type) {
  constexpr const char* kNames[] = {"binary", "text", "byte", "short", "long", "float", "double", "list", "compressed"};
  return type < std::size(kNames) ? kNames[type] : "type " + std::to_string(type);
}

std::string_view textOf(const Argument& argument) {
  const std::string_view text(reinterpret_cast<const char*>(argument.bytes.data()), argument.bytes.size());
  return text.ends_with('\0') ? text.substr(0, text.size() - 1) : text;
}

bool readList(const Argument& argument, ITKBufferList& list) {
  const ITKBuffer stream(argument.bytes.data(), static_cast<long>(argument.bytes.size()), argument.type);
  return list.serializeFrom(stream) != 0;
}

}  // namespace qzcall
