/// From an error bit of the machine to the BMC's event, through the driver.

#include "HardwareErrors.h"

#include <algorithm>
#include <cstdio>

#include "ExecutingProcessor.h"
#include "MachineCheckRegisters.h"
#include "Protocol/SmmRscHandler.h"
#include "ProtocolDatabase.h"
#include "Record/PcieRegisters.h"
#include "StatusCodeRouter.h"
#include "TestPlatform.h"
#include "Transcript.h"
#include "Usra.h"

namespace {

constexpr UINT16 Express = SimulatedPci::ExpressOffset;
constexpr UINT16 Aer = SimulatedPci::AerOffset;
constexpr UINT16 UncorrectableStatus = Aer + offsetof (AerCapability, UncorrectableStatus);
constexpr UINT16 UncorrectableMask = Aer + offsetof (AerCapability, UncorrectableMask);
constexpr UINT16 CorrectedStatus = Aer + offsetof (AerCapability, CorrectedStatus);
constexpr UINT16 CorrectedMask = Aer + offsetof (AerCapability, CorrectedMask);
constexpr UINT16 RootErrorStatus = Aer + offsetof (AerCapability, RootErrorStatus);
constexpr UINT16 DeviceStatus = Express + offsetof (PcieCapability, DeviceStatus);

constexpr UINTN SectionStart = offsetof (ErrorRecord, Pcie);

constexpr UINT32 MalformedTlp = 0x40000;
constexpr UINT32 UnsupportedRequest = 0x100000;
constexpr UINT32 BadTlp = 0x40;

constexpr PcieErrorSource
Source (UINT8 Bus, UINT8 Device, UINT8 Function)
{
  return {{1, Bus, Device, Function}, SimulatedPciBase + PciSegmentSize, false, 0, 0};
}

SimulatedMachine *mMachine = nullptr;
AccessTranscript mAccesses;
std::vector<std::vector<UINT8>> mRecords;

/// Keeps what is reported, and leaves it to the driver to take it up.
EFI_STATUS EFIAPI
KeepRecord (
    EFI_STATUS_CODE_TYPE, EFI_STATUS_CODE_VALUE, UINT32, EFI_GUID *, EFI_STATUS_CODE_DATA *Data)
{
  const auto *Record = reinterpret_cast<const UINT8 *> (Data + 1);
  mRecords.emplace_back (Record, Record + Data->Size);
  return EFI_UNSUPPORTED;
}

/// Gives a processor banks, the last of them with what Status and Address say.
void
FillBanks (SimulatedProcessor &Processor, UINT32 Count, UINT64 Status, UINT64 Address)
{
  Processor.Msrs[IA32_MCG_CAP] = 0x1000000 | Count;
  for (UINT32 Bank = 0; Bank < std::min (Count, 32U); ++Bank) {
    Processor.Msrs[IA32_MC0_STATUS + 4 * Bank] = 0;
  }
  const UINT32 Last = 4 * (std::min (Count, 32U) - 1);
  Processor.Msrs[IA32_MC0_STATUS + Last] = Status;
  Processor.Msrs[IA32_MC0_ADDR + Last] = Address;
}

class HardwareErrors : public testing::Test {
public:
  HardwareErrors ()
      : Platform (TwoSockets ({ProcessorDevice ("cpu0", 0), ProcessorDevice ("cpu1", 1),
                               MemoryDevice ("dimm A", 1, 2, 0), MemoryDevice ("dimm B", 1, 2, 1),
                               MemoryDevice ("dimm C", 1, 3, 0), PcieDevice ("port", 0, 2, 0),
                               PcieDevice ("card", 0x41, 3, 5)}))
  {
    gHostMachine = mMachine = &Platform.Machine;
    Pci.Transcript = &mAccesses;
    FillBanks (Platform.Machine.Processor (0), 1, 0, 0);
    VOID *Router = nullptr;
    EXPECT_EQ (ProtocolLocate (ProtocolSmm, &gEfiSmmRscHandlerProtocolGuid, &Router), EFI_SUCCESS);
    EXPECT_EQ (static_cast<EFI_SMM_RSC_HANDLER_PROTOCOL *> (Router)->Register (KeepRecord),
               EFI_SUCCESS);
  }

