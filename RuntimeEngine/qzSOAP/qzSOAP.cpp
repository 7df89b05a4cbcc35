// Entry point of the library and the flat functions that speak of the whole process.
#include "qzSOAP.h"

#include <windows.h>

namespace {

int serviceFlag = 0;

}  // namespace

int __cdecl rpcSOAP_getIsService() { return serviceFlag; }

void __cdecl rpcSOAP_setIsService(int isService) { serviceFlag = isService; }

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
  return TRUE;
}
