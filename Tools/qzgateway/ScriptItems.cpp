#include "Tools/qzgateway/ScriptItems.h"

#include <cstdint>

#include "Tools/qzcall/Encoding.h"
#include "Tools/qzcall/Input.h"

namespace qzgateway {
namespace {

bool isFitForHeader(std::string_view text) {
  return std::ranges::none_of(text, [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

}  // namespace

bool isName(std::string_view text) {
  const auto fits = [](unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_' ||
           c == '.';
  };
  return !text.empty() && std::ranges::all_of(text, fits);
}

std::string textIn(const Item& item) {
  if (!item.json.is_string()) {
    item.refuse("must be a text");
    return {};
  }
  std::string text = item.json.get<std::string>();
  // The library's texts end at their first zero byte.
  if (text.find('\0') != std::string::npos) item.refuse("must not have a zero character");
  return text;
}

std::string headerTextIn(const Item& item) {
  std::string text = textIn(item);
  if (!isFitForHeader(text)) item.refuse("must not have control characters");
  return text;
}

std::vector<unsigned char> fileNamed(const std::string& path, const Item& item) {
  const auto whole = std::filesystem::absolute(item.folder / qzcall::wideOf(path)).make_preferred();
  const std::string name = qzcall::utf8Of(whole.wstring());
  auto content = qzcall::readAll(name);
  if (content) return std::move(*content);
  item.refuse("the file '" + name + "' " + content.error());
  return {};
}

long wholeNumberIn(const Item& item, long least, long most) {
  const bool isUnsigned = item.json.is_number_unsigned();
  const bool isInRange = isUnsigned ? most >= 0 && item.json.get<std::uint64_t>() <= static_cast<std::uint64_t>(most) &&
                                          static_cast<long>(item.json.get<std::uint64_t>()) >= least
                                    : item.json.is_number_integer() && item.json.get<std::int64_t>() >= least &&
                                          item.json.get<std::int64_t>() <= most;
  if (isInRange) return item.json.get<long>();
  item.refuse("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  return least;
}

}  // namespace qzgateway
