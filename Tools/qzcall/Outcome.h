// What came of a call.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ITKRTT.h"
#include "Tools/qzcall/Values.h"

namespace qzcall {

/// The outcome of one call. Texts are UTF-8 as they came over the wire.
struct Outcome {
  using Arguments = std::vector<Argument>;
  using Pairs = std::vector<std::pair<std::string, std::string>>;

  long result = 0;
  long errorCode = 0;
  long errorSubCode = 0;
  std::string errorText;
  std::string interfaceName;
  std::string methodName;
  std::string objectHandle;
  Arguments arguments;  ///< their bytes belong to `reply`
  ITKRTT token;         ///< the session, with what the reply added to it
  Pairs userPreferences;
  std::shared_ptr<const void> reply;  ///< the call object that received the reply
};

/// Names and values of the token's cookies.
Outcome::Pairs cookiesOf(const ITKRTT& token);

/// The outcome of a call that got no reply within `seconds`.
Outcome timedOut(long seconds);

/// The exit code that stands for the result of an invoke.
int exitCodeOf(long result);

}  // namespace qzcall
