// Argument streams: lists, list files, buffers and compressed blocks.
#include <zlib.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>

#include "References/Common/LittleEndian.h"
#include "References/Libraries/Wire/CompressedBlock.h"
#include "References/Libraries/Wire/ListStream.h"
#include "Tools/qzcall/DecodeParts.h"

namespace qzcall {
namespace {

using qz::wire::kBlockHeaderSize;
using qz::wire::kElementHeadSize;
using qz::wire::kListHeadSize;
using qz::wire::kListMark;

constexpr std::size_t kFileCountSize = 4;

std::uint32_t load32(Bytes bytes, std::size_t at) { return qz::loadLittle32(std::as_bytes(bytes.subspan(at)).data()); }

std::string hexByte(unsigned char byte) { return toHex({&byte, 1}); }

Kind kindOf(unsigned char type) {
  constexpr Kind kKinds[] = {Kind::binary,  Kind::text,    Kind::int8, Kind::int16, Kind::int32,
                             Kind::float32, Kind::float64, Kind::list, Kind::block};
  return type < std::size(kKinds) ? kKinds[type] : Kind::other;
}

/// Reads the elements behind the head of a stream or file.
class ElementReader {
 public:
  ElementReader(Level& level, const Piece& piece, std::size_t begin) : level_(level), piece_(piece), at_(begin) {}

  bool atEnd() const { return at_ == piece_.size(); }
  std::size_t position() const { return at_; }

  /// Reads the element of this number; false when it is broken or there are too many.
  bool take(std::uint64_t index) {
    const std::string name = "element " + std::to_string(index);
    const std::size_t rest = piece_.size() - at_;
    if (rest < kElementHeadSize)
      return refuse(0, name + " has a head of 5 bytes, of which " + countedAre(rest) + " there");
    const auto length = static_cast<std::int32_t>(load32(piece_.bytes, at_ + 1));
    if (length < 0) return refuse(1, name + " announces the negative length " + std::to_string(length));
    const std::size_t available = rest - kElementHeadSize;
    if (static_cast<std::size_t>(length) > available)
      return refuse(1, name + " announces " + counted(static_cast<std::size_t>(length), "byte") + ", of which " +
                           countedAre(available) + " there");
    return add(name, static_cast<std::size_t>(length));
  }

 private:
  bool refuse(std::size_t at, std::string text) {
    level_.fault(piece_.offset + at_ + at, std::move(text));
    return false;
  }

  bool add(const std::string& name, std::size_t length) {
    const unsigned char type = piece_.bytes[at_];
    const Kind kind = kindOf(type);
    Node* const node = level_.add(kind, kind == Kind::other ? name + ", type " + std::to_string(type) : name,
                                  piece_.from(at_, kElementHeadSize + length));
    if (node == nullptr) return false;
    const Piece content = piece_.from(at_ + kElementHeadSize, length);
    if (kind == Kind::list) {
      level_.descend(*node, [&](Level& inner) { readList(inner, content); });
    } else if (kind == Kind::block) {
      level_.descend(*node, [&](Level& inner) { readBlock(inner, content); });
    } else {
      node->value = content.bytes;
    }
    at_ += kElementHeadSize + length;
    return true;
  }

