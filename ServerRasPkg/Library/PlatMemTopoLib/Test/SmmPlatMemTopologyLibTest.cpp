#include "SmmPlatMemTopologyLib.h"

#include "RasTestBench.h"

namespace {

using PlatMemTopoLib = RasTestBench;

TEST_F (PlatMemTopoLib, StopsForGoodWithoutAStore)
{
  SetLevelMask (0x08000000);
  FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (StoppedAt ([] { SmmPlatMemTopologyLibConstructor (nullptr, nullptr); }),
             "no assertion");
  EXPECT_EQ (TakeSent (), "RAS ASSERT ERROR found -- "
                          "ServerRasPkg/Library/PlatMemTopoLib/SmmPlatMemTopologyLib line 55!\r\n");
}

} // namespace
