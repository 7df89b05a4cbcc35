// Loading and unloading the library, as a program does that knows it by name only.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>

#include "Tests/Support/InstallTree.h"
#include "Tests/Support/LoadedLibrary.h"

namespace {

using qz::test::LoadedLibrary;

DWORD openHandles() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return count;
}

// Bytes in use in all heaps: the system's and that of the C runtime, which the library allocates from.
std::size_t heapInUse() {
  std::array<HANDLE, 64> heaps{};
  const DWORD count = GetProcessHeaps(heaps.size(), heaps.data());
  std::size_t bytes = 0;
  for (DWORD i = 0; i < std::min<DWORD>(count, heaps.size()); ++i) {
    PROCESS_HEAP_ENTRY entry{};
    while (HeapWalk(heaps[i], &entry))
      if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
  }
  return bytes;
}

/// Loads the library, uses it and unloads it. Not every host ends its use first.
void round(const std::string& path, bool terminate) {
  const LoadedLibrary library(path);
  library.call<decltype(rpcSOAP_setIsService)>("rpcSOAP_setIsService", 7);
  EXPECT_EQ(library.call<decltype(rpcSOAP_getIsService)>("rpcSOAP_getIsService"), 7);
  EXPECT_TRUE(library.initialize());
  EXPECT_EQ(library.call<decltype(rpcSOAPSetCMInfo)>("rpcSOAPSetCMInfo", "http://a.test/a/long/path", "action"), 1);
  EXPECT_EQ(library.roundTrip("content"), "content");
  auto* const list = library.call<decltype(rpcSOAP_CreateBufferList)>("rpcSOAP_CreateBufferList");
  list->add("element");
  library.call<decltype(rpcSOAP_ReleaseBufferList)>("rpcSOAP_ReleaseBufferList", list);
  if (terminate) library.terminate();
}

TEST(Load, AThousandRoundsLeakNeitherHandlesNorMemory) {
  const qz::test::InstallTree tree;
  const auto library = tree.install("qzSOAP.dll"), zlib = tree.install("zlib1.dll");
  // The first rounds fill caches of the system, such as the one of ini files.
  for (int i = 0; i < 20; ++i) round(library, i % 2 != 0);
  for (const auto& module : {library, zlib}) EXPECT_EQ(GetModuleHandleA(module.c_str()), nullptr) << module;
  const auto handles = openHandles();
  const auto bytes = heapInUse();
  for (int i = 0; i < 1000; ++i) round(library, i % 2 != 0);
  EXPECT_LE(openHandles(), handles + 2);
  // The thread support of the C++ runtime, which is linked in, keeps 352 bytes per load.
  EXPECT_LE(heapInUse(), bytes + 1000 * 360);
}

TEST(Load, TheLibraryCarriesItsVersion) {
  const qz::test::InstallTree tree;
  DWORD unused = 0;
  EXPECT_NE(GetFileVersionInfoSizeA(tree.install("qzSOAP.dll").c_str(), &unused), 0u);
}

TEST(Load, AHostNeedsTheHeaderAndTheLibraryOnly) {
  const qz::test::InstallTree tree;
  tree.install("zlib1.dll");
  EXPECT_EQ(tree.run({tree.path("bin\\qzSOAP.dll")}, "LooseHost.exe"),
            "initialize=1\n"
            "document=1 decompressed=1 elements=1 first=hello\n"
            "error=12 text=code 12: no\n"
            "invoked=-3 code=-3\n"
            "terminate=0 unloaded=1\n");
}

TEST(Load, TheDefaultEndpointIsKeptForTheProcess) {
  const CqzBuffer00 url, action;
  const auto kept = [&] { return std::string(url->getStrBuffer()) + " " + action->getStrBuffer(); };
  EXPECT_EQ(rpcSOAPSetCMInfo("http://a.test/", "urn:a"), 1);
  EXPECT_EQ(rpcSOAPGetCMInfo(url, action), 1);
  EXPECT_EQ(kept(), "http://a.test/ urn:a");
  EXPECT_EQ(rpcSOAPSetCMInfo(nullptr, "urn:b"), 1);
  EXPECT_EQ(rpcSOAPGetCMInfo(nullptr, action), 1);
  EXPECT_EQ(kept(), "http://a.test/ urn:b");
  EXPECT_EQ(rpcSOAPGetCMInfo(url, nullptr), 1);
  EXPECT_EQ(kept(), " urn:b");
  EXPECT_EQ(url->getType(), ITKBufferType::DT_TEXT);
}

}  // namespace
