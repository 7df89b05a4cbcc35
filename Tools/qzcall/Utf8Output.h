// What the programs write is UTF-8.
#pragma once

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <iostream>

namespace qzcall {

/// As long as the object lives, output is UTF-8 with plain line feeds, on a console as in a pipe. The console gets its own
/// code page back.
class Utf8Output {
 public:
  Utf8Output() : previous_(GetConsoleOutputCP()) {
    SetConsoleOutputCP(CP_UTF8);
    // Byte by byte, a console would take the bytes of one character for several.
    std::setvbuf(stdout, nullptr, _IOFBF, 65536);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    // Unbuffered, it would go to a console character by character. std::cerr flushes it behind every piece.
    std::setvbuf(stderr, nullptr, _IOFBF, BUFSIZ);
  }
  ~Utf8Output() {
    std::cout.flush();
    if (previous_ != 0) SetConsoleOutputCP(previous_);
  }
  Utf8Output(const Utf8Output&) = delete;
  Utf8Output& operator=(const Utf8Output&) = delete;

 private:
  UINT previous_;
};

}  // namespace qzcall
