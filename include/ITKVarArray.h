/// @file
/// A growing array of variants.
#pragma once

#include <windows.h>
//
#include <oleauto.h>

#include <vector>

#include "QzExport.h"

/// @addtogroup toolkit
/// @{

/// Owner of any number of variants; clears them at the end.
class QZSOAP_API ITKVarArray {
 public:
  /// Empty. Makes no call into OLE Automation.
  ITKVarArray() noexcept = default;
  ITKVarArray(const ITKVarArray&) = delete;
  ITKVarArray& operator=(const ITKVarArray&) = delete;
  /// Clears all elements.
  ~ITKVarArray();

  /// Appends a copy of `value`; returns its index, or -1 when it cannot be copied (logged at level 1).
  long add(const VARIANT& value) noexcept;
  /// Number of elements.
  long getCount() const noexcept;
  /// The element at `index`, owned by the array and valid until the array changes; null outside 0..getCount()-1.
  const VARIANT* getAt(long index) const noexcept;
  /// Clears all elements.
  void removeAll() noexcept;

  /// Stores copies of all elements in `out` as a one-dimensional array of variants with lower bound 0; the caller clears
  /// it. `out` must be VT_EMPTY; otherwise, or when the array cannot be made, false (logged at level 1) and `out` is
  /// unchanged.
  bool toVARIANT(VARIANT& out) const noexcept;

 private:
  std::vector<VARIANT> items_;
};

/// @}
