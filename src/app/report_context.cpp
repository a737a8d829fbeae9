#include "app/report_context.h"

#include "app/print.h"
#include "registry/cv_disk_manager.h"
#include "settings/settings_manager.h"

ReportContext::ReportContext(std::ostream& out, CVDiskManager& registry)
    : ReportContext(out, [&registry]() -> CVDiskManager& { return registry; }) {}

ReportContext::ReportContext(std::ostream& out, std::function<CVDiskManager&()> registry)
    : out_(out),
      registrySource_(std::move(registry)),
      settings_(SettingsManager::create()),
      volumes_(VolumeContext::keepingWalksAndErrors()) {}

ReportContext::~ReportContext() = default;

CVDiskManager& ReportContext::registry() const {
  if (registry_ == nullptr) registry_ = &registrySource_();
  return *registry_;
}

const VolumeReferenceResolver& ReportContext::resolver() const {
  if (!resolver_) resolver_ = std::make_unique<VolumeReferenceResolver>(registry(), volumes_);
  return *resolver_;
}

void ReportContext::print(std::initializer_list<std::string_view> items, std::string_view terminator) {
  ::print(out(), items, terminator);
}

std::ostream& ReportContext::out() {
  writeResourceErrors();
  return out_;
}

void ReportContext::writeResourceErrors() { out_ << volumes_.takeResourceErrors(); }
