// A variant for one test.
#pragma once

#include <windows.h>
//
#include <oleauto.h>

namespace qz::test {

/// A variant that is cleared at the end.
struct OwnVariant : VARIANT {
  OwnVariant() { VariantInit(this); }
  OwnVariant(const OwnVariant&) = delete;
  OwnVariant& operator=(const OwnVariant&) = delete;
  ~OwnVariant() { VariantClear(this); }
};

}  // namespace qz::test
