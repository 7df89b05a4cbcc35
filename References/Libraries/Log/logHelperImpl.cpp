#include "References/Libraries/Log/logHelperImpl.h"

#include <windows.h>

#include <comdef.h>

#include <utility>

#include "References/Common/Ascii.h"
#include "References/Libraries/Log/ComLogger.h"
#include "References/Libraries/Log/ErrorLog.h"
#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Log/LogFile.h"
#include "References/Libraries/Platform/Bstr.h"
#include "References/Libraries/Platform/SystemMessage.h"
#include "References/Libraries/Wire/ErrorText.h"

namespace qz {
namespace {

constexpr const char* kSource = "References/Libraries/Log/logHelperImpl";

// What is left to do when memory is too short even for the text that tells it.
void assignQuietly(std::string& target, const char* text) noexcept {
  try {
    target = text;
  } catch (...) {
    target.clear();
  }
}

std::string toAnsi(const _bstr_t& text) {
  return platform::narrow({static_cast<const wchar_t*>(text), text.length()}, platform::kAnsi);
}

void handToComponent(const Err& error) {
  if (!log::flatSettings().isLogComponentWanted()) return;
  const long result = log::sendToComLogger(toXml(error));
  if (result >= 0) return;
  log::flatSettings().logTextV(CqzLog::Trace, log::kComponent, kSource, __LINE__, "Unexpected error from logger %lX",
                               static_cast<unsigned long>(result));
}

void keepRecord(const char* sourcePath, const Err& error) {
  log::appendErrorLog(sourcePath, error);
  handToComponent(error);
}

// A report must not fail its caller, and what went wrong in it must not be lost either.
template <class Body>
void guardedReport(long line, Body&& body) noexcept {
  auto& settings = log::flatSettings();
  try {
    body();
  } catch (const std::exception&) {
    settings.logText(CqzLog::Error, log::kComponent, kSource, line, "Process exception");
  } catch (...) {
    settings.logText(CqzLog::Error, log::kComponent, kSource, line, "process general exception");
  }
}

// The line of the trace log needs no memory, so that a report about too little of it arrives.
bool traceReport(long level, const char* source, const char* procedure, long line, std::string_view message) noexcept {
  auto& settings = log::flatSettings();
  if (!settings.isWritten(level)) return false;
  settings.logText(level, log::kComponent, source, line, viewOf(procedure), message);
  return level == CqzLog::Error;
}

void reportAt(const char* source, const char* procedure, long line, long level, const Err& error) noexcept {
  if (traceReport(level, source, procedure, line, error.description))
    guardedReport(line, [&] { keepRecord(source, error); });
}

template <class Failure>
void reportForeign(const char* source, const char* procedure, long line, const Failure& failure) noexcept {
  Err error;
  error.assignFrom(failure, procedure, line);
  reportAt(source, procedure, line, CqzLog::Error, error);
}

}  // namespace

Err::Err(long number, std::string description, std::string source, std::string procedure, long line)
    : number(number),
      description(std::move(description)),
      source(std::move(source)),
      procedure(std::move(procedure)),
      line(line) {}

void Err::assignFrom(const std::exception& failure, const char* where, long atLine) noexcept {
  try {
    *this = Err(0, orEmpty(failure.what()), "std exception", orEmpty(where), atLine);
  } catch (...) {
    assignQuietly(description, "failed to convert std exception to Err");
  }
}

void Err::assignFrom(const _com_error& failure, const char* where, long atLine) noexcept {
  try {
    const _bstr_t told = failure.Description();
    const _bstr_t origin = failure.Source();
    *this = Err(failure.Error(), told.length() != 0 ? toAnsi(told) : describeHresult(failure.Error()),
                origin.length() != 0 ? toAnsi(origin) : kNotSpecified, orEmpty(where), atLine);
  } catch (...) {
    assignQuietly(description, "failed to convert _com_error to Err");
  }
}

void reportText(long level, const char* source, const char* procedure, long line, std::string_view message) noexcept {
  if (!traceReport(level, source, procedure, line, message)) return;
  guardedReport(line,
                [&] { keepRecord(source, Err(0, std::string(message), orEmpty(source), orEmpty(procedure), line)); });
}

void reportError(long level, const char* source, const char* procedure, long line, const char* format, ...) noexcept {
  if (!log::flatSettings().isWritten(level)) return;
  std::va_list values;
  va_start(values, format);
  log::MessageBuffer message;
  reportText(level, source, procedure, line, log::formatMessage(message, format, values));
  va_end(values);
}

void reportErr(long level, const Err& error) noexcept {
  reportAt(error.source.c_str(), error.procedure.c_str(), error.line, level, error);
}

void reportCaught(const char* source, const char* procedure, long line) noexcept {
  try {
    throw;
  } catch (const Err& known) {
    reportErr(CqzLog::Error, known);
  } catch (const _com_error& failure) {
    reportForeign(source, procedure, line, failure);
  } catch (const std::exception& failure) {
    reportForeign(source, procedure, line, failure);
  } catch (...) {
    reportText(CqzLog::Error, source, procedure, line, "general exception in try block");
  }
}

std::string win32Message(unsigned long code, void* module) {
  auto text = platform::systemMessage(code, module);
  return text ? *std::move(text) : wire::unknownMessage(code, text.error());
}

std::string describeWin32(unsigned long code) { return wire::systemError(code, win32Message(code)); }

std::string describeWinsock(long code) { return wire::winsockErrorName(code); }

std::string describeHresult(long code) {
  const auto unsignedCode = static_cast<unsigned long>(code);
  return wire::failedHresult(unsignedCode, platform::systemMessage(unsignedCode).value_or(""));
}

std::string toXml(const Err& error) {
  return wire::errorInformationXml(error.source, error.procedure, error.line, error.number, error.description);
}

}  // namespace qz
