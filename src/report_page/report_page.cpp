// Renders the report page from its model. Every element that stands for a
// thing of the Mac carries it in a data attribute (data-bsd, data-guid,
// data-document, data-resolution), so that readers other than people can
// find it too.
#include "report_page/report_page.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "volumes/number_text.h"

namespace {

// Text for HTML element content and attribute values. A carriage return is
// written as a reference, because a parser folds a literal one into a line
// feed and the text report must come out byte for byte.
std::string esc(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&#39;"; break;
      case '\r': out += "&#13;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string quotedName(std::string_view name) { return "\u201C" + esc(name) + "\u201D"; }

// Shortens a text for a picture to `limit` code points, ending it with "…".
std::string shortened(const std::string& text, std::size_t limit) {
  std::size_t points = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) continue;
    if (++points > limit) return text.substr(0, i) + "\u2026";
  }
  return text;
}

const char* resolutionClass(Resolution r) {
  switch (r) {
    case Resolution::knownVolumeMatchesIdentity: return "identity";
    case Resolution::knownVolumeMatchesName: return "by-name";
    case Resolution::unknownVolumeGUID: return "unknown-guid";
    case Resolution::unresolvable: return "unresolvable";
  }
  return "";
}

// The words the text report uses for each outcome.
const char* resolutionWords(Resolution r) {
  switch (r) {
    case Resolution::knownVolumeMatchesIdentity: return "discretely-resolvable";
    case Resolution::knownVolumeMatchesName: return "resolved by name";
    case Resolution::unknownVolumeGUID: return "GUID not in registry";
    case Resolution::unresolvable: return "not resolvable - may not be attached";
  }
  return "";
}

const char* stateClass(MountState s) {
  switch (s) {
    case MountState::mounted: return "mounted";
    case MountState::notMounted: return "not-mounted";
    case MountState::notMountable: return "not-mountable";
  }
  return "";
}

const char* stateWords(MountState s) {
  switch (s) {
    case MountState::mounted: return "mounted";
    case MountState::notMounted: return "mountable, not mounted";
    case MountState::notMountable: return "not mountable";
  }
  return "";
}

// The readable name of a partition scheme or partition type.
std::string contentName(const std::string& content) {
  static const std::map<std::string, std::string, std::less<>> names = {
      {"GUID_partition_scheme", "GUID partition map"},
      {"FDisk_partition_scheme", "MBR partition map"},
      {"Apple_partition_scheme", "Apple partition map"},
      {"C12A7328-F81F-11D2-BA4B-00A0C93EC93B", "EFI system partition"},
      {"48465300-0000-11AA-AA11-00306543ECAC", "Apple_HFS"},
      {"7C3457EF-0000-11AA-AA11-00306543ECAC", "Apple_APFS: APFS physical store"},
      {"EF57347C-0000-11AA-AA11-00306543ECAC", "APFS container"},
      {"41504653-0000-11AA-AA11-00306543ECAC", "APFS volume"},
      {"426F6F74-0000-11AA-AA11-00306543ECAC", "Apple_Boot"},
      {"EBD0A0A2-B9E5-4433-87C0-68B6B72699C7", "Microsoft basic data"},
  };
  auto found = names.find(content);
  return found != names.end() ? found->second : content;
}

std::string sizeText(const std::optional<std::int64_t>& size) {
  return size ? NSNumberCVDiag::fileSizeString(*size) : std::string("size not known");
}

// Shares of a bar in percent, in proportion to the sizes, none below a
// minimum so that a small partition stays visible and clickable.
std::vector<double> barShares(const std::vector<double>& sizes) {
  const std::size_t n = sizes.size();
  std::vector<double> shares(n, n ? 100.0 / n : 0.0);
  double total = 0;
  for (double s : sizes) total += s;
  if (n == 0 || total <= 0) return shares;
  const double minimum = std::min(6.0, 100.0 / n);
  std::vector<bool> pinned(n, false);
  for (bool changed = true; changed;) {
    changed = false;
    double freeTotal = 0, freeShare = 100.0;
    for (std::size_t i = 0; i < n; ++i) {
      if (pinned[i]) freeShare -= minimum;
      else freeTotal += sizes[i];
    }
    for (std::size_t i = 0; i < n; ++i) {
      if (pinned[i]) {
        shares[i] = minimum;
        continue;
      }
      shares[i] = freeTotal > 0 ? sizes[i] / freeTotal * freeShare : 0;
      if (shares[i] < minimum) pinned[i] = changed = true;
    }
  }
  return shares;
}

