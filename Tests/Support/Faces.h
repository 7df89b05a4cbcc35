// The faces that behaviour suites run over: types, makers and the few words that differ.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ITKBuffer.h"
#include "ITKBufferList.h"
#include "ITKSOAP.h"
#include "ITKSOAPError.h"
#include "ITKes.h"
#include "Tests/Support/LogWatch.h"
#include "qzSOAP.h"

namespace qz::test {

/// Makes a face log more: one switch of its logs is on for as long as the object lives.
class LogSwitch {
 public:
  LogSwitch(QzSettings& settings, const char* section, const char* key)
      : settings_(settings), section_(section), key_(key) {
    set(1);
  }
  LogSwitch(const LogSwitch&) = delete;
  LogSwitch& operator=(const LogSwitch&) = delete;
  ~LogSwitch() { set(0); }

 private:
  void set(long value) {
    settings_.setIniKeyInt(key_, value, section_, nullptr);
    settings_.reInitialize();
  }

  QzSettings& settings_;
  const char *section_, *key_;
};

/// The toolkit classes.
struct ToolkitFace {
  using Buffer = ITKBuffer;
  using BufferList = ITKBufferList;
  using Error = ITKSOAPError;
  using Call = ITKSOAP;

  static auto makeBuffer() { return std::make_unique<ITKBuffer>(); }
  static auto makeList() { return std::make_unique<ITKBufferList>(); }
  static auto makeError() { return std::make_unique<ITKSOAPError>(); }
  template <class... Arguments>
  static auto makeCall(Arguments... arguments) {
    return std::make_unique<ITKSOAP>(arguments...);
  }
  /// An object as error objects and codecs take it.
  template <class T>
  static T& passed(T& object) {
    return object;
  }

  static LogWatch watchLog() { return LogWatch(getITKes().getLogFilePath()); }
  static LogSwitch logMore(const char* key) { return {getITKes(), "R7ITK Internal Tracing", key}; }
  /// How a message of an operation reads in the log.
  static std::string logged(const std::string& /*operation*/, const std::string& message) { return message + "\n"; }

  /// Frees the block of a buffer; the type stays.
  static void dropBlock(Buffer& buffer) { buffer.empty(); }
  static bool toFile(const Buffer& buffer, HANDLE file) { return buffer.toFile(file); }
  static bool fromFile(Buffer& buffer, HANDLE file) { return buffer.fromFile(file); }

  /// Zero bytes kept behind the capacity.
  static constexpr long hiddenBytes = 2;
  /// Capacity of a buffer that was reset to no size.
  static constexpr long capacityOfNothing = 0;
  /// Capacity beyond the text after writing it with a reset.
  static constexpr long roomBehindText = 1;
};

/// The flat objects, through the exported functions.
struct FlatFace {
  using Buffer = CqzBuffer;
  using BufferList = CqzBufferList;
  using Error = CqzSOAPError;
  using Call = CRpcSOAP;

  template <auto release>
  struct Release {
    void operator()(auto* object) const { release(object); }
  };
  template <class T, auto release>
  using Owner = std::unique_ptr<T, Release<release>>;

  static auto makeBuffer() { return Owner<Buffer, rpcSOAP_ReleaseBuffer>(rpcSOAP_CreateBuffer(0, DT_BINARY)); }
  static auto makeList() { return Owner<BufferList, rpcSOAP_ReleaseBufferList>(rpcSOAP_CreateBufferList()); }
  static auto makeError() { return Owner<Error, rpcSOAP_ReleaseError>(rpcSOAP_CreateError()); }
  template <class... Arguments>
  static auto makeCall(Arguments... arguments) {
    return Owner<Call, rpcSOAP_Release>(rpcSOAP_Create(arguments...));
  }
  template <class T>
  static T* passed(T& object) {
    return &object;
  }

  static LogWatch watchLog() {
    return LogWatch(rpcSOAP_GetES().getRenditionFolder() + std::string("\\Logs\\qzSOAP.log"));
  }
  static LogSwitch logMore(const char* key) { return {rpcSOAP_GetES(), "SOAP Internal Tracing", key}; }
  static std::string logged(const std::string& operation, const std::string& message) {
    return operation + ": " + message + "\n";
  }

  static void dropBlock(Buffer& buffer) { buffer.release(); }
  static bool toFile(const Buffer& buffer, HANDLE file) { return buffer.serializeToFile(file) == 1; }
  static bool fromFile(Buffer& buffer, HANDLE file) { return buffer.serializeFromFile(file) == 1; }

  static constexpr long hiddenBytes = 1;
  static constexpr long capacityOfNothing = 1024;
  static constexpr long roomBehindText = 0;

 private:
  static constexpr unsigned char DT_BINARY = ITKBufferType::DT_BINARY;
};

/// Both faces, for TYPED_TEST_SUITE.
using BothFaces = testing::Types<ToolkitFace, FlatFace>;

/// The content of a buffer of any face.
template <class Buffer>
std::string contentOf(const Buffer& buffer) {
  const auto* data = reinterpret_cast<const char*>(buffer.getBuffer());
  return data == nullptr ? std::string() : std::string(data, static_cast<std::size_t>(buffer.getLength()));
}

/// The elements of a list of any face, each with a bar behind it.
template <class List>
std::string elementsOf(const List& list) {
  std::string all;
  for (long i = 0; i < list.getCount(); ++i) all += contentOf(*list.getAt(i)) + "|";
  return all;
}

/// A suite over one face: makes objects that live until the test ends.
template <class Face>
class FaceTest : public testing::Test {
 public:
  using Buffer = typename Face::Buffer;
  using List = typename Face::BufferList;
  using Error = typename Face::Error;
  using Call = typename Face::Call;

  Buffer& buffer() { return keep(buffers_, Face::makeBuffer()); }
  /// One with these bytes.
  Buffer& buffer(std::string_view bytes, unsigned char type = ITKBufferType::DT_LIST) {
    auto& made = buffer();
    made.reset(static_cast<long>(bytes.size()), type);
    made.write(static_cast<const void*>(bytes.data()), static_cast<long>(bytes.size()));
    return made;
  }
  List& list() { return keep(lists_, Face::makeList()); }
  Error& error() { return keep(errors_, Face::makeError()); }
  Call& call() { return call("", "", 0, "", "", static_cast<const ITKRTT*>(nullptr), 0L); }
  template <class... Arguments>
  Call& call(Arguments... sevenArguments) {
    return keep(calls_, Face::makeCall(sevenArguments...));
  }

 private:
  template <class Owner>
  static auto& keep(std::vector<Owner>& owners, Owner made) {
    owners.push_back(std::move(made));
    return *owners.back();
  }

  std::vector<decltype(Face::makeBuffer())> buffers_;
  std::vector<decltype(Face::makeList())> lists_;
  std::vector<decltype(Face::makeError())> errors_;
  std::vector<decltype(Face::makeCall("", "", 0, "", "", static_cast<const ITKRTT*>(nullptr), 0L))> calls_;
};

}  // namespace qz::test
