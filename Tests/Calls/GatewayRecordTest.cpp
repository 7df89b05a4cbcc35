// Records of what went through the gateway.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <tuple>

#include "Tests/Support/ScratchFile.h"
#include "Tests/Support/ToolPrograms.h"
#include "Tools/qzcall/Decode.h"
#include "Tools/qzgateway/Recorder.h"

namespace {

using namespace std::string_literals;
using nlohmann::json;
using qz::test::RunningGateway;
using qz::test::runQzcall;
using qz::test::ScratchFile;
using Words = std::vector<std::string>;
namespace fs = std::filesystem;

/// A folder for one test, removed at the end.
class ScratchFolder {
 public:
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(path(), ignored);
  }
  fs::path path() const { return place_.path() + ".d"s; }

 private:
  ScratchFile place_;
};

std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Kinds of the parts of a dump that a person reads, and the first fault.
std::string outlineOf(const fs::path& path) {
  const std::string content = contentOf(path);
  const auto decoded = qzcall::decode({reinterpret_cast<const unsigned char*>(content.data()), content.size()});
  std::string out;
  for (const qzcall::Node& exchange : decoded.root.children)
    for (const qzcall::Node& message : exchange.children)
      out += std::string(out.empty() ? "" : " ") + qzcall::nameOf(message.kind) + ":" +
             (message.children.empty() ? "" : qzcall::nameOf(message.children.back().kind));
  const qzcall::Fault* const fault = qzcall::firstFault(decoded.root);
  return out + (fault == nullptr ? "" : ", " + fault->text);
}

TEST(QzgatewayRecord, KeepsExchangesAsDumps) {
  const ScratchFolder folder;
  const ScratchFile script(R"({"rules": [
    {"interface": "Stock", "method": "page",
     "reply": {"page": {"status": 503, "body": "busy", "headers": {"cache-control": "private"}}}},
    {"interface": "Stock", "method": "drop", "reply": {"drop": true}}]})");
  {
    const RunningGateway gateway({"--script", script.path(), "--record", folder.path().string()});
    for (const char* const method : {"price", "page", "drop"})
      runQzcall({"invoke", "--url", gateway.url(), "--action", "urn:s", "--interface", "Stock", "--method", method,
                 "--arg", "text:hello"});
    runQzcall({"http", "--url", gateway.url() + "?b_action=xts.run&m=portal/close.xts&h_ZOT_action=logon"});
  }
  EXPECT_EQ(outlineOf(folder.path() / "000001.dump"), "request:multipart reply:envelope");
  EXPECT_EQ(outlineOf(folder.path() / "000002.dump").substr(0, 24), "request:multipart reply:");
  const std::string page = contentOf(folder.path() / "000002.dump");
  EXPECT_NE(page.find("cache-control: private"), std::string::npos) << page;
  EXPECT_EQ(page.find("no-store"), std::string::npos) << page;
  EXPECT_EQ(outlineOf(folder.path() / "000003.dump"), "request:multipart");
  EXPECT_NE(contentOf(folder.path() / "000004.dump").find("ZOTUsername"), std::string::npos);
  std::istringstream index(contentOf(folder.path() / "index.jsonl"));
  std::vector<json> lines;
  for (std::string line; std::getline(index, line);) lines.push_back(json::parse(line));
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0]["file"], "000001.dump");
  EXPECT_EQ(lines[0]["interface"], "Stock");
  EXPECT_EQ(lines[1]["rule"], "rule 1");
  EXPECT_EQ(lines[1]["status"], 503);
  EXPECT_EQ(lines[2]["dropped"], true);
  EXPECT_EQ(lines[3].value("interface", "none"), "none");
}

/// Records exchanges in process.
struct Recording {
  explicit Recording(const fs::path& folder, std::uintmax_t limit = 100000)
      : recorder(*qzgateway::Recorder::open(folder, limit, [&](const std::string& what) { complaint = what; })) {}

