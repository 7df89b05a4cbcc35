#include "Tools/qzgateway/ScriptArguments.h"

#include <algorithm>

#include "ITKBufferList.h"
#include "Tools/qzcall/Values.h"

namespace qzgateway {
namespace {

constexpr int kDeepestList = 16;
constexpr std::size_t kMostArguments = 255;

using qzcall::WrittenArgument;

std::optional<WrittenArgument> parsed(const Item& item, const std::string& written) {
  constexpr std::string_view kFile = "file:";
  if (written.starts_with(kFile))
    return WrittenArgument{ITKBufferType::DT_BINARY, fileNamed(written.substr(kFile.size()), item)};
  auto argument = qzcall::parseArgument(written);
  if (argument) return std::move(*argument);
  item.refuse(argument.error());
  return {};
}

std::optional<unsigned char> typeIn(Members& members) {
  const std::string name = members.text("type");
  for (unsigned char type = 0; type <= ITKBufferType::DT_COMPRESSED; ++type)
    if (qzcall::typeName(type) == name) return type;
  members.require("type");
  if (members.has("type"))
    members["type"].refuse("must be one of binary, text, byte, short, long, float, double, list, compressed");
  return {};
}

ArgumentsAnswer elementsOf(const Item& list, int depth);

std::optional<WrittenArgument> listOf(const Item& value, int depth) {
  if (depth == kDeepestList) {
    value.refuse("lists must not lie more than " + std::to_string(kDeepestList) + " deep");
    return {};
  }
  ITKBufferList list;
  ITKBuffer stream;
  for (const WrittenArgument& argument : elementsOf(value, depth + 1))
    if (list.add(ITKBuffer(argument.bytes.data(), static_cast<long>(argument.bytes.size()), argument.type)) < 0)
      throw std::bad_alloc();
  if (list.serializeTo(stream, 0) == 0) throw std::bad_alloc();
  const unsigned char* const bytes = stream.getBuffer();
  return WrittenArgument{ITKBufferType::DT_LIST, {bytes, bytes + stream.getLength()}};
}

/// A JSON value of a type that has such values.
std::optional<WrittenArgument> valueOf(const Item& value, unsigned char type, int depth) {
  if (type == ITKBufferType::DT_LIST) return listOf(value, depth);
  if (type == ITKBufferType::DT_TEXT) return parsed(value, "text:" + textIn(value));
  if (type != ITKBufferType::DT_BINARY && type != ITKBufferType::DT_COMPRESSED && value.json.is_number())
    return parsed(value, qzcall::typeName(type) + ":" + value.json.dump());
  value.refuse("is no value of the type " + qzcall::typeName(type));
  return {};
}

/// {"type": ..., "value": ...} or {"type": ..., "hex": ...}, as `qzcall --json` prints them.
/// @return nothing when it is wrong; without bytes when neither is there
std::optional<ArgumentPattern> typedIn(const Item& item, int depth) {
  Members members(item);
  const auto type = typeIn(members);
  if (!type) return {};
  std::optional<WrittenArgument> argument;
  const bool hasValue = members.has("value"), hasHex = members.has("hex");
  if (hasValue && hasHex) item.refuse("has both \"value\" and \"hex\"");
  if (hasValue) argument = valueOf(members["value"], *type, depth);
  if (hasHex) argument = parsed(members["hex"], "hex:" + textIn(members["hex"]));
  members.refuseOthers();
  if ((hasValue || hasHex) && !argument) return {};
  return ArgumentPattern{type, argument ? std::optional(std::move(argument->bytes)) : std::nullopt};
}

std::optional<ArgumentPattern> patternIn(const Item& item, int depth) {
  if (item.json.is_object()) return typedIn(item, depth);
  if (!item.json.is_string()) {
    item.refuse("must be a text TYPE:VALUE or an object with a \"type\"");
    return {};
  }
  auto argument = parsed(item, textIn(item));
  if (!argument) return {};
  return ArgumentPattern{argument->type, std::move(argument->bytes)};
}

ArgumentsAnswer elementsOf(const Item& list, int depth) {
  ArgumentsAnswer arguments;
  forEach(list, [&](const Item& item) {
    auto argument = patternIn(item, depth);
    if (!argument) return;
    if (!argument->bytes) return item.refuse("needs a \"value\" or \"hex\"");
    arguments.push_back({*argument->type, std::move(*argument->bytes)});
  });
  if (arguments.size() > kMostArguments)
    list.refuse("must not have more than " + std::to_string(kMostArguments) + " elements");
  return arguments;
}

}  // namespace

ArgumentsAnswer argumentsIn(const Item& list) { return elementsOf(list, 0); }

ArgumentPatterns patternsIn(const Item& list) {
  ArgumentPatterns patterns;
  forEach(list, [&](const Item& item) {
    if (patterns.isMoreAllowed) return item.refuse("nothing can follow \"...\"");
    patterns.isMoreAllowed = item.json == "...";
    if (patterns.isMoreAllowed) return;
    auto pattern = item.json == "*" ? ArgumentPattern() : patternIn(item, 0);
    if (pattern) patterns.first.push_back(std::move(*pattern));
  });
  return patterns;
}

bool covers(const ArgumentPatterns& wide, const ArgumentPatterns& narrow) {
  const auto isWider = [](const ArgumentPattern& a, const ArgumentPattern& b) {
    return (!a.type || a.type == b.type) && (!a.bytes || a.bytes == b.bytes);
  };
  const std::size_t count = wide.first.size();
  if (narrow.first.size() < count) return false;
  if (!wide.isMoreAllowed && (narrow.isMoreAllowed || narrow.first.size() > count)) return false;
  return std::equal(wide.first.begin(), wide.first.end(), narrow.first.begin(), isWider);
}

}  // namespace qzgateway
