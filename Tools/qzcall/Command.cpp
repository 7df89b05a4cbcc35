#include "Tools/qzcall/Command.h"

#include <CLI/CLI.hpp>
#include <fstream>

#include "Tools/qzcall/Encoding.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

std::string refuseOption(const std::string& value) {
  return value.starts_with("--") ? "'" + forTerminal(value, 60) + "' is an option, not a value" : "";
}

std::string refuseOtherFace(const std::string& value) {
  return value == "toolkit" || value == "flat" ? "" : "must be toolkit or flat";
}

}  // namespace

std::string refuseNothing(const std::string& value) { return value.empty() ? "must not be empty" : ""; }

CLI::Option* addText(CLI::App& command, const char* name, std::string& value, const char* description) {
  return command.add_option(name, value, description)->check(refuseOption, "", "");
}

void addFace(CLI::App& app, CommonOptions& common) {
  const auto note = [&common](const std::string& face) { common.faces.push_back(face); };
  app.add_option_function<std::string>("--face", note, "Face of the library to use: toolkit (the default) or flat")
      ->type_name("FACE")
      ->check(refuseOtherFace, "", "");
}

CLI::Option* addUrl(CLI::App& command, CommonOptions& common) {
  return addText(command, "--url", common.url, "Gateway URL, http:// or https://");
}

void addDump(CLI::App& command, CommonOptions& common) {
  addText(command, "--dump", common.dumpFile, "Append the raw exchange to this file")->type_name("FILE");
}

void addSession(CLI::App& command, CommonOptions& common, const char* description) {
  addText(command, "--session", common.sessionFile, description)->type_name("FILE")->check(refuseNothing, "", "");
}

void addJson(CLI::App& command, CommonOptions& common) {
  command.add_flag("--json", common.json, "Print one JSON object instead of a table");
}

void addArguments(CLI::App& command, std::vector<std::string>& written) {
  command
      .add_option("--arg", written,
                  "Argument, in order: text:WORDS, long:N, short:N, byte:N, float:X, double:X, hex:DIGITS, file:PATH")
      ->allow_extra_args(false)
      ->type_name("TYPE:VALUE");
}

tl::expected<std::string, std::string> checkDump(const CommonOptions& common) {
  const auto path = ansiOf(common.dumpFile);
  if (!path)
    return tl::unexpected<std::string>("--dump: the file name has characters that this system's ANSI code page lacks");
  if (!path->empty() && !std::ofstream(*path, std::ios::app))
    return tl::unexpected<std::string>("--dump: the file cannot be written");
  return *path;
}

}  // namespace qzcall