struct DocumentUse {
  std::size_t document;
  const char* role;
  std::size_t reference;
};

class PageWriter {
 public:
  PageWriter(const ReportPageModel& model, std::ostream& out) : m_(model), out_(out) {
    for (std::size_t d = 0; d < m_.documents.size(); ++d) {
      const auto& doc = m_.documents[d];
      for (auto [role, ref] : {std::pair{"source", doc.source}, std::pair{"target", doc.target}}) {
        if (!ref) continue;
        if (auto v = m_.references[*ref].volume) uses_[*v].push_back({d, role, *ref});
      }
    }
    for (const auto& e : m_.registry)
      if (e.isOrphan) orphanGUIDs_.insert(e.guid);
  }

  void write() {
    head();
    out_ << "<body>\n";
    header();
    disks();
    settings();
    orphans();
    textReport();
    out_ << "<script>" << kReportPageScript << "</script>\n</body>\n</html>\n";
  }

 private:
  bool isDuplicate(const ReportPageVolume& v) const { return v.volumeUUID && m_.duplicates.count(*v.volumeUUID); }

  std::string volumeLabel(std::size_t i) const {
    const auto& v = m_.volumes[i];
    return esc(v.bsdName) + " " + quotedName(v.name);
  }

  void head() {
    out_ << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
            "script-src 'unsafe-inline'; img-src data:\">\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
            "<meta name=\"color-scheme\" content=\"light dark\">\n<title>Corvane volumes of "
         << esc(m_.recording.machineName) << "</title>\n<style>" << kReportPageStyle << "</style>\n</head>\n";
  }

  void header() {
    const auto& r = m_.recording;
    out_ << "<header>\n<h1>Corvane volumes of " << quotedName(r.machineName) << "</h1>\n<dl class=\"facts\">\n";
    out_ << "<dt>macOS</dt><dd id=\"macos\">"
         << (m_.macOSVersion ? esc(*m_.macOSVersion) : std::string("not known: no system is mounted at /"))
         << "</dd>\n<dt>Recorded</dt><dd id=\"recorded\">"
         << (r.recorded ? esc(*r.recorded) : std::string("not known: the folder names no recording date"))
         << "</dd>\n<dt>Not recorded</dt><dd id=\"not-recorded\">";
    if (!r.notRecorded) {
      out_ << "not known: the folder holds no manifest of its recording";
    } else if (r.notRecorded->empty()) {
      out_ << "nothing: the recording read everything it looked for";
    } else {
      out_ << "<ul>";
      for (const auto& line : *r.notRecorded) out_ << "<li>" << esc(line) << "</li>";
      out_ << "</ul>";
    }
    out_ << "</dd>\n<dt>Counts</dt><dd>" << m_.disks.size() << " disks, " << m_.volumes.size() << " disk objects, "
         << m_.registry.size() << " registry entries, " << m_.documents.size() << " settings documents</dd>\n</dl>\n";
    glance();
    out_ << "</header>\n";
  }

