#include "Tests/Support/ChildProcess.h"

#include <filesystem>
#include <stdexcept>

namespace qz::test {
namespace {

std::wstring wideOf(const std::string& text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end())).wstring();
}

/// One argument as the C runtime splits it off again: backslashes count only in front of a quote.
std::string quoted(const std::string& argument) {
  std::string out = "\"";
  std::size_t backslashes = 0;
  for (const char c : argument) {
    if (c == '"') out.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    out += c;
  }
  return out.append(backslashes, '\\') + "\"";
}

std::wstring ownFolder() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path.substr(0, path.find_last_of(L'\\') + 1);
}

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what + ", error " + std::to_string(GetLastError()));
}

HANDLE killingJob() {
  const HANDLE job = CreateJobObjectW(nullptr, nullptr);
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  if (job == nullptr || !SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits))
    fail("no job object");
  return job;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const std::string& currentFolder)
    : job_(killingJob()) {
  const HANDLE out = openPipe(output_);
  const HANDLE err = openPipe(errors_);
  start(program, arguments, currentFolder, out, err);
  CloseHandle(out);
  CloseHandle(err);
  for (Stream* const stream : {&output_, &errors_}) stream->reader = std::thread([this, stream] { drain(*stream); });
}

ChildProcess::~ChildProcess() {
  TerminateJobObject(job_, 99);
  for (Stream* const stream : {&output_, &errors_}) {
    stream->reader.join();
    CloseHandle(stream->readEnd);
  }
  CloseHandle(process_);
  CloseHandle(job_);
}

HANDLE ChildProcess::openPipe(Stream& stream) {
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  HANDLE writeEnd = nullptr;
  if (!CreatePipe(&stream.readEnd, &writeEnd, &inheritable, 0)) fail("no pipe");
  SetHandleInformation(stream.readEnd, HANDLE_FLAG_INHERIT, 0);
  return writeEnd;
}

void ChildProcess::start(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& currentFolder, HANDLE out, HANDLE err) {
  const std::wstring path = (program.find(':') == std::string::npos ? ownFolder() : L"") + wideOf(program);
  const std::wstring folder = wideOf(currentFolder);
  std::string line = quoted(program);
  for (const std::string& argument : arguments) line += " " + quoted(argument);
  std::wstring wideLine = wideOf(line);
  STARTUPINFOW info{};
  info.cb = sizeof info;
  info.dwFlags = STARTF_USESTDHANDLES;
  info.hStdOutput = out;
  info.hStdError = err;
  PROCESS_INFORMATION started{};
  if (!CreateProcessW(path.c_str(), wideLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                      folder.empty() ? nullptr : folder.c_str(), &info, &started))
    fail("cannot start " + program);
  process_ = started.hProcess;
  const BOOL assigned = AssignProcessToJobObject(job_, process_);
  ResumeThread(started.hThread);
  CloseHandle(started.hThread);
  if (assigned == FALSE) fail("cannot put " + program + " into its job");
}

void ChildProcess::drain(Stream& stream) {
  char buffer[4096];
  DWORD got = 0;
  while (ReadFile(stream.readEnd, buffer, sizeof buffer, &got, nullptr) && got > 0) {
    const std::lock_guard lock(mutex_);
    stream.text.append(buffer, got);
    changed_.notify_all();
  }
  const std::lock_guard lock(mutex_);
  stream.ended = true;
  changed_.notify_all();
}

std::string ChildProcess::readLine(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  const auto lineEnd = [&] { return output_.text.find('\n'); };
  changed_.wait_for(lock, limit, [&] { return lineEnd() != std::string::npos || output_.ended; });
  if (lineEnd() == std::string::npos) throw std::runtime_error("no line came; errors: " + errors_.text);
  std::string line = output_.text.substr(0, lineEnd());
  output_.text.erase(0, lineEnd() + 1);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

int ChildProcess::wait(std::chrono::milliseconds limit) {
  const bool late = WaitForSingleObject(process_, static_cast<DWORD>(limit.count())) != WAIT_OBJECT_0;
  if (late) TerminateJobObject(job_, 99);
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return output_.ended && errors_.ended; });
  if (late) throw std::runtime_error("the program did not end; output: " + output_.text + " errors: " + errors_.text);
  DWORD code = 0;
  GetExitCodeProcess(process_, &code);
  return static_cast<int>(code);
}

void ChildProcess::interrupt() {
  // The routine that the system starts in each program of a console; it lies at one place in all of them.
  void* const routine = reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine"));
  if (routine == nullptr) fail("no routine for control keys");
  void* const key = reinterpret_cast<void*>(CTRL_C_EVENT);
  const HANDLE thread =
      CreateRemoteThread(process_, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(routine), key, 0, nullptr);
  if (thread == nullptr) fail("no thread for a control key");
  CloseHandle(thread);
}

std::string ChildProcess::copyOf(const Stream& stream) {
  const std::lock_guard lock(mutex_);
  return stream.text;
}

std::string ChildProcess::output() { return copyOf(output_); }

std::string ChildProcess::errors() { return copyOf(errors_); }

}  // namespace qz::test
