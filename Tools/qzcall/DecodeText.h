// A decoded tree, written out.
#pragma once

#include <ostream>

#include "Tools/qzcall/Decode.h"

namespace qzcall {

/// Writes the tree for a person: a line per part with its offset, its length, and, indented, its name and value; each
/// fault on a line of its own behind the parts that are good. Offsets that count in restored bytes have a "+".
/// @param width characters that a line may have, values are cut to it; 0: any number
void writeTree(std::ostream& out, const Node& root, std::size_t width);

/// Writes the tree as one JSON object with a line end: kind, name, offset, length, value (or hex), parts, faults.
void writeTreeJson(std::ostream& out, const Node& root);

}  // namespace qzcall
