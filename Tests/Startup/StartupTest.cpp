/// From the image's entry to resident, or back out.

#include "TestPlatform.h"

#include "FaultPlan.h"
#include "HandOffRecords.h"
#include "Protocol/AcpiTable.h"
#include "Protocol/SmmBase2.h"
#include "Protocol/SmmDebugService.h"
#include "Protocol/SmmIpmiTransport.h"
#include "Protocol/SmmRscHandler.h"
#include "ProtocolDatabase.h"
#include "Record/Inventory.h"
#include "StatusCodeRouter.h"

namespace {

/// The CMOS byte with the levels that the driver's own lines have.
constexpr UINTN MaskTopByte = 0x4F;

TEST (Startup, RegistersTheListenerAndStaysResident)
{
  SimulatedPlatform Platform (TwoSockets ({}));
  const CallResult Load = Platform.LoadDriver ();
  EXPECT_EQ (Load.Status, EFI_SUCCESS);
  EXPECT_EQ (Load.Stopped, "");
  EXPECT_EQ (Load.Transcript (), "VelmoraQsmErrorHandler: Building data for SysHostPointerLib\n"
                                 "Inside ORVQsmErrorHandler EntryPoint\n"
                                 "RegisterErrorListener (QsmLogErrorWrapper ) Status: Success \n");
  EXPECT_EQ (StatusCodeListenerCount (), 1U);
  EXPECT_EQ (gFaultPlan.Calls[ServiceBootHandleProtocol], 0U) << "no unload handler is hooked";
  EXPECT_EQ (Platform.Machine.Uart.Sent, "") << "CMOS holds an empty mask";
}

TEST (Startup, MakesTheSharedBuffersAndLogsToTheSerialPort)
{
  SimulatedPlatform Platform (TwoSockets ({}));
  Platform.Machine.Cmos.Bytes[MaskTopByte] = 0x0C;
  ProtocolRemove (ProtocolBoot, &gEfiAcpiTableProtocolGuid);
  gTopology = {};
  HandOffRecordsFill ();
  Platform.LoadDriver ();
  EXPECT_EQ (Platform.Machine.Uart.Sent,
             "InitializeIioTopology!\r\n"
             "DumpIioTopology \r\n"
             "[WHEAINIT] Fail to locate gEfiAcpiTableProtocolGuid: Not Found \r\n"
             "InitializeErrorReportLib, Success\r\n"
             "InitializeErrorReportLib, Success\r\n"
             "RegisterErrorLogListener, Success\r\n");
  EXPECT_EQ (StoreText (), "LoggingLock 16 in SMM, locked\n"
                           "RasMailBox 632 in SMM, locked\n"
                           "RasAcpiParam 3226 outside, locked\n"
                           "SmmPlatMemTopology 12972 in SMM, locked\n"
                           "PlatIioTopology 2664 in SMM, locked\n"
                           "MemErrorRecordList 103432 in SMM, locked\n"
                           "ProcessorErrorRecordList 110088 in SMM, locked\n");
}

TEST (Startup, EndsWithTheStatusOfAMissingProtocol)
{
  const std::string Driver = "processor stopped at VelmoraQsmErrorHandler/VelmoraQsmErrorHandler:";
  const std::string Router =
      "processor stopped at ServerRasPkg/Library/LibraryGen2/ErrorReportLib/ErrorReportLib:";
  const struct {
    const char *Name;
    const EFI_GUID *Protocol;
    EFI_STATUS Status;   ///< Of the entry, without a debug service.
    std::string Stopped; ///< Where the processor stops, with one.
  } Rows[] = {
      {"inventory", &gOrvSmmSystemInventoryInfoProtocolGuid, EFI_NOT_FOUND, Driver + "377"},
      {"IPMI transport", &gSmmIpmiTransportProtocolGuid, EFI_NOT_FOUND, Driver + "386"},
      {"router", &gEfiSmmRscHandlerProtocolGuid, EFI_NOT_READY, Router + "139"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    {
      SimulatedPlatform Platform (TwoSockets ({}));
      ProtocolRemove (ProtocolSmm, Row.Protocol);
      EXPECT_EQ (Platform.LoadDriver ().Stopped, Row.Stopped);
    }
    SimulatedPlatform Platform (TwoSockets ({}));
    ProtocolRemove (ProtocolSmm, &gSmmDebugServiceProtocolGuid);
    ProtocolRemove (ProtocolSmm, Row.Protocol);
    const CallResult Load = Platform.LoadDriver ();
    EXPECT_EQ (Load.Stopped, "");
    EXPECT_EQ (Load.Status, Row.Status);
    EXPECT_EQ (gFaultPlan.Calls[ServiceRegisterListener], 0U);
    // Nothing is asked for behind a missing protocol.
    const auto *Transport =
        Platform.Drivers[0]->Symbol<SmmIpmiTransportProtocol *> ("mIpmiTransport");
    EXPECT_EQ (*Transport == nullptr, Row.Status == EFI_NOT_FOUND);
  }
}

TEST (Startup, StopsWithoutAServicesTable)
{
  // There is no way to a debug service, and the first check of the RAS libraries is fatal.
  SimulatedPlatform Platform (TwoSockets ({}));
  Platform.Machine.Cmos.Bytes[MaskTopByte] = 0x08;
  ProtocolRemove (ProtocolBoot, &gEfiSmmBase2ProtocolGuid);
  EXPECT_EQ (Platform.LoadDriver ().Stopped, "processor stopped without an assertion");
  EXPECT_EQ (Platform.Machine.Uart.Sent,
             "RAS ASSERT ERROR found -- "
             "ServerRasPkg/Library/SmmMpExtensionLib/SmmMpExtensionLib line 53!\r\n");
}

TEST (Startup, EndsWithTheStatusOfAFailedRegistration)
{
  for (const bool WithDebugService : {true, false}) {
    SimulatedPlatform Platform (TwoSockets ({}));
    if (!WithDebugService) {
      ProtocolRemove (ProtocolSmm, &gSmmDebugServiceProtocolGuid);
    }
    FaultPlanFail (ServiceRegisterListener, 1, EFI_OUT_OF_RESOURCES);
    const CallResult Load = Platform.LoadDriver ();
    EXPECT_EQ (Load.Stopped, WithDebugService
                                 ? "processor stopped at ServerRasPkg/Library/LibraryGen2/"
                                   "ErrorReportLib/ErrorReportLib:179"
                                 : "");
    if (!WithDebugService) {
      EXPECT_EQ (Load.Status, EFI_OUT_OF_RESOURCES);
    }
  }
}

TEST (Startup, TakesAWarningForASuccess)
{
  SimulatedPlatform Platform (TwoSockets ({}));
  FaultPlanFail (ServiceRegisterListener, 1, 5);
  const CallResult Load = Platform.LoadDriver ();
  EXPECT_EQ (Load.Stopped, "");
  EXPECT_EQ (Load.Status, 5U);
  EXPECT_EQ (Load.Log.back ().Text,
             "RegisterErrorListener (QsmLogErrorWrapper ) Status: Warning Stale Data \n");
}

TEST (Startup, SurvivesTheFailureOfAnyCall)
{
  for (const DebugWorld Debug : {DebugWorld::Present, DebugWorld::Absent}) {
    bool Reached = true;
    for (UINTN Nth = 1; Reached; ++Nth) {
      SCOPED_TRACE (Nth);
      ASSERT_LT (Nth, 1000U);
      SimulatedPlatform Platform (TwoSockets ({}));
      if (Debug == DebugWorld::Absent) {
        ProtocolRemove (ProtocolSmm, &gSmmDebugServiceProtocolGuid);
      }
      Platform.Machine.Cmos.Bytes[MaskTopByte] = 0x08;
      gFaultPlan.AnyService = {.Call = Nth, .Status = EFI_DEVICE_ERROR};
      const CallResult Load = LoadWithFailingCalls (Platform);
      Reached = gFaultPlan.AllCalls >= Nth;
      EXPECT_TRUE (Reached || Nth > 50) << "the load path makes more calls than this";
      if (Load.Stopped.empty ()) {
        EXPECT_EQ (StatusCodeListenerCount (), EFI_ERROR (Load.Status) ? 0U : 1U);
      } else if (Load.Stopped == "processor stopped without an assertion") {
        EXPECT_NE (Platform.Machine.Uart.Sent.find ("RAS ASSERT ERROR found"), std::string::npos);
      }
    }
  }
}

} // namespace
