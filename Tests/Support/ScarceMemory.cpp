#include "Tests/Support/ScarceMemory.h"

#include <windows.h>

#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr long kPlenty = std::numeric_limits<long>::max();

// Blocks that may still be had.
long left = kPlenty;

bool isRefused() { return left != kPlenty && --left < 0; }

// Where the program's calls of the process heap's functions go: through its import table.
extern "C" {
extern decltype(&HeapAlloc) importedHeapAlloc __asm__("__imp__HeapAlloc@12");
extern decltype(&HeapReAlloc) importedHeapReAlloc __asm__("__imp__HeapReAlloc@16");
}

const auto systemHeapAlloc = importedHeapAlloc;
const auto systemHeapReAlloc = importedHeapReAlloc;

void* WINAPI scarceHeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
  return isRefused() ? nullptr : systemHeapAlloc(heap, flags, size);
}

void* WINAPI scarceHeapReAlloc(HANDLE heap, DWORD flags, void* block, SIZE_T size) {
  return isRefused() ? nullptr : systemHeapReAlloc(heap, flags, block, size);
}

template <class Function>
void redirect(Function& imported, Function to) {
  DWORD before = 0;
  VirtualProtect(&imported, sizeof imported, PAGE_READWRITE, &before);
  imported = to;
  VirtualProtect(&imported, sizeof imported, before, &before);
}

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const block = isRefused() ? nullptr : std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace qz::test {

ScarceMemory::ScarceMemory(long allowed) {
  redirect(importedHeapAlloc, &scarceHeapAlloc);
  redirect(importedHeapReAlloc, &scarceHeapReAlloc);
  left = allowed;
}

ScarceMemory::~ScarceMemory() {
  left = kPlenty;
  redirect(importedHeapAlloc, systemHeapAlloc);
  redirect(importedHeapReAlloc, systemHeapReAlloc);
}

bool ScarceMemory::wasShort() const { return left < 0; }

}  // namespace qz::test