  // The findings first, each a link to where it stands.
  void glance() {
    out_ << "<section class=\"glance\" id=\"at-a-glance\" aria-label=\"Findings\">\n";
    std::size_t shown = 0;
    for (const auto& [uuid, guids] : m_.duplicates) {
      if (shown++ == kFoldRowsAbove / 4) {
        out_ << "<div class=\"bad\"><p>" << m_.duplicates.size() - shown + 1
             << " more volumes under several GUIDs: see the map</p></div>\n";
        break;
      }
      std::optional<std::size_t> volume;
      for (std::size_t i = 0; i < m_.volumes.size() && !volume; ++i)
        if (m_.volumes[i].volumeUUID == uuid) volume = i;
      out_ << "<div class=\"bad\"><p><strong>Duplicate GUIDs:</strong> ";
      if (volume) {
        out_ << "<a href=\"#v-" << esc(m_.volumes[*volume].bsdName) << "\">volume " << volumeLabel(*volume)
             << "</a> on disk " << esc(m_.volumes[*volume].wholeBSDName);
      } else {
        out_ << "<a href=\"#detached\">volume <code>" << esc(uuid) << "</code></a> (not attached)";
      }
      out_ << " stands under " << guids.size() << " GUIDs</p></div>\n";
    }
    std::size_t problems = 0;
    for (std::size_t i = 0; i < m_.references.size(); ++i) {
      const auto& ref = m_.references[i];
      if (ref.resolution == Resolution::knownVolumeMatchesIdentity) continue;
      if (problems++ >= kFoldRowsAbove / 4) continue;
      const bool bad = ref.resolution != Resolution::knownVolumeMatchesName;
      out_ << "<div class=\"" << (bad ? "bad" : "warn") << "\"><p><span class=\"res "
           << resolutionClass(ref.resolution) << "\">" << resolutionWords(ref.resolution) << "</span> "
           << quotedName(ref.reference.name()) << " <code>" << ref.reference.guid().uuidString() << "</code></p><p>";
      if (ref.volume) out_ << "to <a href=\"#v-" << esc(m_.volumes[*ref.volume].bsdName) << "\">" << volumeLabel(*ref.volume) << "</a>; ";
      out_ << "in ";
      firstDocuments(i, 3);
      out_ << "</p></div>\n";
    }
    if (problems > kFoldRowsAbove / 4)
      out_ << "<div class=\"bad\"><p>" << problems - kFoldRowsAbove / 4
           << " more references did not resolve exactly: see <a href=\"#settings\">Settings documents</a></p></div>\n";
    if (problems == 0 && !m_.references.empty())
      out_ << "<div class=\"ok\"><p>Every volume reference of the settings documents is discretely-resolvable</p></div>\n";
    out_ << "<div class=\"" << (m_.orphans.empty() ? "ok" : "warn") << "\"><p><a href=\"#orphans\">" << m_.orphans.size()
         << " registry entries</a> no settings document refers to: <code>--prune-orphans</code> would remove them</p></div>\n";
    out_ << "</section>\n";
  }

  // Links to the first `limit` documents that hold reference `ref`.
  void firstDocuments(std::size_t ref, std::size_t limit) {
    std::size_t count = 0;
    for (std::size_t d = 0; d < m_.documents.size(); ++d) {
      const auto& doc = m_.documents[d];
      if (doc.source != ref && doc.target != ref) continue;
      if (count < limit) out_ << (count ? ", " : "") << "<a href=\"#d-" << d << "\">" << esc(doc.name) << "</a>";
      ++count;
    }
    if (count > limit) out_ << " and " << count - limit << " more";
  }

  void legend() {
    out_ << "<div class=\"legend\">"
            "<span class=\"mounted\"><i class=\"swatch seg mounted\"></i><b class=\"mark\"></b>mounted</span>"
            "<span class=\"not-mounted\"><i class=\"swatch seg not-mounted\"></i><b class=\"mark\"></b>mountable, not "
            "mounted (hatched, dashed)</span>"
            "<span class=\"not-mountable\"><i class=\"swatch seg not-mountable\"></i><b class=\"mark\"></b>not "
            "mountable (dotted)</span>"
            "<span><i class=\"swatch seg mounted dup\"></i>red underline: volume under several GUIDs</span>"
            "<span><i class=\"swatch seg mounted snapshot\"></i>rounded: mounted system snapshot</span>"
            "</div>\n";
  }

  void disks() {
    out_ << "<section id=\"disks\">\n<h2>Disks and volumes</h2>\n";
    legend();
    out_ << "<div class=\"layout\">\n<div class=\"map\">\n";
    for (const auto& disk : m_.disks) this->disk(disk);
    if (m_.disks.empty()) out_ << "<p>No disk is attached.</p>\n";
    out_ << "</div>\n";
    detached();
    out_ << "</div>\n</section>\n";
  }

