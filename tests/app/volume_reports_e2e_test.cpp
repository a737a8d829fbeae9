// The built CVDiag on the catalogue machine: the version line with the root
// volume's macOS text, the catalogue and the duplicate UUID report, in the
// order of the command's steps whatever the order of the flags.
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "bundle_info.inc"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

namespace {

// The version line with the source revision cut out: the revision changes
// with every commit and is checked for its shape only.
std::string withoutRevision(const std::string& out) {
  const std::string prefix = std::string("Corvane Diagnostics version: ") + CVDIAG_SHORT_VERSION + " (" +
                             CVDIAG_PROJECT_VERSION + "-";
  if (out.rfind(prefix, 0) != 0) return out;
  auto close = out.find(")", prefix.size());
  if (close == std::string::npos) return out;
  std::string revision = out.substr(prefix.size(), close - prefix.size());
  EXPECT_FALSE(revision.empty());
  return prefix + "<rev>" + out.substr(close);
}

std::string readGolden(const testsupport::MachineBuilder& machine, const std::string& name) {
  std::ifstream in(machine.source() / "expected" / name, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace

TEST(VolumeReportsEndToEndTest, VersionCatalogueAndDuplicates) {
  testsupport::MachineBuilder machine("volumes_catalogue");
  auto result = cvdiag_test::runCVDiag(
      {"--duplicate-volume-UUIDs", "--local-volumes-and-disks", "--version"},
      {{"CVDIAG_MACHINE", machine.folder().string()}});
  const std::string versionLine = std::string("Corvane Diagnostics version: ") + CVDIAG_SHORT_VERSION +
                                  " (" + CVDIAG_PROJECT_VERSION + "-<rev>), macOS 14.2.1 (23C71)\n\n";
  EXPECT_EQ(withoutRevision(result.out), versionLine + readGolden(machine, "catalogue.txt") +
                            readGolden(machine, "duplicate_uuids.txt"));
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST(VolumeReportsEndToEndTest, VersionLineWithoutARootSystem) {
  testsupport::MachineBuilder machine("volumes_catalogue");
  std::filesystem::remove(machine.folder() / "System/Library/CoreServices/SystemVersion.plist");
  auto result = cvdiag_test::runCVDiag({"--version"}, {{"CVDIAG_MACHINE", machine.folder().string()}});
  EXPECT_EQ(withoutRevision(result.out), std::string("Corvane Diagnostics version: ") +
                                             CVDIAG_SHORT_VERSION + " (" + CVDIAG_PROJECT_VERSION +
                                             "-<rev>), macOS \n\n");
  EXPECT_EQ(result.status, 0);
}
