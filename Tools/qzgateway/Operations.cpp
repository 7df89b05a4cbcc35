#include "Tools/qzgateway/Operations.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

namespace qzgateway {
namespace {

constexpr long kFailed = 12;
constexpr long kWrongArguments = 22;

struct Request {
  ITKSOAP& call;
  const Session& session;
  bool compressed;
};

std::string textOf(const char* text) { return text == nullptr ? "" : text; }

std::optional<std::int32_t> longArgument(ITKSOAP& call, long index) {
  const ITKBuffer* const buffer = call.getParamAt(index);
  std::int32_t value = 0;
  if (buffer == nullptr || buffer->getType() != ITKBufferType::DT_LONG || buffer->getLength() != sizeof value)
    return {};
  std::memcpy(&value, buffer->getBuffer(), sizeof value);
  return value;
}

ReplyPointer replyOf(const Request& request) { return answer(request.call, request.session, request.compressed); }

ReplyPointer serverError(const Request& request, long code, const std::string& text) {
  request.call.setError(code, text.c_str());
  return replyOf(request);
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
  const std::string text = textOf(request.call.getParamText(1));
  return serverError(request, code, text.empty() ? "The operation failed, as it was asked to." : text);
}

ReplyPointer faultOnRequest(const Request& request) {
  const std::string text = textOf(request.call.getParamText(0));
  return fault(request.session, "Server", text.empty() ? "The demonstration failed on purpose." : text,
               "Nothing is wrong with the request.");
}

ReplyPointer askForLogon(const Request&) { return logonFault(); }

ReplyPointer page(const Request&) { return htmlPage("Demonstration gateway", "This page is no reply to a call."); }

struct Operation {
  std::string_view name;
  ReplyPointer (*run)(const Request&);
};

constexpr Operation kOperations[] = {
    {"echo", replyOf}, {"add", add}, {"fail", fail}, {"fault", faultOnRequest}, {"logon", askForLogon}, {"page", page},
};

}  // namespace

ReplyPointer run(ITKSOAP& call, const Session& session, bool compressed) {
  const std::string interfaceName = textOf(call.getInterfaceName());
  const std::string method = textOf(call.getMethodName());
  if (interfaceName != "Demo")
    return fault(session, "Client", "There is no interface '" + interfaceName + "'; this gateway has 'Demo'.", "");
  for (const Operation& operation : kOperations)
    if (operation.name == method) return operation.run({call, session, compressed});
  return fault(session, "Client", "The interface Demo has no operation '" + method + "'.",
               "It has echo, add, fail, fault, logon and page.");
}

}  // namespace qzgateway
