#include "References/Libraries/Platform/Variant.h"

#include "References/Common/Bytes.h"

namespace qz::platform {

SAFEARRAY* byteArrayIn(const VARIANT& value) noexcept {
  if (value.vt != (VT_ARRAY | VT_UI1) || value.parray == nullptr) return nullptr;
  SAFEARRAY* array = value.parray;
  return SafeArrayGetDim(array) == 1 && array->rgsabound[0].lLbound == 0 ? array : nullptr;
}

unsigned long elementCount(const SAFEARRAY* array) noexcept { return array->rgsabound[0].cElements; }

tl::expected<void, HRESULT> storeByteArray(VARIANT& out, std::span<const std::byte> bytes) noexcept {
  SafeArray array(SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size())));
  if (array.get() == nullptr) return tl::unexpected(E_OUTOFMEMORY);
  {
    const ArrayData data(array.get());
    if (FAILED(data.result())) return tl::unexpected(data.result());
    copyBytes(data.data(), bytes);
  }
  out.vt = VT_ARRAY | VT_UI1;
  out.parray = array.release();
  return {};
}

}  // namespace qz::platform
