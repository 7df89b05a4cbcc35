#include "References/Libraries/Platform/Clock.h"

#include <windows.h>

namespace qz::platform {

CivilTime localTime() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}

}  // namespace qz::platform
