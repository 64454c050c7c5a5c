/// From an error bit of the machine to the BMC's event, through the driver.

#include "HardwareErrors.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

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
    Platform.Machine.Pci.Transcript = &Accesses;
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

  SimulatedPci::Registers &
  AddFunction (const PcieErrorSource &At, UINT8 PortType)
  {
    return Platform.Machine.Pci.AddExpressFunction (At, PortType);
  }

  static void
  Set (SimulatedPci::Registers &Function, UINTN Offset, UINT32 Value)
  {
    std::memcpy (&Function[Offset], &Value, sizeof Value);
  }

  static UINT32
  Get (const SimulatedPci::Registers &Function, UINTN Offset)
  {
    return *reinterpret_cast<const UINT32 *> (&Function[Offset]);
  }

  /// Reports everything as one processor; returns the events.
  std::string
  Report (UINTN Processor = 0)
  {
    const OnProcessor Acting (Processor);
    const HostWorld::Position Start = Platform.World.Now ();
    mRecords.clear ();
    std::vector<PcieErrorSource> Found = Pcie;
    std::erase_if (Found, [] (PcieErrorSource &Each) { return !FindPcieErrorRegisters (&Each); });
    const HardwareErrorSources Sources = {
        .Pcie = Found.data (),
        .PcieCount = Found.size (),
        .Dimms = Dimms,
        .DimmCount = std::size (Dimms),
        .WriteMsr = [] (UINT32 Index, UINT64 Value) {
          mMachine->Processor (ExecutingProcessor ()).Msrs.at (Index) = Value;
        }};
    const UINTN Count = ReportPcieErrors (&Sources) + ReportMachineChecks (&Sources);
    EXPECT_EQ (Count, mRecords.size ());
    std::string Text;
    for (const BmcRequest &Event : Platform.World.RequestsSince (Start, Processor)) {
      EXPECT_EQ (Event.Data.at (0), 0);
      Text += std::to_string (Event.Data.at (1)) + "/" + std::to_string (Event.Data.at (2)) + " " +
              reinterpret_cast<const char *> (&Event.Data.at (3)) + "; ";
    }
    return Text;
  }

  /// The first write to configuration space so far, or "none".
  std::string
  FirstWrite () const
  {
    const auto Found = std::find_if (Accesses.begin (), Accesses.end (), [] (const auto &Line) {
      return Line.starts_with ("mmio out");
    });
    return Found != Accesses.end () ? *Found : "none";
  }

  /// Notes the one record of the last report from a byte on, without lines of zeros.
  void
  Note (const std::string &Name, UINTN From)
  {
    EXPECT_EQ (mRecords.size (), 1U);
    Noted.push_back (Name);
    const std::vector<UINT8> &Record = mRecords.at (0);
    for (UINTN Start = From; Start < Record.size (); Start += 16) {
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

  AccessTranscript Accesses;
  LoadedPlatform Platform;
  std::vector<PcieErrorSource> Pcie;
  std::vector<std::string> Noted;
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
    const char *Events;
    UINT32 UncorrectableLeft, CorrectedLeft;
  } Rows[] = {
      {"none", 0, 0, 0, 0, "", 0, 0},
      {"fatal", MalformedTlp, 0, 0, 0, "3/2 card; ", 0, 0},
      {"not fatal", UnsupportedRequest, 0, 0, 0, "3/1 card; ", 0, 0},
      {"one of two fatal", UnsupportedRequest | MalformedTlp, 0, 0, 0, "3/2 card; ", 0, 0},
      {"the fatal one masked", UnsupportedRequest | MalformedTlp, MalformedTlp, 0, 0, "3/1 card; ",
       0, 0},
      {"corrected", 0, 0, BadTlp, 0x2000, "3/1 card; ", 0, 0},
      {"both", MalformedTlp, 0, BadTlp, 0, "3/2 card; 3/1 card; ", 0, 0},
      {"masked", MalformedTlp, MalformedTlp, BadTlp, BadTlp, "", MalformedTlp, BadTlp},
      {"one masked", MalformedTlp, MalformedTlp, BadTlp, 0, "3/1 card; ", MalformedTlp, 0},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    SimulatedPci::Registers &Function = AddFunction (Pcie[0], 0);
    const UINT8 Before = Function[DeviceStatus] |= 0x0F;
    Set (Function, UncorrectableStatus, Row.Uncorrectable);
    Set (Function, UncorrectableMask, Row.UncorrectableMask);
    Set (Function, CorrectedStatus, Row.Corrected);
    Set (Function, CorrectedMask, Row.CorrectedMask);
    EXPECT_EQ (Report (), Row.Events);
    EXPECT_EQ (Get (Function, UncorrectableStatus), Row.UncorrectableLeft);
    EXPECT_EQ (Get (Function, CorrectedStatus), Row.CorrectedLeft);
    EXPECT_EQ (Function[DeviceStatus], *Row.Events != '\0' ? Before & 0xF0 : Before);
    EXPECT_EQ (Report (), "");
  }
}