  ~HardwareErrors () override
  {
    gHostMachine = nullptr;
  }

  static UINT32 &
  At (SimulatedPci::Registers &Function, UINTN Offset)
  {
    return *reinterpret_cast<UINT32 *> (&Function[Offset]);
  }

  /// Reports everything as one processor. Notes the events, what was written to registers, and the
  /// records from byte NotedFrom on.
  void
  Report (const std::string &Name, UINTN Processor = 0)
  {
    const OnProcessor Acting (Processor);
    const HostWorld::Position Start = Platform.World.Now ();
    mAccesses.clear ();
    mRecords.clear ();
    std::vector<PcieErrorSource> Found = Pcie;
    std::erase_if (Found, [] (PcieErrorSource &Each) { return !FindPcieErrorRegisters (&Each); });
    const HardwareErrorSources Sources = {
        .Pcie = Found.data (),
        .PcieCount = Found.size (),
        .Dimms = Dimms,
        .DimmCount = std::size (Dimms),
        .WriteMsr = [] (UINT32 Index, UINT64 Value) {
          mAccesses.push_back ("wrmsr " + std::to_string (Index) + " " + std::to_string (Value));
          mMachine->Processor (ExecutingProcessor ()).Msrs.at (Index) = Value;
        }};
    const UINTN Count = ReportPcieErrors (&Sources) + ReportMachineChecks (&Sources);
    EXPECT_EQ (Count, mRecords.size ());
    std::string Text = Name + ":";
    for (const BmcRequest &Event : Platform.World.RequestsSince (Start, Processor)) {
      Text += " " + std::to_string (Event.Data.at (1)) + "/" + std::to_string (Event.Data.at (2)) +
              " " + reinterpret_cast<const char *> (&Event.Data.at (3)) + ";";
    }
    Noted.push_back (Text);
    std::ranges::copy_if (mAccesses, std::back_inserter (Noted),
                          [] (const auto &Line) { return !Line.starts_with ("mmio in"); });
    std::ranges::for_each (mRecords, [this] (const auto &Record) { NoteRecord (Record); });
  }

  /// Notes a record without lines of zeros.
  void
  NoteRecord (const std::vector<UINT8> &Record)
  {
    for (UINTN Start = NotedFrom; Start < Record.size (); Start += 16) {
      char Text[24];
      std::snprintf (Text, sizeof Text, "  %03u:", static_cast<unsigned> (Start));
      std::string Line = Text;
      for (UINTN Byte = Start; Byte < std::min<UINTN> (Start + 16, Record.size ()); ++Byte) {
        std::snprintf (Text, sizeof Text, " %02X", Record[Byte]);
        Line += Text;
      }
      if (Line.find_first_not_of (" 0", 6) != std::string::npos) {
        Noted.push_back (Line);
      }
    }
  }

