/// @file
/// Refuses texts that would write header lines of their own into a request.
#pragma once

#include <string_view>

namespace qz::wire {

/// The first of the caller's texts of a request that holds a carriage return or line feed: "URL" or "SOAP action";
/// empty when both are clean.
std::string_view textWithLineBreak(std::string_view url, std::string_view soapAction);

}  // namespace qz::wire
