#include <gtest/gtest.h>

#include "References/Libraries/Wire/PortalPage.h"

namespace qz::wire {
namespace {

// Namespaces as "name=display name ...", "none" for a page without them.
std::string namespacesOf(std::string_view page) {
  const auto found = portalNamespaces(page);
  if (!found) return "none";
  std::string text;
  for (std::size_t i = 0; i < found->names.size(); ++i)
    text.append(found->names[i]).append("=").append(i < found->displayNames.size() ? found->displayNames[i] : "?") +=
        ' ';
  return text;
}

TEST(PortalPage, Namespaces) {
  const std::string hidden = R"(<input type="hidden" name="ZOTNamespace" value=")";
  const std::string display = R"(name="ZOTNamespaceDisplayName" value=")";
  const std::string list = R"(<select name="ZOTNamespace" size="1">)";
  const std::string a = R"(<option value="a">A &amp; a</option>)", b = R"(<option value="b">B</option>)";
  const struct {
    std::string page;
    const char* namespaces;
  } cases[] = {
      {"", "none"},
      {hidden + R"(x">)", "x=? "},
      {display + R"(X">)" + hidden + R"(x">)" + list + a, "x=X "},
      {hidden + R"(x">)" + display + "X", "x=? "},
      {hidden + "x", "none"},
      {hidden + R"(">)", "=? "},
      {a + list + b + a, "b=B a=A &amp; a "},
      {list + a + "</select><select>" + b, "a=A &amp; a b=B "},
      {list + R"(<option value="c" selected="1">C</option>)", R"(c" selected="1=C )"},
      {list + a + R"(<option value="c">C)", "a=A &amp; a "},
      {list + R"(<option value="c)", "none"},
      {list + "</select>", "none"},
      {a + b, "none"},
  };
  for (const auto& c : cases) EXPECT_EQ(namespacesOf(c.page), c.namespaces) << c.page;
}

TEST(PortalPage, ContextAndAuthenticatedUser) {
  EXPECT_EQ(portalContextId(R"(<script>var pryContextId = "CAF-1";var x = "y")"), "CAF-1");
  EXPECT_EQ(portalContextId(R"(var pryContextId = "")"), "");
  EXPECT_EQ(portalContextId(R"(var pryContextId = "CAF)"), std::nullopt);
  EXPECT_EQ(portalContextId(R"(var pryContextId='CAF-1')"), std::nullopt);
  EXPECT_TRUE(isUserAlreadyAuthenticated(R"(<td class="formText">  The user is already authenticated.)"));
  EXPECT_FALSE(isUserAlreadyAuthenticated(R"(The user is already authenticated<td class="formText">)"));
}

}  // namespace
}  // namespace qz::wire
