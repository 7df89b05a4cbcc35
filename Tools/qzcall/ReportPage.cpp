#include "Tools/qzcall/ReportPage.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "Tools/qzcall/DecodeParts.h"
#include "Tools/qzcall/ReportAssets.h"
#include "Tools/qzcall/ReportText.h"

namespace qzcall {
namespace {

constexpr std::size_t kMostOfLooseLine = 300;

class PageWriter {
 public:
  PageWriter(std::ostream& out, const Report& report) : out_(out), report_(report), axis_(report.calls) {}

  void write() {
    writeHead();
    writeSummary();
    writeFilters();
    writeAxis();
    out_ << "<div class=\"calls\">\n";
    for (const Call* const call : report_.calls) writeCall(*call);
    out_ << "</div>\n";
    writeLooseLines();
    out_ << "<script>" << kPageScript.text << "</script>\n</body>\n</html>\n";
  }

 private:
  void writeHead() {
    out_ << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; script-src '"
         << kPageScript.hash << "'; style-src '" << kPageStyle.hash
         << "'; base-uri 'none'; form-action 'none'\">\n<meta name=\"viewport\" content=\"width=device-width\">\n"
            "<meta name=\"referrer\" content=\"no-referrer\">\n<link rel=\"icon\" href=\"data:,\">\n"
            "<title>Trace of calls</title>\n<style>"
         << kPageStyle.text << "</style>\n</head>\n<body>\n";
  }

  void writeSummary() {
    out_ << "<h1>Trace of calls</h1>\n<p>" << counted(report_.calls.size(), "call");
    for (const auto& [outcome, count] : countsOfOutcomes())
      out_ << ", <span class=\"out " << outcome << "\">" << count << ' ' << outcome << "</span>";
    out_ << "</p>\n";
    out_ << "<p class=\"dim\">";
    if (!axis_.empty()) out_ << timeText(axis_.begin(), false) << " to " << timeText(axis_.end(), false) << ". ";
    out_ << "Times are local times of the machine that wrote the log; a log does not tell its zone. Made "
         << htmlText(report_.made) << ".</p>\n";
    writePeriod();
    out_ << "<ul class=\"files\">\n";
    for (const ReportFile& file : report_.files) writeFile(file);
    out_ << "</ul>\n";
    writeWarnings();
    out_ << "<noscript><p class=\"warn\">Filters, requests and replies need the script of this page.</p></noscript>\n";
  }

  void writePeriod() {
    if (!report_.period) return;
    const auto [from, to] = *report_.period;
    out_ << "<p class=\"dim\">Records of logs";
    if (from != Period().from) out_ << " from " << timeText(from, false);
    if (to != Period().to) out_ << " up to " << timeText(to, true);
    out_ << "; " << counted(recordsOutside(), "record") << " outside of that. Dump files are whole.</p>\n";
  }

  std::uint64_t recordsOutside() const {
    std::uint64_t count = 0;
    for (const ReportFile& file : report_.files) count += file.outside;
    return count;
  }

  void writeFile(const ReportFile& file) {
    out_ << "<li><span class=\"mono\">" << htmlText(file.name) << "</span>, " << counted(file.size, "byte") << ": ";
    if (file.isDump) {
      out_ << "dump file, " << counted(file.exchanges, "exchange");
      if (file.foreignBytes > 0) writeFault(counted(file.foreignBytes, "byte") + " in front of the first");
    } else {
      out_ << "log, " << counted(file.counts.records, "record");
      const LogCounts& counts = file.counts;
      if (counts.foreignLines > 0)
        writeFault(counted(counts.foreignLines, "line") + " of no record, " + counted(counts.foreignBytes, "byte"));
      if (counts.brokenStreams > 0)
        writeFault(counted(counts.brokenStreams, "broken byte stream") + ", " + counted(counts.missingBytes, "byte") +
                   " of what they announce missing");
    }
    out_ << "</li>\n";
  }

  void writeFault(const std::string& text) { out_ << "; <span class=\"warn\">" << text << "</span>"; }

  void writeWarnings() {
    const std::uint64_t dropped = report_.store->dropped().calls;
    if (dropped > 0)
      warn(counted(dropped, "older call") +
           " not on this page: there are too many. Name fewer files, or --from and --to");
    const auto incomplete = std::ranges::count_if(report_.calls, &Call::isIncomplete);
    if (incomplete > 0)
      warn("Requests, replies or lines of " + counted(static_cast<std::uint64_t>(incomplete), "call") +
           " were left out, the oldest first: the page would be too large. --size allows more");
    const bool hasLog = std::ranges::any_of(report_.files, [](const ReportFile& file) { return !file.isDump; });
    if (hasLog && !report_.calls.empty() && std::ranges::none_of(report_.calls, hasBytes))
      warn("Requests and arguments are missing: LogBinary was 0 when these logs were written, or nothing was sent");
    if (!hasLog || !report_.calls.empty()) return;
    warn(recordsOutside() > 0
             ? "No call is in the period of --from and --to; the logs hold records outside of it"
             : "These logs hold no call. LogTrace and LogBinary of the ini file must be 1 when the calls are made");
  }

