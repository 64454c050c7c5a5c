#include "SmmMemoryAllocationLib.h"

#include <algorithm>

#include "FirmwareTestBench.h"
#include "SmmAccess.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"

namespace {

const std::string Source = "MdePkg/Library/SmmMemoryAllocationLib/MemoryAllocationLib:";
const std::string OnStatus = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";

class SmmMemoryAllocationLib : public FirmwareTestBench {
public:
  static void
  Construct ()
  {
    EXPECT_EQ (SmmMemoryAllocationLibConstructor (nullptr, nullptr), EFI_SUCCESS);
  }

  /// Which services are asked to free what lies at an address; they refuse.
  static std::string
  FreedBy (UINTN Address)
  {
    const UINTN SmmCalls = gFaultPlan.Calls[ServiceSmmFreePool];
    const UINTN BootCalls = gFaultPlan.Calls[ServiceBootFreePool];
    FaultPlanFail (ServiceSmmFreePool, 1, EFI_INVALID_PARAMETER);
    FaultPlanFail (ServiceBootFreePool, 1, EFI_INVALID_PARAMETER);
    FreePool (reinterpret_cast<VOID *> (Address));
    return std::string (gFaultPlan.Calls[ServiceSmmFreePool] != SmmCalls ? "smm" : "") +
           (gFaultPlan.Calls[ServiceBootFreePool] != BootCalls ? "boot" : "");
  }
};

TEST_F (SmmMemoryAllocationLib, FreesABufferWhereItStarts)
{
  gSmramMap[0] = {0x5000, 0x1000, 0x100, 0}; // the chipset's address and the processor's, the size
  Construct ();
  for (const UINTN Address : {0x1000ULL, 0x10FFULL, gSmramMap[2].CpuStart}) {
    EXPECT_EQ (FreedBy (Address), "smm") << Address;
  }
  for (const UINTN Address : {0x0FFFULL, 0x1100ULL, 0x5000ULL}) {
    EXPECT_EQ (FreedBy (Address), "boot") << Address;
  }
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([] { FreedBy (0x1100); }), Source + "989" + OnStatus);
  gFaultPlan = {};
  EXPECT_EQ (SmmMemoryAllocationLibDestructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 0U);
}

TEST_F (SmmMemoryAllocationLib, AllocatesFromTheSmmPoolAlone)
{
  const auto *Raw = static_cast<UINT8 *> (AllocatePool (8));
  EXPECT_NE (Raw[0], 0);
  EXPECT_EQ (gPools[PoolSmm].Blocks[0].Type, EfiRuntimeServicesData);
  const auto *Zeros = static_cast<UINT8 *> (AllocateZeroPool (5));
  EXPECT_EQ (std::count (Zeros, Zeros + 5, 0), 5);
  EXPECT_EQ (gPools[PoolSmm].LiveBytes, 13U);
  (void)AllocateZeroPool (0);
  EXPECT_EQ (gFaultPlan.Calls[ServiceSmmAllocatePool], 3U) << "the firmware's affair";
}

/// The answer of a map that has shrunk to its first range between the two questions.
EFI_STATUS EFIAPI
Shrinks (const EFI_SMM_ACCESS2_PROTOCOL *, UINTN *Size, EFI_SMRAM_DESCRIPTOR *Map)
{
  *Size = Map == nullptr ? sizeof gSmramMap : sizeof gSmramMap[0];
  if (Map != nullptr) {
    std::ranges::copy (gSmramMap, Map);
  }
  return Map == nullptr ? EFI_BUFFER_TOO_SMALL : EFI_SUCCESS;
}

TEST_F (SmmMemoryAllocationLib, CountsTheRangesOfTheMapThatItGot)
{
  gSmmAccess.GetCapabilities = Shrinks;
  Construct ();
  EXPECT_EQ (FreedBy (gSmramMap[0].CpuStart), "smm");
  EXPECT_EQ (FreedBy (gSmramMap[1].CpuStart), "boot");
}

TEST_F (SmmMemoryAllocationLib, StartsWithoutRangesWhenTheMapHasNoSize)
{
  gSmmAccess.GetCapabilities = KnowsNoSize;
  Construct ();
  EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 0U);
  EXPECT_EQ (FreedBy (gSmramMap[1].CpuStart), "boot");
  EXPECT_EQ (SmmMemoryAllocationLibDestructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (gFaultPlan.Calls[ServiceBootFreePool], 1U) << "nothing to give back";
  InstallDebugService ();
  EXPECT_EQ (StoppedAt (Construct),
             Source + "72 Status == ((RETURN_STATUS)(0x8000000000000000ULL | (5)))");
}

TEST_F (SmmMemoryAllocationLib, DoesNothingWithoutItsServices)
{
  gBS = nullptr;
  Construct ();
  EXPECT_EQ (FreedBy (0x1000), "");
  gSmst = nullptr;
  EXPECT_EQ (AllocatePool (8), nullptr);
}

} // namespace
