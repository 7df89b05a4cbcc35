/// @file
/// What the holders of the flat face have in common.
#pragma once

#include <utility>

/// @addtogroup flat
/// @{

/// Owner of one object of the flat face: the base of the holders named `...00`.
/// @tparam Object the interface of the object
/// @tparam release the exported function that deletes it and allows null
template <class Object, auto release>
class QzHolder {
 public:
  QzHolder(const QzHolder&) = delete;
  QzHolder& operator=(const QzHolder&) = delete;

  /// The object, still owned; null when it could not be made, was handed out or given back.
  Object* get() const noexcept { return object_; }
  /// The object, still owned.
  Object* operator->() const noexcept { return object_; }
  /// The object, still owned.
  Object& operator*() const noexcept { return *object_; }
  /// As get().
  operator Object*() const noexcept { return object_; }

 protected:
  /// Takes ownership of `object`, which may be null.
  explicit QzHolder(Object* object) noexcept : object_(object) {}
  ~QzHolder() { release(object_); }

  /// Hands the object to the caller, who releases it; null when there is none.
  Object* detach() noexcept { return std::exchange(object_, nullptr); }
  /// Takes ownership of `object`, which may be null, and deletes the former one unless it is the same.
  void reset(Object* object) noexcept {
    if (object != object_) release(std::exchange(object_, object));
  }

 private:
  Object* object_;
};

/// @}