  static bool hasBytes(const Call* call) {
    return std::ranges::any_of(call->rounds, [](const Round& round) { return round.hasBytes; });
  }

  void warn(const std::string& text) { out_ << "<p class=\"warn\">" << text << ".</p>\n"; }

  std::map<std::string, std::size_t> countsOfOutcomes() const {
    std::map<std::string, std::size_t> counts;
    for (const Call* const call : report_.calls) ++counts[nameOf(call->outcome)];
    return counts;
  }

  void writeFilters() {
    std::map<std::string, std::size_t> threads;
    for (const Call* const call : report_.calls) ++threads[call->thread];
    out_ << "<form hidden>\n<label>Outcome <select name=\"outcome\"><option value=\"\">all</option>"
            "<option value=\"failed\">all but ok</option>";
    for (const auto& [outcome, count] : countsOfOutcomes()) writeOption(outcome, count);
    out_ << "</select></label>\n<label>Thread <select name=\"thread\"><option value=\"\">all</option>";
    for (const auto& [thread, count] : threads) writeOption(thread, count);
    out_ << "</select></label>\n<label>Text <input name=\"text\" type=\"search\" autocomplete=\"off\"></label>\n"
            "<button type=\"button\" name=\"open\">Open all</button>\n"
            "<button type=\"button\" name=\"close\">Close all</button>\n"
            "<button type=\"button\" name=\"reset\">No filter</button>\n"
            "<output name=\"count\" aria-live=\"polite\"></output>\n</form>\n";
  }

  void writeOption(const std::string& value, std::size_t count) {
    out_ << "<option value=\"" << htmlText(value) << "\">" << htmlText(value) << " (" << count << ")</option>";
  }

  void writeAxis() {
    out_ << "<div class=\"axis\"><span></span><span>Begin</span><span>Call</span><span>Outcome</span>"
            "<span class=\"took\">Duration</span><span class=\"rounds\">Rounds</span><span>Process:thread</span><span>";
    if (!axis_.empty())
      out_ << "<span>" << clockText(axis_.begin(), false) << "</span><span>"
           << (axis_.isShortened() ? "idle time is shortened" : "") << "</span><span>" << clockText(axis_.end(), false)
           << "</span>";
    out_ << "</span></div>\n";
  }

  void writeCall(const Call& call) {
    const std::string outcome = nameOf(call.outcome);
    out_ << "<details class=\"call\" id=\"c" << ++shown_ << "\" data-outcome=\"" << outcome << "\" data-thread=\""
         << htmlText(call.thread) << "\">\n<summary><span class=\"when\">"
         << (call.hasTime ? timeText(call.begin, call.hasMillis()) : "not known") << "</span><span class=\"what\">"
         << htmlText(titleOf(call)) << "</span><span class=\"out " << outcome << "\">" << outcome
         << "</span><span class=\"took\">" << durationText(call) << "</span><span class=\"rounds\">"
         << counted(call.roundCount, "round") << "</span><span class=\"thread\">" << htmlText(call.thread) << "</span>";
    if (call.hasTime) writeBar(call, outcome);
    out_ << "</summary>\n<div class=\"inside\"><dl>";
    writeField("Outcome", call.outcomeText.empty() ? outcome : outcome + ", " + call.outcomeText);
    writeField("Address", call.url);
    writeField("SOAP action", call.facts.action);
    if (call.facts.httpStatus != 0) writeField("HTTP status", std::to_string(call.facts.httpStatus));
    if (report_.files.size() > 1) writeField("File", report_.files[call.file].name);
    out_ << "</dl></div>\n";
    writeData(call);
    out_ << "</details>\n";
  }

  static std::string titleOf(const Call& call) {
    const ExchangeFacts& facts = call.facts;
    if (!facts.interfaceName.empty() || !facts.methodName.empty()) return facts.interfaceName + "." + facts.methodName;
    if (!facts.url.empty()) return facts.url;
    return facts.action.empty() ? "call" : facts.action;
  }

