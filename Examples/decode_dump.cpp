// Shows the argument streams of a dump file, which holds whatever a call sent and received, without any gateway.
//
//   decode_dump DUMP_FILE
#include <R7ITK.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view kEnvelopeEnd = "</SOAP-ENV:Envelope>\r\n--";
constexpr int kDeepest = 16;

// What came over the wire may hold anything, so only plain characters reach the terminal.
void show(const ITKBufferList& list, int depth) {
  for (long i = 0; i < list.getCount(); ++i) {
    const ITKBuffer& value = *list.getAt(i);
    std::printf("%*stype %d, %ld bytes: ", 2 * depth, "", value.getType(), value.getLength());
    if (value.getType() == ITKBufferType::DT_LONG && value.getLength() == sizeof(long))
      std::printf("%ld", *reinterpret_cast<const long*>(value.getBuffer()));
    for (const char* c = value.getType() == ITKBufferType::DT_TEXT ? value.c_str() : ""; *c != '\0'; ++c)
      std::putchar(*c < ' ' || *c > '~' ? '.' : *c);
    std::puts("");
    ITKBufferList nested;
    if (value.getType() == ITKBufferType::DT_LIST && depth < kDeepest && nested.serializeFrom(value) != 0)
      show(nested, depth + 1);
  }
}

// What stands behind the second mark between parts, and behind that part's headers if it has any.
std::string_view behindMark(std::string_view text) {
  const auto lineEnd = text.find("\r\n");
  if (lineEnd == std::string_view::npos) return "";
  const bool hasHeaders = text.substr(lineEnd).starts_with("\r\nContent-");
  return text.substr(std::min(hasHeaders ? text.find("\r\n\r\n") + 4 : lineEnd + 2, text.size()));
}

std::size_t numberAt(std::string_view text, std::size_t at) {
  std::uint32_t number = 0;
  if (text.size() >= at + sizeof number) std::memcpy(&number, text.data() + at, sizeof number);
  return number;
}

// The argument stream at the head of a text: a block tells its length, a list those of its elements. What follows it is
// not copied, and what an argument spells is not taken for another stream.
std::string_view streamAt(std::string_view text) {
  if (text.starts_with("NIRA")) return text.substr(0, 16 + std::min(numberAt(text, 4), text.size()));
  if (text.size() < 2 || text[0] != ITKBufferType::DT_LIST) return "";
  std::size_t end = 2;
  for (auto count = static_cast<unsigned char>(text[1]); count > 0 && end < text.size(); --count)
    end += 5 + std::min(numberAt(text, end + 1), text.size() - end);
  return text.substr(0, end);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("usage: decode_dump DUMP_FILE\n", stderr), 2;
  ITKBuffer dump;
  if (!ITKBuffer::loadFile(argv[1], dump)) return std::fprintf(stderr, "decode_dump: cannot read %s\n", argv[1]), 1;
  std::string_view rest(dump.c_str(), static_cast<std::size_t>(dump.getLength()));

  int streams = 0;
  for (std::size_t at; (at = rest.find(kEnvelopeEnd)) != std::string_view::npos;) {
    rest.remove_prefix(at + kEnvelopeEnd.size());
    const auto stream = streamAt(behindMark(rest));
    if (!stream.empty()) rest.remove_prefix(static_cast<std::size_t>(stream.data() - rest.data()) + stream.size());
    ITKBuffer bytes(stream.data(), static_cast<long>(stream.size()), ITKBufferType::DT_BINARY);
    ITKBufferList arguments;
    if (arguments.serializeFrom(bytes) == 0) continue;  // An envelope without arguments; the log says so.
    std::printf("stream %d%s, %ld arguments\n", ++streams, ITKBuffer::isCompressed(bytes) ? ", compressed" : "",
                arguments.getCount());
    show(arguments, 1);
  }
  return streams > 0 ? 0 : (std::fprintf(stderr, "decode_dump: no argument stream in %s\n", argv[1]), 1);
}
