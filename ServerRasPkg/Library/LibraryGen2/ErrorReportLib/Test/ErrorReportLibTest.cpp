#include "ErrorReportLib.h"

#include <algorithm>

#include "CpuService.h"
#include "RasTestBench.h"
#include "Record/RasGlobalData.h"
#include "SmmMpExtensionLib.h"

namespace {

using ErrorReportLib = RasTestBench;

EFI_STATUS
Construct ()
{
  return InitializeErrorReportLib (nullptr, nullptr);
}

TEST_F (ErrorReportLib, StartsTheRecordListsOnce)
{
  Construct ();
  EXPECT_EQ (mSmmCpuService, &gCpuService);
  auto *Memory = SharedBuffer<UINT8> (MemErrorRecordListName);
  auto *Processor = SharedBuffer<UINT8> (ProcessorErrorRecordListName);
  EXPECT_EQ (std::count (Memory, Memory + 103432, 0), 103432);
  EXPECT_EQ (std::count (Processor, Processor + 110088, 0), 110088);
  Memory[0] = Processor[0] = 7;
  Construct ();
  EXPECT_EQ (Memory[0], 7);
  EXPECT_EQ (Processor[0], 7);
}

TEST_F (ErrorReportLib, LogsAndAssertsEachStepAndGoesOnWithoutIt)
{
  SetLevelMask (0x0C000000);
  Construct ();
  TakeSent ();
  FaultPlanFail (ServiceSmmLocateProtocol, 1, EFI_NOT_FOUND);
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  FaultPlanFail (ServiceSmmLocateProtocol, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  EXPECT_EQ (mSmmCpuService, &gCpuService) << "what was bound before stays";
  EXPECT_EQ (TakeSent (), "InitializeErrorReportLib, Not Found\r\n"
                          "InitializeErrorReportLib, Success\r\n"
                          "InitializeErrorReportLib, Success\r\n"
                          "InitializeErrorReportLib, Device Error\r\n");

  InstallDebugService ();
  FaultPlanFail (ServiceSmmLocateProtocol, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ (StoppedAt (Construct),
             "ServerRasPkg/Library/LibraryGen2/ErrorReportLib/ErrorReportLib:142 "
             "!(((INTN)(RETURN_STATUS)(Status)) < 0)");
}

} // namespace
