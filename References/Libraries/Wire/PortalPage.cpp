#include "References/Libraries/Wire/PortalPage.h"

namespace qz::wire {
namespace {

constexpr std::string_view kHiddenNamespace = R"(<input type="hidden" name="ZOTNamespace" value=")";
constexpr std::string_view kDisplayName = R"(name="ZOTNamespaceDisplayName" value=")";
constexpr std::string_view kNamespaceList = R"(<select name="ZOTNamespace")";
constexpr std::string_view kOption = R"(<option value=")";
constexpr std::string_view kContextId = R"(var pryContextId = ")";
constexpr std::string_view kFormText = R"(class="formText">)";
constexpr std::string_view kAuthenticated = "The user is already authenticated";

/// Cuts pieces out of a page from its start to its end.
class PageScan {
 public:
  explicit PageScan(std::string_view page) : rest_(page) {}

  /// Goes behind the next `mark`; false when there is none.
  bool skip(std::string_view mark) { return upTo(mark).has_value(); }
  /// The text up to the next `mark`, and goes behind that.
  std::optional<std::string_view> upTo(std::string_view mark) {
    const auto at = rest_.find(mark);
    if (at == std::string_view::npos) return std::nullopt;
    const auto text = rest_.substr(0, at);
    rest_.remove_prefix(at + mark.size());
    return text;
  }

 private:
  std::string_view rest_;
};

// What stands in double quotes behind a mark that ends with the first of them.
std::optional<std::string_view> quotedBehind(std::string_view page, std::string_view mark) {
  PageScan scan(page);
  return scan.skip(mark) ? scan.upTo("\"") : std::nullopt;
}

PortalNamespaces readOptions(PageScan scan) {
  PortalNamespaces found;
  while (scan.skip(kOption)) {
    const auto name = scan.upTo("\">");
    const auto displayName = name ? scan.upTo("<") : std::nullopt;
    if (!displayName) break;
    found.names.push_back(*name);
    found.displayNames.push_back(*displayName);
  }
  return found;
}

}  // namespace

std::optional<PortalNamespaces> portalNamespaces(std::string_view page) {
  PortalNamespaces found;
  if (page.find(kHiddenNamespace) != std::string_view::npos) {
    if (const auto name = quotedBehind(page, kHiddenNamespace)) found.names.push_back(*name);
    if (const auto displayName = quotedBehind(page, kDisplayName)) found.displayNames.push_back(*displayName);
  } else if (PageScan scan(page); scan.skip(kNamespaceList)) {
    found = readOptions(scan);
  }
  if (found.names.empty()) return std::nullopt;
  return found;
}

std::optional<std::string_view> portalContextId(std::string_view page) { return quotedBehind(page, kContextId); }

bool isUserAlreadyAuthenticated(std::string_view page) {
  PageScan scan(page);
  return scan.skip(kFormText) && scan.skip(kAuthenticated);
}

}  // namespace qz::wire
