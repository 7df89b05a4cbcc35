// How operations of the flat face stop exceptions.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <source_location>
#include <utility>

#include "CqzES.h"
#include "References/Libraries/Log/logHelperImpl.h"

namespace qz::flat {

using qz::kNullArgument;

/// Runs `body` and returns its result. Whatever it throws is reported under the operation's name and the caller's line,
/// and `failure` is returned.
template <class Result, class Body>
Result guarded(const char* source, const char* operation, Result failure, Body&& body,
               std::source_location at = std::source_location::current()) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    reportCaught(source, operation, static_cast<long>(at.line()));
  }
  return failure;
}

/// Reports at level 1 and returns `failure`.
template <class Result>
Result refuse(const char* source, const char* operation, const char* message, Result failure,
              std::source_location at = std::source_location::current()) noexcept {
  reportText(CqzLog::Error, source, operation, static_cast<long>(at.line()), message);
  return failure;
}

/// guarded() for an operation that cannot do without `objects`: null among them is refused.
template <class Result, class Body>
Result checked(const char* source, const char* operation, Result failure, std::initializer_list<const void*> objects,
               Body&& body, std::source_location at = std::source_location::current()) noexcept {
  if (std::find(objects.begin(), objects.end(), nullptr) != objects.end())
    return refuse(source, operation, kNullArgument, failure, at);
  return guarded(source, operation, failure, std::forward<Body>(body), at);
}

}  // namespace qz::flat
