#include "RasAcpiParamLib.h"

#include <cstring>

#include "RasTestBench.h"
#include "Record/RasAcpiParam.h"

namespace {

using RasAcpiParamLib = RasTestBench;

TEST_F (RasAcpiParamLib, FillsTheBlockOnceAndOutsideSmm)
{
  EXPECT_EQ (RasAcpiParamConstructor (nullptr, nullptr), EFI_SUCCESS);
  UINT8 Expected[3226] = {};
  std::memset (&Expected[4], 0xFF, 3200);
  auto *Block = SharedBuffer<UINT8> (RasAcpiParamName);
  EXPECT_EQ (std::memcmp (Block, Expected, sizeof Expected), 0);
  EXPECT_EQ (gPools[PoolBoot].LiveBytes, 3226U);
  EXPECT_EQ (gPools[PoolBoot].Blocks[0].Type, EfiReservedMemoryType);

  std::memset (Block, 0xA5, sizeof Expected);
  std::memset (Expected, 0xA5, sizeof Expected);
  EXPECT_EQ (RasAcpiParamConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (std::memcmp (Block, Expected, sizeof Expected), 0);
}

TEST_F (RasAcpiParamLib, TellsThatThereIsNoBlock)
{
  SetLevelMask (0x04000000);
  FaultPlanFail (ServiceBootAllocatePool, 1, EFI_NOT_FOUND);
  EXPECT_EQ (RasAcpiParamConstructor (nullptr, nullptr), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (TakeSent (), "RasAcpiParam buffer is not allocated\r\n");
}

} // namespace
