#include "RasAcpiParamLib.h"

#include <algorithm>
#include <vector>

#include "RasTestBench.h"
#include "Record/RasAcpiParam.h"

namespace {

class RasAcpiParamLib : public RasTestBench {
public:
  static std::vector<UINT8>
  BlockBytes ()
  {
    const auto *Block = SharedBuffer<UINT8> (RasAcpiParamName);
    return {Block, Block + sizeof (RasAcpiParam)};
  }
};

TEST_F (RasAcpiParamLib, FillsTheBlockOnceAndOutsideSmm)
{
  EXPECT_EQ (RasAcpiParamConstructor (nullptr, nullptr), EFI_SUCCESS);
  std::vector<UINT8> Expected (4, 0);
  Expected.insert (Expected.end (), 3200, 0xFF);
  Expected.insert (Expected.end (), 22, 0);
  EXPECT_EQ (BlockBytes (), Expected);
  EXPECT_EQ (gPools[PoolBoot].LiveBytes, 3226U);
  EXPECT_EQ (gPools[PoolBoot].Blocks[0].Type, EfiReservedMemoryType);

  auto *Block = SharedBuffer<UINT8> (RasAcpiParamName);
  std::fill (Block, Block + sizeof (RasAcpiParam), 0xA5);
  EXPECT_EQ (RasAcpiParamConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (BlockBytes (), std::vector<UINT8> (3226, 0xA5));
}

TEST_F (RasAcpiParamLib, TellsThatThereIsNoBlock)
{
  SetLevelMask (0x04000000);
  FaultPlanFail (ServiceBootAllocatePool, 1, EFI_NOT_FOUND);
  EXPECT_EQ (RasAcpiParamConstructor (nullptr, nullptr), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (TakeSent (), "RasAcpiParam buffer is not allocated\r\n");
}

} // namespace
