#include "RuntimeEngine/qzSOAP/Frame.h"

#include "References/Libraries/Log/FlatSettings.h"
#include "References/Libraries/Platform/ModulePath.h"

namespace qz::flat {
namespace {

constexpr int kEntryTracing = 5;

CqzES& initializedSettings() {
  auto& settings = log::flatSettings();
  if (!settings.isInitialized()) settings.initialize(platform::ownModule());
  return settings;
}

}  // namespace

Frame::Frame(const char* source, const char* function, std::source_location at) noexcept
    : source_(source),
      function_(function),
      line_(static_cast<long>(at.line())),
      traced_(initializedSettings().getTraceLevel() >= kEntryTracing) {
  if (traced_) log::flatSettings().logTextV(kEntryTracing, log::kComponent, source_, line_, "Enter %s", function_);
}

Frame::~Frame() {
  if (traced_) log::flatSettings().logTextV(kEntryTracing, log::kComponent, source_, line_, "Exit %s", function_);
}

}  // namespace qz::flat
