#include "SmmPlatMemTopologyLib.h"

#include "RasTestBench.h"

namespace {

using PlatMemTopoLibWithoutAssertions = RasTestBench;

TEST_F (PlatMemTopoLibWithoutAssertions, GoesOnWithoutAStore)
{
  FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (SmmPlatMemTopologyLibConstructor (nullptr, nullptr), EFI_SUCCESS);
}

} // namespace
