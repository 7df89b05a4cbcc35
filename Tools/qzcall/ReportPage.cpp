#include "Tools/qzcall/ReportPage.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>

#include "Tools/qzcall/DecodeParts.h"
#include "Tools/qzcall/ReportAssets.h"

namespace qzcall {
namespace {

constexpr std::size_t kMostOfText = 300;
constexpr double kAxisWidth = 1000;

std::string timeText(std::int64_t time, bool hasMillis) {
  using namespace std::chrono;
  const sys_time<milliseconds> moment{milliseconds(time)};
  const auto day = floor<days>(moment);
  const year_month_day date(day);
  const hh_mm_ss clock(moment - day);
  char text[64];
  const int used = std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
                                 static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                                 static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                                 static_cast<int>(clock.seconds().count()));
  std::string out(text, static_cast<std::size_t>(used));
  if (!hasMillis) return out;
  std::snprintf(text, sizeof text, ".%03d", static_cast<int>(clock.subseconds().count()));
  return out + text;
}

std::string secondsText(double seconds) {
  char text[64];
  std::snprintf(text, sizeof text, seconds < 10 ? "%.3f s" : "%.1f s", seconds);
  return text;
}

double secondsOf(const Call& call) {
  return call.seconds >= 0 ? call.seconds : static_cast<double>(call.end - call.begin) / 1000;
}

/// The flat face's lines tell whole seconds, and a dump tells only when a request was made.
std::string durationText(const Call& call) {
  if (call.seconds >= 0 || call.hasMillis) return secondsText(secondsOf(call));
  if (call.thread == "dump" || !call.hasTime) return "not known";
  return call.end == call.begin ? "below 1 s" : "about " + std::to_string((call.end - call.begin) / 1000) + " s";
}

std::int64_t endOf(const Call& call) {
  return std::max(call.end, call.begin + static_cast<std::int64_t>(secondsOf(call) * 1000));
}

/// Where a moment lies on the axis of all calls. Stretches in which there was no call are drawn short.
class Axis {
 public:
  explicit Axis(const std::vector<const Call*>& calls) {
    for (const Call* const call : calls)
      if (call->hasTime) addCall(*call);
    place();
  }

  bool empty() const { return stretches_.empty(); }
  std::int64_t begin() const { return stretches_.front().begin; }
  std::int64_t end() const { return stretches_.back().end; }
  bool isShortened() const { return isShortened_; }

  double at(std::int64_t time) const {
    auto after = std::ranges::upper_bound(stretches_, time, {}, &Stretch::begin);
    const Stretch& stretch = after == stretches_.begin() ? *after : *(after - 1);
    const auto inside = std::clamp<std::int64_t>(time - stretch.begin, 0, stretch.end - stretch.begin);
    return (stretch.at + static_cast<double>(inside)) * kAxisWidth / total_;
  }

 private:
  struct Stretch {
    std::int64_t begin;
    std::int64_t end;
    double at;
  };

  /// Calls come in the order of their beginnings.
  void addCall(const Call& call) {
    if (!stretches_.empty() && call.begin <= stretches_.back().end) {
      stretches_.back().end = std::max(stretches_.back().end, endOf(call));
    } else {
      stretches_.push_back({call.begin, endOf(call), 0});
    }
  }

  void place() {
    std::int64_t busy = 0;
    for (const Stretch& stretch : stretches_) busy += stretch.end - stretch.begin;
    const std::int64_t longest =
        std::max<std::int64_t>(20, busy / 2 / static_cast<std::int64_t>(stretches_.size() + 1));
    for (std::size_t i = 0; i < stretches_.size(); ++i) {
      const std::int64_t gap = i == 0 ? 0 : stretches_[i].begin - stretches_[i - 1].end;
      isShortened_ = isShortened_ || gap > longest;
      total_ += static_cast<double>(std::min(gap, longest));
      stretches_[i].at = total_;
      total_ += static_cast<double>(stretches_[i].end - stretches_[i].begin);
    }
    total_ = std::max(total_, 1.0);
  }

