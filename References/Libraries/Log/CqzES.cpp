#include "CqzES.h"

#include "References/Common/Ascii.h"
#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Log/SettingsLayer.h"

namespace {

constexpr QzSettingsLayer kFlatSettings = {
    .iniName = "\\qz.ini",
    .createsIniFolder = false,
    .commonSection = "SOAP Common",
    .tracingSection = "SOAP Internal Tracing",
    .version = 8100,
    .logFileKey = "LogFilePath",
    .logName = "qzSOAP",
    .heading = {},
    .textPrefix = qz::wire::flatTextPrefix,
    .dumpPrefix = qz::wire::flatDumpPrefix,
};

CqzES settings;

}  // namespace

CqzES& qz::log::flatSettings() { return settings; }

CqzES::CqzES() : QzSettings(kFlatSettings) {}

CqzES::~CqzES() = default;

void CqzES::logText(long level, const char* component, const char* sourceFile, long line, const char* text) {
  writeText(level, component, sourceFile, line, qz::viewOf(text));
}

void CqzES::logText(long level, const char* component, const char* sourceFile, long line, std::string_view text) {
  writeText(level, component, sourceFile, line, text);
}

void CqzES::logText(long level, const char* component, const char* sourceFile, long line, std::string_view operation,
                    std::string_view text) {
  writeText(level, component, sourceFile, line, text, operation);
}

void CqzES::logTextV(long level, const char* component, const char* sourceFile, long line, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  writeTextV(level, component, sourceFile, line, format, values);
  va_end(values);
}

void CqzES::logByteStream(const char* component, const char* sourceFile, long line, const unsigned char* bytes,
                          long count) {
  writeBytes(component, sourceFile, line, bytes, count);
}
