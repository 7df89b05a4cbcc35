// The fields of a message's inner body, and what they become in a call.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "References/Common/Ascii.h"
#include "References/Common/Number.h"
#include "References/Libraries/Wire/TypedArgument.h"

namespace qz::rpc {

/// What an inner body says; a missing element counts as empty or 0.
struct RelayFields {
  std::string className;
  std::string methodName;
  std::string objectHandle;
  std::string numArguments;
  long keepAlive = 0;
  long errorCode = 0;
  std::optional<std::string> errorText;  ///< looked for only with an error code that is not 0
  long timeout = 0;
  long asyncMode = 0;
  long timeInterval = 0;
  std::vector<wire::TypedArgument> arguments;
};

/// Reads the table of fields in its order.
/// @param find returns the text of the element with a name as std::optional<std::string>
template <class Find>
RelayFields readRelayFields(Find&& find) {
  const auto text = [&](std::string_view name) { return find(name).value_or(std::string()); };
  const auto number = [&](std::string_view name) { return parseLong(text(name)); };
  RelayFields fields;
  fields.className = text("className");
  fields.methodName = text("methodName");
  fields.objectHandle = text("objectHandle");
  fields.numArguments = text("numArguments");
  fields.keepAlive = number("keepAlive");
  fields.errorCode = number("errorCode");
  if (fields.errorCode != 0) fields.errorText = find("errorText");
  fields.timeout = number("timeout");
  fields.asyncMode = number("asyncMode");
  fields.timeInterval = number("timeInterval");
  return fields;
}

/// Whether a call or token holds the text that it was given. What sets a text only logs that memory is short for it.
inline bool holds(const char* stored, std::string_view text) { return viewOf(stored) == text; }

/// Stores the fields in a call; arguments are appended to its parameters. False when memory is short for some of it.
template <class Call>
bool storeRelayFields(const RelayFields& fields, Call& call) {
  call.setInterfaceName(fields.className.c_str());
  call.setMethodName(fields.methodName.c_str());
  call.setObjectHandle(fields.objectHandle.c_str());
  call.setNumParamsChecksum(fields.numArguments.c_str());
  call.setKeepAlive(static_cast<int>(fields.keepAlive));
  call.getError().setErrorCode(fields.errorCode);
  bool whole = holds(call.getInterfaceName(), fields.className) && holds(call.getMethodName(), fields.methodName) &&
               holds(call.getObjectHandle(), fields.objectHandle);
  if (fields.errorText) {
    call.getError().addError(fields.errorText->c_str());
    whole = whole && viewOf(call.getError().getErrorText()).ends_with(*fields.errorText + "\r\n");
  }
  call.setTimeoutLimit(fields.timeout);
  call.setAsyncMode(fields.asyncMode);
  call.setTimeInterval(fields.timeInterval);
  return whole && std::ranges::all_of(fields.arguments, [&](const wire::TypedArgument& argument) {
           return call.addParam(argument.type, argument.bytes.data(), static_cast<long>(argument.bytes.size())) >= 0;
         });
}

}  // namespace qz::rpc