TEST_F (HardwareErrors, ClearRootPortsAheadOfTheDevicesBehindThem)
{
  Pcie = {Source (0x41, 3, 5), Source (0, 2, 0)};
  SimulatedPci::Registers &Card = AddFunction (Pcie[0], 0);
  SimulatedPci::Registers &Port = AddFunction (Pcie[1], PciePortTypeRootPort);
  Set (Port, RootErrorStatus, 0x7D);
  Set (Card, RootErrorStatus, 0x7D); // Is none: the capability ends before it.
  Set (Card, UncorrectableStatus, MalformedTlp);
  EXPECT_EQ (Report (), "3/2 card; ");
  EXPECT_EQ (FirstWrite (), "mmio out 90010170 0000007D");
  EXPECT_EQ (Get (Port, RootErrorStatus), 0U);
  EXPECT_EQ (Get (Card, RootErrorStatus), 0x7DU);

  Set (Port, CorrectedStatus, BadTlp);
  Set (Card, UncorrectableStatus, MalformedTlp);
  EXPECT_EQ (Report (), "3/1 port; 3/2 card; ");
}

TEST_F (HardwareErrors, DescribeTheFunctionInItsRecord)
{
  Pcie = {Source (0, 2, 0)};
  SimulatedPci::Registers &Port = AddFunction (Pcie[0], PciePortTypeRootPort);
  Set (Port, RootErrorStatus, 0x41);
  Set (Port, UncorrectableStatus, MalformedTlp);
  EXPECT_EQ (Report (), "3/2 port; ");
  Note ("root port, whose registers count up by 7 from 5A", 0);

  // A first-version device without a slot: no bridge, shorter capabilities.
  SimulatedPci::Registers &Device = AddFunction (Pcie[0], 0);
  Device[Express + 2] = 0x01;
  Device[Express + 3] = 0x00;
  Set (Device, CorrectedStatus, BadTlp);
  EXPECT_EQ (Report (), "3/1 port; ");
  Note ("device of the first version", SectionStart);
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
    SimulatedPci::Registers &Function = AddFunction (Pcie[0], 0);
    Set (Function, 0x3C, 0x00020010); // These three look like capabilities.
    Set (Function, 0x50, 0x00010001);
    Set (Function, 0xE0, 0x00020010);
    Set (Function, 0xFD8, 0x00010001);
    Set (Function, UncorrectableStatus, MalformedTlp);
    Set (Function, Row.Offset, Row.Value);
    EXPECT_EQ (Report (), "");
    EXPECT_TRUE (mRecords.empty ());
  }
  Platform.Machine.Pci.RemoveFunction ({1, 0x41, 3, 5});
  EXPECT_EQ (Report (), "");
  EXPECT_EQ (FirstWrite (), "none");
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
    const char *Events;
    bool IsAmd = false;
  } Rows[] = {
      {"corrected", WithAddress | 0x92, 0x10000, "2/1 dimm A; "},
      {"not counted", WithAddress | 0x1092, 0x10FFF, "2/1 dimm A; "},
      {"next DIMM", WithAddress | 0xA2, 0x11000, "2/1 dimm B; "},
      {"scrubbed", WithAddress | 0xC3, 0x12FFF, "2/1 dimm C; "},
      {"channel open", WithAddress | 0x8F, 0x12000, "2/1 dimm C; "},
      {"uncorrected", WithAddress | Uncorrected | 0x92, 0x10000, "2/2 dimm A; "},
      {"fatal", WithAddress | Corrupt | 0xB2, 0x10000, "2/2 dimm A; "},
      {"one lost", WithAddress | MC_STATUS_OVERFLOW | 0x82, 0x10000, "2/1 dimm A; "},
      {"a count", WithAddress | MC_STATUS_DEFERRED | 0x92, 0x10000, "2/1 dimm A; "},
      {"deferred", WithAddress | MC_STATUS_DEFERRED | 0x92, 0x10000, "2/2 dimm A; ", true},
      {"other channel's address", WithAddress | 0x92, 0x12000, ""},
      {"behind all DIMMs", WithAddress | 0x8F, 0x13000, ""},
      {"no address", Valid | 0x92, 0x10000, ""},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    if (Row.IsAmd) {
      Processor.CpuidAnswers[{0, 0}] = {0x10, 0x68747541, 0x444D4163, 0x69746E65};
    }
    FillBanks (Processor, 40, Row.Status, Row.Address);
    EXPECT_EQ (Report (1), Row.Events);
    EXPECT_EQ (Processor.Msrs.at (IA32_MC0_STATUS + 4 * 31), 0U);
    Note (Row.Name, SectionStart);
    EXPECT_EQ (Report (1), "");
    Processor.CpuidAnswers[{0, 0}].Ebx = 0x756E6547;
  }
  ExpectTranscript ("MemoryRecords", Noted);
}

