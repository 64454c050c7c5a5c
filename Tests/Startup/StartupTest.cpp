/// From the image's entry to resident, or back out.

#include "TestPlatform.h"

#include "BootServices.h"
#include "FaultPlan.h"
#include "Guid/RasRcHob.h"
#include "HandOffRecords.h"
#include "HobList.h"
#include "Protocol/AcpiTable.h"
#include "Protocol/CsrPseudoOffsetTable.h"
#include "Protocol/EmulationConfiguration.h"
#include "Protocol/OrvBufferValidation.h"
#include "Protocol/PcdProtocol.h"
#include "Protocol/SmmAccess2.h"
#include "Protocol/SmmBase2.h"
#include "Protocol/SmmCpuService.h"
#include "Protocol/SmmIpmiTransport.h"
#include "Protocol/SmmRscHandler.h"
#include "Protocol/SmmVariable.h"
#include "ProtocolDatabase.h"
#include "Record/Inventory.h"
#include "SmmServices.h"
#include "StatusCodeRouter.h"

namespace {

/// The CMOS byte with the levels that the driver's own lines have.
constexpr UINTN MaskTopByte = 0x4F;

/// Leaves two sockets with a few ports and stacks.
void
LeaveSmallTopology (SimulatedPlatform &Platform)
{
  gTopology = {};
  gTopology.Places[2] = {.Device = 6, .Function = 1};
  SocketRow &First = gTopology.Sockets[0];
  First.Present = TRUE;
  First.MaxPort = 33;
  First.Ports[0] = {.Exists = TRUE, .Bus = 0x20};
  First.Ports[2] = {.Exists = TRUE, .Bus = 0xA0};
  First.Stacks[0].Present = TRUE;
  First.Stacks[11].Present = TRUE;
  gTopology.Sockets[1].Present = TRUE;
  gTopology.Sockets[1].Stacks[5].Present = TRUE;
  HandOffRecordsFill ();
  Platform.Machine.Pci = {};
  Platform.Machine.Pci.Populate (gTopology);
}

TEST (Startup, RegistersTheListenerAndTellsBothLogs)
{
  SimulatedPlatform Platform (TwoSockets ({}));
  LeaveSmallTopology (Platform);
  // It leads elsewhere in every run, and its address would be in the transcript.
  HandOffStaticPointers ()->Pointers[SptMemMapHost] = 0;
  Platform.Machine.Cmos.Bytes[MaskTopByte] = 0x0C;
  const CallResult Load = Platform.LoadDriver ();
  EXPECT_EQ (Load.Status, EFI_SUCCESS);
  EXPECT_EQ (Load.Stopped, "");
  EXPECT_EQ (Load.Transcript () + Platform.SignalReadyToLock ().Transcript (),
             "VelmoraQsmErrorHandler: Building data for SysHostPointerLib\n"
             "Inside ORVQsmErrorHandler EntryPoint\n"
             "RegisterErrorListener (QsmLogErrorWrapper ) Status: Success \n"
             "VelmoraQsmErrorHandler: Sanitizing non-SMRAM pointers in SysHostPointerLib\n"
             "VelmoraQsmErrorHandler: Done sanitizing non-SMRAM pointers\n");
  EXPECT_EQ (Platform.Machine.Uart.Sent,
             "InitializeIioTopology!\r\n"
             "DumpIioTopology \r\n"
             "SktId = 0x0, MaxPort 0x21\r\n"
             "SktId = 0x0,Port = 0x0, Bus = 0x20,Device = 0x0,Function = 0x0 \r\n"
             "SktId = 0x0,Port = 0x1, Bus = 0xA0,Device = 0x6,Function = 0x1 \r\n"
             "SktId = 0x1, MaxPort 0x0\r\n"
             "SktId = 0x0,IioStack = 0x0 \r\n"
             "SktId = 0x0,IioStack = 0xB \r\n"
             "SktId = 0x1,IioStack = 0x5 \r\n"
             "InitializeErrorReportLib, Success\r\n"
             "InitializeErrorReportLib, Success\r\n"
             "RegisterErrorLogListener, Success\r\n");
  EXPECT_EQ (StatusCodeListenerCount (), 1U);
  EXPECT_EQ (gFaultPlan.Calls[ServiceBootHandleProtocol], 0U) << "no unload handler is hooked";
  EXPECT_EQ (StoreText (), "LoggingLock 16 in SMM, locked\n"
                           "RasMailBox 632 in SMM, locked\n"
                           "RasAcpiParam 3226 outside, locked\n"
                           "SmmPlatMemTopology 12972 in SMM, locked\n"
                           "PlatIioTopology 2664 in SMM, locked\n"
                           "MemErrorRecordList 103432 in SMM, locked\n"
                           "ProcessorErrorRecordList 110088 in SMM, locked\n");
}

template <ProtocolSpace Space, const EFI_GUID &Protocol>
void
Without (SimulatedPlatform &)
{
  ProtocolRemove (Space, &Protocol);
}

template <const EFI_GUID &Hob>
void
WithoutHob (SimulatedPlatform &)
{
  HobListRemove (&Hob);
}

/// Fails a call of a service, counted from the start of the load.
template <FirmwareService Service, UINTN Call>
void
Failing (SimulatedPlatform &)
{
  FaultPlanFail (Service, Call, EFI_DEVICE_ERROR);
}

/// Without the map the driver gives its blocks back to the boot services, which refuse them.
void
WithoutSmramMap (SimulatedPlatform &)
{
  ProtocolRemove (ProtocolBoot, &gEfiSmmAccess2ProtocolGuid);
  gSystemTable.BootServices->FreePool = [] (VOID *)
                                            EFIAPI -> EFI_STATUS { return EFI_INVALID_PARAMETER; };
}

const std::string RasAssertion = "RAS ASSERT ERROR found -- ServerRasPkg/Library/";
struct StepFailure {
  UINTN Position;
  void (*Fail) (SimulatedPlatform &Platform);
  std::string Assertion; ///< Where the processor stops with a debug service, if it does.
  std::string Serial;    ///< A line of the serial log; without a way on if an assertion.
  EFI_STATUS Status = EFI_SUCCESS;
};

const StepFailure StepFailures[] = {
    // Nothing can be reported ahead of position 3, and nothing can fail in positions 5 and 10.
    {1, [] (auto &) { gSystemTable.BootServices = nullptr; }, "",
     RasAssertion + "SmmMpExtensionLib/SmmMpExtensionLib line 53!"},
    {2, [] (auto &) { gSystemTable.RuntimeServices = nullptr; }, "", ""},
    {3, Without<ProtocolBoot, gEfiSmmBase2ProtocolGuid>, "",
     RasAssertion + "SmmMpExtensionLib/SmmMpExtensionLib line 53!"},
    {4, WithoutSmramMap, "MdePkg/Library/SmmMemoryAllocationLib/MemoryAllocationLib:65", ""},
    {6, Without<ProtocolSmm, gEfiSmmVariableProtocolGuid>,
     "ServerSiliconPkg/Ras/Library/SmmRasGlobalDataLib/RasGlobalDataLib:60",
     RasAssertion + "PlatMemTopoLib/SmmPlatMemTopologyLib line 55!"},
    {7, Without<ProtocolSmm, gEfiSmmCpuServiceProtocolGuid>,
     "ServerRasPkg/Library/SmmMpExtensionLib/SmmMpExtensionLib:52",
     RasAssertion + "SmmMpExtensionLib/SmmMpExtensionLib line 53!"},
    {8, [] (auto &Platform) { Platform.Machine.Uart.StayBusyForReads (65536); }, "AutoGen:923", ""},
    {9, Failing<ServiceGetVariable, 2>,
     "ServerSiliconPkg/Ras/Library/SmmRasGlobalDataLib/RasGlobalDataLib:145", ""},
    {11,
     [] (auto &) { gSystemTable.NumberOfTableEntries = gSmmSystemTable.NumberOfTableEntries = 0; },
     "Features/HybridMmPkg/Library/DxeSmmStandaloneMmHobLib/StandaloneMmHobLib:88",
     RasAssertion + "IioTopologyLib/IioTopologyLibSpr line 116!"},
    {12, Without<ProtocolSmm, gSystemInfoProtocolGuid>,
     "ServerSiliconPkg/Library/SystemInfoLib/SystemInfoLibSmm:126", ""},
    {13, Failing<ServiceBootAllocatePool, 1>, "AutoGen:938",
     "RasAcpiParam buffer is not allocated"},
    {14, Without<ProtocolSmm, gCsrPseudoOffsetTableProtocolGuid>,
     "ServerSiliconPkg/Library/CsrPseudoOffsetConvertLibSmm/CsrPseudoOffsetConvertLibSmm:138", ""},
    {15, Without<ProtocolBoot, gPcdProtocolGuid>, "MdePkg/Library/DxePcdLib/DxePcdLib:72", ""},
    {16, Failing<ServiceSmmRegisterNotify, 1>,
     "CpRcPkg/Library/SysHostPointerLib/SmmSysHostPointerLibProtocol:483", ""},
    {17, Without<ProtocolSmm, gEmulationConfigurationProtocolGuid>,
     "ServerSiliconPkg/Library/EmulationConfigurationLib/EmulationConfigurationSmmLib:307", ""},
    {18, WithoutHob<gUpiThirdRecordHobGuid>,
     "ServerSiliconPkg/Upi/Library/UpiHostDataLib/UpiHostDataLibSmm:85", "InitializeIioTopology!"},
    {19, WithoutHob<gRasRcConfigHobGuid>,
     "ServerSiliconPkg/Ras/Library/PeiDxeRasRcDataLib/DxeRasRcDataLib:64", ""},
    {20, Failing<ServiceGetVariable, 4>,
     "ServerSiliconPkg/Ras/Library/SmmRasGlobalDataLib/RasGlobalDataLib:145",
     RasAssertion + "PlatMemTopoLib/SmmPlatMemTopologyLib line 55!"},
    {21, Failing<ServiceSmmRegisterNotify, 2>, "AutoGen:962", ""},
    {22, Failing<ServiceBootLocateProtocol, 6>,
     "MdePkg/Library/MmServicesTableLib/MmServicesTableLib:47", ""},
    {23, Without<ProtocolBoot, gEfiAcpiTableProtocolGuid>, "",
     "[WHEAINIT] Fail to locate gEfiAcpiTableProtocolGuid: Not Found "},
    {24, Without<ProtocolSmm, gEfiSmmRscHandlerProtocolGuid>,
     "ServerRasPkg/Library/LibraryGen2/ErrorReportLib/ErrorReportLib:139",
     "RegisterErrorLogListener, Not Ready", EFI_NOT_READY},
    {25, Without<ProtocolSmm, gOrvBufferValidationProtocolGuid>,
     "OrvModulePkg/Library/SmmOrvBufferValidationLib/SmmOrvBufferValidationLib:38", ""},
    // Behind the constructors comes the driver's entry, which ends with the status of its failure.
    {26, Without<ProtocolSmm, gOrvSmmSystemInventoryInfoProtocolGuid>,
     "VelmoraQsmErrorHandler/VelmoraQsmErrorHandler:377", "", EFI_NOT_FOUND},
    {26, Without<ProtocolSmm, gSmmIpmiTransportProtocolGuid>,
     "VelmoraQsmErrorHandler/VelmoraQsmErrorHandler:386", "", EFI_NOT_FOUND},
    {26, Failing<ServiceRegisterListener, 1>,
     "ServerRasPkg/Library/LibraryGen2/ErrorReportLib/ErrorReportLib:179",
     "RegisterErrorLogListener, Device Error", EFI_DEVICE_ERROR},
};

TEST (Startup, SurvivesTheFailureOfEachStep)
{
  for (const DebugWorld Debug : {DebugWorld::Present, DebugWorld::Absent}) {
    for (const auto &Row : StepFailures) {
      SCOPED_TRACE (testing::Message () << "position " << Row.Position);
      BootedPlatform Platform (TwoSockets ({}), Debug);
      Platform.Machine.Cmos.Bytes[MaskTopByte] = 0x0C;
      Row.Fail (Platform);
      const CallResult Load = Platform.LoadDriver ();
      if (Debug == DebugWorld::Present && !Row.Assertion.empty ()) {
        EXPECT_EQ (Load.Stopped, "processor stopped at " + Row.Assertion);
        continue;
      }
      EXPECT_NE (Platform.Machine.Uart.Sent.find (Row.Serial), std::string::npos)
          << Platform.Machine.Uart.Sent;
      if (Row.Serial.starts_with (RasAssertion)) {
        EXPECT_EQ (Load.Stopped, "processor stopped without an assertion");
      } else {
        EXPECT_EQ (Load.Stopped, "");
        EXPECT_EQ (Load.Status, Row.Status);
        EXPECT_EQ (StatusCodeListenerCount (), EFI_ERROR (Row.Status) ? 0U : 1U);
      }
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
      BootedPlatform Platform (TwoSockets ({}), Debug);
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
