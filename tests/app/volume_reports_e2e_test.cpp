// The built CVDiag on the catalogue machine: the version line with the
// build's values and the root volume's macOS text, the catalogue and the
// duplicate UUID report, in the order of the command's steps whatever the
// order of the flags.
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "bundle_info.inc"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

namespace {

const std::string kVersionHead = std::string("Corvane Diagnostics version: ") + CVDIAG_SHORT_VERSION + " (" +
                                 CVDIAG_PROJECT_VERSION + "-" + CVDIAG_SOURCE_VERSION + "), macOS ";

TEST(VolumeReportsEndToEndTest, VersionCatalogueAndDuplicates) {
  testsupport::MachineBuilder machine("volumes_catalogue");
  auto result = cvdiag_test::runCVDiag({"--duplicate-volume-UUIDs", "--local-volumes-and-disks", "--version"},
                                       {{"CVDIAG_MACHINE", machine.folder().string()}});
  const std::string head = kVersionHead + "14.2.1 (23C71)\n\n";
  ASSERT_EQ(result.out.substr(0, head.size()), head);
  const auto duplicates = result.out.find("\nDuplicate Volume UUIDs\n");
  machine.expectGolden("catalogue.txt", result.out.substr(head.size(), duplicates - head.size()));
  machine.expectGolden("duplicate_uuids.txt", result.out.substr(std::min(duplicates, result.out.size())));
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
}

TEST(VolumeReportsEndToEndTest, VersionLineWithoutARootSystem) {
  testsupport::MachineBuilder machine("volumes_catalogue");
  std::filesystem::remove(machine.folder() / "System/Library/CoreServices/SystemVersion.plist");
  auto result = cvdiag_test::runCVDiag({"--version"}, {{"CVDIAG_MACHINE", machine.folder().string()}});
  EXPECT_EQ(result.out, kVersionHead + "\n\n");
  EXPECT_EQ(result.status, 0);
}

}  // namespace
