#include "References/Libraries/Platform/ModulePath.h"

#include <windows.h>

namespace qz::platform {

std::string_view modulePath(PathBuffer& out, void* module) {
  // The system cuts a longer name to the size of the buffer, zero included, and tells it in different ways.
  const DWORD size = GetModuleFileNameA(static_cast<HMODULE>(module), out.data(), static_cast<DWORD>(out.size()));
  if (size > kPathLimit) out[0] = '\0';
  return {out.data(), size > kPathLimit ? 0 : size};
}

void* ownModule() {
  static const char inside = 0;
  HMODULE module = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT, &inside,
                     &module);
  return module;
}

void* programModule() { return GetModuleHandleA(nullptr); }

}  // namespace qz::platform
