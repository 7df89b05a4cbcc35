// The zlib that the flat face loads from beside the library.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <regex>
#include <string>

#include "Tests/Support/InstallTree.h"
#include "Tests/Support/LoadedLibrary.h"

namespace {

using qz::test::InstallTree;
using qz::test::LoadedLibrary;
using qz::test::masked;

constexpr const char* kObject = "ZCompression] CZCompression: ";
constexpr const char* kInitializeFirst = "rpcSOAPAPI2] rpcSOAPCompress: rpcSOAPInitialize was not called\r\n";

// The lines of the flat log: source, operation and text.
std::string reports(const InstallTree& tree) {
  auto log =
      std::regex_replace(masked(tree.flatLog()), std::regex("@\\[:\\]\\[qzSOAP:RuntimeEngine/qzSOAP/| L[0-9]+"), "");
  for (auto at = log.find(tree.root()); at != std::string::npos; at = log.find(tree.root()))
    log.replace(at, tree.root().size(), "ROOT");
  return log;
}

TEST(Zlib, IsRefusedUnlessItIsWhole) {
  const std::pair<const char*, std::string> cases[] = {
      {"zlib_with_0.dll", "failed: GetProcAddress (\"zlibVersion\")"},
      {"zlib_of_other_version.dll",
       "Loaded incorrect version of zlib from ROOT\\bin\\zlib1.dll: version is 1.2.30, expected 1.2.3"},
      {"zlib_with_1.dll", "failed: GetProcAddress (\"crc32\")"},
      {"zlib_with_2.dll", "failed: GetProcAddress (\"compress2\")"},
      {"zlib_with_3.dll", "failed: GetProcAddress (\"uncompress\")"}};
  for (const auto& [file, text] : cases) {
    const InstallTree tree;
    tree.install(file, "zlib1.dll");
    const LoadedLibrary library(tree.install("qzSOAP.dll"));
    EXPECT_FALSE(library.initialize());
    EXPECT_EQ(library.roundTrip("content"), "(not compressed)");
    EXPECT_EQ(reports(tree), kObject + text + "\r\n" + kInitializeFirst);
    // The refused file is not in use, and the right one is taken without loading the library again.
    tree.install("zlib1.dll");
    EXPECT_TRUE(library.initialize());
  }
}

TEST(Zlib, IsTakenFromBesideTheLibraryOnly) {
  const InstallTree tree, other;
  const LoadedLibrary library(tree.install("qzSOAP.dll"));
  // One of the right version lies beside the program, in the current folder and in memory.
  const LoadedLibrary loaded(other.install("zlib1.dll"));
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(other.path("bin"));
  EXPECT_FALSE(library.initialize());
  std::filesystem::current_path(before);
  const auto failed = kObject + std::string("ROOT\\bin\\zlib1.dll: System error [ ");
  EXPECT_TRUE(reports(tree).starts_with(failed + "0x0000007E, ")) << reports(tree);
  tree.write("bin\\zlib1.dll", "no library");
  EXPECT_FALSE(library.initialize());
  EXPECT_NE(reports(tree).find(failed + "0x000000C1, "), std::string::npos) << reports(tree);
  tree.install("zlib1.dll");
  EXPECT_TRUE(library.initialize());
}

TEST(Zlib, ListsNeedItForCompressedStreamsOnly) {
  const InstallTree tree;
  const LoadedLibrary library(tree.install("qzSOAP.dll"));
  auto* const list = library.call<decltype(rpcSOAP_CreateBufferList)>("rpcSOAP_CreateBufferList");
  auto* const stream = library.call<decltype(rpcSOAP_CreateBuffer)>("rpcSOAP_CreateBuffer", 0, ITKBufferType::DT_LIST);
  list->add("text");
  EXPECT_EQ(list->serializeTo(*stream, 1), 0);
  EXPECT_TRUE(list->serializeTo(*stream, 0) == 1 && list->serializeFrom(*stream) == 1 && list->getCount() == 1);
  stream->write("NIRA and a block!", true);
  EXPECT_TRUE(list->serializeFrom(*stream) == 0 && list->getCount() == 0);
  const auto told = std::regex_replace(reports(tree), std::regex("0x[^\r]*"), "*");
  const auto missing = kObject + std::string("ROOT\\bin\\zlib1.dll: System error [ *\r\n");
  EXPECT_EQ(told, missing + missing + "BufferListImpl] serializeIn: decompression failed\r\n");
  library.call<decltype(rpcSOAP_ReleaseBuffer)>("rpcSOAP_ReleaseBuffer", stream);
  library.call<decltype(rpcSOAP_ReleaseBufferList)>("rpcSOAP_ReleaseBufferList", list);
}

TEST(Zlib, ComesAndGoes) {
  const InstallTree tree;
  tree.install("zlib1.dll");
  const LoadedLibrary library(tree.install("qzSOAP.dll"));
  EXPECT_EQ(library.terminate(), 0);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(library.roundTrip("content"), "(not compressed)");
    EXPECT_TRUE(library.initialize() && library.initialize());
    for (const std::string content : {"", "content"}) EXPECT_EQ(library.roundTrip(content), content);
    EXPECT_EQ(library.terminate(), 0);
  }
  EXPECT_EQ(reports(tree), std::string(kInitializeFirst) + kInitializeFirst + kInitializeFirst);
}

TEST(Zlib, MayBeInUseWhenTheProcessEnds) {
  const InstallTree tree;
  tree.configure("LogTrace=1");
  tree.install("zlib1.dll");
  EXPECT_EQ(tree.run({"initialize"}), "initialized=1\n");
  EXPECT_EQ(reports(tree),
            "qzSOAP] DllMain: Process attach\r\nrpcSOAPAPI2] Enter rpcSOAPInitialize\r\n"
            "rpcSOAPAPI2] Exit rpcSOAPInitialize\r\nqzSOAP] DllMain: Process detach\r\n");
}

TEST(Zlib, IsGivenMoreRoomAsLongAsItAsks) {
  const std::string again = "ZCompression] compress: there was not enough room in the output buffer\r\n";
  const InstallTree tree, greedy;
  tree.install("zlib_with_4.dll", "zlib1.dll");
  greedy.install("zlib_without_end.dll", "zlib1.dll");
  const LoadedLibrary library(tree.install("qzSOAP.dll")), other(greedy.install("qzSOAP.dll"));
  ASSERT_TRUE(library.initialize() && other.initialize());
  // 19 bytes for 7, then 38, 76 and 152; restoring fails in a way of its own.
  EXPECT_EQ(library.roundTrip("content"), "(not restored)");
  EXPECT_EQ(reports(tree), again + again + again + "ZCompression] decompress: Unknown zlb error -7\r\n");
  EXPECT_EQ(other.roundTrip("content"), "(not compressed)");
  const auto told = reports(greedy);
  EXPECT_TRUE(told.starts_with(again + again + again + again)) << told;
  EXPECT_TRUE(told.ends_with(again + "ZCompression] compress: there was not enough memory\r\n")) << told;
  EXPECT_EQ(greedy.read("Logs\\TesselErrorLog.csv").find("room"), std::string::npos);  // a warning is no error
}

}  // namespace
