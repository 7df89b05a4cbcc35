#include "References/Libraries/Platform/LinkedZlib.h"

#include <zlib.h>

namespace qz::platform {
namespace {

/// zlib's own uncompress() but for the streams it takes, and with the same results.
int uncompressEither(unsigned char* to, unsigned long* toLength, const unsigned char* from, unsigned long fromLength) {
  constexpr int kZlibOrGzip = 32 + MAX_WBITS;
  z_stream stream{};
  stream.next_in = const_cast<unsigned char*>(from);
  stream.avail_in = fromLength;
  stream.next_out = to;
  stream.avail_out = *toLength;
  if (const int failed = inflateInit2(&stream, kZlibOrGzip); failed != Z_OK) return failed;
  const int result = inflate(&stream, Z_FINISH);
  *toLength = stream.total_out;
  inflateEnd(&stream);
  if (result == Z_STREAM_END) return Z_OK;
  return result == Z_NEED_DICT || (result == Z_BUF_ERROR && stream.avail_in == 0) ? Z_DATA_ERROR : result;
}

}  // namespace

const wire::ZlibFunctions& linkedZlib() noexcept {
  static constexpr wire::ZlibFunctions functions{&crc32, &compress2, &uncompress};
  return functions;
}

const wire::ZlibFunctions& linkedZlibAndGzip() noexcept {
  static constexpr wire::ZlibFunctions functions{&crc32, &compress2, &uncompressEither};
  return functions;
}

}  // namespace qz::platform
