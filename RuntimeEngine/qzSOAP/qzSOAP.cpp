// Load and unload of the library.
#include <windows.h>

#include <new>
#include <utility>

#include "ITKVarArray.h"
#include "ITKes.h"
#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Platform/LoadedZlib.h"
#include "RuntimeEngine/qzSOAP/rpcSOAPApp.h"

namespace __gnu_cxx {
// Of the C++ runtime, which is linked in: gives back the reserve that it allocates at load for exceptions without
// memory.
void __freeres();
}  // namespace __gnu_cxx

namespace {

constexpr const char* kSource = "RuntimeEngine/qzSOAP/qzSOAP";

// The library as the system sees it.
struct ModuleObject {
  HINSTANCE handle;
  GUID id;
};

constexpr GUID kModuleId = {0x6C7B7085, 0xBDF0, 0x4DA5, {0xAD, 0x6D, 0xF4, 0xCF, 0x44, 0xEA, 0x1B, 0x8B}};

ModuleObject module;
ITKVarArray* firstArray;
ITKVarArray* secondArray;

void trace(long line, const char* event) {
  qz::log::flatSettings().logTextV(CqzLog::Trace, qz::log::kComponent, kSource, line, "DllMain: %s", event);
}

// Runs under the loader's lock: no COM, no other library's start-up, no waiting.
BOOL attach(HINSTANCE handle) {
  module = {handle, kModuleId};
  DisableThreadLibraryCalls(handle);
  qz::log::flatSettings().initialize(handle);
  getITKes().initialize(handle);
  firstArray = new (std::nothrow) ITKVarArray;
  secondArray = new (std::nothrow) ITKVarArray;
  trace(__LINE__, "Process attach");
  return firstArray != nullptr && secondArray != nullptr;
}

// Runs under the loader's lock, which its thread may take again: zlib's unload joins the one that is under way. At the
// end of the process the system takes the modules apart in an order of its own, and zlib is left to it.
void detach(bool processEnds) {
  trace(__LINE__, "Process detach");
  module = {};
  delete std::exchange(firstArray, nullptr);
  delete std::exchange(secondArray, nullptr);
  getDllApp().release();
  if (!processEnds) qz::platform::freeZlib();
  __gnu_cxx::__freeres();
}

}  // namespace

// The system does not switch the notifications of threads off for a library with static thread storage, which the C++
// runtime brings along. Those that come are of no interest here.
extern "C" BOOL WINAPI DllMain(HINSTANCE handle, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_ATTACH) return attach(handle);
  if (reason == DLL_PROCESS_DETACH) detach(processEnds != nullptr);
  return TRUE;
}
