#include "References/Libraries/Platform/Variant.h"

#include "QzTypes.h"
#include "References/Common/Bytes.h"
#include "References/Libraries/Platform/Bstr.h"

namespace qz::platform {
namespace {

// The array of bytes, null for a variant of any other shape.
SAFEARRAY* byteArrayIn(const VARIANT& value) noexcept {
  if (value.vt != (VT_ARRAY | VT_UI1) || value.parray == nullptr) return nullptr;
  SAFEARRAY* array = value.parray;
  return SafeArrayGetDim(array) == 1 && array->rgsabound[0].lLbound == 0 ? array : nullptr;
}

}  // namespace

VariantContent::VariantContent(const VARIANT& value)
    : type_(value.vt == VT_BSTR ? ITKBufferType::DT_TEXT : ITKBufferType::DT_BINARY) {
  if (value.vt == VT_BSTR) {
    text_ = ansiText(value.bstrVal);
    bytes_ = bytesOf(text_);
  } else if (SAFEARRAY* array = byteArrayIn(value)) {
    data_.emplace(array);
    result_ = data_->result();
    bytes_ = bytesAt(data_->data(), static_cast<long>(array->rgsabound[0].cElements));
  } else {
    result_ = DISP_E_TYPEMISMATCH;
  }
}

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
