#include "References/Libraries/Platform/LoadedZlib.h"

#include <windows.h>

#include <atomic>
#include <memory>
#include <string_view>
#include <type_traits>

#include "References/Common/Ascii.h"
#include "References/Common/PathText.h"
#include "References/Libraries/Platform/ModulePath.h"

namespace qz::platform {
namespace {

constexpr std::string_view kVersion = "1.2.3";

struct FreeModule {
  void operator()(HMODULE module) const { FreeLibrary(module); }
};
using Module = std::unique_ptr<std::remove_pointer_t<HMODULE>, FreeModule>;

// The one reference to zlib that the process keeps.
std::atomic<HMODULE> held{nullptr};

void hold(HMODULE module) noexcept { const Module earlier(held.exchange(module)); }

tl::unexpected<ZlibFailure> failure(std::string text, unsigned long systemError = 0) {
  return tl::unexpected(ZlibFailure{std::move(text), systemError});
}

tl::unexpected<ZlibFailure> missing(const std::string& name) {
  return failure("failed: GetProcAddress (\"" + name + "\")");
}

std::string zlibPath() {
  PathBuffer room;
  const auto library = modulePath(room, ownModule());
  return library.empty() ? std::string() : std::string(cutAtLastBackslash(library)) + "\\zlib1.dll";
}

// A file that is no library for this processor is an error like any other, not the reason for a message box.
Module load(const std::string& path) {
  DWORD mode = 0;
  SetThreadErrorMode(SEM_FAILCRITICALERRORS, &mode);
  Module module(LoadLibraryExA(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  const DWORD error = GetLastError();
  SetThreadErrorMode(mode, nullptr);
  SetLastError(error);
  return module;
}

template <class Function>
bool find(HMODULE module, const char* name, Function*& function) {
  function = reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  return function != nullptr;
}

tl::expected<LoadedZlib, ZlibFailure> bind(HMODULE module, const std::string& path) {
  LoadedZlib zlib{.module = module};
  if (!find(module, "zlibVersion", zlib.version)) return missing("zlibVersion");
  const std::string found(viewOf(zlib.version()));
  if (found != kVersion)
    return failure("Loaded incorrect version of zlib from " + path + ": version is " + found + ", expected " +
                   std::string(kVersion));
  if (!find(module, "crc32", zlib.functions.crc32)) return missing("crc32");
  if (!find(module, "compress2", zlib.functions.compress2)) return missing("compress2");
  if (!find(module, "uncompress", zlib.functions.uncompress)) return missing("uncompress");
  return zlib;
}

}  // namespace

tl::expected<LoadedZlib, ZlibFailure> loadZlib() {
  const auto path = zlibPath();
  if (path.empty()) return failure("Failed to create qzBranding::EnvironmentBranding component");
  Module module = load(path);
  if (module == nullptr) {
    const DWORD error = GetLastError();
    return failure(path, error);
  }
  auto zlib = bind(module.get(), path);
  if (zlib) hold(module.release());
  return zlib;
}

void freeZlib() noexcept { hold(nullptr); }

}  // namespace qz::platform
