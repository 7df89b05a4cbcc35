#include "ITKVarArray.h"

#include "R7ITK/R7ITKShared/Guard.h"
#include "References/Libraries/Platform/Variant.h"

namespace {

constexpr const char* kSource = "R7ITK/R7ITKShared/ITKVarArray";

}  // namespace

ITKVarArray::~ITKVarArray() { removeAll(); }

long ITKVarArray::add(const VARIANT& value) noexcept {
  return itk::guarded(kSource, -1L, [&] {
    qz::platform::Variant copy;
    itk::checkResult(kSource, VariantCopy(&copy.get(), const_cast<VARIANT*>(&value)));
    items_.push_back(copy.get());
    copy.release();
    return getCount() - 1;
  });
}

long ITKVarArray::getCount() const noexcept { return static_cast<long>(items_.size()); }

const VARIANT* ITKVarArray::getAt(long index) const noexcept {
  return index >= 0 && index < getCount() ? &items_[static_cast<std::size_t>(index)] : nullptr;
}

void ITKVarArray::removeAll() noexcept {
  for (auto& item : items_) VariantClear(&item);
  items_.clear();
}

bool ITKVarArray::toVARIANT(VARIANT& out) const noexcept {
  return itk::guarded(kSource, false, [&] {
    itk::checkBool(kSource, out.vt == VT_EMPTY);
    qz::platform::SafeArray array(SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(items_.size())));
    itk::checkPointer(kSource, array.get());
    for (LONG i = 0; i < getCount(); ++i)
      itk::checkResult(kSource, SafeArrayPutElement(array.get(), &i, const_cast<VARIANT*>(getAt(i))));
    out.vt = VT_ARRAY | VT_VARIANT;
    out.parray = array.release();
    return true;
  });
}
