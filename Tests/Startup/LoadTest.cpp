// Loading and unloading the library in one process.
#include <gtest/gtest.h>
#include <windows.h>

#include "Tests/Startup/InstallTree.h"

namespace {

DWORD openHandles() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  return count;
}

// Bytes in use in the process heap, which the runtime of the library allocates from too.
std::size_t heapInUse() {
  std::size_t bytes = 0;
  const HANDLE heap = GetProcessHeap();
  HeapLock(heap);
  PROCESS_HEAP_ENTRY entry{};
  while (HeapWalk(heap, &entry))
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
  HeapUnlock(heap);
  return bytes;
}

/// Loads the library, uses it and unloads it without ending its use in any other way.
void round(const char* library) {
  const HMODULE module = LoadLibraryA(library);
  ASSERT_NE(module, nullptr) << GetLastError();
  const auto set =
      reinterpret_cast<void(__cdecl*)(int)>(reinterpret_cast<void*>(GetProcAddress(module, "rpcSOAP_setIsService")));
  ASSERT_NE(set, nullptr);
  set(1);
  ASSERT_TRUE(FreeLibrary(module));
}

TEST(Load, TheLibraryTellsItsVersion) {
  const qz::test::InstallTree tree;
  DWORD unused = 0;
  EXPECT_NE(GetFileVersionInfoSizeA(tree.path("bin\\qzSOAP.dll").c_str(), &unused), 0u);
}

TEST(Load, AThousandRoundsLeakNeitherHandlesNorMemory) {
  const qz::test::InstallTree tree;
  const auto library = tree.path("bin\\qzSOAP.dll");
  // The first rounds fill caches of the system, such as the one of ini files.
  for (int i = 0; i < 20; ++i) round(library.c_str());
  EXPECT_EQ(GetModuleHandleA("qzSOAP.dll"), nullptr);
  const auto handles = openHandles();
  const auto bytes = heapInUse();
  for (int i = 0; i < 1000; ++i) round(library.c_str());
  EXPECT_LE(openHandles(), handles + 2);
  EXPECT_LE(heapInUse(), bytes + 16 * 1024);
}

}  // namespace