  void disk(const ReportPageDisk& disk) {
    const auto& whole = m_.volumes[disk.whole];
    bool flagged = isDuplicate(whole), image = whole.imagePath.has_value();
    for (auto i : disk.members) {
      flagged = flagged || isDuplicate(m_.volumes[i]);
      image = image || m_.volumes[i].imagePath;
    }
    out_ << "<section class=\"disk" << (disk.isAPFSContainer ? " container" : "") << (flagged ? " flagged" : "")
         << "\" id=\"disk-" << esc(whole.bsdName) << "\">\n<header><h3>" << esc(whole.bsdName) << "</h3> <span>"
         << quotedName(whole.name) << "</span> <span class=\"sub\">" << sizeText(whole.size) << " \u00B7 "
         << esc(contentName(whole.content));
    if (whole.protocol) out_ << " \u00B7 " << esc(*whole.protocol);
    out_ << " \u00B7 " << (whole.isInternal ? "internal" : "external") << "</span>";
    if (disk.isAPFSContainer) out_ << "<span class=\"tag\">APFS container: its volumes share its space</span>";
    if (image || whole.protocol == "Disk Image") out_ << "<span class=\"tag image\">disk image</span>";
    if (flagged) out_ << "<span class=\"tag bad\">duplicate GUIDs</span>";
    out_ << "</header>\n";
    bar(disk);
    const std::size_t objects = disk.members.size() + 1;
    out_ << "<details class=\"members\"" << (objects <= kFoldDiskVolumesAbove || flagged ? " open" : "")
         << "><summary>" << objects << (objects == 1 ? " object" : " objects") << " on " << esc(whole.bsdName)
         << "</summary>\n<div class=\"cards\">\n";
    card(disk.whole);
    for (auto i : disk.members) card(i);
    out_ << "</div>\n</details>\n</section>\n";
  }

  void bar(const ReportPageDisk& disk) {
    const auto& whole = m_.volumes[disk.whole];
    std::vector<std::size_t> parts = disk.members;
    if (parts.empty()) parts.push_back(disk.whole);
    std::vector<double> sizes;
    double used = 0;
    bool allSized = true;
    for (auto i : parts) {
      allSized = allSized && m_.volumes[i].size.has_value();
      // The volumes of a container share its space: equal parts.
      double s = disk.isAPFSContainer ? 1.0 : static_cast<double>(m_.volumes[i].size.value_or(0));
      sizes.push_back(s);
      used += s;
    }
    // Space that no partition takes is drawn only when every size is known.
    const bool withFree = !disk.isAPFSContainer && !disk.members.empty() && allSized && whole.size &&
                          used < 0.99 * static_cast<double>(*whole.size);
    if (withFree) sizes.push_back(static_cast<double>(*whole.size) - used);
    auto shares = barShares(sizes);
    out_ << "<div class=\"bar\" role=\"img\" aria-label=\"Layout of " << esc(whole.bsdName) << "\">";
    for (std::size_t k = 0; k < parts.size(); ++k) {
      const auto& v = m_.volumes[parts[k]];
      const bool snapshot = v.role == VolumeRole::mountedSystemSnapshot;
      out_ << "<a class=\"seg " << stateClass(v.state) << (snapshot ? " snapshot" : "") << (isDuplicate(v) ? " dup" : "")
           << "\" href=\"#v-" << esc(v.bsdName) << "\" style=\"flex: 0 0 " << shares[k] << "%\" title=\""
           << esc(v.bsdName) << " " << esc(v.name) << ": " << stateWords(v.state) << ", " << sizeText(v.size)
           << "\"><span><b class=\"mark\"></b>" << esc(v.name.empty() ? v.bsdName : v.name) << "</span><span class=\"w\">"
           << esc(v.bsdName) << " \u00B7 " << stateWords(v.state) << "</span></a>";
    }
    if (withFree)
      out_ << "<span class=\"seg free\" style=\"flex: 0 0 " << shares.back() << "%\"><span>free</span></span>";
    out_ << "</div>\n";
  }

