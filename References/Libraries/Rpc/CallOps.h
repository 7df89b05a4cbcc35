// What a call object does with its fields, once for both faces.
#pragma once

#include <algorithm>
#include <memory>
#include <source_location>
#include <utility>

#include "CallState.h"
#include "QzTypes.h"
#include "References/Common/Ascii.h"
#include "References/Common/Number.h"
#include "References/Libraries/Log/ToolkitSettings.h"
#include "References/Libraries/Rpc/Layer.h"

namespace qz::rpc {

/// Operations over the fields of one face's call object. `source` is the path under which that class logs. Nothing is
/// thrown but std::bad_alloc. A face's OwnBuffer is built from nothing, or from its size and its type.
template <Layer L>
struct CallOps {
  using State = CallState<typename L::OwnBuffer, typename L::OwnBufferList, typename L::OwnError>;
  using Place = std::source_location;

  /// The values that a constructor was given; null texts and token mean empty ones.
  struct Initial {
    const char* interfaceName;
    const char* methodName;
    int keepAlive;
    const char* objectHandle;
    const char* relayHeader;
    const ITKRTT* token;
    long timeoutLimit;
  };

  /// Takes the values; false when memory was too short for one of them, which is then empty.
  static bool construct(State& call, const Initial& values) {
    const int taken = takeText(call.interfaceName, values.interfaceName) &
                      takeText(call.methodName, values.methodName) & takeText(call.objectHandle, values.objectHandle) &
                      takeText(call.relayHeader, values.relayHeader);
    if (values.token != nullptr) call.token = *values.token;
    call.keepAlive = values.keepAlive;
    call.timeoutLimit = values.timeoutLimit;
    // The toolkit's ini file, in both faces.
    const bool plain = log::toolkitSettings().getIniKeyInt("NoCompression", 0, "R7ITK Common", nullptr) != 0;
    call.compressParams = plain ? 0 : 1;
    return taken != 0 && (values.token == nullptr || call.token == *values.token);
  }

  /// Assigns and tells whether the stored text is not empty.
  static int setText(ITKString& field, const char* text) {
    field = text;
    return field.isEmpty() ? 0 : 1;
  }

  /// Assigns decimal text; null or empty means 0.
  static void setNumber(long& field, const char* text) { field = parseLong(viewOf(text)); }

  static const char* textOrNull(const ITKString& field) { return field.isEmpty() ? nullptr : field.c_str(); }

  static int setGatewayURL(State& call, const char* text, const char* source, Place at = Place::current()) {
    if (viewOf(text).empty()) L::report(1, "setGatewayURL", source, "trying to set an empty URL", at);
    call.token.setURL(text);
    return 1;
  }

  static int setSoapAction(State& call, const char* text, const char* source, Place at = Place::current()) {
    if (viewOf(text).empty()) L::report(1, "setSoapAction", source, "trying to set an empty SOAP action", at);
    call.soapAction = text;
    return 1;
  }

  static int setPassportId(State& call, const char* text) {
    call.token.setPassportID(text);
    return call.token.isEmpty() ? 0 : 1;
  }

  /// Index of the appended buffer, or -1.
  static long addParam(State& call, unsigned char type, const void* data, long length) {
    auto buffer = makeBuffer(type, data, length);
    if (!buffer) return -1;
    const long index = call.params.add(buffer.get());
    if (index >= 0) static_cast<void>(buffer.release());
    return index;
  }

  /// The terminating zero is one of the bytes.
  static long addParamText(State& call, const char* text) {
    return addParam(call, ITKBufferType::DT_TEXT, text, static_cast<long>(viewOf(text).size()) + 1);
  }

  static int setParam(State& call, long index, unsigned char type, const void* data, long length) {
    auto buffer = makeBuffer(type, data, length);
    if (!buffer || call.params.setAt(index, buffer.get()) == 0) return 0;
    static_cast<void>(buffer.release());
    return 1;
  }

  static int getParam(const State& call, long index, unsigned char& type, unsigned char*& data, long& length) {
    const auto* buffer = call.params.getAt(index);
    if (buffer == nullptr) return 0;
    type = buffer->getType();
    data = buffer->getBuffer();
    length = buffer->getLength();
    return 1;
  }