  LoadedPlatform Platform;
  SimulatedPci &Pci = Platform.Machine.Pci;
  std::vector<PcieErrorSource> Pcie;
  std::vector<std::string> Noted;
  UINTN NotedFrom = ~UINTN{0};
  static constexpr DimmRange Dimms[] = {{0, 0x20000, 0, 2, 9},
                                        {0x10000, 0x1000, 1, 2, 0},
                                        {0x11000, 0x1000, 1, 2, 1},
                                        {0x12000, 0x1000, 1, 3, 0}};
};

TEST_F (HardwareErrors, SendPcieEventsForWhatIsNotMaskedAndClearIt)
{
  Pcie = {Source (0x41, 3, 5)};
  const struct {
    const char *Name;
    UINT32 Uncorrectable, UncorrectableMask, Corrected, CorrectedMask;
  } Rows[] = {
      {"none", 0, 0, 0, 0},
      {"fatal", MalformedTlp, 0, 0, 0},
      {"not fatal", UnsupportedRequest, 0, 0, 0},
      {"one of two fatal", UnsupportedRequest | MalformedTlp, 0, 0, 0},
      {"the fatal one masked", UnsupportedRequest | MalformedTlp, MalformedTlp, 0, 0},
      {"corrected", 0, 0, BadTlp, 0x2000},
      {"both", MalformedTlp, 0, BadTlp, 0},
      {"masked", MalformedTlp, MalformedTlp, BadTlp, BadTlp},
      {"one masked", MalformedTlp, MalformedTlp, BadTlp, 0},
  };
  for (const auto &Row : Rows) {
    SimulatedPci::Registers &Function = Pci.AddExpressFunction (Pcie[0], 0);
    Function[DeviceStatus] |= 0x0F;
    At (Function, UncorrectableStatus) = Row.Uncorrectable;
    At (Function, UncorrectableMask) = Row.UncorrectableMask;
    At (Function, CorrectedStatus) = Row.Corrected;
    At (Function, CorrectedMask) = Row.CorrectedMask;
    Report (Row.Name);
    Report ("again");
  }
  ExpectTranscript ("PcieErrors", Noted);
}

TEST_F (HardwareErrors, ClearRootPortsAheadOfTheDevicesBehindThem)
{
  Pcie = {Source (0x41, 3, 5), Source (0, 2, 0)};
  SimulatedPci::Registers &Card = Pci.AddExpressFunction (Pcie[0], 0);
  SimulatedPci::Registers &Port = Pci.AddExpressFunction (Pcie[1], PciePortTypeRootPort);
  At (Port, RootErrorStatus) = 0x7D;
  At (Card, RootErrorStatus) = 0x7D; // Is none: the capability ends before it.
  At (Card, UncorrectableStatus) = MalformedTlp;
  Report ("card");
  At (Port, CorrectedStatus) = BadTlp;
  At (Card, UncorrectableStatus) = MalformedTlp;
  Report ("card and root port");
  ExpectTranscript ("RootPortErrors", Noted);
}

TEST_F (HardwareErrors, DescribeTheFunctionInItsRecord)
{
  Pcie = {Source (0, 2, 0)};
  SimulatedPci::Registers &Port = Pci.AddExpressFunction (Pcie[0], PciePortTypeRootPort);
  At (Port, RootErrorStatus) = 0x41;
  At (Port, UncorrectableStatus) = MalformedTlp;
  NotedFrom = 0;
  Report ("root port, whose registers count up by 7 from 5A");

  // A first-version device without a slot: no bridge, shorter capabilities.
  SimulatedPci::Registers &Device = Pci.AddExpressFunction (Pcie[0], 0);
  Device[Express + 2] = 0x01;
  Device[Express + 3] = 0x00;
  At (Device, CorrectedStatus) = BadTlp;
  NotedFrom = SectionStart;
  Report ("device of the first version");
  ExpectTranscript ("PcieRecords", Noted);
}

TEST_F (HardwareErrors, PassOverFunctionsWhoseListsLeadAstray)
{
  Pcie = {Source (0x41, 3, 5)};
  const struct {
    const char *Name;
    UINT16 Offset;
    UINT32 Value;
  } Rows[] = {
      {"absent", 0x00, 0xFFFFFFFF},
      {"no list", 0x04, 0},
      {"list leads into the header", 0x34, 0x3C},
      {"list goes in circles", 0xC0, 0xC005},
      {"capability beyond the end", 0xC0, 0xE005},
      {"extended list goes in circles", 0x100, 0x1001000B},
      {"extended list goes back", 0x100, 0x0501000B},
      {"extended list is empty", 0x100, 0},
      {"extended list does not answer", 0x100, 0xFFFFFFFF},
      {"AER beyond the end", 0x100, 0xFD81000B},
      {"AER does not answer", UncorrectableStatus, 0xFFFFFFFF},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    SimulatedPci::Registers &Function = Pci.AddExpressFunction (Pcie[0], 0);
    At (Function, 0x3C) = 0x00020010; // These three look like capabilities.
    At (Function, 0x50) = 0x00010001;
    At (Function, 0xE0) = 0x00020010;
    At (Function, 0xFD8) = 0x00010001;
    At (Function, UncorrectableStatus) = MalformedTlp;
    At (Function, Row.Offset) = Row.Value;
    Report (Row.Name);
    EXPECT_TRUE (mRecords.empty ());
  }
  Pci.RemoveFunction ({1, 0x41, 3, 5});
  Report ("removed");
  EXPECT_EQ (Noted.size (), std::size (Rows) + 1) << "nothing is written";
}

constexpr UINT64 Valid = MC_STATUS_VALID;
constexpr UINT64 WithAddress = Valid | MC_STATUS_ADDRESS_VALID;
constexpr UINT64 Uncorrected = MC_STATUS_UNCORRECTED;
constexpr UINT64 Corrupt = MC_STATUS_CONTEXT_CORRUPT;

TEST_F (HardwareErrors, SendMemoryEventsForMemoryControllers)
{
  SimulatedProcessor &Processor = Platform.Machine.Processor (1);
  const struct {
    const char *Name;
    UINT64 Status, Address;
    bool IsAmd = false;
  } Rows[] = {
      {"corrected", WithAddress | 0x92, 0x10000},
      {"not counted", WithAddress | 0x1092, 0x10FFF},
      {"next DIMM", WithAddress | 0xA2, 0x11000},
      {"scrubbed", WithAddress | 0xC3, 0x12FFF},
      {"channel open", WithAddress | 0x8F, 0x12000},
      {"uncorrected", WithAddress | Uncorrected | 0x92, 0x10000},
      {"fatal", WithAddress | Corrupt | 0xB2, 0x10000},
      {"one lost", WithAddress | MC_STATUS_OVERFLOW | 0x82, 0x10000},
      {"a count", WithAddress | MC_STATUS_DEFERRED | 0x92, 0x10000},
      {"deferred", WithAddress | MC_STATUS_DEFERRED | 0x92, 0x10000, true},
      {"other channel's address", WithAddress | 0x92, 0x12000},
      {"behind all DIMMs", WithAddress | 0x8F, 0x13000},
      {"no address", Valid | 0x92, 0x10000},
  };
  NotedFrom = SectionStart;
  for (const auto &Row : Rows) {
    if (Row.IsAmd) {
      Processor.CpuidAnswers[{0, 0}] = {0x10, 0x68747541, 0x444D4163, 0x69746E65};
    }
    FillBanks (Processor, 40, Row.Status, Row.Address);
    Report (Row.Name, 1);
    Processor.CpuidAnswers[{0, 0}].Ebx = 0x756E6547;
  }
  ExpectTranscript ("MemoryRecords", Noted);
}

TEST_F (HardwareErrors, SendProcessorEventsForTheSocketThatReports)
{
  const struct {
    const char *Name;
    UINT64 Status;
  } Rows[] = {
      {"cache", Valid | 0x0135},
      {"cache of any level", Valid | 0x000F},
      {"TLB", WithAddress | Uncorrected | 0x0012},
      {"bus", Valid | MC_STATUS_OVERFLOW | Uncorrected | Corrupt | 0x1E0B},
      {"timer", Valid | Corrupt | 0x0400},
      {"external", Valid | 0x0003},
  };
  NotedFrom = 0;
  for (const auto &Row : Rows) {
    FillBanks (Platform.Machine.Processor (1), 4, Row.Status, 0x1234);
    Report (Row.Name, 1);
  }
  ExpectTranscript ("ProcessorRecords", Noted);
}

TEST_F (HardwareErrors, AreAllReportedOnceWhateverBecomesOfThem)
{
  Pcie = {Source (0x41, 3, 5)};
  SimulatedProcessor &Processor = Platform.Machine.Processor (0);
  const auto Raise = [&] {
    At (Pci.AddExpressFunction (Pcie[0], 0), CorrectedStatus) = BadTlp;
    FillBanks (Processor, 2, Valid | 0x0135, 0);
    Processor.Msrs[IA32_MC0_STATUS] = Valid | Corrupt | 0x0135;
  };
  Raise ();
  Report ("a card and two banks");
  Processor.Msrs[IA32_MC0_STATUS] = Uncorrected | Corrupt | 0x0135;
  Report ("a bank that is not valid");

  StatusCodeRouterReset ();
  Raise ();
  Report ("nobody listens");

  Processor.CpuidAnswers[{1, 0}].Edx &= ~(1U << 14);
  Processor.Msrs.erase (IA32_MCG_CAP);
  Report ("no machine-check architecture, and none of its registers");
  ExpectTranscript ("ErrorsTogether", Noted);
}

} // namespace
