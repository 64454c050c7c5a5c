#include "SmmMpExtensionLib.h"

#include <tuple>

#include "CpuService.h"
#include "ExecutingProcessor.h"
#include "RasTestBench.h"

namespace {

const std::string SourceFile = "ServerRasPkg/Library/SmmMpExtensionLib/SmmMpExtensionLib";
const std::string OnStatus = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";

using SmmMpExtensionLib = RasTestBench;

EFI_STATUS
Construct ()
{
  return SmmMpExtensionLibConstructor (nullptr, nullptr);
}

TEST_F (SmmMpExtensionLib, TellsWhereTheExecutingProcessorSits)
{
  const UINTN Before = gPools[PoolSmm].LiveBytes;
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  EXPECT_EQ (gPools[PoolSmm].LiveBytes, Before + 24576);

  World.Processors[1] = {.ProcessorId = 0x700000085, .Package = 1, .Core = 2, .Thread = 3};
  const OnProcessor Acting (1);
  EXPECT_EQ (GetCurrentProcessorLocation (nullptr), 1U);
  EXPECT_EQ (gFaultPlan.Calls[ServiceGetProcessorInfo], 0U);
  CpuLocation At = {};
  EXPECT_EQ (GetCurrentProcessorLocation (&At), 1U);
  EXPECT_EQ (std::tuple (At.ProcessorId, At.Package, At.Core, At.Thread),
             std::tuple (0x85U, 1U, 2U, 3U));
}

TEST_F (SmmMpExtensionLib, SitsAtZeroWhereTheServiceFails)
{
  const struct {
    EFI_SMM_CPU_SERVICE_PROTOCOL *Service;
    FirmwareService Fails;
    const char *Line;
    UINTN Index;
  } Rows[] = {{nullptr, ServiceWhoAmI, ":87", 0},
              {&gCpuService, ServiceWhoAmI, ":87", 0},
              {&gCpuService, ServiceGetProcessorInfo, ":94", 1}};
  const OnProcessor Acting (1);
  UINTN Asked = 0; // Also where the index is not known.
  for (const bool Stops : {false, true}) {
    for (const auto &Row : Rows) {
      mSmmCpuService = Row.Service;
      FaultPlanFail (Row.Fails, 1, EFI_DEVICE_ERROR);
      CpuLocation At = {7, 7, 7, 7};
      EXPECT_EQ (StoppedAt ([&] { EXPECT_EQ (GetCurrentProcessorLocation (&At), Row.Index); }),
                 Stops ? SourceFile + Row.Line + OnStatus : "");
      EXPECT_EQ (At.ProcessorId | At.Package | At.Core | At.Thread, Stops ? 7U : 0U);
      Asked += Row.Service != nullptr ? 1 : 0;
      EXPECT_EQ (Stops || gFaultPlan.Calls[ServiceGetProcessorInfo] == Asked, true);
    }
    InstallDebugService ();
  }
}

} // namespace
