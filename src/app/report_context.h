#pragma once
// Everything one run of the report shares, made once by `CVDiag::run` and
// handed to every section:
//
// - the known-volume registry, asked for on first use (starting the process's
//   registry manager has effects of its own, so a run that never reads the
//   registry, such as the version line alone, never starts it), and the
//   settings documents' reader;
// - the volume context: the walk of the attached media, kept while the disks
//   stay as they were, and the sink of failed resource reads;
// - the resolver of settings references, which keeps the references the
//   registry knows while the registry stays as it was;
// - the output stream.
//
// Nothing of it outlives the context, so two runs in one process (on two
// machines, say) share no cached answer. The context makes no text of its
// own: a section asks the model for values and prints them through `print`,
// which first writes the read errors the model collected since the last line,
// so each error stands just before the line whose values met it. A second
// renderer of the same model can make its own context on another stream.
//
// A context is used by one thread at a time (the one running the report);
// the model objects it hands out are safe from any thread.

#include <functional>
#include <initializer_list>
#include <memory>
#include <ostream>
#include <string_view>

#include "settings/resolution.h"
#include "volumes/volume_context.h"

class CVDiskManager;
class SettingsManager;

class ReportContext {
 public:
  // A context on `out` over the registry `registry`, with a settings reader,
  // a volume context and a resolver of its own. The registry must outlive
  // the context.
  ReportContext(std::ostream& out, CVDiskManager& registry);
  // The same over the registry that `registry` gives when the run first
  // needs it (the resolver needs it too); it is called at most once.
  ReportContext(std::ostream& out, std::function<CVDiskManager&()> registry);
  ~ReportContext();
  ReportContext(const ReportContext&) = delete;
  ReportContext& operator=(const ReportContext&) = delete;

  CVDiskManager& registry() const;
  SettingsManager& settings() const { return *settings_; }
  const VolumeContext& volumes() const { return volumes_; }
  const VolumeReferenceResolver& resolver() const;

  // The report's one print operation: the pending read errors, then the
  // items joined by one blank, then `terminator`.
  void print(std::initializer_list<std::string_view> items, std::string_view terminator = "\n");
  void print(std::string_view item) { print({item}); }
  // The stream, for the writers that take one (the settings reader's
  // messages, the diskutil catalogue's progress, the pruning lines); the
  // pending read errors are written first.
  std::ostream& out();
  // Writes the pending read errors; the run calls it after its last section.
  void writeResourceErrors();

 private:
  std::ostream& out_;
  std::function<CVDiskManager&()> registrySource_;
  mutable CVDiskManager* registry_ = nullptr;
  std::shared_ptr<SettingsManager> settings_;
  VolumeContext volumes_;
  mutable std::unique_ptr<VolumeReferenceResolver> resolver_;
};
