#include "Tools/qzcall/Encode.h"

#include <new>

#include "ITKBufferList.h"

namespace qzcall {
namespace {

constexpr std::size_t kMostElements = 255;

std::string contentOf(const ITKBuffer& buffer) {
  return {reinterpret_cast<const char*>(buffer.getBuffer()), static_cast<std::size_t>(buffer.getLength())};
}

std::string streamOf(const std::vector<WrittenArgument>& arguments, int level) {
  ITKBufferList list;
  for (const WrittenArgument& argument : arguments)
    if (list.add(ITKBuffer(argument.bytes.data(), static_cast<long>(argument.bytes.size()), argument.type)) < 0)
      throw std::bad_alloc();
  ITKBuffer stream;
  if (list.serializeTo(stream, level) == 0) throw std::bad_alloc();
  return contentOf(stream);
}

/// A buffer stream is what a list has behind its head of two bytes.
std::string buffersOf(const std::vector<WrittenArgument>& arguments) {
  std::string streams;
  for (const WrittenArgument& argument : arguments) streams += streamOf({argument}, 0).substr(2);
  return streams;
}

}  // namespace

tl::expected<std::string, std::string> encode(std::string_view form, const std::vector<WrittenArgument>& arguments,
                                              int level) {
  if (form == "buffer") {
    if (arguments.empty()) return tl::unexpected<std::string>("a buffer stream needs an --arg");
    return buffersOf(arguments);
  }
  if (arguments.size() > kMostElements)
    return tl::unexpected<std::string>("the stream of a list has room for 255 arguments, and there are " +
                                       std::to_string(arguments.size()));
  return streamOf(arguments, form == "block" ? level : 0);
}

}  // namespace qzcall
