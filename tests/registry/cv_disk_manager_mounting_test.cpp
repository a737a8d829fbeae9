// Mounting by GUID through `diskutil mount` and unmounting through Disk
// Arbitration: expected/mounting.txt of the observation machine, replayed.
#include <gtest/gtest.h>

#include "registry/observed_machine.h"

TEST(CVDiskManagerMountingTest, MountsByGUIDAndUnmountsPairsAndSingleVolumes) {
  observationtest::ObservedMachine m;
  m.folder.expectGolden("mounting.txt", m.replay("mounting.txt"));
}
