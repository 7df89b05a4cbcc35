// Texts of failures, and the two written forms of an error record: a line of the error log and an XML element.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qz::wire {

/// Text for an error number that the system's message formatter does not know, with the formatter's own error.
std::string unknownMessage(std::uint32_t code, std::uint32_t formatterError);

/// Name of a Winsock error number, or "WINSOCK error " and the number.
std::string winsockErrorName(long code);

/// "Failed HRESULT [0x%08X] :" and the description; an empty one is told to be missing.
std::string failedHresult(std::uint32_t code, std::string_view description);

/// "System error [ 0x%08X, %s ]"; an empty description is told to be missing.
std::string systemError(std::uint32_t code, std::string_view description);

/// Heading of the error log.
inline constexpr std::array<std::string_view, 18> kErrorLogTitles = {
    "GUID",
    "Stack",
    "Date Time",
    "Component",
    "Version Information",
    "Module",
    "File",
    "Procedure",
    "Line Number",
    "Source",
    "Error Number",
    "Error Description",
    "User Domain\\User Name",
    "Machine Domain\\Machine Name",
    "Previous User Domain\\Previous User Name",
    "Previous Machine Domain\\Previous Machine Name",
    "Process Id",
    "Thread Id",
};

/// One line of comma-separated fields, each in double quotes with inner quotes doubled, ending in CR LF. A zero byte,
/// which no reader of such files takes, becomes a blank.
std::string csvLine(std::span<const std::string_view> fields);

/// The XML form of an error: its place, number and text.
std::string errorInformationXml(std::string_view source, std::string_view procedure, long line, long number,
                                std::string_view text);

}  // namespace qz::wire