  void card(std::size_t index) {
    const auto& v = m_.volumes[index];
    const bool dup = isDuplicate(v);
    out_ << "<article class=\"volume " << stateClass(v.state) << (dup ? " dup" : "") << "\" id=\"v-" << esc(v.bsdName)
         << "\" data-bsd=\"" << esc(v.bsdName) << "\" data-state=\"" << stateClass(v.state) << "\" data-uuid=\""
         << esc(v.volumeUUID.value_or("")) << "\" title=\"" << esc(v.description) << "\">\n<h4><b class=\"mark\"></b>" << quotedName(v.name) << " <code>"
         << esc(v.bsdName) << "</code></h4>\n<div>" << stateWords(v.state);
    if (v.mountPath) out_ << " at <code>" << esc(*v.mountPath) << "</code>";
    out_ << "</div>\n<div>";
    if (v.role) out_ << "<span class=\"tag\">role: " << esc(description(*v.role)) << "</span>";
    if (v.role == VolumeRole::mountedSystemSnapshot) out_ << "<span class=\"tag snapshot\">system snapshot</span>";
    if (v.imagePath) out_ << "<span class=\"tag image\">disk image</span>";
    if (!v.localSnapshots.empty())
      out_ << "<span class=\"tag snapshot\" title=\"" << esc(v.localSnapshots.front()) << " \u2026\">"
           << v.localSnapshots.size() << " local snapshot" << (v.localSnapshots.size() == 1 ? "" : "s") << "</span>";
    out_ << "</div>\n<dl>";
    out_ << "<dt>Size</dt><dd>" << sizeText(v.size) << "</dd>";
    if (v.fileSystem) out_ << "<dt>Format</dt><dd>" << esc(*v.fileSystem) << "</dd>";
    else if (!v.content.empty()) out_ << "<dt>Content</dt><dd>" << esc(contentName(v.content)) << "</dd>";
    if (v.volumeUUID) out_ << "<dt>Volume UUID</dt><dd><code>" << esc(*v.volumeUUID) << "</code></dd>";
    if (v.imagePath) out_ << "<dt>Image</dt><dd><code>" << esc(*v.imagePath) << "</code></dd>";
    out_ << "</dl>\n";
    guids(v, dup);
    references(index);
    out_ << "</article>\n";
  }

  void guids(const ReportPageVolume& v, bool dup) {
    if (dup)
      out_ << "<p class=\"flag\">\u26A0 Duplicate: " << m_.duplicates.at(*v.volumeUUID).size()
           << " registry GUIDs carry this volume UUID</p>\n";
    if (!v.guids.empty()) {
      out_ << "<ul class=\"guids\">";
      for (const auto& guid : v.guids) out_ << "<li>GUID <code class=\"guid\" data-guid=\"" << esc(guid) << "\">" << esc(guid) << "</code>" << orphanTag(guid) << "</li>";
      out_ << "</ul>\n";
    }
    if (v.registeredAs)
      out_ << "<p class=\"note\">registers as its data volume <a href=\"#v-" << esc(*v.registeredAs) << "\">"
           << esc(*v.registeredAs) << "</a></p>\n";
  }

  std::string orphanTag(const std::string& guid) const {
    return orphanGUIDs_.count(guid) ? " <span class=\"tag warn\">orphan</span>" : "";
  }

  void references(std::size_t volume) {
    auto found = uses_.find(volume);
    if (found == uses_.end()) return;
    out_ << "<div class=\"refs\">Referenced by settings:<ul>";
    std::size_t shown = 0;
    for (const auto& use : found->second) {
      if (shown++ == 8) {
        out_ << "<li>and " << found->second.size() - 8 << " more</li>";
        break;
      }
      const auto& ref = m_.references[use.reference];
      out_ << "<li><a href=\"#d-" << use.document << "\">" << esc(m_.documents[use.document].name) << "</a> ("
           << use.role << ") <span class=\"res " << resolutionClass(ref.resolution) << "\">"
           << resolutionWords(ref.resolution) << "</span></li>";
    }
    out_ << "</ul></div>\n";
  }

