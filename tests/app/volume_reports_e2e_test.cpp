// The built CVDiag on the catalogue machine: the version line with the
// build's values and the root volume's macOS text, the catalogue and the
// duplicate UUID report, in the order of the command's steps whatever the
// order of the flags.
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "bundle_info.inc"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

namespace {

const std::string kVersionHead = std::string("Corvane Diagnostics version: ") + CVDIAG_SHORT_VERSION + " (" +
                                 CVDIAG_PROJECT_VERSION + "-" + CVDIAG_SOURCE_VERSION + "), macOS ";

std::string readGolden(const testsupport::MachineBuilder& machine, const std::string& name) {
  std::ifstream in(machine.source() / "expected" / name, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

TEST(VolumeReportsEndToEndTest, VersionCatalogueAndDuplicates) {
  testsupport::MachineBuilder machine("volumes_catalogue");
  auto result = cvdiag_test::runCVDiag({"--duplicate-volume-UUIDs", "--local-volumes-and-disks", "--version"},
                                       {{"CVDIAG_MACHINE", machine.folder().string()}});
  EXPECT_EQ(result.out, kVersionHead + "14.2.1 (23C71)\n\n" + readGolden(machine, "catalogue.txt") +
                            readGolden(machine, "duplicate_uuids.txt"));
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
