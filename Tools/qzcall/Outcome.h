// What came of a call, and how it is shown.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Tools/qzcall/Text.h"

namespace qzcall {

/// One output argument. Its bytes belong to the call object or list that it was taken from.
struct OutputArgument {
  unsigned char type;
  Bytes bytes;
};

/// The outcome of one call; texts are UTF-8 as they came over the wire, arguments point into the call object.
struct Outcome {
  using Pairs = std::vector<std::pair<std::string, std::string>>;

  long result = 0;
  long errorCode = 0;
  long errorSubCode = 0;
  std::string errorText;
  std::string interfaceName;
  std::string methodName;
  std::string objectHandle;
  std::vector<OutputArgument> arguments;
  std::string passport;
  std::string pryContext;
  Pairs cookies;
  Pairs userPreferences;
};

/// The exit code that stands for the result of an invoke.
int exitCodeOf(long result);

/// One JSON object with a line end.
std::string toJson(const Outcome& outcome);

/// A table for a person, with control characters made visible.
std::string toTable(const Outcome& outcome);

}  // namespace qzcall