  Level& level_;
  const Piece& piece_;
  std::size_t at_;
};

bool beginsList(Level& level, const Piece& piece) {
  if (piece.size() == 0) {
    level.fault(piece.offset, "a list begins with the byte 07, and there are no bytes");
  } else if (piece.bytes[0] != kListMark) {
    level.fault(piece.offset, "a list begins with the byte 07, not with " + hexByte(piece.bytes[0]));
  } else {
    return true;
  }
  return false;
}

void readCounted(Level& level, const Piece& piece, std::size_t countSize) {
  if (!beginsList(level, piece)) return;
  const std::size_t head = 1 + countSize;
  if (piece.size() < head) return level.fault(piece.offset + piece.size(), "the bytes end before the count does");
  const std::uint32_t count = countSize == 1 ? piece.bytes[1] : load32(piece.bytes, 1);
  level.addValue(Kind::number, "count", piece.from(1, countSize));
  if (count > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max()))
    return level.fault(piece.offset + 1, "the count is negative");
  ElementReader reader(level, piece, head);
  for (std::uint32_t i = 0; i < count; ++i)
    if (!reader.take(i)) return;
  addStray(level, kBehindTheEnd, piece.from(reader.position()));
}

/// What became of a zlib stream.
struct Restored {
  int result = Z_OK;          ///< Z_STREAM_END: whole; Z_BUF_ERROR: ended too early; Z_OK: longer than was allowed
  std::size_t taken = 0;      ///< bytes of the stream that were used
  const char* why = nullptr;  ///< what zlib says
};

/// Restores a stream into `out`, at most `most` bytes, as far as it can be.
Restored restore(Bytes stream, std::size_t most, std::vector<unsigned char>& out) {
  const std::size_t firstStep = std::clamp<std::size_t>(4 * stream.size(), 256, 65536);
  z_stream zlib{};
  zlib.next_in = const_cast<unsigned char*>(stream.data());
  zlib.avail_in = static_cast<unsigned int>(stream.size());
  if (inflateInit(&zlib) != Z_OK) throw std::bad_alloc();
  int result = Z_OK;
  while (result == Z_OK && zlib.total_out <= most) {
    // One byte more than allowed shows a stream that is longer.
    out.resize(std::min(most + 1, std::max(out.size() * 2, firstStep)));
    zlib.next_out = out.data() + zlib.total_out;
    zlib.avail_out = static_cast<unsigned int>(out.size() - zlib.total_out);
    result = inflate(&zlib, Z_NO_FLUSH);
    if (result == Z_OK && zlib.avail_in == 0 && zlib.avail_out != 0) result = Z_BUF_ERROR;
  }
  if (zlib.total_out > most) result = Z_OK;
  out.resize(std::min<std::size_t>(zlib.total_out, most));
  // Many small blocks must not take the room of as many large ones.
  out.shrink_to_fit();
  const Restored restored{result, zlib.total_in, zlib.msg};
  inflateEnd(&zlib);
  return restored;
}

/// A compressed block whose header is there.
class BlockReader {
 public:
  BlockReader(Level& level, const Piece& piece)
      : level_(level),
        piece_(piece),
        packed_(load32(piece.bytes, 4)),
        announced_(load32(piece.bytes, 8)),
        checksum_(load32(piece.bytes, 12)) {}

  void read() {
    level_.addValue(Kind::number, "compressed length", piece_.from(4, 4));
    level_.addValue(Kind::number, "uncompressed length", piece_.from(8, 4));
    level_.addValue(Kind::checksum, "checksum", piece_.from(12, 4));
    const Piece stream = piece_.from(kBlockHeaderSize, packed_);
    if (stream.size() < packed_)
      level_.fault(piece_.offset + 4, "the header announces " + counted(packed_, "compressed byte") + ", of which " +
                                          countedAre(stream.size()) + " there");
    Node* const zlib = level_.add(Kind::zlib, "", stream);
    if (zlib != nullptr) level_.descend(*zlib, [&](Level& inner) { readStream(inner, stream); });
    addStray(level_, kBehindTheEnd, piece_.from(kBlockHeaderSize + stream.size()));
  }

 private:
  void readStream(Level& level, const Piece& stream) {
    Budget& budget = level.budget();
    const bool isAffordable = announced_ <= budget.left.inflated;
    auto& content = budget.inflated.emplace_back();
    const Restored restored = restore(stream.bytes, isAffordable ? announced_ : budget.left.inflated, content);
    budget.left.inflated -= content.size();
    judge(level, stream, restored, isAffordable, content);
    const Piece inside{content, 0};
    Node* const node = level.add(Kind::inflated, "", inside);
    if (node != nullptr) level.descend(*node, [&](Level& inner) { addContent(inner, inside); });
    if (restored.result == Z_STREAM_END) addStray(level, kBehindTheEnd, stream.from(restored.taken));
  }

