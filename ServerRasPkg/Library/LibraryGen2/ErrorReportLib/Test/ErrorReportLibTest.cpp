#include "ErrorReportLib.h"

#include <algorithm>

#include "AcpiTableClient.h"
#include "CpuService.h"
#include "Protocol/AcpiTable.h"
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

TEST_F (ErrorReportLib, KeepsTheCpuServiceWhoseSecondSearchFails)
{
  mSmmCpuService = &gCpuService;
  FaultPlanFail (ServiceSmmLocateProtocol, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  EXPECT_EQ (mSmmCpuService, &gCpuService);
}

TEST_F (ErrorReportLib, LogsMissingAcpiTablesAsAFailure)
{
  SetLevelMask (0x04000000);
  ProtocolRemove (ProtocolBoot, &gEfiAcpiTableProtocolGuid);
  EXPECT_EQ (AcpiTableClientConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (TakeSent (), "[WHEAINIT] Fail to locate gEfiAcpiTableProtocolGuid: Not Found \r\n");
}

} // namespace
