// What bytes hold: argument streams, blocks, envelopes, bodies and dump files, as a tree of parts with their places.
//
// Nothing here reaches Windows or a file. Hostile bytes cost bounded time, memory and depth; each fault stands at the
// part in which it was found, beside all that could be read before it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Tools/qzcall/Text.h"

namespace qzcall {

/// What bytes can be taken for.
enum class Form {
  any,        ///< what they look like
  block,      ///< compressed block, "NIRA"
  list,       ///< list stream, as it travels
  listFile,   ///< list file, with a count of four bytes
  buffer,     ///< buffer streams, one behind the other
  envelope,   ///< SOAP envelope
  multipart,  ///< whole multipart body
  dump        ///< dump file of exchanges
};

/// The form that a word on the command line names ("block", "listfile"); nothing for another word.
std::optional<Form> formNamed(std::string_view name);
/// All of these words, with commas between them.
std::string formNames();

/// What a part is, and with it what its value means.
enum class Kind : unsigned char {
  unknown,  ///< bytes of no known form
  dump,
  exchange,    ///< of a dump: a request and its reply
  request,     ///< header lines and body
  reply,       ///< status line, header lines and body
  headerLine,  ///< value: the line without its line end
  multipart,
  part,  ///< of a multipart body: header lines and content
  envelope,
  element,  ///< of XML; value: its text, as it stands there, unless it has children
  field,    ///< element of a document that stands escaped inside of another one; value alike
  xmlText,  ///< text between elements
  block,
  inflated,  ///< what a block restores to: offsets below count in these bytes
  list,
  listFile,
  buffers,
  number,    ///< value: unsigned, little-endian, 1 to 4 bytes
  checksum,  ///< the same, written in hexadecimal
  zlib,      ///< zlib stream; its first child is what was restored
  // Values by their type code; nested lists and compressed lists are of the kinds `list` and `block`.
  binary,
  text,
  int8,
  int16,
  int32,
  float32,
  float64,
  other  ///< a type code without a meaning
};

/// A fault and where it is.
struct Fault {
  std::uint64_t offset;  ///< counts like those of the part that it belongs to
  std::string text;      ///< a sentence without its full stop
};

/// One part.
struct Node {
  Kind kind = Kind::unknown;
  std::string name;          ///< "element 0", "className"; empty where the kind says it all
  std::uint64_t offset = 0;  ///< of its first byte, from the beginning of the file or of the nearest `inflated` above
  std::uint64_t length = 0;  ///< bytes that it takes there, with its own head
  Bytes value;               ///< of a part without children; belongs to the bytes that were decoded, or to Decoded
  std::vector<Node> children;
  std::vector<Fault> faults;
};

/// Bounds of one decoding. What lies beyond is a fault at the place where it begins.
struct Limits {
  std::size_t depth = 64;                         ///< parts within parts
  std::size_t nodes = 200000;                     ///< parts in all
  std::size_t inflated = std::size_t{128} << 20;  ///< restored bytes in all
};

/// The form that bytes look like; `any` when they look like none.
Form formOf(Bytes bytes);

/// A tree and the restored bytes that it refers to.
struct Decoded {
  Decoded() = default;
  Decoded(Decoded&&) = default;
  Decoded& operator=(Decoded&&) = default;

  Node root;
  std::vector<std::vector<unsigned char>> inflated;
};

/// Takes `bytes` apart, which must outlive the result.
/// @param form what they are; of `any` that looks like nothing comes one part of the kind `unknown` with a fault
Decoded decode(Bytes bytes, Form form = Form::any, const Limits& limits = {});

/// The first fault of the tree in its order, with the part that has it; null when there is none.
const Fault* firstFault(const Node& root);

/// The word for a kind, as it stands in JSON.
const char* nameOf(Kind kind);

/// A value for reading.
struct Value {
  /// How `text` is to be understood.
  enum class Type {
    none,    ///< there is no value
    text,    ///< UTF-8, escapes of XML undone, without the zero at the end of an argument's text
    number,  ///< as JSON writes it
    hex      ///< bytes that are nothing better, two digits each
  };
  Type type = Type::none;
  std::string text;
  bool cut = false;  ///< only the beginning was asked for
};

/// The value of a part.
/// @param most no more bytes than these are looked at; no character of a text is cut in two
Value valueOf(const Node& node, std::size_t most = static_cast<std::size_t>(-1));

}  // namespace qzcall
