// The logging component of a host installation: a COM object that takes the reports as well, where the ini file asks
// for it.
#pragma once

#include <string>

namespace qz::log {

/// Creates the component and hands it the message.
/// @param message UTF-8 or ANSI text, converted with the ANSI code page
/// @return 0 or the HRESULT of what failed
long sendToComLogger(const std::string& message);

}  // namespace qz::log
