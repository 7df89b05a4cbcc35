#include "Tools/qzcall/Failure.h"

#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>

#include "ITKSOAPError.h"
#include "Tools/qzcall/Command.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

std::string shown(std::string_view line) { return forTerminal(line, std::numeric_limits<std::size_t>::max()); }

std::string meaningOf(long result) {
  switch (result) {
    case E_OK:
      return "success";
    case E_FAULT:
      return "the server answered with a fault";
    case E_LOGON:
      return "the server asks for a logon";
    case E_PROXY:
      return "the request could not be sent or the reply not be read";
    case E_HTTP:
      return "the connection or the HTTP request failed";
    case E_TIMEOUT:
      return "the time limit has passed";
    case E_URL:
      return "the URL cannot be used";
    default:
      return "the server reports an error";
  }
}

}  // namespace

nlohmann::ordered_json toJson(const Failure& failure) {
  return {{"code", failure.code}, {"subCode", failure.subCode}, {"text", failure.text}};
}

std::string pretty(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string verdictOn(long code, long subCode) {
  std::string out = meaningOf(code);
  if (code != E_OK) out += ", code " + std::to_string(code);
  if (subCode != 0) out += ", detail " + std::to_string(subCode);
  return out;
}

void complain(const Failure& failure) {
  std::cerr << "qzcall: " << verdictOn(failure.code, failure.subCode) << '\n';
  for (const std::string_view line : linesOf(failure.text))
    if (!line.empty()) std::cerr << "  " << shown(line) << '\n';
}

int complainOfUsage(const std::string& what) {
  std::cerr << "qzcall: " << what << (what.ends_with('\n') ? "" : "\n");
  return kUsage;
}

}  // namespace qzcall
