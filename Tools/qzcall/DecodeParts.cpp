#include "Tools/qzcall/DecodeParts.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace qzcall {
namespace {

Kind plainKind(std::string_view text) { return isUtf8(text) ? Kind::text : Kind::binary; }

Kind contentKind(const Piece& piece) {
  const std::string_view text = piece.text();
  if (text.starts_with("NIRA")) return Kind::block;
  if (text.starts_with('\x07')) return Kind::list;
  if (text.find("<SOAP-ENV:Envelope") != std::string_view::npos) return Kind::envelope;
  return plainKind(text);
}

void readContent(Level& level, Kind kind, const Piece& piece) {
  if (kind == Kind::block) return readBlock(level, piece);
  if (kind == Kind::list) return readList(level, piece);
  if (kind == Kind::envelope) return readEnvelope(level, piece);
  level.node().value = piece.bytes;
}

}  // namespace

Piece Piece::from(std::size_t begin, std::size_t length) const {
  return {bytes.subspan(begin, std::min(length, bytes.size() - begin)), offset + begin};
}

Node* Level::add(Kind kind, std::string name, const Piece& piece) {
  if (budget_.left.nodes == 0) {
    // Faults take memory too: many that say the same would be no bound.
    if (!std::exchange(budget_.isExhausted, true))
      fault(piece.offset, "too many parts: what begins here was not opened");
    return nullptr;
  }
  --budget_.left.nodes;
  Node& node = node_.children.emplace_back();
  node.kind = kind;
  node.name = std::move(name);
  node.offset = piece.offset;
  node.length = piece.size();
  return &node;
}

Node* Level::addValue(Kind kind, std::string name, const Piece& piece) {
  Node* const node = add(kind, std::move(name), piece);
  if (node != nullptr) node->value = piece.bytes;
  return node;
}

std::string counted(std::uint64_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string countedAre(std::uint64_t count) { return std::to_string(count) + (count == 1 ? " is" : " are"); }

std::string hexOffset(std::uint64_t offset) {
  char text[16];
  const std::string digits(text, std::to_chars(text, text + sizeof text, offset, 16).ptr);
  return digits.size() < 8 ? std::string(8 - digits.size(), '0') + digits : digits;
}

void addStray(Level& level, const char* name, const Piece& piece) {
  if (piece.size() > 0) level.addValue(plainKind(piece.text()), name, piece);
}

void addContent(Level& level, const Piece& piece) {
  if (piece.size() == 0) return;
  const Kind kind = contentKind(piece);
  Node* const node = level.add(kind, "", piece);
  if (node != nullptr) level.descend(*node, [&](Level& inner) { readContent(inner, kind, piece); });
}

}  // namespace qzcall
