/* Uses flat functions from C, without any runtime library: the program's exit code is the number of the first step that
 * did not come out as it should. The functions declared without `dllimport` are called through stubs of the import
 * library. */
__declspec(dllimport) unsigned char __cdecl rpcSOAPInitialize(void);
__declspec(dllimport) long __cdecl rpcSOAPTerminate(void);
__declspec(dllimport) long __cdecl rpcSOAPGetHTTPTimeOutValue(void);
__declspec(dllimport) long __cdecl rpcSOAPGetRelayFaultError(const char* text);
int __cdecl rpcSOAP_getIsService(void);
void __cdecl rpcSOAP_setIsService(int isService);

int __cdecl start(void) {
  if (!rpcSOAPInitialize()) return 1;
  if (rpcSOAPGetHTTPTimeOutValue() != 300000) return 2;
  if (rpcSOAPGetRelayFaultError("no envelope") == 0) return 3;
  rpcSOAP_setIsService(1);
  if (rpcSOAP_getIsService() != 1) return 4;
  return rpcSOAPTerminate() == 0 ? 0 : 5;
}
