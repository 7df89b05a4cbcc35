#include "Tools/qzcall/ReportCommand.h"

#include <windows.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <tuple>

#include "Tools/qzcall/DecodeParts.h"
#include "Tools/qzcall/Encoding.h"
#include "Tools/qzcall/Failure.h"
#include "Tools/qzcall/Input.h"
#include "Tools/qzcall/Output.h"
#include "Tools/qzcall/ReplacedFile.h"
#include "Tools/qzcall/ReportFiles.h"
#include "Tools/qzcall/Text.h"

namespace qzcall {
namespace {

struct ReportOptions {
  std::vector<std::string> files;
  std::string outputFile;
  std::string from;
  std::string to;
  std::size_t megabytes = 32;
};

/// What was read, and the calls that the report points to.
struct Result {
  explicit Result(const KeepLimits& limits) : store(limits) { report.store = &store; }

  CallStore store;
  CallCollector collector{store};
  Report report;
};

constexpr char kReportFooter[] =
    "A log tells of calls when LogTrace=1, and of their arguments when LogBinary=1 too. Passports and passwords that\n"
    "went over the wire are in the page as they are in the log.\n"
    "Times are local times; '--to 2026-11-22' takes the whole day. Dump files are taken whole.\n"
    "\n"
    "Examples:\n"
    "  qzcall report Logs/R7ITK_2026-11-22.log -o report.html\n"
    "  qzcall report Logs/qzSOAP.log call.dump --from '2026-11-22 09:00' -o report.html";

std::string refuseOtherTime(const std::string& value) {
  return periodNamed(value) ? "" : "must be a local time like '2026-11-22 05:54:56', or a part of it from the left";
}

/// The time now and by how much it is away from UTC.
std::string timeNow() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  TIME_ZONE_INFORMATION zone{};
  const DWORD kind = GetTimeZoneInformation(&zone);
  const LONG east = -(zone.Bias + (kind == TIME_ZONE_ID_DAYLIGHT ? zone.DaylightBias : 0));
  char text[96];
  std::snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d, UTC%c%02ld:%02ld", now.wYear, now.wMonth, now.wDay,
                now.wHour, now.wMinute, now.wSecond, east < 0 ? '-' : '+', std::labs(east) / 60, std::labs(east) % 60);
  return text;
}

std::optional<std::string> readFile(const std::string& name, Result& result) {
  const std::size_t index = result.report.files.size();
  ReportFile& file = result.report.files.emplace_back();
  file.name = name;
  Input input(name);
  const ReportInput pieces{[&](char* into, std::size_t size) { return input.read(into, size); },
                           [&](std::uint64_t at) { return input.moveTo(at); }, input.size()};
  const std::string shown = "'" + forTerminal(name, 200) + "' ";
  if (!readReportFile(pieces, index, result.report.period.value_or(Period()), file, result.collector))
    return shown + "cannot be read";
  const bool isLog = file.counts.records > 0 || file.counts.hasHeading || file.size == 0;
  if (!file.isDump && !isLog) return shown + "is neither a trace log nor a dump file";
  return std::nullopt;
}

void arrange(Result& result) {
  Report& report = result.report;
  for (const auto& [number, call] : result.store.calls()) report.calls.push_back(&call);
  // Calls of a dump without a time stand at the end.
  std::ranges::stable_sort(report.calls, {},
                           [](const Call* call) { return std::tuple(!call->hasTime, call->begin, call->number); });
  report.made = timeNow();
}

int finish(const ReportOptions& written, const Result& result) {
  replaceFile(written.outputFile, [&](std::ostream& out) { writePage(out, result.report); });
  std::uint64_t foreign = 0;
  for (const ReportFile& file : result.report.files)
    foreign += file.counts.foreignLines + file.counts.brokenStreams + (file.foreignBytes > 0 ? 1 : 0);
  std::cerr << "qzcall: " << counted(result.report.calls.size(), "call");
  if (foreign > 0) std::cerr << "; the page says what of the files could not be read";
  std::cerr << '\n';
  return kSuccess;
}

std::optional<Period> periodOf(const ReportOptions& written) {
  if (written.from.empty() && written.to.empty()) return std::nullopt;
  const Period always;
  return Period{periodNamed(written.from).value_or(always).from, periodNamed(written.to).value_or(always).to};
}

Finish readFiles(const ReportOptions& written) {
  KeepLimits limits;
  limits.detail = written.megabytes << 20U;
  const auto result = std::make_shared<Result>(limits);
  result->report.period = periodOf(written);
  for (const std::string& file : written.files)
    if (const auto what = readFile(file, *result)) return [what] { return complainOfUsage(*what); };
  arrange(*result);
  return [written, result] { return finish(written, *result); };
}

Understood checkPeriod(const ReportOptions& written) {
  const auto period = periodOf(written);
  if (period && period->from > period->to) return tl::unexpected<std::string>("--from: is later than --to");
  return {};
}

/// The page would come in place of what it is made from.
Understood checkNoInput(const ReportOptions& written) {
  const std::filesystem::path output(wideOf(written.outputFile));
  for (const std::string& file : written.files) {
    std::error_code ignored;
    if (std::filesystem::equivalent(output, std::filesystem::path(wideOf(file)), ignored))
      return tl::unexpected("--output: '" + forTerminal(file, 200) + "' is to be read");
  }
  return {};
}

Prepared prepare(const ReportOptions& written) {
  return checkPeriod(written)
      .and_then([&] { return checkNoInput(written); })
      .and_then([&] { return checkOutput(written.outputFile); })
      .map([&] {
        return Command{[written] { return readFiles(written); }, 0, nullptr};
      });
}

}  // namespace

Prepare declareReport(CLI::App& command, std::shared_ptr<CommonOptions> /*common*/) {
  const auto written = std::make_shared<ReportOptions>();
  command.add_option("logs", written->files, "Trace logs of either face, and dump files")
      ->type_name("LOG...")
      ->required();
  addOutput(command, written->outputFile, "Write the page to this file");
  command.get_option("--output")->required();
  addText(command, "--from", written->from, "Leave out what the logs have from before this day, minute or second")
      ->type_name("TIME")
      ->check(refuseOtherTime, "", "");
  addText(command, "--to", written->to, "Leave out what the logs have from after this day, minute or second")
      ->type_name("TIME")
      ->check(refuseOtherTime, "", "");
  command
      .add_option("--size", written->megabytes, "Megabytes of requests, replies and lines, the newest; 32 by default")
      ->type_name("N")
      ->check(CLI::Range(1, 256));
  command.footer(kReportFooter);
  return [written] { return prepare(*written); };
}

}  // namespace qzcall
