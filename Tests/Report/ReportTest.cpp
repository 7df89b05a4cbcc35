// What a report makes of logs and dump files: good ones, broken ones, and those that are meant to harm its reader.
#include <gtest/gtest.h>

#include <sstream>

#include "Tools/qzcall/ReportFiles.h"
#include "Tools/qzcall/ReportText.h"

namespace {

using namespace std::string_literals;
using qzcall::Call;
using qzcall::LogReader;
using qzcall::LogRecord;

/// As a text-mode file has it.
std::string inTextMode(const std::string& text) {
  std::string out;
  for (const char c : text) out += c == '\n' ? "\r\n"s : std::string(1, c);
  return out;
}

std::string toolkitLine(const std::string& message, const std::string& second = "01.000",
                        const std::string& thread = "A1") {
  return "20261122 05:54:" + second + " [2DC:" + thread + "][ITKhttpClientHelper L61] " + message + "\n";
}

std::string toolkitStream(const std::string& bytes, const std::string& second = "01.000",
                          const std::string& thread = "A1") {
  return toolkitLine("Byte stream of size " + std::to_string(bytes.size()) + "\r\n" + bytes, second, thread);
}

std::string invokeLine(const std::string& message, const std::string& second) {
  return "20261122 05:54:" + second + " [2DC:A1][ITKSOAPAPI L24] " + message + "\n";
}

std::string envelopeOf(const std::string& body, const std::string& status = "conversationComplete") {
  return "<SOAP-ENV:Envelope><SOAP-ENV:Body><data>&lt;qzSOAPBody&gt;" + body + "&lt;/qzSOAPBody&gt;</data><status>" +
         status + "</status></SOAP-ENV:Body></SOAP-ENV:Envelope>";
}

std::string field(const std::string& name, const std::string& value) {
  return "&lt;" + name + "&gt;" + value + "&lt;/" + name + "&gt;";
}

/// The lines of an exchange, the body of the request as a byte stream.
std::string exchangeLines(const std::string& action, const std::string& reply, const std::string& second,
                          const std::string& thread = "A1", const std::string& more = "") {
  const std::string body = "\r\n--b\r\nContent-Type: text/xml\r\n\r\n" +
                           envelopeOf(field("className", "Demo") + field("methodName", "add") + more) +
                           "\r\n--b\r\n\x07\x01\x04\x04" + "\0\0\0\n\0\0\0"s + "--b--\r\n";
  std::string out;
  for (const std::string& message :
       {"\r\n\r\nSent to Tarvon gateway:\r\n\r\n"s, "Content-Type: multipart/related; boundary=\"b\"\r\n"s,
        "soapaction: \"" + action + "\"\r\n"})
    out += toolkitLine(message, second, thread);
  out += toolkitStream(body, second, thread);
  for (const std::string& message :
       {"\r\n\r\nReceived from Tarvon gateway:\r\n\r\n"s, "200\r\n"s, "HTTP/1.1 200 OK\r\n\r\n"s, reply})
    out += toolkitLine(message, second, thread);
  return out;
}

/// What a file of these bytes brings, read in pieces of `piece` bytes.
struct Reading {
  explicit Reading(const std::string& bytes, std::size_t piece = 1 << 16, const qzcall::KeepLimits& limits = {},
                   std::optional<qzcall::Period> period = std::nullopt, bool isOnDisk = true)
      : store(limits) {
    std::istringstream in(bytes);
    qzcall::ReportInput input;
    input.read = [&](char* into, std::size_t size) -> std::optional<std::size_t> {
      in.clear();
      in.read(into, static_cast<std::streamsize>(std::min(size, piece)));
      return static_cast<std::size_t>(in.gcount());
    };
    input.moveTo = [&](std::uint64_t at) {
      in.clear();
      return static_cast<bool>(in.seekg(static_cast<std::streamoff>(at)));
    };
    if (isOnDisk) input.size = bytes.size();
    qzcall::CallCollector collector(store);
    report.period = period;
    EXPECT_TRUE(
        qzcall::readReportFile(input, 0, period.value_or(qzcall::Period()), report.files.emplace_back(), collector));
    for (const auto& [number, call] : store.calls()) report.calls.push_back(&call);
    report.store = &store;
  }

  std::string page() const {
    std::ostringstream out;
    qzcall::writePage(out, report);
    return out.str();
  }

