#include "RasAcpiParamLib.h"

#include <cstring>

#include "RasTestBench.h"
#include "Record/RasAcpiParam.h"

namespace {

using RasAcpiParamLib = RasTestBench;

TEST_F (RasAcpiParamLib, FillsTheBlockOnceAndTellsThatThereIsNone)
{
  SetLevelMask (0x04000000);
  FaultPlanFail (ServiceBootAllocatePool, 1, EFI_NOT_FOUND);
  EXPECT_EQ (RasAcpiParamConstructor (nullptr, nullptr), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (TakeSent (), "RasAcpiParam buffer is not allocated\r\n");

  EXPECT_EQ (RasAcpiParamConstructor (nullptr, nullptr), EFI_SUCCESS);
  UINT8 Expected[3226] = {};
  std::memset (&Expected[4], 0xFF, 3200);
  auto *Block = SharedBuffer<UINT8> (RasAcpiParamName);
  EXPECT_EQ (std::memcmp (Block, Expected, sizeof Expected), 0);
  EXPECT_EQ (gPools[PoolBoot].LiveBytes, sizeof Expected);
  EXPECT_EQ (gPools[PoolBoot].Blocks[0].Type, EfiReservedMemoryType);

  Block[2] = Block[4] = 0xA5;
  EXPECT_EQ (RasAcpiParamConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (Block[2] & Block[4], 0xA5) << "of another user by now";
}

} // namespace