  void exchange(const qzgateway::RawRequest& request, std::size_t replySize) const {
    recorder->end(recorder->begin(request), {qzgateway::refusal(400, std::string(replySize, 'y')), "s"});
  }
  void exchange(std::size_t requestSize, std::size_t replySize) const {
    exchange({"POST", "/", {}, std::string(requestSize, 'x')}, replySize);
  }

  std::string complaint;
  std::unique_ptr<qzgateway::Recorder> recorder;
};

Words namesIn(const fs::path& folder) {
  Words names;
  for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
  std::ranges::sort(names);
  return names;
}

TEST(QzgatewayRecord, StaysWithinItsLimitAndGoesOnBehindItsEnd) {
  const ScratchFolder folder;
  for (const auto& [requestSize, replySize] : {std::pair(500U, 500U), {3000U, 1U}, {1U, 3000U}, {500U, 500U}}) {
    const Recording recording(folder.path(), 3000);
    recording.exchange(requestSize, replySize);
    EXPECT_EQ(recording.complaint,
              requestSize == replySize ? "" : "POST / is not recorded: the record has reached its limit");
  }
  EXPECT_EQ(namesIn(folder.path()), (Words{"000001.dump", "000002.dump", "index.jsonl"}));
  std::uintmax_t used = 0;
  for (const auto& entry : fs::directory_iterator(folder.path())) used += entry.file_size();
  const Recording full(folder.path(), used + 10);
  full.exchange(0, 0);
  EXPECT_NE(full.complaint, "") << "the index counts as well";
  EXPECT_FALSE(qzgateway::Recorder::open(folder.path() / "index.jsonl", 1, nullptr));
}

TEST(QzgatewayRecord, SharesItsFolderWithOtherGateways) {
  const ScratchFolder folder;
  fs::create_directories(folder.path());
  std::ofstream(folder.path() / "9999999999.dump") << "of somebody else";
  {
    const Recording first(folder.path()), second(folder.path());
    for (const Recording* const recording : {&first, &second, &first}) recording->exchange(1, 1);
  }
  EXPECT_EQ(namesIn(folder.path()),
            (Words{"000001.dump", "000002.dump", "000003.dump", "9999999999.dump", "index.jsonl"}));
  std::istringstream index(contentOf(folder.path() / "index.jsonl"));
  std::string files;
  for (std::string line; std::getline(index, line);) files += json::parse(line)["file"].get<std::string>() + " ";
  EXPECT_EQ(files, "000001.dump 000002.dump 000003.dump ");
}

TEST(QzgatewayRecord, WritesRequestsOfAllSortsAsDumps) {
  const std::string url = "/?x=b_action=&y", call = "--B\r\n\r\n<e/>\r\n--B\r\n\x07\x00--B--\r\n"s;
  const std::tuple<qzgateway::RawRequest, const char*> kCases[] = {
      {{"POST", url, {{"Accept", "*/*"}, {"content-type", "multipart/related; boundary=B"}}, call},
       "request:multipart reply:text"},
      {{"POST", url, {{"Accept", "*/*"}}, "abc"}, "request:text reply:text"},
      {{"POST", url, {{"Content-Type", "application/x-www-form-urlencoded"}}, "abc"}, "request:text reply:text"},
      {{"POST", "/?b_action=xts.run", {{"CONTENT-TYPE", "x/y"}}, "abc"}, "request:text reply:text"},
      {{"GET", "/", {}, ""}, "request:headerLine reply:text"},
      {{"HEAD", "/", {}, ""}, "request:headerLine reply:headerLine"},
  };
  const ScratchFolder folder;
  const Recording recording(folder.path());
  int number = 0;
  for (const auto& [request, outline] : kCases) {
    recording.exchange(request, 1);
    EXPECT_EQ(outlineOf(folder.path() / ("00000" + std::to_string(++number) + ".dump")), outline) << number;
  }
}

}  // namespace
