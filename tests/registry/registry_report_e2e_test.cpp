// The built CVDiag's two registry sections, exact to the character, and the
// rule that a report leaves the registry file alone.
#include "registry_fixture.h"
#include "support/run_cvdiag.h"

using namespace registrytest;

class RegistryReportTest : public RegistryMachine {
 protected:
  cvdiag_test::RunResult run(const std::vector<std::string>& flags) {
    return cvdiag_test::runCVDiag(flags, {{"CVDIAG_MACHINE", machine.folder().string()}});
  }
};

TEST_F(RegistryReportTest, PrintsBothSectionsAndNeverWritesTheFile) {
  const std::string offsite = "21111111-2222-4333-8444-555555555555";
  writeRegistry({{"30000000-0000-4000-8000-000000000001", blob("Offsite", offsite, true)},
                 {"30000000-0000-4000-8000-000000000002", blob("Offsite", offsite, true)},
                 {"10000000-0000-4000-8000-000000000001", blob("Backup", kBackupUUID, true)}});
  const auto bytes = readFile(host(kDomainPath));
  const auto modified = std::filesystem::last_write_time(host(kDomainPath));
  auto result = run({"--duplicate-volume-entries", "--volume-registry"});
  expectGolden("report.txt", withoutHashes(result.out));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(readFile(host(kDomainPath)), bytes);
  EXPECT_EQ(std::filesystem::last_write_time(host(kDomainPath)), modified);
}

TEST_F(RegistryReportTest, ADomainThatDoesNotExistReadsAsEmpty) {
  auto result = run({"--volume-registry", "--duplicate-volume-entries"});
  expectGolden("empty.txt", result.out);
  EXPECT_FALSE(std::filesystem::exists(host(kDomainPath)));
}