  void detached() {
    std::vector<const ReportPageRegistryEntry*> rows;
    for (const auto& e : m_.registry)
      if (!e.isAttached) rows.push_back(&e);
    out_ << "<aside id=\"detached\">\n<h3>Registry entries without an attached volume</h3>\n";
    out_ << "<details" << (rows.size() <= kFoldRowsAbove ? " open" : "") << "><summary>" << rows.size()
         << " of " << m_.registry.size() << " entries</summary>\n";
    out_ << "<table><tr><th>GUID</th><th>Volume</th></tr>\n";
    for (const auto* e : rows) {
      out_ << "<tr class=\"entry" << (e->isDuplicate ? " dup" : "") << "\" data-uuid=\"" << esc(e->volumeUUID.value_or(""))
           << "\"><td><code class=\"guid\" data-guid=\"" << esc(e->guid) << "\">" << esc(e->guid)
           << "</code></td><td>" << (e->name ? quotedName(*e->name) : std::string("no name")) << "<br><code>"
           << (e->volumeUUID ? esc(*e->volumeUUID) : std::string("no volume UUID")) << "</code> ";
      if (!e->name && !e->volumeUUID) out_ << "<span class=\"tag bad\">bookmark unreadable</span>";
      if (e->isDuplicate) out_ << "<span class=\"tag bad\">duplicate</span>";
      if (e->isOrphan) out_ << "<span class=\"tag warn\">orphan</span>";
      out_ << "</td></tr>\n";
    }
    out_ << "</table>\n</details>\n</aside>\n";
  }

  void settings() {
    out_ << "<section id=\"settings\">\n<h2>Settings documents</h2>\n";
    std::map<Resolution, std::size_t> counts;
    for (const auto& r : m_.references) ++counts[r.resolution];
    out_ << "<p>" << m_.documents.size() << " documents, " << m_.references.size() << " distinct volume references:";
    for (auto r : {Resolution::knownVolumeMatchesIdentity, Resolution::knownVolumeMatchesName,
                   Resolution::unknownVolumeGUID, Resolution::unresolvable})
      out_ << " <span class=\"res " << resolutionClass(r) << "\">" << counts[r] << " " << resolutionWords(r) << "</span>";
    out_ << "</p>\n";
    if (m_.documents.size() <= kDrawnDocumentsAtMost && !m_.documents.empty()) referenceMap();
    std::vector<std::size_t> attention, fine;
    for (std::size_t d = 0; d < m_.documents.size(); ++d) {
      bool exact = true;
      for (auto ref : {m_.documents[d].source, m_.documents[d].target})
        exact = exact && (!ref || m_.references[*ref].resolution == Resolution::knownVolumeMatchesIdentity);
      (exact ? fine : attention).push_back(d);
    }
    documentTable("Documents with a reference that is not discretely-resolvable", attention);
    documentTable("Documents whose references are discretely-resolvable", fine);
    out_ << "</section>\n";
  }

  void documentTable(const char* title, const std::vector<std::size_t>& rows) {
    out_ << "<details" << (rows.size() <= kFoldRowsAbove ? " open" : "") << "><summary>" << title << " (" << rows.size()
         << ")</summary>\n";
    if (!rows.empty()) {
      out_ << "<table><tr><th>Document</th><th>Version, dates</th><th>Source</th><th>Target</th></tr>\n";
      for (auto d : rows) {
        const auto& doc = m_.documents[d];
        out_ << "<tr class=\"document\" id=\"d-" << d << "\" data-document=\"" << esc(doc.name) << "\"><td>"
             << esc(doc.name) << "</td><td>version " << (doc.version ? std::to_string(*doc.version) : "none")
             << "<br>created " << esc(doc.created.value_or("?")) << "<br>modified " << esc(doc.modified.value_or("?"))
             << "</td>";
        referenceCell("source", doc.source);
        referenceCell("target", doc.target);
        out_ << "</tr>\n";
      }
      out_ << "</table>\n";
    }
    out_ << "</details>\n";
  }

  void referenceCell(const char* role, const std::optional<std::size_t>& index) {
    out_ << "<td class=\"ref\" data-role=\"" << role << "\"";
    if (!index) {
      out_ << ">no " << role << " reference</td>";
      return;
    }
    const auto& ref = m_.references[*index];
    out_ << " data-guid=\"" << ref.reference.guid().uuidString() << "\" data-name=\"" << esc(ref.reference.name())
         << "\" data-resolution=\"" << caseName(ref.resolution) << "\"";
    if (ref.volume) out_ << " data-volume=\"" << esc(m_.volumes[*ref.volume].bsdName) << "\"";
    out_ << "><span class=\"res " << resolutionClass(ref.resolution) << "\" title=\"" << esc(rawValue(ref.resolution))
         << "\">" << resolutionWords(ref.resolution) << "</span> <span class=\"case\">" << caseName(ref.resolution)
         << "</span><br>" << quotedName(ref.reference.name()) << " <code>" << ref.reference.guid().uuidString()
         << "</code><br>\u2192 ";
    if (ref.volume) out_ << "<a href=\"#v-" << esc(m_.volumes[*ref.volume].bsdName) << "\">" << volumeLabel(*ref.volume) << "</a>";
    else if (ref.volumeDescription) out_ << esc(*ref.volumeDescription);
    else out_ << "no volume";
    out_ << "</td>";
  }