TEST_F (HardwareErrors, SendProcessorEventsForTheSocketThatReports)
{
  const struct {
    const char *Name;
    UINT64 Status;
    const char *Events;
  } Rows[] = {
      {"cache", Valid | 0x0135, "1/1 cpu1; "},
      {"cache of any level", Valid | 0x000F, "1/1 cpu1; "},
      {"TLB", WithAddress | Uncorrected | 0x0012, "1/1 cpu1; "},
      {"bus", Valid | MC_STATUS_OVERFLOW | Uncorrected | Corrupt | 0x1E0B, "1/2 cpu1; "},
      {"timer", Valid | Corrupt | 0x0400, "1/2 cpu1; "},
      {"external", Valid | 0x0003, "1/1 cpu1; "},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    FillBanks (Platform.Machine.Processor (1), 4, Row.Status, 0x1234);
    EXPECT_EQ (Report (1), Row.Events);
    Note (Row.Name, 0);
  }
  ExpectTranscript ("ProcessorRecords", Noted);
}

TEST_F (HardwareErrors, AreAllReportedOnceWhateverBecomesOfThem)
{
  Pcie = {Source (0x41, 3, 5)};
  SimulatedProcessor &Processor = Platform.Machine.Processor (0);
  const auto Raise = [&] {
    Set (AddFunction (Pcie[0], 0), CorrectedStatus, BadTlp);
    FillBanks (Processor, 2, Valid | 0x0135, 0);
    Processor.Msrs[IA32_MC0_STATUS] = Valid | Corrupt | 0x0135;
  };
  Raise ();
  EXPECT_EQ (Report (), "3/1 card; 1/2 cpu0; 1/1 cpu0; ");
  Processor.Msrs[IA32_MC0_STATUS] = Uncorrected | Corrupt | 0x0135;
  EXPECT_EQ (Report (), "") << "the bank is not valid";

  // Nobody listens: nothing counts as reported, and nothing is left behind.
  StatusCodeRouterReset ();
  Raise ();
  EXPECT_EQ (Report (), "");
  EXPECT_EQ (Get (*Platform.Machine.Pci.FindFunction ({1, 0x41, 3, 5}), CorrectedStatus), 0U);
  EXPECT_EQ (Processor.Msrs.at (IA32_MC0_STATUS), 0U);

  // A processor without machine-check architecture has none of its registers either.
  Processor.CpuidAnswers[{1, 0}].Edx &= ~(1U << 14);
  Processor.Msrs.erase (IA32_MCG_CAP);
  EXPECT_EQ (Report (), "");
}

} // namespace