  std::vector<Stretch> stretches_;
  double total_ = 0;
  bool isShortened_ = false;
};

/// True for the bytes of U+200E, U+200F, U+2028 to U+202E, U+2066 to U+2069.
bool turnsDirection(std::string_view sequence) {
  if (!sequence.starts_with("\xE2\x80") && !sequence.starts_with("\xE2\x81")) return false;
  const auto last = static_cast<unsigned char>(sequence[2]);
  if (sequence[1] == '\x81') return last >= 0xA6 && last <= 0xA9;
  return last == 0x8E || last == 0x8F || (last >= 0xA8 && last <= 0xAE);
}

std::string codePoint(std::string_view sequence) {
  char text[16];
  const unsigned low = static_cast<unsigned char>(sequence[1]) & 0x3FU;
  std::snprintf(text, sizeof text, "\\u%04x",
                0x2000U | (low << 6U) | (static_cast<unsigned char>(sequence[2]) & 0x3FU));
  return text;
}

class PageWriter {
 public:
  PageWriter(std::ostream& out, const Report& report) : out_(out), report_(report), axis_(report.calls) {}

  void write() {
    writeHead();
    writeSummary();
    writeFilters();
    writeAxis();
    for (const Call* const call : report_.calls) writeCall(*call);
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
    if (!axis_.empty())
      out_ << "<p class=\"dim\">" << timeText(axis_.begin(), false) << " to " << timeText(axis_.end(), false)
           << ". Times are local times of the machine that wrote the log; a log does not tell its zone. Made "
           << htmlText(report_.made) << ".</p>\n";
    out_ << "<ul class=\"files\">\n";
    for (const ReportFile& file : report_.files) writeFile(file);
    out_ << "</ul>\n";
    writeWarnings();
    out_ << "<noscript><p class=\"warn\">Filters, requests and replies need the script of this page.</p></noscript>\n";
  }

  void writeFile(const ReportFile& file) {
    out_ << "<li><span class=\"mono\">" << htmlText(file.name) << "</span>, " << counted(file.size, "byte") << ": ";
    if (file.isDump) {
      out_ << "dump file, " << counted(file.exchanges, "exchange");
      if (file.foreignBytes > 0)
        out_ << "; <span class=\"warn\">" << counted(file.foreignBytes, "byte") << " in front of the first</span>";
    } else {
      out_ << "log, " << counted(file.counts.records, "record");
      if (file.counts.foreignLines > 0)
        out_ << "; <span class=\"warn\">" << counted(file.counts.foreignLines, "line") << " of no record</span>";
      if (file.counts.brokenStreams > 0)
        out_ << "; <span class=\"warn\">" << counted(file.counts.brokenStreams, "broken byte stream") << "</span>";
    }
    out_ << "</li>\n";
  }

  void writeWarnings() {
    const Dropped& dropped = report_.dropped;
    if (dropped.calls > 0)
      warn(counted(dropped.calls, "older call") +
           " not on this page: there are too many. Name fewer files, or --from and --to");
    if (dropped.trees > 0)
      warn(counted(dropped.trees, "older call") +
           " without requests, replies and lines: the page would be too large. --size allows more");
    const bool hasLog = std::ranges::any_of(report_.files, [](const ReportFile& file) { return !file.isDump; });
    if (hasLog && !report_.calls.empty() && std::ranges::none_of(report_.calls, hasBytes))
      warn("Requests and arguments are missing: LogBinary was 0 when these logs were written");
    if (hasLog && report_.calls.empty())
      warn("These logs hold no call. LogTrace and LogBinary of the ini file must be 1 when the calls are made");
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
      out_ << "<span>" << timeText(axis_.begin(), false).substr(11) << "</span><span>"
           << (axis_.isShortened() ? "idle time is shortened" : "") << "</span><span>"
           << timeText(axis_.end(), false).substr(11) << "</span>";
    out_ << "</span></div>\n";
  }

  void writeCall(const Call& call) {
    const std::string outcome = nameOf(call.outcome);
    out_ << "<details class=\"call\" id=\"c" << ++shown_ << "\" data-outcome=\"" << outcome << "\" data-thread=\""
         << htmlText(call.thread) << "\">\n<summary><span class=\"when\">"
         << (call.hasTime ? timeText(call.begin, call.hasMillis) : "not known") << "</span><span class=\"what\">"
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
    std::snprintf(place, sizeof place, "x=\"%.1f\" width=\"%.1f\"", std::min(begin, kAxisWidth - 4),
                  std::max(width, 4.0));
    out_ << "<rect class=\"" << style << "\" y=\"3\" height=\"10\" " << place << "/>";
  }

