#include "Tools/qzgateway/Operations.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

#include "Tools/qzgateway/WaitOperation.h"

namespace qzgateway {
namespace {

std::optional<std::int32_t> longArgument(ITKSOAP& call, long index) {
  const ITKBuffer* const buffer = call.getParamAt(index);
  std::int32_t value = 0;
  if (buffer == nullptr || buffer->getType() != ITKBufferType::DT_LONG || buffer->getLength() != sizeof value)
    return {};
  std::memcpy(&value, buffer->getBuffer(), sizeof value);
  return value;
}

ReplyPointer add(const Request& request) {
  const auto a = longArgument(request.call, 0);
  const auto b = longArgument(request.call, 1);
  if (!a || !b || request.call.getNumParams() != 2)
    return serverError(request, kWrongArguments, "add takes two arguments of type long");
  const std::int64_t sum = std::int64_t{*a} + *b;
  const auto result = static_cast<std::int32_t>(sum);
  if (result != sum) return serverError(request, kWrongArguments, "the sum " + std::to_string(sum) + " is no long");
  request.call.getListParams().removeAll();
  request.call.addParam(ITKBufferType::DT_LONG, &result, sizeof result);
  return replyOf(request);
}

ReplyPointer fail(const Request& request) {
  const long code = request.call.getNumParams() == 0 ? kFailed : longArgument(request.call, 0).value_or(0);
  if (code == 0) return serverError(request, kWrongArguments, "fail takes an error code other than 0, type long");
  return failureOnRequest(request, code, textOf(request.call.getParamText(1)));
}

ReplyPointer failWithFault(const Request& request) {
  return faultOnRequest(request, textOf(request.call.getParamText(0)));
}

ReplyPointer askForLogon(const Request&) { return logonFault(); }

ReplyPointer page(const Request&) {
  return htmlPage("Demonstration gateway", "<p>This page is no reply to a call.</p>");
}

struct Operation {
  std::string_view name;
  ReplyPointer (*run)(const Request&);
};

constexpr Operation kOperations[] = {
    {"echo", replyOf}, {"add", add}, {"fail", fail}, {"fault", failWithFault}, {"logon", askForLogon}, {"page", page},
};

}  // namespace

std::string textOf(const char* text) { return text == nullptr ? "" : text; }

ReplyPointer replyOf(const Request& request) { return answer(request.call, request.session, request.compressed); }

ReplyPointer serverError(const Request& request, long code, const std::string& text) {
  request.call.setError(code, text.c_str());
  return replyOf(request);
}

ReplyPointer failureOnRequest(const Request& request, long code, const std::string& text) {
  return serverError(request, code, text.empty() ? "The operation failed, as it was asked to." : text);
}

ReplyPointer faultOnRequest(const Request& request, const std::string& text) {
  return fault(request.session, "Server", text.empty() ? "The demonstration failed on purpose." : text,
               "Nothing is wrong with the request.");
}

ReplyPointer stillWorking(const Request& request, const std::string& id) {
  request.call.getListParams().removeAll();
  request.call.setObjectHandle(id.c_str());
  return answer(request.call, request.session, request.compressed, Status::kWorking);
}

ReplyPointer cancelled(const Request& request) {
  return serverError(request, kCancelled, "The operation was cancelled.");
}

ReplyPointer run(const Request& request, const Surroundings& surroundings) {
  const std::string interfaceName = textOf(request.call.getInterfaceName());
  const std::string method = textOf(request.call.getMethodName());
  if (interfaceName != "Demo")
    return fault(request.session, "Client", "There is no interface '" + interfaceName + "'; this gateway has 'Demo'.",
                 "");
  if (method == "wait") return waitAWhile(request, surroundings);
  for (const Operation& operation : kOperations)
    if (operation.name == method) return operation.run(request);
  return fault(request.session, "Client", "The interface Demo has no operation '" + method + "'.",
               "It has echo, add, fail, fault, wait, logon and page.");
}

}  // namespace qzgateway
