#include "Tools/qzcall/Values.h"

#include <iterator>

namespace qzcall {

std::string typeName(unsigned char type) {
  constexpr const char* kNames[] = {"binary", "text", "byte", "short", "long", "float", "double", "list", "compressed"};
  return type < std::size(kNames) ? kNames[type] : "type " + std::to_string(type);
}

Bytes bytesOf(const ITKBuffer& buffer) { return {buffer.getBuffer(), static_cast<std::size_t>(buffer.getLength())}; }

std::string_view textOf(const ITKBuffer& buffer) {
  const Bytes bytes = bytesOf(buffer);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  return text.ends_with('\0') ? text.substr(0, text.size() - 1) : text;
}

bool readList(const ITKBuffer& buffer, ITKBufferList& list) { return list.serializeFrom(buffer) != 0; }

}  // namespace qzcall
