// Shows the argument streams of a dump file, which holds whatever a call sent and received, without any gateway.
//
//   decode_dump DUMP_FILE
#include <R7ITK.h>

#include <algorithm>
#include <cstdio>
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

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("usage: decode_dump DUMP_FILE\n", stderr), 2;
  ITKBuffer dump;
  if (!ITKBuffer::loadFile(argv[1], dump)) return std::fprintf(stderr, "decode_dump: cannot read %s\n", argv[1]), 1;
  std::string_view rest(dump.c_str(), static_cast<std::size_t>(dump.getLength()));
  int streams = 0;
  for (std::size_t at; (at = rest.find(kEnvelopeEnd)) != std::string_view::npos;) {
    rest.remove_prefix(at + kEnvelopeEnd.size());
    // Up to the next envelope; "qzcall decode" knows better, as an argument may hold one.
    const auto stream = behindMark(rest.substr(0, rest.find(kEnvelopeEnd)));
    ITKBuffer bytes(stream.data(), static_cast<long>(stream.size()), ITKBufferType::DT_BINARY);
    ITKBufferList arguments;
    if (arguments.serializeFrom(bytes) == 0) continue;  // An envelope without arguments; the log says so.
    std::printf("stream %d%s, %ld arguments\n", ++streams, ITKBuffer::isCompressed(bytes) ? ", compressed" : "",
                arguments.getCount());
    show(arguments, 1);
  }
  return streams > 0 ? 0 : (std::fprintf(stderr, "decode_dump: no argument stream in %s\n", argv[1]), 1);
}
