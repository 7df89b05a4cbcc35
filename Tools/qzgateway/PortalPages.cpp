#include "Tools/qzgateway/PortalPages.h"

namespace qzgateway {
namespace {

constexpr char kTitle[] = "Demonstration portal";

std::string input(const char* type, const char* name, const std::string& value) {
  return "<input type=\"" + std::string(type) + "\" name=\"" + name + "\" value=\"" + escapeXml(value) + "\">\n";
}

std::string row(const char* label, const std::string& field) {
  return "<tr><td class=\"formText\">" + std::string(label) + "</td><td>" + field + "</td></tr>\n";
}

// Clients look for the beginnings of these tags as they stand here, order and spaces included.
std::string namespaceField(const std::vector<Namespace>& namespaces) {
  if (namespaces.size() == 1)
    return input("hidden", "ZOTNamespace", namespaces[0].id) +
           input("hidden", "ZOTNamespaceDisplayName", namespaces[0].displayName);
  std::string options;
  for (const Namespace& known : namespaces)
    options += "<option value=\"" + known.id + "\">" + escapeXml(known.displayName) + "</option>\n";
  return "<table>\n" + row("Namespace:", "<select name=\"ZOTNamespace\" size=\"1\">\n" + options + "</select>") +
         "</table>\n";
}

std::string logonForm(const LogonPage& page, const std::vector<Namespace>& namespaces) {
  return "<form method=\"post\" accept-charset=\"UTF-8\" "
         "action=\"?b_action=xts.run&amp;m=portal/close.xts&amp;h_ZOT_action=" +
         page.action + "\">\n" + namespaceField(namespaces) + "<table>\n" +
         row("User name:", input("text", "ZOTUsername", page.user)) +
         row("Password:", input("password", "ZOTPassword", "")) + "</table>\n" +
         input("hidden", "h_ZOT_action", page.action) + input("hidden", "o_ui.compid", page.componentId) +
         "<button type=\"submit\">Log on</button>\n</form>";
}

std::string message(const std::string& text) { return "<p class=\"formText\">" + escapeXml(text) + "</p>"; }

constexpr char kLogoffForm[] =
    "\n<form method=\"post\" action=\"?b_action=xts.run&amp;m=portal/logoff.xts&amp;h_ZOT_action=logoff\">\n"
    "<button type=\"submit\">Log off</button>\n</form>";

}  // namespace

ReplyPointer logonPage(const LogonPage& page, const std::vector<Namespace>& namespaces) {
  const std::string complaint = page.complaint.empty() ? "" : message(page.complaint) + "\n";
  return htmlPage(kTitle, complaint + logonForm(page, namespaces));
}

ReplyPointer loggedOnPage(const std::string& user) {
  return htmlPage(kTitle, message("You are logged on as " + user + ".") + kLogoffForm);
}

ReplyPointer alreadyAuthenticatedPage(const std::string& user) {
  return htmlPage(kTitle, message("The user is already authenticated: " + user + ".") + kLogoffForm);
}

ReplyPointer contextPage(const std::string& context) {
  return htmlPage(kTitle, "<script>\nvar pryContextId = \"" + context + "\";\n</script>\n" +
                              message("This is the demonstration portal.") + kLogoffForm);
}

ReplyPointer loggedOffPage() { return htmlPage(kTitle, message("You are logged off.")); }

}  // namespace qzgateway