  void writeField(const char* name, const std::string& value) {
    if (!value.empty()) out_ << "<dt>" << name << "</dt><dd>" << htmlText(value) << "</dd>";
  }

  void writeData(const Call& call) {
    if (call.size == 0) {
      out_ << "<p class=\"warn\">Requests, replies and lines were left out.</p>\n";
      return;
    }
    out_ << "<script type=\"application/json\">{\"rounds\":[";
    for (std::size_t i = 0; i < call.rounds.size(); ++i) {
      if (i > 0) out_ << ",";
      writeRound(call, i);
    }
    out_ << "],\"lines\":[";
    for (std::size_t i = 0; i < call.lines.size(); ++i) {
      if (i > 0) out_ << ",";
      writeLineData(call.lines[i], call.hasMillis);
    }
    if (call.lineCount > call.lines.size())
      out_ << ",[\"\",\"\"," << scriptJson("... " + counted(call.lineCount - call.lines.size(), "more line")) << ']';
    out_ << "]}</script>\n";
  }

  void writeRound(const Call& call, std::size_t index) {
    const Round& round = call.rounds[index];
    std::string title = call.roundCount == 1 ? "Request and reply" : "Round " + std::to_string(numberOf(call, index));
    if (call.hasTime && call.roundCount > 1) title += ", " + timeText(round.begin, call.hasMillis).substr(11);
    if (call.hasMillis) title += ", " + secondsText(static_cast<double>(round.end - round.begin) / 1000);
    out_ << "{\"title\":" << scriptJson(title);
    if (round.leftOut > 0)
      out_ << ",\"note\":"
           << scriptJson(counted(round.leftOut, "byte") + " left out; that is why something below seems to be broken");
    else if (!round.hasBytes)
      out_ << ",\"note\":" << scriptJson("Bodies and arguments are missing: LogBinary was 0");
    if (!round.tree.empty()) out_ << ",\"tree\":" << round.tree;
    out_ << '}';
  }

  /// Rounds are missing in the middle, if at all.
  static std::size_t numberOf(const Call& call, std::size_t index) {
    const bool isBehind = call.roundCount > call.rounds.size() && index >= call.rounds.size() / 2;
    return index + 1 + (isBehind ? call.roundCount - call.rounds.size() : 0);
  }

  void writeLineData(const NotedLine& line, bool hasMillis) {
    out_ << '[' << scriptJson(timeText(line.time, hasMillis).substr(11)) << ',' << scriptJson(line.source) << ','
         << scriptJson(line.text) << ']';
  }

  void writeLooseLines() {
    if (report_.looseLines == nullptr || report_.looseLines->empty()) return;
    const std::uint64_t count = report_.looseLines->size() + report_.dropped.lines;
    out_ << "<h2>Lines outside of calls</h2>\n<details><summary>" << counted(count, "line");
    if (report_.dropped.lines > 0) out_ << ", of which the last " << report_.looseLines->size() << " are here";
    out_ << "</summary>\n<table class=\"lines\">\n";
    for (const NotedLine& line : *report_.looseLines)
      out_ << "<tr><td>" << timeText(line.time, true) << "</td><td>" << htmlText(line.source) << "</td><td>"
           << htmlText(line.text.substr(0, kMostOfText)) << (line.text.size() > kMostOfText ? " ..." : "")
           << "</td></tr>\n";
    out_ << "</table></details>\n";
  }

  std::ostream& out_;
  const Report& report_;
  Axis axis_;
  std::size_t shown_ = 0;
};

std::string_view entityOf(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return {};
  }
}

}  // namespace

std::string htmlText(std::string_view text) {
  const std::string readable = forTerminal(text, static_cast<std::size_t>(-1));
  std::string out;
  for (std::size_t i = 0; i < readable.size(); ++i) {
    const std::string_view entity = entityOf(readable[i]);
    if (turnsDirection(std::string_view(readable).substr(i))) {
      out += codePoint(std::string_view(readable).substr(i, 3));
      i += 2;
    } else if (entity.empty()) {
      out += readable[i];
    } else {
      out += entity;
    }
  }
  return out;
}

void writePage(std::ostream& out, const Report& report) { PageWriter(out, report).write(); }

}  // namespace qzcall