  void judge(Level& level, const Piece& stream, const Restored& restored, bool isAffordable, Bytes content) {
    const std::string after = " after " + counted(content.size(), "byte") + " were restored";
    const std::uint64_t at = stream.offset + restored.taken;
    if (restored.result == Z_STREAM_END) return judgeContent(level, content);
    if (restored.result == Z_OK && !isAffordable) return level.fault(at, "too much to be restored: stopped" + after);
    if (restored.result == Z_OK) return tooLong(level);
    if (restored.result == Z_BUF_ERROR) return level.fault(at, "the zlib stream breaks off" + after);
    level.fault(at, std::string("the zlib stream is broken: ") +
                        (restored.why == nullptr ? zError(restored.result) : restored.why) + "," + after);
  }

  void tooLong(Level& level) {
    level.fault(piece_.offset + 8, "the zlib stream holds more than the announced " + counted(announced_, "byte"));
  }

  void judgeContent(Level& level, Bytes content) {
    if (content.size() != announced_)
      level.fault(piece_.offset + 8, "the zlib stream holds " + counted(content.size(), "byte") +
                                         ", not the announced " + std::to_string(announced_));
    const std::uint32_t right = checksumFrom(qz::wire::kBlockMagic, content);
    if (right == checksum_) return;
    const bool isPlain = checksumFrom(0, content) == checksum_;
    level.fault(piece_.offset + 12, "the checksum of the restored bytes is 0x" + hexOffset(right) +
                                        (isPlain ? "; the header's was begun with 0 instead of the magic" : ""));
  }

  static std::uint32_t checksumFrom(std::uint32_t start, Bytes content) {
    // For a null pointer zlib returns its own start value.
    static constexpr unsigned char kNothing = 0;
    return static_cast<std::uint32_t>(
        crc32(start, content.empty() ? &kNothing : content.data(), static_cast<unsigned int>(content.size())));
  }

  Level& level_;
  const Piece& piece_;
  std::uint32_t packed_;
  std::uint32_t announced_;
  std::uint32_t checksum_;
};

}  // namespace

void readList(Level& level, const Piece& piece) { readCounted(level, piece, 1); }

void readListFile(Level& level, const Piece& piece) { readCounted(level, piece, kFileCountSize); }

void readBuffers(Level& level, const Piece& piece) {
  if (piece.size() == 0) level.fault(piece.offset, "there are no bytes");
  ElementReader reader(level, piece, 0);
  for (std::uint64_t i = 0; !reader.atEnd(); ++i)
    if (!reader.take(i)) return;
}

void readBlock(Level& level, const Piece& piece) {
  if (piece.size() >= 4 && load32(piece.bytes, 0) != qz::wire::kBlockMagic)
    return level.fault(piece.offset, "a block begins with \"NIRA\"");
  if (piece.size() <= kBlockHeaderSize)
    return level.fault(piece.offset + piece.size(),
                       "a block has more than the 16 bytes of its header, this one " + std::to_string(piece.size()));
  BlockReader(level, piece).read();
}

std::size_t endOfElements(Bytes bytes, Form form) {
  const std::size_t head = form == Form::buffer ? 0 : form == Form::list ? kListHeadSize : 1 + kFileCountSize;
  if (bytes.size() < head) return 0;
  const std::uint32_t count = form == Form::list       ? bytes[1]
                              : form == Form::listFile ? load32(bytes, 1)
                                                       : std::numeric_limits<std::uint32_t>::max();
  // Of a list without elements nothing else would be there.
  if (form == Form::list && count == 0 && bytes.size() > head) return 0;
  std::size_t at = head;
  for (std::uint32_t i = 0; i < count && bytes.size() - at >= kElementHeadSize; ++i) {
    const std::size_t length = load32(bytes, at + 1);
    if (kindOf(bytes[at]) == Kind::other && form == Form::buffer) return 0;
    if (length > bytes.size() - at - kElementHeadSize) break;
    at += kElementHeadSize + length;
  }
  return at;
}

}  // namespace qzcall
