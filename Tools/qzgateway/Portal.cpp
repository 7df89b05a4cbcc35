#include "Tools/qzgateway/Portal.h"

#include "Tools/qzgateway/PortalPages.h"
#include "Tools/qzgateway/RandomId.h"

namespace qzgateway {
namespace {

constexpr std::string_view kAction = "h_ZOT_action";
constexpr std::string_view kLogon = "logon";
constexpr std::string_view kLogonAs = "logonAs";

Served refused(int status, const std::string& reason) { return {refusal(status, reason), "portal: " + reason}; }

Served served(ReplyPointer reply, const std::string& summary) { return {std::move(reply), "portal: " + summary}; }

std::string text(const Fields& fields, std::string_view name) { return std::string(fieldIn(fields, name)); }

std::string nameOf(const PortalSession& session) { return "'" + session.user + "' of '" + session.nameSpace + "'"; }

}  // namespace

bool Portal::isAskedBy(std::string_view query) { return ("&" + std::string(query)).find("&b_action=") != query.npos; }

Served Portal::serve(const HttpRequest& request) {
  const auto query = decodeFields(request.query);
  if (!query) return refused(400, "the query is damaged: " + query.error());
  const std::string passport = cookieIn(request.cookies, "zot_passport");
  const std::string_view page = fieldIn(*query, "m");
  const std::string_view action = fieldIn(*query, kAction);
  if (page == "portal/logoff.xts")
    return request.isPost ? logoff(passport) : refused(405, "the portal logs off when it is posted to");
  if (page != "portal/close.xts" || !(action.empty() || action == kLogon || action == kLogonAs))
    return refused(404, "there is no such page");
  if (!request.isPost) return openPage(*query, passport);
  if (action.empty()) return refused(405, "this page takes no form");
  const auto form = decodeFields(request.body);
  if (!form) return refused(400, "the form is damaged: " + form.error());
  return logon(*form, action == kLogonAs, passport);
}

Served Portal::openPage(const Fields& query, const std::string& passport) {
  return fieldIn(query, kAction).empty() ? context(query, passport) : askForLogon(query);
}

// A session without a user, which calls may begin, has no context.
Served Portal::context(const Fields& query, const std::string& passport) {
  if (const auto session = sessions_.find(passport))
    return served(contextPage(session->session.context), "context of " + nameOf(*session));
  if (passport.empty() || !sessions_.accepts(passport)) return askForLogon(query);
  return served(contextPage(""), "no context, there is no user");
}

Served Portal::askForLogon(const Fields& query) {
  const std::string_view action = fieldIn(query, kAction);
  LogonPage page{std::string(action.empty() ? kLogon : action), text(query, "ui.compid"), "", ""};
  ReplyPointer reply = logonPage(page, accounts_.namespaces());
  reply->cookies = {"usersessionid=" + randomId() + "; path=/; HttpOnly"};
  return served(std::move(reply), "logon page");
}

std::string Portal::namespaceIn(const Fields& form) const {
  const std::string given = text(form, "ZOTNamespace");
  return given.empty() && accounts_.namespaces().size() == 1 ? accounts_.namespaces()[0].id : given;
}

std::string Portal::complaintAbout(const Fields& form, const std::string& nameSpace) const {
  if (nameSpace.empty()) return "Choose a namespace.";
  if (!accounts_.hasNamespace(nameSpace)) return "There is no such namespace.";
  if (!accounts_.isRight(fieldIn(form, "ZOTUsername"), fieldIn(form, "ZOTPassword"), nameSpace))
    return "The user name or the password is wrong.";
  return "";
}

Served Portal::logon(const Fields& form, bool isSwitch, const std::string& passport) {
  const std::string user = text(form, "ZOTUsername");
  const std::string nameSpace = namespaceIn(form);
  const auto current = isSwitch ? sessions_.find(passport) : std::nullopt;
  std::string complaint = complaintAbout(form, nameSpace);
  if (isSwitch && !current) complaint = "There is no session that another user could go on with. Log on first.";
  if (!complaint.empty()) {
    const LogonPage page{std::string(current ? kLogonAs : kLogon), text(form, "o_ui.compid"), user, complaint};
    return served(logonPage(page, accounts_.namespaces()), "logon of '" + user + "' refused: " + complaint);
  }
  if (current && current->user == user && current->nameSpace == nameSpace)
    return served(alreadyAuthenticatedPage(user), nameOf(*current) + " is logged on already");
  if (current) sessions_.end(passport);
  return begin(user, nameSpace);
}

Served Portal::begin(const std::string& user, const std::string& nameSpace) {
  const PortalSession session = sessions_.begin(user, nameSpace);
  ReplyPointer reply = loggedOnPage(user);
  reply->cookies = cookiesOf(session.session);
  return served(std::move(reply), "logon of " + nameOf(session));
}

Served Portal::logoff(const std::string& passport) {
  const auto session = sessions_.find(passport);
  sessions_.end(passport);
  ReplyPointer reply = loggedOffPage();
  for (const char* const name : {"zot_passport", "usersessionid"})
    reply->cookies.push_back(std::string(name) + "=; path=/; expires=Thu, 01-Jan-1970 00:00:00 GMT; HttpOnly");
  return served(std::move(reply), "logoff" + (session ? " of " + nameOf(*session) : ""));
}

}  // namespace qzgateway
