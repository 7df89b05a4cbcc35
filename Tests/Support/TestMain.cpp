// The main function of every test program.
#include <gmock/gmock.h>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

int main(int argc, char** argv) {
#if defined(_WIN32)
  // CTest reads the list of tests from here; it does not expect CR LF.
  _setmode(_fileno(stdout), _O_BINARY);
#endif
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
