// The header lines of requests whose body the caller has built.
#pragma once

#include <string>
#include <string_view>

namespace qz::wire {

/// Content type, SOAP action, and `extra` with a line end behind it unless it is empty.
std::string soapRequestHeaders(std::string_view soapAction, std::string_view extra);

/// The action that header lines name, without its quotes; empty when they name none.
std::string_view soapActionIn(std::string_view headers);

/// True when one of the lines is a cookie line.
bool hasCookieLine(std::string_view headers);

/// The lines with one line end behind the last of them, as the system takes them; empty when there are none.
std::string withOneLineEnd(std::string_view headers);

}  // namespace qz::wire
