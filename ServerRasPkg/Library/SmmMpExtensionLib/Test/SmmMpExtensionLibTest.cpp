#include "SmmMpExtensionLib.h"

#include <algorithm>

#include "CpuService.h"
#include "ExecutingProcessor.h"
#include "RasTestBench.h"

namespace {

const std::string SourceFile = "ServerRasPkg/Library/SmmMpExtensionLib/SmmMpExtensionLib:";
const std::string OnStatus = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";

class SmmMpExtensionLib : public RasTestBench {
public:
  SmmMpExtensionLib ()
  {
    World.Processors[1] = {.ProcessorId = 0x700000085, .Package = 1, .Core = 2, .Thread = 3};
  }

  static EFI_STATUS
  Construct ()
  {
    return SmmMpExtensionLibConstructor (nullptr, nullptr);
  }
};

TEST_F (SmmMpExtensionLib, TellsWhereTheExecutingProcessorSits)
{
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  EXPECT_TRUE (std::any_of (std::begin (gPools[PoolSmm].Blocks), std::end (gPools[PoolSmm].Blocks),
                            [] (const PoolBlock &Block) { return Block.Size == 24576; }));

  const OnProcessor Acting (1);
  CpuLocation Location = {};
  EXPECT_EQ (GetCurrentProcessorLocation (&Location), 1U);
  EXPECT_EQ (Location.ProcessorId, 0x85U) << "the low half";
  EXPECT_EQ (Location.Package, 1U);
  EXPECT_EQ (Location.Core, 2U);
  EXPECT_EQ (Location.Thread, 3U);

  EXPECT_EQ (GetCurrentProcessorLocation (nullptr), 1U);
  EXPECT_EQ (gFaultPlan.Calls[ServiceGetProcessorInfo], 1U);
}

TEST_F (SmmMpExtensionLib, SitsAtZeroWhereTheServiceFails)
{
  const struct {
    const char *Name;
    EFI_SMM_CPU_SERVICE_PROTOCOL *Service;
    FirmwareService Fails;
    std::string Stopped;
    UINTN Index;
  } Rows[] = {
      {"unbound", nullptr, ServiceWhoAmI, "87", 0},
      {"index", &gCpuService, ServiceWhoAmI, "87", 0},
      {"information", &gCpuService, ServiceGetProcessorInfo, "94", 1},
  };
  const OnProcessor Acting (1);
  for (const bool Stops : {false, true}) {
    if (Stops) {
      InstallDebugService ();
    }
    for (const auto &Row : Rows) {
      SCOPED_TRACE (Row.Name);
      mSmmCpuService = Row.Service;
      FaultPlanFail (Row.Fails, 1, EFI_DEVICE_ERROR);
      CpuLocation Location = {7, 7, 7, 7};
      UINTN Index = 7;
      EXPECT_EQ (StoppedAt ([&] { Index = GetCurrentProcessorLocation (&Location); }),
                 Stops ? SourceFile + Row.Stopped + OnStatus : "");
      if (!Stops) {
        EXPECT_EQ (Index, Row.Index);
        EXPECT_EQ (Location.ProcessorId | Location.Package | Location.Core | Location.Thread, 0U);
      }
    }
  }
}

TEST_F (SmmMpExtensionLib, StopsForGoodWithoutItsServiceOrTable)
{
  SetLevelMask (0x08000000);
  FaultPlanFail (ServiceSmmLocateProtocol, 1, EFI_NOT_FOUND);
  EXPECT_EQ (StoppedAt (Construct), "no assertion");
  FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (StoppedAt (Construct), "no assertion");
  const std::string Found = "RAS ASSERT ERROR found -- "
                            "ServerRasPkg/Library/SmmMpExtensionLib/SmmMpExtensionLib line ";
  EXPECT_EQ (TakeSent (), Found + "53!\r\n" + Found + "58!\r\n");

  InstallDebugService ();
  FaultPlanFail (ServiceSmmLocateProtocol, 1, EFI_NOT_FOUND);
  EXPECT_EQ (StoppedAt (Construct), SourceFile + "52" + OnStatus);
}

TEST_F (SmmMpExtensionLib, StopsSilentlyWhereTheMaskFiltersTheLine)
{
  SetLevelMask (0x77FFFFFF);
  FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ (StoppedAt (Construct), "no assertion");
  EXPECT_EQ (TakeSent (), "");
}

} // namespace
