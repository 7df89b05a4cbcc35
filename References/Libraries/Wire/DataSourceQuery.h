// What the content manager is asked about the data sources that it keeps.
#pragma once

#include <string>
#include <string_view>

namespace qz::wire {

/// The content manager's namespace on a schema host, which is the SOAP action of its queries too.
std::string contentManagerNamespace(std::string_view schemaHost);

/// A text as a literal of a search expression: in the quotes that it does not contain itself, put together by concat()
/// when it contains both kinds.
std::string searchLiteral(std::string_view text);

/// Body of the query for the names and connection strings of all data-source connections.
std::string connectionsQuery(std::string_view schemaHost);

/// Body of the query for the connections called `name` and the sign-ons that belong to them.
std::string connectionQuery(std::string_view schemaHost, std::string_view name);

}  // namespace qz::wire
