// Variants and the byte arrays in them.
#pragma once

#include <windows.h>
//
#include <oleauto.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <tl/expected.hpp>

namespace qz::platform {

/// Owner of one variant.
class Variant {
 public:
  /// VT_EMPTY.
  Variant() noexcept { VariantInit(&value_); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(&value_); }

  /// The variant, still owned.
  VARIANT& get() noexcept { return value_; }
  /// The variant, still owned.
  const VARIANT& get() const noexcept { return value_; }
  /// Hands the content to the caller, who clears it; VT_EMPTY stays.
  VARIANT release() noexcept {
    const VARIANT value = value_;
    VariantInit(&value_);
    return value;
  }

 private:
  VARIANT value_;
};

/// Owner of one array.
class SafeArray {
 public:
  /// Takes ownership of `owned`, which may be null.
  explicit SafeArray(SAFEARRAY* owned) noexcept : array_(owned) {}
  SafeArray(const SafeArray&) = delete;
  SafeArray& operator=(const SafeArray&) = delete;
  ~SafeArray() {
    if (array_ != nullptr) SafeArrayDestroy(array_);
  }

  /// The array, still owned; may be null.
  SAFEARRAY* get() const noexcept { return array_; }
  /// Hands the array to the caller, who destroys it.
  SAFEARRAY* release() noexcept {
    SAFEARRAY* array = array_;
    array_ = nullptr;
    return array;
  }

 private:
  SAFEARRAY* array_;
};

/// Access to the data of an array for as long as the object lives.
class ArrayData {
 public:
  /// Locks the data of `array`, which must outlive this object.
  explicit ArrayData(SAFEARRAY* array) noexcept : array_(array), result_(SafeArrayAccessData(array, &data_)) {}
  ArrayData(const ArrayData&) = delete;
  ArrayData& operator=(const ArrayData&) = delete;
  ~ArrayData() {
    if (SUCCEEDED(result_)) SafeArrayUnaccessData(array_);
  }

  /// How the locking went.
  HRESULT result() const noexcept { return result_; }
  /// The first element; null unless result() is a success, and possibly null for an array of no elements.
  void* data() const noexcept { return data_; }

 private:
  SAFEARRAY* array_;
  void* data_ = nullptr;
  HRESULT result_;
};

/// What a buffer takes from a variant: the characters of a BSTR in the system's code page up to the first zero, or the
/// bytes of a one-dimensional array with lower bound 0. The variant must outlive this object.
class VariantContent {
 public:
  explicit VariantContent(const VARIANT& value);
  VariantContent(const VariantContent&) = delete;
  VariantContent& operator=(const VariantContent&) = delete;

  /// A failure when there is nothing to take, DISP_E_TYPEMISMATCH for a variant of any other shape.
  HRESULT result() const noexcept { return result_; }
  /// DT_TEXT or DT_BINARY.
  unsigned char type() const noexcept { return type_; }
  /// The content, which lives as long as this object.
  std::span<const std::byte> bytes() const noexcept { return bytes_; }

 private:
  HRESULT result_ = S_OK;
  unsigned char type_;
  std::string text_;
  std::optional<ArrayData> data_;
  std::span<const std::byte> bytes_;
};

/// A variant that refers to `text`, which may be null; it is not to be cleared.
inline VARIANT stringVariant(BSTR text) noexcept {
  VARIANT value;
  value.vt = VT_BSTR;
  value.bstrVal = text;
  return value;
}

/// Stores `bytes` as a new byte array in `out`, whose former content is not cleared; the caller clears it. The failed
/// HRESULT otherwise, E_OUTOFMEMORY when the array cannot be made.
tl::expected<void, HRESULT> storeByteArray(VARIANT& out, std::span<const std::byte> bytes) noexcept;

}  // namespace qz::platform
