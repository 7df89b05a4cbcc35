// The traits that tell an engine template which face it works for.
#pragma once

#include <concepts>
#include <source_location>
#include <string_view>

namespace qz::rpc {

/// What a face provides to the object templates. `X` is the type in signatures, `OwnX` one that can be constructed (the
/// same in the toolkit; the flat face has abstract interfaces with implementations behind them). Every difference
/// between the faces is a named member of the traits, beside these.
template <class L>
concept Layer = requires(long level, const char* literal, std::string_view text, std::source_location at) {
  typename L::Buffer;
  typename L::OwnBuffer;
  typename L::BufferList;
  typename L::OwnBufferList;
  typename L::Error;
  typename L::OwnError;
  typename L::Call;
  typename L::OwnCall;
  { L::traceLevel() } -> std::convertible_to<int>;
  /// Writes one line to the face's log: level, operation name, source path, message, place.
  L::report(level, literal, literal, text, at);
};

}  // namespace qz::rpc
