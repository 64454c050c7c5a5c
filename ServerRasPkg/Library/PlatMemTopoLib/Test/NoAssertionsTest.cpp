#include "SmmPlatMemTopologyLib.h"

#include <utility>

#include "RasTestBench.h"
#include "Record/PlatMemTopology.h"

namespace {

using PlatMemTopoLibWithoutAssertions = RasTestBench;

TEST_F (PlatMemTopoLibWithoutAssertions, GoesOnWithoutAStoreAndStartsItOnce)
{
  FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (SmmPlatMemTopologyLibConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (SmmPlatMemTopologyLibConstructor (nullptr, nullptr), EFI_SUCCESS);
  auto *Store = SharedBuffer<PlatMemTopology> (PlatMemTopologyName);
  EXPECT_EQ (std::exchange (Store->FirstByte, 7), 0);
  EXPECT_EQ (SmmPlatMemTopologyLibConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (Store->FirstByte, 7);
}

} // namespace
