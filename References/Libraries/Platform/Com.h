// COM on the calling thread, and owners of its interfaces.
#pragma once

#include <windows.h>
//
#include <objbase.h>

#include <utility>

namespace qz::platform {

/// COM for the calling thread, for as long as the object lives there.
class ComScope {
 public:
  /// Initialises COM. A thread that already runs it, in whatever threading model, is fine.
  ComScope() noexcept : thread_(SUCCEEDED(CoInitialize(nullptr)) ? GetCurrentThreadId() : 0) {}
  ComScope(ComScope&& other) noexcept : thread_(std::exchange(other.thread_, 0)) {}
  ComScope& operator=(ComScope&&) = delete;
  /// Takes the initialisation back; on another thread than the one it was made for that would unbalance the other's.
  ~ComScope() {
    if (thread_ != 0 && thread_ == GetCurrentThreadId()) CoUninitialize();
  }

 private:
  DWORD thread_;
};

/// Owner of one reference to a COM interface.
template <class Interface>
class ComPtr {
 public:
  ComPtr() noexcept = default;
  /// Takes over one reference; null is fine.
  explicit ComPtr(Interface* owned) noexcept : pointer_(owned) {}
  ComPtr(ComPtr&& other) noexcept : pointer_(other.release()) {}
  ComPtr& operator=(ComPtr&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~ComPtr() { reset(); }

  /// One more reference to an interface that somebody else holds.
  static ComPtr share(Interface* held) noexcept {
    if (held != nullptr) held->AddRef();
    return ComPtr(held);
  }

  Interface* get() const noexcept { return pointer_; }
  Interface* operator->() const noexcept { return pointer_; }
  explicit operator bool() const noexcept { return pointer_ != nullptr; }
  /// Hands the reference to the caller.
  Interface* release() noexcept { return std::exchange(pointer_, nullptr); }
  void reset(Interface* owned = nullptr) noexcept {
    if (auto* old = std::exchange(pointer_, owned)) old->Release();
  }
  /// Lets the reference go and returns where an operation may store a new one.
  Interface** receive() noexcept {
    reset();
    return &pointer_;
  }
  /// The same where the operation takes any interface.
  void** receiveAny() noexcept { return reinterpret_cast<void**>(receive()); }

 private:
  Interface* pointer_ = nullptr;
};

}  // namespace qz::platform
