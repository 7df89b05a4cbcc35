// Texts that the system has for error numbers.
#pragma once

#include <string>

#include <tl/expected.hpp>

namespace qz::platform {

/// The system's text for a Win32 error number or HRESULT, without line ends behind it; the formatter's own error number
/// when there is no text.
/// @param module looked through besides the system's own texts, for example the internet library's; null for none
tl::expected<std::string, unsigned long> systemMessage(unsigned long code, void* module = nullptr);

}  // namespace qz::platform
