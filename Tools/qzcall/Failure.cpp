#include "Tools/qzcall/Failure.h"

#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>

#include "Tools/qzcall/Command.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

std::string shown(std::string_view line) { return forTerminal(line, std::numeric_limits<std::size_t>::max()); }

}  // namespace

nlohmann::ordered_json toJson(const Failure& failure) {
  return {{"code", failure.code}, {"subCode", failure.subCode}, {"text", failure.text}};
}

std::string pretty(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

void complain(const Failure& failure) {
  std::cerr << "qzcall: code " << failure.code;
  if (failure.subCode != 0) std::cerr << ", detail " << failure.subCode;
  std::cerr << '\n';
  for (const std::string_view line : linesOf(failure.text))
    if (!line.empty()) std::cerr << "  " << shown(line) << '\n';
}

int complainOfUsage(const std::string& what) {
  std::cerr << "qzcall: " << what << '\n';
  return kUsage;
}

}  // namespace qzcall