  /// A line per call: name, outcome, rounds, text.
  std::string calls() const {
    std::string out;
    for (const Call* const call : report.calls)
      out += call->facts.interfaceName + "." + call->facts.methodName + " " + nameOf(call->outcome) + " " +
             std::to_string(call->roundCount) + " " + call->outcomeText + "\n";
    return out;
  }

  qzcall::CallStore store;
  qzcall::Report report;
};

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(ReportLog, FindsRecordsHoweverTheFileComesInPieces) {
  const std::string bytes = "a\nb\0\r\n20261122 05:54:01.000 [2DC:A1][X L1] not a line\n"s;
  const std::string log = inTextMode(
      "YYYYMMDD HH:MM:SS.MSD [PID:TID][FILE LINE] DESCRIPTION\r\n\n" + toolkitLine("one\ntwo\r\n") +
      toolkitStream(bytes) +
      "2026-11-22 05:54:02 [P732:T161][qzSOAP:RuntimeEngine/qzSOAP/rpcHttpClient L34] Byte stream of size 0\r\n\n" +
      toolkitLine("Byte stream of size 2000000000\r\n") + toolkitLine("behind"));
  const std::vector<std::string> expected = {"one\ntwo\r\n", bytes, "", "Byte stream of size 2000000000\r\n", "behind"};
  for (const std::size_t size : {std::size_t{1}, std::size_t{7}, log.size()}) {
    std::vector<std::string> messages;
    LogReader reader([&](LogRecord& record) {
      messages.push_back(record.message);
      EXPECT_EQ(record.process, 0x2DCU);
      EXPECT_EQ(record.thread, 0xA1U);
    });
    for (std::size_t at = 0; at < log.size(); at += size) reader.feed(std::string_view(log).substr(at, size));
    reader.finish();
    EXPECT_EQ(messages, expected) << size;
    EXPECT_EQ(reader.counts().foreignLines + reader.counts().brokenStreams, 0U) << size;
  }
}

TEST(ReportLog, CountsWhatItCannotRead) {
  const std::string later = toolkitLine("good", "02.000");
  const std::string large(5000, '.');
  const struct {
    std::string log;
    std::uint64_t records, foreign, broken, missing;
  } cases[] = {
      {"hello\nworld\n" + toolkitLine("good"), 1, 2, 0, 0},
      {toolkitLine("Byte stream of size 5\r\n123456789") + toolkitLine("good"), 2, 1, 1, 0},
      {toolkitLine("Byte stream of size 5\r\n12345") + "foreign\n" + toolkitLine("good"), 2, 1, 1, 0},
      {toolkitLine("good") + toolkitLine("Byte stream of size 500\r\ncut off"), 2, 0, 1, 492},
      {"20261399 05:54:01.000 [2DC:A1][X L1] no such day\n", 0, 1, 0, 0},
      // The log goes on behind a stream that was cut, which may announce anything.
      {toolkitLine("Byte stream of size 500\r\ncut off") + later + large + "\n" + later, 3, 0, 1, 492},
      {toolkitLine("Byte stream of size 4000000000\r\ncut off") + later + later, 3, 0, 1, 3999999992},
      // A log may be sent as it is, too.
      {toolkitStream(later + later + large) + later, 2, 0, 0, 0},
      {toolkitLine("Byte stream of size 500\r\ncut off", "03.000") + later, 1, 0, 1, 431},
  };
  for (const auto& one : cases) {
    for (const std::size_t piece : {std::size_t{50}, one.log.size()}) {
      const auto counts = Reading(inTextMode(one.log), piece).report.files[0].counts;
      EXPECT_EQ(counts.records, one.records) << one.log;
      EXPECT_EQ(counts.foreignLines, one.foreign) << one.log;
      EXPECT_EQ(counts.brokenStreams, one.broken) << one.log;
      EXPECT_EQ(counts.missingBytes, one.missing) << one.log;
    }
  }
}

TEST(ReportCalls, TellsCallsTheirRoundsAndTheirOutcomes) {
  const std::string done = envelopeOf(field("errorCode", "0"));
  const std::string working = envelopeOf(field("errorCode", "0"), "working");
  const std::string failed = envelopeOf(field("errorCode", "12") + field("errorText", "it &amp;lt;broke"));
  const struct {
    std::string log, calls;
  } cases[] = {
      {invokeLine("URL=http://a/b", "01.000") + exchangeLines("u", done, "01.000") +
           invokeLine("Return code = 0", "02.000"),
       "Demo.add ok 1 \n"},
      {invokeLine("URL=http://a/b", "01.000") + exchangeLines("u", failed, "01.000") +
           invokeLine("Return code = 12", "02.000"),
       "Demo.add error 1 12: it <broke\n"},
      {exchangeLines("u.session", working, "01.000") + exchangeLines("u.session", working, "02.000") +
           exchangeLines("u.session", done, "03.000"),
       "Demo.add ok 3 \n"},
      {exchangeLines("u", done, "01.000") + exchangeLines("u", failed, "02.000"),
       "Demo.add ok 1 \nDemo.add error 1 12: it <broke\n"},
      {exchangeLines("u.session", working, "01.000") + toolkitLine("Client side timeout. Operation aborted."),
       "Demo.add time-out 1 Client side timeout. Operation aborted.\n"},
      {invokeLine("URL=http://a/b", "01.000"), ". unfinished 0 \n"},
      {invokeLine("URL=http://a/b", "01.000") + toolkitLine("System error [ 0x00002EFD, No. ]") +
           invokeLine("Return code = -3", "02.000"),
       ". transport 0 System error [ 0x00002EFD, No. ]\n"},
  };
  for (const auto& one : cases) EXPECT_EQ(Reading(inTextMode(one.log)).calls(), one.calls) << one.log;
}

TEST(ReportCalls, BelievesOnlyDurationsThatCanBe) {
  const auto line = [](const std::string& text, const std::string& second, const std::string& file = "rpcSOAPAPI2") {
    return "2026-11-22 05:54:" + second + " [2DC:A1][qzSOAP:RuntimeEngine/qzSOAP/" + file + " L74] " + text + "\n";
  };
  const struct {
    std::string seconds, file, shown;
  } cases[] = {{"1.500000", "rpcSOAPAPI2", ">1.500 s<"},      {"1.500000", "rpcHttpClient", ">about 2 s<"},
               {"9000.000000", "rpcSOAPAPI2", ">about 2 s<"}, {"inf", "rpcSOAPAPI2", ">about 2 s<"},
               {"-1.000000", "rpcSOAPAPI2", ">about 2 s<"},   {"1.5 or so", "rpcSOAPAPI2", ">about 2 s<"}};
  for (const auto& one : cases) {
    const std::string log =
        line("URL=http://a/b", "01") + line("Return code = 0", "03") +
        line("TIME CONSUMED BY , , ,qzcSoap:rpcSOAPInvoke,T=161," + one.seconds + "\n", "03", one.file);
    EXPECT_NE(Reading(inTextMode(log)).page().find(one.shown), std::string::npos) << one.seconds << one.file;
  }
  // Summer time has ended during the call.
  const std::string page = Reading(inTextMode(line("URL=http://a/b", "03") + line("Return code = 0", "01"))).page();
  EXPECT_NE(page.find(">not known<"), std::string::npos);
  EXPECT_EQ(page.find("x=\"-"), std::string::npos);
}

TEST(ReportCalls, ReadsDumpFiles) {
  const std::string request =
      "\r\n\r\nSent to Tarvon gateway:\r\n\r\nContent-Type: multipart/related; "
      "boundary=\"TARVON.QZ.NIRA.VM.D20261122T05:54:56\"; type=text/xml\r\nsoapaction: \"u\"\r\n";
  const auto reply = [](const std::string& body, const std::string& status) {
    return "\r\n\r\nReceived from Tarvon gateway:\r\n\r\n200\r\nHTTP/1.1 200 OK\r\n\r\n" + envelopeOf(body, status);
  };
  const std::string named = field("className", "Demo") + field("methodName", "add");
  const std::string handle = field("objectHandle", "h");
  const std::string again = request + "\r\n--TARVON.QZ.NIRA.VM.D20261122T05:54:56\r\n\r\n" + envelopeOf(handle) +
                            "\r\n--TARVON.QZ.NIRA.VM.D20261122T05:54:56--\r\n";
  const Reading reading(request + reply(named, "done") + request, 3);
  EXPECT_EQ(reading.calls(), "Demo.add ok 1 \n. transport 1 \n");
  EXPECT_NE(reading.page().find("2026-11-22 05:54:56"), std::string::npos);
  // Only a handle tells that requests belong together.
  EXPECT_EQ(Reading(request + reply(named + handle, "working") + again + reply(named, "done")).calls(),
            "Demo.add ok 2 \n");
  EXPECT_EQ(Reading(request + reply(named, "working") + request + reply(named, "done")).calls(),
            "Demo.add unfinished 1 \nDemo.add ok 1 \n");
  // A dump may be an argument.
  std::string argument = "\x07\x01\x01....";
  const std::string inner = request + reply(named, "done");
  for (std::size_t i = 0; i < 4; ++i) argument[3 + i] = static_cast<char>(inner.size() >> (8 * i));
  std::string outer = again;
  outer.insert(outer.rfind("--TARVON"), "--TARVON.QZ.NIRA.VM.D20261122T05:54:56\r\n" + argument + inner);
  for (const bool isOnDisk : {true, false})
    EXPECT_EQ(Reading(outer + reply(named, "done"), 1000, {}, std::nullopt, isOnDisk).calls(), "Demo.add ok 1 \n");
}

TEST(ReportCalls, ReadsTheReplyOfARequestThatIsTooLarge) {
  const struct {
    std::size_t size;
    const char* calls;
    const char* note;
  } cases[] = {{1000000, "Demo.add error 1 12: \n", "too large for the page"},
               {5000000, ". error 1 12: \n", "bytes left out"}};
  for (const auto& one : cases) {
    std::string elements;
    while (elements.size() < one.size) elements += field("element", std::string(200, 'x'));
    const std::string reply = envelopeOf(field("errorCode", "12"));
    const Reading reading(inTextMode(exchangeLines("u", reply, "01.000", "A1", elements)));
    EXPECT_EQ(reading.calls(), one.calls);
    EXPECT_EQ(countOf(reading.page(), one.note), 1U);
    EXPECT_LT(reading.report.calls[0]->rounds[0].tree.size(), std::size_t{1} << 20);
  }
}

TEST(ReportCalls, LetsGoOfWhatRestsBeforeWhatIsNew) {
  const std::string text = field("text", std::string(100000, 'x'));
  std::string log = exchangeLines("u", "", "01.000", "A1", text);
  log.resize(log.rfind("20261122", log.find("Received from")));
  for (const char* const thread : {"A2", "A3", "A4"})
    log += exchangeLines("u", envelopeOf(field("errorCode", "0")), "02.000", thread, text);
  const Reading reading(inTextMode(log), 1 << 16, {.underWay = 250000});
  EXPECT_EQ(reading.calls(), ". transport 1 \nDemo.add ok 1 \nDemo.add ok 1 \nDemo.add ok 1 \n");
  for (const Call* const call : reading.report.calls) EXPECT_EQ(call->rounds[0].leftOut > 0, call->thread == "2DC:A1");
}

TEST(ReportPage, KeepsWhatCameOverTheWireFromBeingMarkup) {
  const std::string hostile =
      "</script><script>alert(1)</script><!--]]>\xE2\x80\xA8\"'&\xFF\x01" + "\0"s + "<img src=x onerror=alert(2)>";
  std::string escaped;  // as a text in the envelope's inner document
  for (const char c : hostile) escaped += c == '<' ? "&amp;lt;" : c == '&' ? "&amp;amp;" : std::string(1, c);
  const std::string log =
      inTextMode(toolkitLine(hostile) + invokeLine("URL=" + hostile, "01.000") + toolkitLine(hostile) +
                 exchangeLines(hostile, envelopeOf(field("errorCode", "12") + field("errorText", escaped)), "01.000") +
                 toolkitLine(hostile) + invokeLine("Return code = 12", "02.000"));
  const Reading reading(log);
  const std::string page = reading.page();
  // The data of the one call and the page's own script.
  EXPECT_EQ(countOf(page, "<script"), 2U);
  EXPECT_EQ(countOf(page, "</script"), 2U);
  EXPECT_EQ(countOf(page, "<img"), 0U);
  EXPECT_EQ(countOf(page, "\xE2\x80\xA8") + countOf(page, "\xFF") + countOf(page, "\0"s), 0U);
  // A line that begins like markup is no part of the reply above it.
  EXPECT_EQ(page.find("closes nothing"), std::string::npos);
  EXPECT_NE(page.find("&lt;/script&gt;&lt;script&gt;alert(1)"), std::string::npos);
  EXPECT_NE(page.find("\\u003cscript\\u003ealert(1)"), std::string::npos);
}

TEST(ReportPage, WritesOutWhatCannotBeSeen) {
  const struct {
    std::string text, html, json;
  } cases[] = {{"C:\\a", "C:\\a", "C:\\\\a"},
               {"a\r\n\tb\r", "a\\r\\n\\tb\\r", "a\\n\\tb\\\\r"},
               {"\x01\xC2\x85\xFF", "\\u0001\\u0085\\xff", "\\\\u0001\\\\u0085\\\\xff"},
               {"\xD8\x9C\xE2\x80\xAE\xEF\xBB\xBF", "\\u061c\\u202e\\ufeff", "\\\\u061c\\\\u202e\\\\ufeff"},
               {"\xC3\xA4\xF0\x9F\x98\x80", "\xC3\xA4\xF0\x9F\x98\x80", "\\u00e4\\ud83d\\ude00"}};
  for (const auto& one : cases) {
    EXPECT_EQ(qzcall::htmlText(one.text), one.html);
    EXPECT_EQ(qzcall::scriptJson(one.text), '"' + one.json + '"');
  }
}

TEST(ReportPage, KeepsTheNewestAndSaysWhatItLeftOut) {
  std::string log;
  for (int i = 0; i < 30; ++i)
    log += invokeLine("URL=http://a/" + std::to_string(i), "01.000") + toolkitLine(std::string(2000, 'x')) +
           invokeLine("Return code = 0", "01.000");
  const std::string page = Reading(inTextMode(log), 1 << 16, {.calls = 20, .detail = 20000, .looseLines = 5}).page();
  EXPECT_EQ(page.find("http://a/9<"), std::string::npos);
  EXPECT_NE(page.find("http://a/10<"), std::string::npos);
  EXPECT_NE(page.find("10 older calls not on this page"), std::string::npos);
  EXPECT_NE(page.find("Requests, replies or lines of 11 calls were left out"), std::string::npos);
  EXPECT_LT(countOf(page, std::string(2000, 'x')), 11U);
}

TEST(ReportPage, KeepsTheNewestRoundsOfACallThatIsTooLarge) {
  const std::string working = envelopeOf(field("errorCode", "0"), "working");
  std::string log;
  for (int i = 0; i < 30; ++i) log += exchangeLines("u.session", working, "01.000");
  for (const std::size_t detail : {std::size_t{20000}, std::size_t{1}}) {
    const Reading reading(inTextMode(log), 1 << 16, {.detail = detail});
    std::size_t kept = 0;
    for (const auto& round : reading.report.calls[0]->rounds) kept += round.tree.capacity();
    EXPECT_NE(reading.report.calls[0]->rounds[29].tree, "");
    EXPECT_LT(kept, detail + 5000);
    EXPECT_NE(reading.page().find("Left out: the page would be too large"), std::string::npos);
  }
}

TEST(ReportPage, SaysThatThePeriodHoldsNoCall) {
  const std::string log = inTextMode(invokeLine("URL=http://a/b", "01.000") + invokeLine("Return code = 0", "02.000"));
  const Reading reading(log, 1 << 16, {}, qzcall::periodNamed("2026-11-21"));
  EXPECT_NE(reading.page().find("2 records outside of that"), std::string::npos);
  EXPECT_NE(reading.page().find("No call is in the period"), std::string::npos);
  EXPECT_EQ(reading.page().find("LogTrace"), std::string::npos);
  EXPECT_EQ(Reading(log, 1 << 16, {}, qzcall::periodNamed("2026-11-22 05:54")).report.calls.size(), 1U);
}

TEST(ReportTimes, KnowsTimesAsPeopleWriteThem) {
  const std::int64_t day = qzcall::periodNamed("2026-11-22")->from;
  const struct {
    const char* text;
    std::int64_t from, to;
  } cases[] = {{"2026-11-22", 0, 86399999},
               {"2026-11-22 05:54", 21240000, 21299999},
               {"2026-11-22 05:54:56", 21296000, 21296999}};
  for (const auto& one : cases) {
    EXPECT_EQ(qzcall::periodNamed(one.text)->from - day, one.from);
    EXPECT_EQ(qzcall::periodNamed(one.text)->to - day, one.to);
  }
  for (const char* const wrong : {"", "2026-11-22 05", "2026-13-22", "2026-11-22 25:00", "2026-11-22 05:54:56x"})
    EXPECT_FALSE(qzcall::periodNamed(wrong)) << wrong;
}

}  // namespace