  // Documents on the left, the volumes they resolve to on the right, one line
  // per reference: solid when resolved by GUID and name, dashed when by name
  // only, dotted into a red box when no volume was found.
  void referenceMap() {
    constexpr int kWidth = 1100, kLeft = 380, kRight = 700, kDoc = 64, kDocGap = 10, kNode = 44, kNodeGap = 14;
    std::vector<std::size_t> nodes;  // volume indexes, in disk order
    bool unknown = false, unresolvable = false;
    for (const auto& doc : m_.documents)
      for (auto ref : {doc.source, doc.target}) {
        if (!ref) continue;
        const auto& r = m_.references[*ref];
        if (r.volume) nodes.push_back(*r.volume);
        else if (r.resolution == Resolution::unknownVolumeGUID) unknown = true;
        else unresolvable = true;
      }
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    const int nodeCount = static_cast<int>(nodes.size()) + unknown + unresolvable;
    const int leftHeight = static_cast<int>(m_.documents.size()) * (kDoc + kDocGap);
    const int rightHeight = nodeCount * (kNode + kNodeGap);
    const int height = std::max(leftHeight, rightHeight) + 8;
    const int rightTop = std::max(0, (leftHeight - rightHeight) / 2);
    auto nodeY = [&](int k) { return rightTop + k * (kNode + kNodeGap); };
    std::map<std::size_t, int> volumeNode;
    for (std::size_t k = 0; k < nodes.size(); ++k) volumeNode[nodes[k]] = static_cast<int>(k);
    const int unknownNode = static_cast<int>(nodes.size()), unresolvableNode = unknownNode + (unknown ? 1 : 0);

    out_ << "<svg class=\"refmap\" viewBox=\"0 0 " << kWidth << " " << height << "\" role=\"img\" aria-label=\"Which "
            "volume each settings reference resolves to\" xmlns=\"http://www.w3.org/2000/svg\">\n";
    std::string lines, boxes;
    for (std::size_t d = 0; d < m_.documents.size(); ++d) {
      const auto& doc = m_.documents[d];
      const int y = static_cast<int>(d) * (kDoc + kDocGap);
      out_ << "<a href=\"#d-" << d << "\"><rect x=\"1\" y=\"" << y << "\" width=\"" << kLeft - 2 << "\" height=\"" << kDoc
           << "\" rx=\"6\"/><text x=\"10\" y=\"" << y + 17 << "\" font-weight=\"bold\">" << esc(shortened(doc.name, 44))
           << "</text></a>\n";
      int row = 0;
      for (auto [role, ref] : {std::pair{"source", doc.source}, std::pair{"target", doc.target}}) {
        const int ry = y + 36 + row++ * 19;
        if (!ref) {
          out_ << "<text class=\"muted\" x=\"16\" y=\"" << ry + 4 << "\">" << role << ": none</text>\n";
          continue;
        }
        const auto& r = m_.references[*ref];
        const char* cls = resolutionClass(r.resolution);
        out_ << "<text x=\"16\" y=\"" << ry + 4 << "\">" << role << ": " << quotedName(shortened(r.reference.name(), 22))
             << " <tspan class=\"muted\">" << resolutionWords(r.resolution) << "</tspan></text><circle class=\"dot "
             << cls << "\" cx=\"" << kLeft - 8 << "\" cy=\"" << ry << "\" r=\"5\"/>\n";
        const int node = r.volume ? volumeNode[*r.volume]
                                  : (r.resolution == Resolution::unknownVolumeGUID ? unknownNode : unresolvableNode);
        const int ny = nodeY(node) + kNode / 2;
        lines += "<path class=\"" + std::string(cls) + "\" d=\"M" + std::to_string(kLeft - 3) + " " + std::to_string(ry) +
                 " C" + std::to_string(kLeft + 140) + " " + std::to_string(ry) + " " + std::to_string(kRight - 140) +
                 " " + std::to_string(ny) + " " + std::to_string(kRight) + " " + std::to_string(ny) + "\"/>\n";
      }
    }
    for (std::size_t k = 0; k < nodes.size(); ++k) {
      const auto& v = m_.volumes[nodes[k]];
      const int y = nodeY(static_cast<int>(k));
      boxes += "<a href=\"#v-" + esc(v.bsdName) + "\"><rect x=\"" + std::to_string(kRight) + "\" y=\"" +
               std::to_string(y) + "\" width=\"" + std::to_string(kWidth - kRight - 2) + "\" height=\"" +
               std::to_string(kNode) + "\" rx=\"6\"/><text x=\"" + std::to_string(kRight + 10) + "\" y=\"" +
               std::to_string(y + 18) + "\">" + quotedName(shortened(v.name, 34)) + " " + esc(v.bsdName) +
               "</text><text class=\"muted\" x=\"" + std::to_string(kRight + 10) + "\" y=\"" + std::to_string(y + 35) +
               "\">" + stateWords(v.state) + (v.mountPath ? " at " + esc(shortened(*v.mountPath, 30)) : "") +
               "</text></a>\n";
    }
    auto sink = [&](int node, Resolution r) {
      const int y = nodeY(node);
      boxes += "<rect class=\"sink\" x=\"" + std::to_string(kRight) + "\" y=\"" + std::to_string(y) + "\" width=\"" +
               std::to_string(kWidth - kRight - 2) + "\" height=\"" + std::to_string(kNode) + "\" rx=\"6\"/><text x=\"" +
               std::to_string(kRight + 10) + "\" y=\"" + std::to_string(y + 18) + "\" font-weight=\"bold\">no volume: " +
               resolutionWords(r) + "</text><text class=\"muted\" x=\"" + std::to_string(kRight + 10) + "\" y=\"" +
               std::to_string(y + 35) + "\">" + caseName(r).data() + "</text>\n";
    };
    if (unknown) sink(unknownNode, Resolution::unknownVolumeGUID);
    if (unresolvable) sink(unresolvableNode, Resolution::unresolvable);
    out_ << lines << boxes << "</svg>\n";
  }