  static const char* getParamText(const State& call, long index) {
    const auto* buffer = call.params.getAt(index);
    return buffer == nullptr || buffer->getType() != ITKBufferType::DT_TEXT ? nullptr : buffer->getStrBuffer();
  }

  static int parkParams(const State& call, typename L::Buffer& target, const char* source,
                        Place at = Place::current()) {
    if (call.params.serializeOut(&target, static_cast<int>(call.compressParams)) != 0) return 1;
    L::report(1, "parkParams", source, "Failed to serialize out parameters", at);
    return 0;
  }

  static int unparkParams(State& call, const typename L::Buffer& stream, const char* source,
                          Place at = Place::current()) {
    if (call.params.serializeIn(&stream) != 0) return 1;
    L::report(1, "unparkParams", source, "Failed to serialize in parameters", at);
    return 0;
  }

  static int setUserPreference(State& call, const char* name, const char* value) {
    const auto length = static_cast<long>(viewOf(value).size());
    if (name == nullptr || length == 0) return 0;
    if (auto* known = preference(call, name)) {
      known->write(value, true);
      return known->getLength() == length ? 1 : 0;
    }
    auto buffer = std::make_unique<typename L::OwnBuffer>();
    buffer->write(value, true);
    if (buffer->getLength() != length || call.userPreferences.set(name, buffer.get()) == 0) return 0;
    static_cast<void>(buffer.release());
    return 1;
  }

  static const char* getUserPreference(const State& call, const char* name) {
    const auto* value = name == nullptr ? nullptr : preference(call, name);
    return value == nullptr ? nullptr : value->getStrBuffer();
  }

  static int getUserPreferenceNames(const State& call, typename L::BufferList& names) {
    names.removeAll();
    for (long i = 0; i < call.userPreferences.getCount(); ++i) names.add(call.userPreferences.getKeyAt(i));
    return names.getCount() > 0 ? 1 : 0;
  }

  static void setReturnCode(State& call, const char* text) {
    if (!viewOf(text).empty()) call.error.addError(parseLong(text), nullptr);
  }

  /// The parameter-count checksum stays: it belongs to the reply that this object was read from. 0 when memory was too
  /// short for a part.
  static int copy(State& to, const State& from, int withParams) {
    if (&to == &from) return 1;
    to.params.removeAll();
    if (withParams != 0 && to.params.copy(from.params) == 0) return 0;
    to.interfaceName = from.interfaceName;
    to.methodName = from.methodName;
    to.objectHandle = from.objectHandle;
    to.relayHeader = from.relayHeader;
    to.token = from.token;
    to.keepAlive = from.keepAlive;
    to.error.copy(from.error);
    to.timeoutLimit = from.timeoutLimit;
    to.asyncMode = from.asyncMode;
    to.timeInterval = from.timeInterval;
    to.soapAction = from.soapAction;
    to.compressParams = from.compressParams;
    return copyUserPreferences(to, from) && to.token == from.token ? 1 : 0;
  }

 private:
  using BufferOwner = std::unique_ptr<typename L::OwnBuffer>;

  // Assigns; 1 when memory sufficed.
  static int takeText(ITKString& field, const char* text) {
    field = text;
    return field.getLength() == static_cast<long>(viewOf(text).size()) ? 1 : 0;
  }

  // Null when the buffer refused the bytes or memory was short, which the buffer has logged.
  static BufferOwner makeBuffer(unsigned char type, const void* data, long length) {
    auto buffer = std::make_unique<typename L::OwnBuffer>(std::max(length, 0L), type);
    buffer->write(data, length);
    return buffer->getLength() == length ? std::move(buffer) : nullptr;
  }

  static typename L::OwnBuffer* preference(const State& call, const char* name) {
    return static_cast<typename L::OwnBuffer*>(call.userPreferences.find(name));
  }

  static bool copyUserPreferences(State& to, const State& from) {
    to.userPreferences.removeAll();
    for (long i = 0; i < from.userPreferences.getCount(); ++i) {
      const char* name = from.userPreferences.getKeyAt(i);
      const char* value = getUserPreference(from, name);
      if (!viewOf(value).empty() && setUserPreference(to, name, value) == 0) return false;
    }
    return true;
  }
};

}  // namespace qz::rpc
