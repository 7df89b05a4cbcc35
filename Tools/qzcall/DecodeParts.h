// How the parts of one decoding are read. Internal to the decoder.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Tools/qzcall/Decode.h"

namespace qzcall {

/// Bytes and where they lie.
struct Piece {
  Bytes bytes;
  std::uint64_t offset = 0;

  std::size_t size() const { return bytes.size(); }
  std::string_view text() const { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }
  /// A piece of it, cut at the end.
  Piece from(std::size_t begin, std::size_t length = static_cast<std::size_t>(-1)) const;
};

/// What one decoding may still spend, and what it has restored.
struct Budget {
  Limits left;
  std::vector<std::vector<unsigned char>>& inflated;
  bool isExhausted = false;  ///< it has been noted that there are too many parts
};

/// One level of the tree: a part that is being read.
class Level {
 public:
  Level(Node& node, Budget& budget) : node_(node), budget_(budget) {}

  /// Appends a part. Null when there are too many, and a fault here if this is the first that is.
  Node* add(Kind kind, std::string name, const Piece& piece);
  /// The same for a part that has these bytes as its value.
  Node* addValue(Kind kind, std::string name, const Piece& piece);
  void fault(std::uint64_t offset, std::string text) { node_.faults.push_back({offset, std::move(text)}); }

  /// Calls `read(Level&)` for a part of this one that `piece` is. A fault at the part when it lies too deep.
  template <class Read>
  void descend(Node& child, Read&& read) {
    Level level(child, budget_);
    if (budget_.left.depth == 0) return level.fault(child.offset, "nested too deeply to be opened");
    --budget_.left.depth;
    read(level);
    ++budget_.left.depth;
  }

  Node& node() { return node_; }
  Budget& budget() { return budget_; }

 private:
  Node& node_;
  Budget& budget_;
};

/// Names of parts for what stands in front of what is expected, and behind its end.
inline constexpr char kInFront[] = "in front of the beginning";
inline constexpr char kBehindTheEnd[] = "behind the end";

/// "1 byte", "2 bytes".
std::string counted(std::uint64_t count, const char* what);
/// "1 is", "2 are".
std::string countedAre(std::uint64_t count);
/// A place as it is written everywhere, eight hexadecimal digits or more.
std::string hexOffset(std::uint64_t offset);

/// Each reads a piece into a part whose kind and place are set.
void readList(Level& level, const Piece& piece);
void readListFile(Level& level, const Piece& piece);
void readBuffers(Level& level, const Piece& piece);
void readBlock(Level& level, const Piece& piece);
void readEnvelope(Level& level, const Piece& piece);
/// @param boundary as the headers name it; empty: that of the first mark
/// @param isReply it is the reply to a call, which the library reads by rules of its own
void readMultipart(Level& level, const Piece& piece, std::string_view boundary, bool isReply);
void readDump(Level& level, const Piece& piece);

/// Appends a part for bytes that stand at no place for them, unless there are none. As long as they are read by nobody,
/// they are no fault.
void addStray(Level& level, const char* name, const Piece& piece);

/// Appends a part for bytes whose form only they tell: an argument stream, compressed or not, an envelope, text, or
/// bytes.
void addContent(Level& level, const Piece& piece);

/// Where the whole elements end of bytes that are taken for a list, a list file or buffer streams; 0 when they cannot be.
std::size_t endOfElements(Bytes bytes, Form form);

}  // namespace qzcall
