// A copy of the library, used as by a host that knows it by name only.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <string_view>

#include "qzSOAP.h"

namespace qz::test {

/// Loaded as long as the object lives.
class LoadedLibrary {
 public:
  explicit LoadedLibrary(const std::string& path) : module_(LoadLibraryA(path.c_str())) {
    EXPECT_NE(module_, nullptr) << path << ": error " << GetLastError();
  }
  ~LoadedLibrary() { EXPECT_TRUE(FreeLibrary(module_)); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  template <class Function, class... Arguments>
  auto call(const char* name, Arguments... arguments) const {
    const auto function = reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    return function(arguments...);
  }

  bool initialize() const { return call<decltype(rpcSOAPInitialize)>("rpcSOAPInitialize"); }
  long terminate() const { return call<decltype(rpcSOAPTerminate)>("rpcSOAPTerminate"); }

  /// What comes back from compressing and restoring `content` in one buffer; says which of the two failed.
  std::string roundTrip(std::string_view content) const {
    auto* buffer = call<decltype(rpcSOAP_CreateBuffer)>("rpcSOAP_CreateBuffer", 0, ITKBufferType::DT_BINARY);
    buffer->write(static_cast<const void*>(content.data()), static_cast<long>(content.size()));
    std::string out = "(not restored)";
    if (call<decltype(rpcSOAPCompress)>("rpcSOAPCompress", buffer, buffer, 1) != 1)
      out = "(not compressed)";
    else if (call<decltype(rpcSOAPDecompress)>("rpcSOAPDecompress", buffer, buffer) == 1)
      out.assign(reinterpret_cast<char*>(buffer->getBuffer()), static_cast<std::size_t>(buffer->getLength()));
    call<decltype(rpcSOAP_ReleaseBuffer)>("rpcSOAP_ReleaseBuffer", buffer);
    return out;
  }

 private:
  HMODULE module_;
};

}  // namespace qz::test
