/// What the drivers of a boot do, from their entry to the errors that they report, to the letter.

#include "Transcript.h"
#include "TestPlatform.h"
#include "TestRecords.h"

#include "BootServices.h"
#include "FaultPlan.h"
#include "Guid/RasRcHob.h"
#include "GuidNames.h"
#include "HobList.h"
#include "ProtocolDatabase.h"
#include "Record/IioSiPolicy.h"
#include "Record/Inventory.h"
#include "Record/StaticPointerTable.h"
#include "Record/UpiHostData.h"
#include "SmmServices.h"
#include "StatusCodeRouter.h"
#include "SystemInventory.h"

namespace {

using Lines = std::vector<std::string>;
using Step = std::function<void (RecordedPlatform &Platform)>;

const struct {
  DebugWorld Debug;
  const char *Name; ///< Of its transcripts.
} Worlds[] = {{DebugWorld::Present, ""}, {DebugWorld::Absent, "WithoutDebugService"}};

/// What comes of Act in one world: all of it when Undisturbed is empty, or else what is different
/// there. When the processor has stopped, that is what it did last, behind the last line in common.
Lines
Record (DebugWorld Debug, const Step &Before, const Step &Act, const Lines &Undisturbed = {})
{
  RecordedPlatform Platform (Debug);
  Before (Platform);
  (void)Platform.Record.Take ();
  Act (Platform);
  const Lines All = Platform.Record.Take ();
  if (Undisturbed.empty () || All.back ().starts_with ("ends: ")) {
    return Undisturbed.empty () ? All : Difference (Undisturbed, All, 0);
  }
  auto First =
      std::mismatch (All.begin (), All.end (), Undisturbed.begin (), Undisturbed.end ()).first;
  First -= First == All.begin () ? 0 : 1;
  return {First, All.end ()};
}

void
Append (Lines &To, const std::string &Heading, const Lines &Section)
{
  To.push_back ((To.empty () ? "== " : "\n== ") + Heading);
  To.insert (To.end (), Section.begin (), Section.end ());
}

/// Appends what Act does when the N-th call of a service fails, for every N. Next comes behind it,
/// when nothing fails any more, and is not recorded.
void
AppendFailures (Lines &To, DebugWorld Debug, const Step &Before, const Step &Act, const Step &Next)
{
  const Lines Undisturbed = Record (Debug, Before, Act);
  bool Reached = true;
  for (UINTN Nth = 1; Reached; ++Nth) {
    ASSERT_LT (Nth, 1000U);
    const auto Plan = [&] (RecordedPlatform &Platform) {
      Before (Platform);
      gFaultPlan.AnyService = {.Call = gFaultPlan.AllCalls + Nth, .Status = EFI_DEVICE_ERROR};
    };
    const auto ActOnce = [&] (RecordedPlatform &Platform) {
      Act (Platform);
      Reached = gFaultPlan.AllCalls >= gFaultPlan.AnyService.Call;
      gFaultPlan.AnyService = {};
      Platform.Record.Silent = true;
      Next (Platform);
    };
    const Lines Section = Record (Debug, Plan, ActOnce, Undisturbed);
    if (Reached) {
      Append (To, "call " + std::to_string (Nth) + " fails", Section);
    }
  }
}

void
Nothing (RecordedPlatform &)
{
}

void
LoadFirst (RecordedPlatform &Platform)
{
  Platform.Record.Note (LoadWithFailingCalls (Platform));
}

TEST (Transcript, OfABoot)
{
  Lines First;
  for (const auto &World : Worlds) {
    RecordedPlatform Platform (World.Debug);
    Platform.Load ();
    Platform.Record.Note ("buffers: " + StoreText ());
    const Lines Loaded = Platform.Record.Take ();
    if (First.empty ()) {
      First = Loaded;
      ExpectTranscript ("FirstDriver", Loaded);
      Platform.Load ();
      ExpectTranscript ("SecondDriver", Platform.Record.Take ());
      Platform.ReadyToLock ();
      ExpectTranscript ("ReadyToLock", Platform.Record.Take ());
    } else {
      ExpectTranscript ("FirstDriverWithoutDebugService", Difference (First, Loaded, 1));
    }
  }
}

template <FirmwareService Service, UINTN Call, EFI_STATUS Status>
void
Failing (RecordedPlatform &)
{
  FaultPlanFail (Service, Call, Status);
}

template <const EFI_GUID &Hob>
void
WithoutHob (RecordedPlatform &)
{
  HobListRemove (&Hob);
}

const struct {
  const char *Name;
  Step Fail;
} Troubles[] = {
    {"no boot services", [] (auto &) { gSystemTable.BootServices = nullptr; }},
    {"no runtime services", [] (auto &) { gSystemTable.RuntimeServices = nullptr; }},
    {"no configuration tables",
     [] (auto &) { gSystemTable.NumberOfTableEntries = gSmmSystemTable.NumberOfTableEntries = 0; }},
    {"a serial port that stays busy",
     [] (auto &Platform) { Platform.Machine.Uart.StayBusyForReads (65536); }},
    {"no first UPI record", WithoutHob<gUpiFirstRecordHobGuid>},
    {"no second UPI record", WithoutHob<gUpiHostRecordHobGuid>},
    {"no third UPI record", WithoutHob<gUpiThirdRecordHobGuid>},
    {"no RAS policy", WithoutHob<gRasRcPolicyHobGuid>},
    {"no RAS configuration", WithoutHob<gRasRcConfigHobGuid>},
    {"no static pointers", WithoutHob<gStaticPointerHobGuid>},
    {"no IIO policy", WithoutHob<gIioSiPolicyHobGuid>},
    {"a router that warns", Failing<ServiceRegisterListener, 1, 5>},
};

TEST (Transcript, OfAPlatformInTrouble)
{
  for (const auto &World : Worlds) {
    const Lines Undisturbed = Record (World.Debug, Nothing, LoadFirst);
    Lines All;
    for (const auto &Trouble : Troubles) {
      Append (All, Trouble.Name, Record (World.Debug, Trouble.Fail, LoadFirst, Undisturbed));
    }
    for (const auto &Protocol : NamedGuids ()) {
      const auto Empty = [&] (RecordedPlatform &) {
        for (const ProtocolSpace Space : {ProtocolSmm, ProtocolBoot}) {
          VOID *Interface = nullptr;
          if (!EFI_ERROR (ProtocolLocate (Space, &Protocol.Guid, &Interface))) {
            ProtocolRemove (Space, &Protocol.Guid);
            ProtocolPublish (Space, &Protocol.Guid, nullptr);
          }
        }
      };
      Append (All, std::string ("no interface of ") + Protocol.Name,
              Record (World.Debug, Empty, LoadFirst, Undisturbed));
    }
    ExpectTranscript (std::string ("Troubles") + World.Name, All);
  }
}

TEST (Transcript, OfTheFailureOfEachCall)
{
  for (const auto &World : Worlds) {
    const auto LoadNext = [&] (RecordedPlatform &Platform) {
      const UINTN Listeners = StatusCodeListenerCount ();
      if (World.Debug == DebugWorld::Absent) {
        // It keeps silent, for the first may have left the locks of the log without a value.
        Platform.Machine.Cmos.Bytes[0x4F] = 0;
        EXPECT_EQ (Platform.LoadDriver ().Status, EFI_SUCCESS);
        EXPECT_EQ (StatusCodeListenerCount (), Listeners + 1);
      }
    };
    Lines All;
    AppendFailures (All, World.Debug, Nothing, LoadFirst, LoadNext);
    ExpectTranscript (std::string ("FailingCalls") + World.Name, All);
  }
}

const std::vector<UINT8> FatalErrors[] = {ProcessorRecord (CperSeverityFatal),
                                          MemoryRecord (CperSeverityFatal, 1, 2, 0),
                                          PcieRecord (CperSeverityFatal, 0x3B, 2, 1)};

EFI_STATUS EFIAPI
GiveNothing (EFI_MEMORY_TYPE, UINTN, VOID **Buffer)
{
  *Buffer = nullptr;
  return EFI_SUCCESS;
}

TEST (Transcript, OfErrors)
{
  const struct {
    const char *Name;
    std::vector<UINT8> Record;
    void (*Prepare) (SimulatedPlatform &Platform) = nullptr;
  } Rows[] = {
      {"a recoverable processor error", ProcessorRecord (CperSeverityRecoverable)},
      {"a fatal processor error", FatalErrors[0]},
      {"an informational processor error", ProcessorRecord (CperSeverityInformational)},
      {"a corrected memory error", MemoryRecord (CperSeverityCorrected, 1, 2, 0)},
      {"a fatal memory error", FatalErrors[1]},
      {"a corrected PCIe error", PcieRecord (CperSeverityCorrected, 0x3B, 2, 1)},
      {"a fatal PCIe error", FatalErrors[2]},
      {"an error of no device", PcieRecord (CperSeverityFatal, 0x3B, 2, 0)},
      {"an answer of many bytes", FatalErrors[2],
       [] (auto &Platform) { Platform.World.Bmc.Response.assign (252, 0xC9); }},
      {"a transport without an answer", FatalErrors[2],
       [] (auto &Platform) {
         Platform.World.Bmc = {EFI_TIMEOUT, {}};
       }},
      {"a transport with a late answer", FatalErrors[2],
       [] (auto &Platform) {
         Platform.World.Bmc = {EFI_DEVICE_ERROR, {0xD2}};
       }},
      {"a pool that gives nothing", FatalErrors[2],
       [] (auto &) { gSmmSystemTable.SmmAllocatePool = GiveNothing; }},
      {"an error ahead of the inventory", FatalErrors[2],
       [] (auto &) { gInventory.DataReady = 0; }},
  };
  Lines All;
  RecordedPlatform Platform (DebugWorld::Present);
  Platform.Load ();
  for (const auto &Row : Rows) {
    (void)Platform.Record.Take ();
    if (Row.Prepare != nullptr) {
      Row.Prepare (Platform);
    }
    Platform.ReportError (Row.Record, {.Processor = 1});
    Append (All, Row.Name, Platform.Record.Take ());
  }
  ExpectTranscript ("Errors", All);
}

TEST (Transcript, OfErrorsWhoseCallsFail)
{
  const auto LoseInventory = [] (RecordedPlatform &Platform) {
    Platform.Load ();
    *Platform.Drivers[0]->Symbol<const InventoryInfo *> ("mInventoryInfo") = nullptr;
  };
  for (const auto &World : Worlds) {
    Lines All;
    for (const auto &Error : FatalErrors) {
      const auto ReportIt = [&] (RecordedPlatform &Platform) {
        Platform.ReportError (Error, {.Processor = 1});
      };
      const auto ReportAgain = [&] (RecordedPlatform &Platform) {
        EXPECT_EQ (Platform.Report (Error, {.Processor = 1}).Events.size (), 1U);
      };
      AppendFailures (All, World.Debug, LoseInventory, ReportIt, ReportAgain);
    }
    ExpectTranscript (std::string ("FailingErrors") + World.Name, All);
  }
}

} // namespace
