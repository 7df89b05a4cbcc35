// Loading and unloading the library, as a program does that knows it by name only.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>

#include "Tests/Support/InstallTree.h"

namespace {

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

template <class Function>
Function* find(HMODULE module, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

/// Loads the library, uses it and unloads it without ending its use in any other way.
void round(const char* library) {
  const HMODULE module = LoadLibraryA(library);
  ASSERT_NE(module, nullptr) << GetLastError();
  find<void __cdecl(int)>(module, "rpcSOAP_setIsService")(7);
  EXPECT_EQ(find<int __cdecl()>(module, "rpcSOAP_getIsService")(), 7);
  ASSERT_TRUE(FreeLibrary(module));
}

TEST(Load, AThousandRoundsLeakNeitherHandlesNorMemory) {
  const qz::test::InstallTree tree;
  const auto library = tree.install("qzSOAP.dll");
  // The first rounds fill caches of the system, such as the one of ini files.
  for (int i = 0; i < 20; ++i) round(library.c_str());
  EXPECT_EQ(GetModuleHandleA(library.c_str()), nullptr);
  const auto handles = openHandles();
  const auto bytes = heapInUse();
  for (int i = 0; i < 1000; ++i) round(library.c_str());
  EXPECT_LE(openHandles(), handles + 2);
  // The thread support of the C++ runtime, which is linked in, keeps 352 bytes per load.
  EXPECT_LE(heapInUse(), bytes + 1000 * 360);
}

TEST(Load, VersionsOfTheLibraryAndOfZlibBesideIt) {
  const qz::test::InstallTree tree;
  DWORD unused = 0;
  EXPECT_NE(GetFileVersionInfoSizeA(tree.install("qzSOAP.dll").c_str(), &unused), 0u);
  const HMODULE zlib = tree.module();
  EXPECT_STREQ(find<const char* __cdecl()>(zlib, "zlibVersion")(), "1.2.3");
  for (const char* name : {"compress2", "uncompress", "crc32"}) EXPECT_NE(GetProcAddress(zlib, name), nullptr) << name;
}

}  // namespace
