#include "Tools/qzgateway/RecordFiles.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <fstream>

namespace qzgateway {
namespace {

/// A byte that no text reaches: whoever has it locked may write, and readers are not kept waiting.
OVERLAPPED turnToWrite() {
  OVERLAPPED place{};
  place.OffsetHigh = MAXLONG;
  return place;
}

}  // namespace

std::error_code createNew(const std::filesystem::path& path) {
  const int file = _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
  if (file < 0) return {errno, std::generic_category()};
  _close(file);
  return {};
}

bool append(const std::filesystem::path& path, const std::vector<std::string_view>& pieces) {
  std::ofstream file(path, std::ios::binary | std::ios::app);
  for (const std::string_view piece : pieces) file.write(piece.data(), static_cast<std::streamsize>(piece.size()));
  return static_cast<bool>(file.flush());
}

LineFile::LineFile(const std::filesystem::path& path)
    : handle_(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr)) {}

LineFile::~LineFile() {
  if (isOpen()) CloseHandle(handle_);
}

bool LineFile::isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

bool LineFile::add(const std::string& line) {
  OVERLAPPED turn = turnToWrite();
  if (LockFileEx(handle_, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &turn) == FALSE) return false;
  const bool isWritten = writeAtEnd(line);
  UnlockFileEx(handle_, 0, 1, 0, &turn);
  return isWritten;
}

bool LineFile::writeAtEnd(const std::string& line) {
  LARGE_INTEGER end{};
  if (SetFilePointerEx(handle_, {}, &end, FILE_END) == FALSE) return false;
  DWORD written = 0;
  const auto size = static_cast<DWORD>(line.size());
  if (WriteFile(handle_, line.data(), size, &written, nullptr) != FALSE && written == size) return true;
  // The next line would go on in half a line.
  if (SetFilePointerEx(handle_, end, nullptr, FILE_BEGIN) != FALSE) SetEndOfFile(handle_);
  return false;
}

}  // namespace qzgateway
