// The envelope templates, made once per schema host.
#pragma once

#include <string_view>

#include "References/Libraries/Wire/Templates.h"

namespace qz::rpc {

/// The templates for a host; they live as long as the library is loaded. Any thread may ask.
const wire::EnvelopeTemplates& templatesFor(std::string_view schemaHost);

}  // namespace qz::rpc
