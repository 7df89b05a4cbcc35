#include "References/Libraries/Wire/XmlEscape.h"

#include <algorithm>
#include <array>

namespace qz::wire {
namespace {

struct Entity {
  char character;
  std::string_view name;
};

constexpr std::array<Entity, 5> kEntities = {
    {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'\'', "&apos;"}, {'"', "&quot;"}}};

const Entity* entityOf(char character) {
  for (const auto& entity : kEntities)
    if (entity.character == character) return &entity;
  return nullptr;
}

const Entity* entityAtHeadOf(std::string_view text) {
  for (const auto& entity : kEntities)
    if (text.starts_with(entity.name)) return &entity;
  return nullptr;
}

}  // namespace

std::string encodeXml(std::string_view text) {
  std::size_t size = text.size();
  for (const char c : text)
    if (const auto* entity = entityOf(c)) size += entity->name.size() - 1;
  std::string result;
  result.reserve(size);
  for (const char c : text) {
    if (const auto* entity = entityOf(c))
      result.append(entity->name);
    else
      result.push_back(c);
  }
  return result;
}

std::string decodeXml(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const auto plain = std::min(text.find('&'), text.size());
    result.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) break;
    const auto* entity = entityAtHeadOf(text);
    result.push_back(entity != nullptr ? entity->character : '&');
    text.remove_prefix(entity != nullptr ? entity->name.size() : 1);
  }
  return result;
}

}  // namespace qz::wire
