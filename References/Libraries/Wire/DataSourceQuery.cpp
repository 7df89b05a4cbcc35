#include "References/Libraries/Wire/DataSourceQuery.h"

#include <algorithm>
#include <initializer_list>

#include "References/Libraries/Wire/Templates.h"
#include "References/Libraries/Wire/XmlEscape.h"

namespace qz::wire {
namespace {

constexpr std::string_view kConnections = "//dataSourceConnection";
constexpr std::string_view kSignonsBelow = "/dataSourceSignon";
constexpr std::string_view kName = "defaultName";
constexpr std::string_view kConnectionString = "connectionString";
constexpr std::string_view kCredentials = "credentials";

std::string typed(std::string_view name, std::string_view text) {
  return std::string("<").append(name).append(R"( xsi:type="xsd:string">)").append(encodeXml(text)) +
         std::string("</").append(name).append(">");
}

std::string query(std::string_view schemaHost, std::string_view search,
                  std::initializer_list<std::string_view> properties) {
  std::string text = "<cm:query xmlns:cm=\"" + contentManagerNamespace(schemaHost) + "\">" + typed("search", search) +
                     R"(<properties xsi:type="SOAP-ENC:Array" SOAP-ENC:arrayType="xsd:string[)" +
                     std::to_string(properties.size()) + "]\">";
  for (const auto property : properties) text += typed("item", property);
  return text + "</properties></cm:query>";
}

}  // namespace

std::string contentManagerNamespace(std::string_view schemaHost) {
  return std::string("http://").append(schemaHost).append(kContentManagerPath);
}

std::string searchLiteral(std::string_view text) {
  const auto quoted = [](std::string_view part, char quote) { return quote + std::string(part) + quote; };
  if (text.find('\'') == std::string_view::npos) return quoted(text, '\'');
  if (text.find('"') == std::string_view::npos) return quoted(text, '"');
  // A literal has no escapes: each stretch goes into the quotes that it can bear.
  std::string parts = "concat(";
  while (!text.empty()) {
    const char quote = text.front() == '\'' ? '"' : '\'';
    const auto part = text.substr(0, text.find(quote));
    parts += quoted(part, quote);
    text.remove_prefix(part.size());
    parts += text.empty() ? ")" : ",";
  }
  return parts;
}

std::string connectionsQuery(std::string_view schemaHost) {
  return query(schemaHost, kConnections, {kName, kConnectionString});
}

std::string connectionQuery(std::string_view schemaHost, std::string_view name) {
  const auto wanted = std::string(kConnections) + "[@" + std::string(kName) + "=" + searchLiteral(name) + "]";
  return query(schemaHost, wanted + " | " + wanted + std::string(kSignonsBelow),
               {kName, kConnectionString, kCredentials});
}

}  // namespace qz::wire
