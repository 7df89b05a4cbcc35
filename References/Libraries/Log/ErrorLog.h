// The error log: one comma-separated line per reported failure, beside the trace logs.
#pragma once

#include "References/Libraries/Log/logHelperImpl.h"

namespace qz::log {

/// Appends `error` to "TesselErrorLog.csv", which is created with its column titles. A file that cannot be opened is
/// skipped.
/// @param sourcePath source path of the reporting class
void appendErrorLog(const char* sourcePath, const Err& error);

}  // namespace qz::log