  void writeBar(const Call& call, const std::string& outcome) {
    out_ << "<svg viewBox=\"0 0 1000 16\" preserveAspectRatio=\"none\" aria-hidden=\"true\">"
            "<rect class=\"base\" width=\"1000\" height=\"16\"/>";
    const double begin = axis_.at(call.begin);
    writeRect(outcome + (call.rounds.size() > 1 ? " round" : ""), begin, axis_.at(endOf(call)) - begin);
    if (call.rounds.size() > 1)
      for (const Round& round : call.rounds) {
        const double from = axis_.at(round.begin);
        writeRect(outcome, from, std::max(0.0, axis_.at(round.end) - from - 2));
      }
    out_ << "</svg>";
  }

  void writeRect(const std::string& style, double begin, double width) {
    char place[96];
    std::snprintf(place, sizeof place, "x=\"%.1f\" width=\"%.1f\"", std::min(begin, Axis::kWidth - 4),
                  std::max(width, 4.0));
    out_ << "<rect class=\"" << style << "\" y=\"3\" height=\"10\" " << place << "/>";
  }

  void writeField(const char* name, const std::string& value) {
    if (!value.empty()) out_ << "<dt>" << name << "</dt><dd>" << htmlText(value) << "</dd>";
  }

  void writeData(const Call& call) {
    out_ << "<script type=\"application/json\">{\"rounds\":[";
    for (std::size_t i = 0; i < call.rounds.size(); ++i) {
      if (i > 0) out_ << ",";
      writeRound(call, i);
    }
    out_ << "],\"lines\":[";
    for (std::size_t i = 0; i < call.lines.size(); ++i) {
      if (i > 0) out_ << ",";
      writeLineData(call.lines[i], call.hasMillis());
    }
    if (call.lineCount > call.lines.size())
      out_ << (call.lines.empty() ? "" : ",") << "[\"\",\"\","
           << scriptJson("... " + counted(call.lineCount - call.lines.size(), "more line")) << ']';
    out_ << "]}</script>\n";
  }

  void writeRound(const Call& call, std::size_t index) {
    const Round& round = call.rounds[index];
    std::string title = call.roundCount == 1 ? "Request and reply" : "Round " + std::to_string(numberOf(call, index));
    if (call.hasTime && call.roundCount > 1) title += ", " + clockText(round.begin, call.hasMillis());
    if (call.hasMillis() && round.end >= round.begin)
      title += ", " + secondsText(static_cast<double>(round.end - round.begin) / 1000);
    out_ << "{\"title\":" << scriptJson(title);
    const std::string note = noteOn(round);
    if (!note.empty()) out_ << ",\"note\":" << scriptJson(note);
    if (!round.tree.empty()) out_ << ",\"tree\":" << round.tree;
    out_ << '}';
  }

  static std::string noteOn(const Round& round) {
    if (round.tree.empty()) return "Left out: the page would be too large. --size allows more";
    if (round.leftOut > 0)
      return counted(round.leftOut, "byte") + " left out; that is why something below seems to be broken";
    return round.hasBytes ? "" : "Bodies and arguments are missing: LogBinary was 0, or nothing was sent";
  }

  /// Rounds are missing in the middle, if at all.
  static std::size_t numberOf(const Call& call, std::size_t index) {
    const bool isBehind = call.roundCount > call.rounds.size() && index >= call.rounds.size() / 2;
    return index + 1 + (isBehind ? call.roundCount - call.rounds.size() : 0);
  }

  void writeLineData(const NotedLine& line, bool hasMillis) {
    out_ << '[' << scriptJson(clockText(line.time, hasMillis)) << ',' << scriptJson(line.source) << ','
         << scriptJson(line.text) << ']';
  }

  void writeLooseLines() {
    const auto& lines = report_.store->looseLines();
    if (lines.empty()) return;
    const std::uint64_t dropped = report_.store->dropped().lines;
    out_ << "<h2>Lines outside of calls</h2>\n<details><summary>" << counted(lines.size() + dropped, "line");
    if (dropped > 0) out_ << ", of which the last " << lines.size() << " are here";
    out_ << "</summary>\n<table class=\"lines\">\n";
    for (const NotedLine& line : lines)
      out_ << "<tr><td>" << timeText(line.time, true) << "</td><td>" << htmlText(line.source) << "</td><td>"
           << htmlText(line.text.substr(0, kMostOfLooseLine)) << (line.text.size() > kMostOfLooseLine ? " ..." : "")
           << "</td></tr>\n";
    out_ << "</table></details>\n";
  }

  std::ostream& out_;
  const Report& report_;
  Axis axis_;
  std::size_t shown_ = 0;
};

}  // namespace

void writePage(std::ostream& out, const Report& report) { PageWriter(out, report).write(); }

}  // namespace qzcall