  void orphans() {
    out_ << "<section id=\"orphans\">\n<h2>Entries that <code>--prune-orphans</code> would remove</h2>\n"
            "<p class=\"note\">Registry entries whose GUID and remembered name no settings document uses together.</p>\n";
    out_ << "<details" << (m_.orphans.size() <= kFoldRowsAbove ? " open" : "") << "><summary>" << m_.orphans.size()
         << " entries</summary>\n<table><tr><th>GUID</th><th>Name</th><th>Volume</th></tr>\n";
    std::map<std::string, const ReportPageRegistryEntry*> entries;
    for (const auto& e : m_.registry) entries.emplace(e.guid, &e);
    for (const auto& orphan : m_.orphans) {
      const auto guid = orphan.guid().uuidString();
      auto found = entries.find(guid);
      const bool attached = found != entries.end() && found->second->isAttached;
      out_ << "<tr class=\"orphan\"><td><code class=\"guid\" data-guid=\"" << guid << "\">" << guid << "</code></td><td>"
           << quotedName(orphan.name()) << "</td><td>" << (attached ? "attached" : "not attached") << "</td></tr>\n";
    }
    out_ << "</table>\n</details>\n</section>\n";
  }

  void textReport() {
    std::size_t lines = std::count(m_.textReport.begin(), m_.textReport.end(), '\n');
    out_ << "<h2>The text report</h2>\n<details id=\"text-report-section\"><summary><code>CVDiag --all-diagnostics"
            "</code> on this Mac, "
         << lines << " lines</summary>\n<pre id=\"text-report\">" << esc(m_.textReport) << "</pre>\n</details>\n";
  }

  const ReportPageModel& m_;
  std::ostream& out_;
  std::map<std::size_t, std::vector<DocumentUse>> uses_;
  std::unordered_set<std::string> orphanGUIDs_;
};

}  // namespace

void writeReportPage(const ReportPageModel& model, std::ostream& out) { PageWriter(model, out).write(); }
