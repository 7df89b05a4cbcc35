// What a report makes of logs and dump files: good ones, broken ones, and those that are meant to harm its reader.
#include <gtest/gtest.h>

#include <sstream>

#include "Tools/qzcall/ReportFiles.h"

namespace {

using namespace std::string_literals;
using qzcall::Call;
using qzcall::CallCollector;
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

std::string toolkitStream(const std::string& bytes, const std::string& second = "01.000") {
  return toolkitLine("Byte stream of size " + std::to_string(bytes.size()) + "\r\n" + bytes, second);
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
std::string exchangeLines(const std::string& action, const std::string& reply, const std::string& second) {
  const std::string body = "\r\n--b\r\nContent-Type: text/xml\r\n\r\n" +
                           envelopeOf(field("className", "Demo") + field("methodName", "add")) +
                           "\r\n--b\r\n\x07\x01\x04\x04" + "\0\0\0\n\0\0\0"s + "--b--\r\n";
  std::string out;
  for (const std::string& message :
       {"\r\n\r\nSent to Tarvon gateway:\r\n\r\n"s, "Content-Type: multipart/related; boundary=\"b\"\r\n"s,
        "soapaction: \"" + action + "\"\r\n"})
    out += toolkitLine(message, second);
  out += toolkitStream(body, second);
  for (const std::string& message :
       {"\r\n\r\nReceived from Tarvon gateway:\r\n\r\n"s, "200\r\n"s, "HTTP/1.1 200 OK\r\n\r\n"s, reply})
    out += toolkitLine(message, second);
  return out;
}

/// What a file of these bytes brings, read in pieces of `piece` bytes.
struct Reading {
  explicit Reading(const std::string& bytes, std::size_t piece = 1 << 16, const qzcall::KeepLimits& limits = {})
      : collector(limits) {
    std::istringstream in(bytes);
    const auto read = [&](char* into, std::size_t size) -> std::optional<std::size_t> {
      in.read(into, static_cast<std::streamsize>(std::min(size, piece)));
      return static_cast<std::size_t>(in.gcount());
    };
    EXPECT_TRUE(qzcall::readReportFile(read, 0, {}, report.files.emplace_back(), collector));
    for (const Call& call : collector.calls()) report.calls.push_back(&call);
    report.looseLines = &collector.looseLines();
    report.dropped = collector.dropped();
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

  CallCollector collector;
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
  const struct {
    std::string log;
    std::uint64_t records, foreign, broken;
  } cases[] = {
      {"hello\nworld\n" + toolkitLine("good"), 1, 2, 0},
      {toolkitLine("Byte stream of size 5\r\n123456789") + toolkitLine("good"), 2, 1, 1},
      {toolkitLine("Byte stream of size 5\r\n12345") + "foreign\n" + toolkitLine("good"), 2, 1, 1},
      {toolkitLine("good") + toolkitLine("Byte stream of size 500\r\ncut off"), 2, 0, 1},
      {"20261399 05:54:01.000 [2DC:A1][X L1] no such day\n", 0, 1, 0},
  };
  for (const auto& one : cases) {
    const Reading reading(inTextMode(one.log));
    const auto& counts = reading.report.files[0].counts;
    EXPECT_EQ(counts.records, one.records) << one.log;
    EXPECT_EQ(counts.foreignLines, one.foreign) << one.log;
    EXPECT_EQ(counts.brokenStreams, one.broken) << one.log;
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

TEST(ReportCalls, ReadsDumpFiles) {
  const std::string request =
      "\r\n\r\nSent to Tarvon gateway:\r\n\r\nContent-Type: multipart/related; "
      "boundary=\"TARVON.QZ.NIRA.VM.D20261122T05:54:56\"; type=text/xml\r\nsoapaction: \"u\"\r\n";
  const std::string reply = "\r\n\r\nReceived from Tarvon gateway:\r\n\r\n200\r\nHTTP/1.1 200 OK\r\n\r\n" +
                            envelopeOf(field("className", "Demo") + field("methodName", "add"));
  const Reading reading(request + reply + request, 3);
  EXPECT_EQ(reading.calls(), "Demo.add ok 1 \n. transport 1 \n");
  EXPECT_NE(reading.page().find("2026-11-22 05:54:56"), std::string::npos);
}

TEST(ReportPage, KeepsWhatCameOverTheWireFromBeingMarkup) {
  const std::string hostile = "</script><script>alert(1)</script><!--]]>\xE2\x80\xA8\xE2\x80\xAE\"'&\xFF\x01" + "\0"s +
                              "<img src=x onerror=alert(2)>";
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
  EXPECT_EQ(
      countOf(page, "\xE2\x80\xA8") + countOf(page, "\xE2\x80\xAE") + countOf(page, "\xFF") + countOf(page, "\0"s), 0U);
  // A line that begins like markup is no part of the reply above it.
  EXPECT_EQ(page.find("closes nothing"), std::string::npos);
  EXPECT_NE(page.find("&lt;/script&gt;&lt;script&gt;alert(1)"), std::string::npos);
  EXPECT_NE(page.find("\\u003cscript\\u003ealert(1)"), std::string::npos);
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
  EXPECT_NE(page.find("Requests, replies and lines were left out."), std::string::npos);
  EXPECT_LT(countOf(page, std::string(2000, 'x')), 11U);
}

TEST(ReportFiles, KnowsTimesAsPeopleWriteThem) {
  EXPECT_EQ(*qzcall::timeNamed("2026-11-22 05:54:56") - *qzcall::timeNamed("2026-11-22"), 21296000);
  EXPECT_TRUE(qzcall::timeNamed("2026-11-22 05:54"));
  for (const char* const wrong : {"", "2026-11-22 05", "2026-13-22", "2026-11-22 25:00", "2026-11-22 05:54:56x"})
    EXPECT_FALSE(qzcall::timeNamed(wrong)) << wrong;
}

}  // namespace
