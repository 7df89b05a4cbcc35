// The parts of a script as JSON: values that know where they stand, so that what is wrong can be told with its place.
#pragma once

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qzgateway {

using Json = nlohmann::json;

/// All that is wrong with a script, in the order in which it was found.
class Faults {
 public:
  /// What is found at the same place later is only what came of the first fault, and left out.
  void add(const Json::json_pointer& place, const std::string& reason) {
    const std::string name = place.empty() ? "the script" : place.to_string();
    if (places_.insert(name).second) texts_.push_back(name + ": " + reason);
  }
  const std::vector<std::string>& texts() const { return texts_; }

 private:
  std::set<std::string> places_;
  std::vector<std::string> texts_;
};

/// A value and its place in the script.
struct Item {
  const Json& json;
  Json::json_pointer place;
  const std::filesystem::path& folder;  ///< of the script
  Faults& faults;

  void refuse(const std::string& reason) const { faults.add(place, reason); }
  Item at(const std::string& step, const Json& inner) const { return {inner, place / step, folder, faults}; }
};

template <class Take>
void forEach(const Item& list, Take&& take) {
  if (!list.json.is_array()) return list.refuse("must be a list");
  for (std::size_t i = 0; i < list.json.size(); ++i) take(list.at(std::to_string(i), list.json[i]));
}

/// Letters, digits and "-_.", at least one.
bool isName(std::string_view text);

// What an item holds. One that holds something else is refused, and something harmless returned.

/// A text without zero characters.
std::string textIn(const Item& item);
/// A text without control characters.
std::string headerTextIn(const Item& item);
/// The content of a file, which is looked for in the script's folder.
std::vector<unsigned char> fileNamed(const std::string& path, const Item& item);
long wholeNumberIn(const Item& item, long least, long most);

/// One object, whose members are asked for one by one.
class Members {
 public:
  explicit Members(Item object) : object_(std::move(object)) {
    if (!object_.json.is_object()) object_.refuse("must be an object");
  }

  bool has(const char* name) {
    known_.emplace_back(name);
    return object_.json.is_object() && object_.json.contains(name);
  }
  Item operator[](const char* name) const { return object_.at(name, object_.json.at(name)); }
  const Item& object() const { return object_; }

  std::string text(const char* name, std::string otherwise = "") {
    return has(name) ? textIn((*this)[name]) : otherwise;
  }
  std::optional<long> number(const char* name, long least, long most) {
    return has(name) ? std::optional(wholeNumberIn((*this)[name], least, most)) : std::nullopt;
  }
  /// A member that, if it is there, can only be true.
  bool flag(const char* name) {
    if (!has(name)) return false;
    if (object_.json.at(name) != true) (*this)[name].refuse("must be true, or not be there");
    return true;
  }
  void require(const char* name) {
    if (object_.json.is_object() && !has(name)) object_.at(name, object_.json).refuse("is missing");
  }

  /// To be called when all members have been asked for: others have no meaning, so somebody wrote what he did not mean.
  void refuseOthers() const {
    if (!object_.json.is_object()) return;
    for (const auto& [name, value] : object_.json.items())
      if (std::ranges::find(known_, name) == known_.end())
        object_.at(name, value).refuse("has no meaning here; there may be " + listOfKnown());
  }

 private:
  std::string listOfKnown() const {
    std::string out;
    for (const std::string& name : std::set(known_.begin(), known_.end())) out += (out.empty() ? "" : ", ") + name;
    return out;
  }

  Item object_;
  std::vector<std::string> known_;
};

}  // namespace qzgateway
