// Operations on the fields of an error object, for the error objects of both faces.
#pragma once

#include <array>
#include <string_view>

#include "QzTypes.h"
#include "References/Libraries/Rpc/BufferListOps.h"

namespace qz::rpc {

/// Operations on SoapErrorState. Beside what BufferListOps needs, `L` has
/// - `soapErrorSource`: source path for log lines
/// - `noError`: the code that means no error
/// - `errorCodeReplaced(before, now)`: told of every change of the code, before it is made
///
/// Texts may be null, then nothing is appended, and may be parts of the object itself.
template <Layer L>
struct SoapErrorOps {
  using Buffer = typename L::Buffer;
  using OwnBuffer = typename L::OwnBuffer;
  using Error = SoapErrorState<OwnBuffer>;
  using Lists = BufferListOps<L>;

  /// The fields of a new object.
  static void initialize(Error& error) { error.text.reset(1, ITKBufferType::DT_TEXT); }

  /// Code 0, sub-code 0, no text; returns 0.
  static long clear(Error& error) {
    error.errorSubCode = 0;
    initialize(error);
    return setCode(error, L::noError);
  }

  /// Takes all three fields.
  static void copy(Error& error, const Error& other) {
    if (&error == &other) return;
    setCode(error, other.errorCode);
    error.errorSubCode = other.errorSubCode;
    error.text.copy(other.text);
  }

  /// True when there is a code, or more text than the rest of a line.
  static bool isError(const Error& error) { return error.errorCode != L::noError || error.text.getLength() >= 2; }

  /// The text, or null when there is no error.
  static const char* text(const Error& error) { return isError(error) ? error.text.getStrBuffer() : nullptr; }

  /// Sets and returns the code.
  static long setCode(Error& error, long code) {
    L::errorCodeReplaced(error.errorCode, code);
    return error.errorCode = code;
  }

  /// Sets the code and replaces the text; returns the code.
  static long set(Error& error, long code, const char* text) {
    setCode(error, code);
    error.text.write(text, true);
    return code;
  }

  /// The same with the sub-code.
  static long set(Error& error, long code, long subCode, const char* text) {
    error.errorSubCode = subCode;
    return set(error, code, text);
  }

  /// Appends a line; returns the code.
  static long add(Error& error, const char* text) {
    error.text.write(text, false);
    endLine(error.text, {});
    return error.errorCode;
  }

  /// Sets the code and appends a line; returns the code.
  static long add(Error& error, long code, const char* text) {
    setCode(error, code);
    return add(error, text);
  }

  /// Replaces the text by `text` and the text of `other`, if that is an error, as one line; returns the code.
  static long add(Error& error, const Error& other, const char* text) {
    OwnBuffer line;
    line.write(text, true);
    endLine(line, textOf(other));
    L::move(error.text, line);
    return error.errorCode;
  }

  /// Sets the code and appends `text` and the text of `other`, if that is an error, as one line; returns the code.
  static long add(Error& error, const Error& other, long code, const char* text) {
    // The other object may be this one: what it says now stays in front of what is appended.
    const auto tail = textOf(other).size();
    setCode(error, code);
    error.text.write(text, false);
    endLine(error.text, messageIn(other.text).substr(0, tail));
    return code;
  }

  /// Sets the code and appends the text, without a line end, when the code is not 0; whether it is not.
  static int check(Error& error, long code, const char* text) {
    setCode(error, code);
    if (code == L::noError) return 0;
    error.text.write(text, false);
    return 1;
  }

  /// Writes code and text as a list of two elements; 1 or 0. `out` must not be the text.
  static int serializeOut(const Error& error, Buffer& out, int level) {
    std::array<std::byte, 4> code;
    storeLittle32(code.data(), static_cast<std::uint32_t>(error.errorCode));
    const std::array<wire::ElementView, 2> elements{
        {{ITKBufferType::DT_BINARY, code}, {ITKBufferType::DT_TEXT, contentOf(error.text)}}};
    if (level == 0) return writeListStream(out, elements);
    OwnBuffer stream;
    return writeListStream(stream, elements) && L::compress(stream, out, level);
  }

  /// Takes code and text from such a list; 1, or 0 with the object unchanged.
  static int serializeIn(Error& error, const Buffer& in) {
    OwnBuffer scratch;
    const auto stream = Lists::openStream(in, scratch);
    const bool fits = stream && stream->count() >= 2 && stream->at(0).bytes.size() >= 4;
    const auto text = fits ? Lists::makeBuffer(stream->at(1).type, stream->at(1).bytes) : nullptr;
    if (text == nullptr) {
      L::report(kError, "serializeIn", L::soapErrorSource, "failed to serialize the incoming stream");
      return 0;
    }
    setCode(error, static_cast<std::int32_t>(loadLittle32(stream->at(0).bytes.data())));
    L::move(error.text, *text);
    return 1;
  }

 private:
  static std::string_view textOf(const Error& error) {
    return isError(error) ? messageIn(error.text) : std::string_view();
  }

  static void endLine(OwnBuffer& text, std::string_view tail) {
    if (!tail.empty()) text.write(static_cast<const void*>(tail.data()), static_cast<long>(tail.size()));
    text.write("\r\n", false);
  }
};

}  // namespace qz::rpc
