#include "Tools/qzgateway/Listing.h"

#include "Tools/qzcall/Text.h"

namespace qzgateway {
namespace {

constexpr std::size_t kMostOfAText = 60;

std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

std::string quoted(const std::string& text) { return "'" + qzcall::forTerminal(text, kMostOfAText) + "'"; }

/// The forms of answers in a few words.
struct Describing {
  std::string operator()(const ArgumentsAnswer& arguments) const { return counted(arguments.size(), "argument"); }
  std::string operator()(const ErrorAnswer& error) const {
    return "error " + std::to_string(error.code) + " " + quoted(error.text);
  }
  std::string operator()(const FaultAnswer& fault) const {
    return (fault.isLogon ? "fault that asks for a logon " : "fault " + fault.code + " ") + quoted(fault.text);
  }
  std::string operator()(const PageAnswer& page) const {
    return "page with the status " + std::to_string(page.status) + ", " + counted(page.body.size(), "byte");
  }
  std::string operator()(const NoAnswer&) const { return "no reply, the connection ends"; }
};

std::string conditionsOf(const CallPattern& pattern) {
  std::string out = pattern.interfaceName + "." + pattern.method;
  if (pattern.arguments)
    out += pattern.arguments->isMoreAllowed ? " with certain arguments and more" : " with certain arguments";
  if (pattern.call) out += ", call " + std::to_string(*pattern.call);
  if (pattern.times) out += ", " + counted(static_cast<std::size_t>(*pattern.times), "time");
  return qzcall::forTerminal(out, 2 * kMostOfAText);
}

std::string describe(const Answer& answer) {
  std::string out = std::visit(Describing(), answer.form);
  if (answer.polls > 0) out += ", after " + counted(static_cast<std::size_t>(answer.polls), "poll");
  if (answer.delay.count() > 0) out += ", delayed by " + number(answer.delay.count()) + " s";
  if (answer.truncateAt) out += ", cut at byte " + std::to_string(*answer.truncateAt);
  if (!answer.cookies.empty()) out += ", " + counted(answer.cookies.size(), "cookie");
  return out;
}

}  // namespace

std::string builtIns() {
  return "Operations of the interface Demo:\n"
         "  echo ...                the arguments, as they came\n"
         "  add LONG LONG           their sum\n"
         "  fail [LONG [TEXT]]      a server error with this code and text\n"
         "  fault [TEXT]            a SOAP fault\n"
         "  wait SECONDS [OUTCOME]  takes its time, as a conversation where the caller takes it so; OUTCOME is\n"
         "                          done, fail, fault, never (until cancelled) or stubborn (even then)\n"
         "  logon                   a SOAP fault that asks for a logon\n"
         "  page                    an HTML page instead of a reply\n"
         "\n"
         "Pages of the portal, under the same URL:\n"
         "  ?b_action=xts.run&m=portal/close.xts                        the portal and its firewall context\n"
         "  ?b_action=xts.run&m=portal/close.xts&h_ZOT_action=logon     logs a user on\n"
         "  ?b_action=xts.run&m=portal/close.xts&h_ZOT_action=logonAs   goes on as another user\n"
         "  ?b_action=xts.run&m=portal/logoff.xts&h_ZOT_action=logoff   logs off (POST)\n";
}

std::string rulesOf(const Script& script) {
  std::string out = "Rules of the script:\n";
  for (std::size_t i = 0; i < script.rules.size(); ++i) {
    const Rule& rule = script.rules[i];
    out += "  " + std::to_string(i + 1) + "  " + (rule.name.empty() ? "" : quoted(rule.name) + ": ") +
           conditionsOf(rule.pattern) + " -> " + describe(rule.answer) + "\n";
  }
  return out + "Calls that no rule is for get " + (script.isRestBuiltIn ? "the built-in operations" : "a fault") +
         ".\n";
}

}  // namespace qzgateway
