#include "app/report_context.h"

#include "app/print.h"
#include "registry/cv_disk_manager.h"
#include "settings/settings_manager.h"

ReportContext::ReportContext(std::ostream& out, CVDiskManager& registry)
    : out_(out),
      registry_(registry),
      settings_(SettingsManager::create()),
      volumes_(VolumeContext::keepingWalksAndErrors()),
      resolver_(registry, volumes_) {}

ReportContext::~ReportContext() = default;

void ReportContext::print(std::initializer_list<std::string_view> items, std::string_view terminator) {
  ::print(out(), items, terminator);
}

std::ostream& ReportContext::out() {
  writeResourceErrors();
  return out_;
}

void ReportContext::writeResourceErrors() { out_ << volumes_.takeResourceErrors(); }
