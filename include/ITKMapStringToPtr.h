/// @file
/// Map from a name to a pointer.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "QzExport.h"

/// @addtogroup shared
/// @{

/// Pointers under names, in the order in which the names first came. Names are compared exactly; null means "".
class QZSOAP_API ITKMapStringToPtr {
 public:
  /// Frees one value. Never called with null.
  using Deleter = void (*)(void* value);

  /// @param deleter frees a value that is replaced, removed or left at the end; null: the map does not own its values
  explicit ITKMapStringToPtr(Deleter deleter = nullptr) noexcept;
  ITKMapStringToPtr(const ITKMapStringToPtr&) = delete;
  ITKMapStringToPtr& operator=(const ITKMapStringToPtr&) = delete;
  /// Frees all values.
  ~ITKMapStringToPtr();

  /// Stores `value` under `name`; another value there before is freed and its place in the order kept. Returns 1, or 0
  /// when memory is short (logged at level 1; nothing changed, `value` stays the caller's).
  int set(const char* name, void* value) noexcept;
  /// The value under `name`, or null.
  void* find(const char* name) const noexcept;
  /// Frees the value under `name`; 1, or 0 when there is none.
  int remove(const char* name) noexcept;
  /// Frees all values.
  void removeAll() noexcept;
  /// Number of names.
  long getCount() const noexcept;
  /// The name at `index` in order, or null outside 0..getCount()-1; valid until the map changes.
  const char* getKeyAt(long index) const noexcept;
  /// The value at `index` in order, or null outside 0..getCount()-1.
  void* getAt(long index) const noexcept;

 private:
  struct Entry {
    std::string name;
    void* value;
  };

  void Discard(void* value) const noexcept;

  Deleter deleter_;
  std::vector<Entry> entries_;
  std::unordered_map<std::string, std::size_t> places_;
};

/// @}
