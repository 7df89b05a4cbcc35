#include "Tools/qzcall/DoctorCommand.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>

#include "Tools/qzcall/Doctor.h"
#include "Tools/qzcall/Failure.h"

namespace qzcall {
namespace {

using Json = nlohmann::ordered_json;

constexpr char kDoctorFooter[] =
    "Exit code 1 means that something is at fault; each fault names its cure.\n"
    "\n"
    "Examples:\n"
    "  qzcall doctor\n"
    "  qzcall doctor --json";

const char* wordFor(Finding::State state) {
  switch (state) {
    case Finding::State::faulty:
      return "FAULT";
    case Finding::State::notable:
      return "note";
    default:
      return "ok";
  }
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(width, text.size()), ' ');
  return text;
}

const char* originOf(const Setting& setting) { return setting.written.empty() ? "default" : "ini"; }

void print(const Setting& setting) {
  std::cout << padded(setting.face, 9) << padded("[" + setting.section + "] " + setting.key, 41)
            << (setting.value.empty() ? "(empty)" : setting.value)
            << (setting.written.empty() ? ", the default" : ", from the ini file");
  if (setting.isOverruled()) std::cout << ", which says '" << setting.written << "'";
  std::cout << '\n';
}

void print(const Examination& examination) {
  for (const Finding& finding : examination.findings) {
    std::cout << padded(wordFor(finding.state), 7) << padded(finding.subject, 13) << finding.text << '\n';
    if (!finding.cure.empty()) std::cout << padded("", 7) << padded("cure", 13) << finding.cure << '\n';
  }
  std::cout << '\n';
  for (const Setting& setting : examination.settings) print(setting);
}

Json jsonOf(const Examination& examination) {
  Json findings = Json::array();
  for (const Finding& finding : examination.findings) {
    Json& out = findings.emplace_back(
        Json{{"state", wordFor(finding.state)}, {"subject", finding.subject}, {"text", finding.text}});
    if (!finding.cure.empty()) out["cure"] = finding.cure;
  }
  Json settings = Json::array();
  for (const Setting& setting : examination.settings) {
    Json& out = settings.emplace_back(Json{{"face", setting.face},
                                           {"section", setting.section},
                                           {"key", setting.key},
                                           {"value", setting.value},
                                           {"origin", originOf(setting)}});
    if (setting.isOverruled()) out["written"] = setting.written;
  }
  return {{"sound", examination.isSound()}, {"findings", findings}, {"settings", settings}};
}

int finish(const CommonOptions& common, const Examination& examination) {
  if (common.json) {
    std::cout << pretty(jsonOf(examination));
  } else {
    print(examination);
  }
  return examination.isSound() ? kSuccess : kFaulty;
}

}  // namespace

Prepare declareDoctor(CLI::App& command, std::shared_ptr<CommonOptions> common) {
  addJson(command, *common);
  command.footer(kDoctorFooter);
  return [common]() -> Prepared {
    const auto work = [common]() -> Finish {
      return [common, examination = examine()] { return finish(*common, examination); };
    };
    return Command{work, 0, nullptr};
  };
}

}  // namespace qzcall
