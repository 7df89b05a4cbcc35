// One exchange of a report: what it was about, and its tree for the page.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qzcall {

/// What the messages of an exchange say of their call. Texts are as they came, and may hold anything.
struct ExchangeFacts {
  bool hasReply = false;
  std::string url;     ///< of a plain request
  std::string action;  ///< SOAP action
  std::string interfaceName;
  std::string methodName;
  std::string requestHandle;  ///< object handle of the request
  std::string replyHandle;
  std::string boundary;  ///< of the request; holds the time
  long httpStatus = 0;   ///< 0: none
  long errorCode = 0;    ///< the server's own error
  std::string errorText;
  bool isFault = false;
  bool isWorking = false;  ///< the conversation goes on
};

struct ExchangeTree {
  ExchangeFacts facts;
  std::string json;  ///< tree, safe inside of a script element
};

/// Takes a request and its reply apart, each with its banner as a dump file has it; what is missing is empty. Places
/// count from the beginning of each. Long values and large trees are cut, with a note.
ExchangeTree treeOfExchange(std::string_view request, std::string_view reply);

}  // namespace qzcall
