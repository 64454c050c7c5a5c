/// What the platform has to bring: the driver's firmware file and docs/integration.md say what its
/// boot does without, and the latter what it logs.

#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include <fmt/format.h>

#include "BootServices.h"
#include "Cper/Guid.h"
#include "Guid/HobList.h"
#include "Guid/RasRcHob.h"
#include "GuidNames.h"
#include "HobList.h"
#include "ModuleFile.h"
#include "ProtocolDatabase.h"
#include "Record/IioSiPolicy.h"
#include "Record/StaticPointerTable.h"
#include "Record/UpiHostData.h"
#include "SmmServices.h"
#include "TestPlatform.h"
#include "TestRecords.h"

namespace {

using Names = std::set<std::string>;

/// What the fourth byte of CMOS from 0x4C on holds when the drivers' lines of the RAS log pass.
constexpr UINT8 RasLogLevel = 0x08;

/// Where the processor has stopped. The RAS libraries' own assertions are in their log alone.
std::string
Place (const SimulatedPlatform &Platform, const std::string &Stopped)
{
  constexpr std::string_view At = "processor stopped at ", InLog = "RAS ASSERT ERROR found -- ";
  if (Stopped.starts_with (At)) {
    const std::size_t Line = Stopped.rfind (':');
    return "stops at " + Stopped.substr (At.size (), Line - At.size ()) + " line " +
           Stopped.substr (Line + 1);
  }
  const std::string &Log = Platform.Machine.Uart.Sent;
  const std::size_t Start = Log.rfind (InLog) + InLog.size ();
  return "stops at " + Log.substr (Start, Log.find ('!', Start) - Start) + " (RAS log)";
}

/// What a boot comes to, as the tables of the document say it.
std::string
Outcome (SimulatedPlatform &Platform)
{
  Platform.Machine.Cmos.Bytes[0x4F] = RasLogLevel;
  const CallResult Load = LoadWithFailingCalls (Platform);
  if (Load.Stopped.starts_with ("freed")) {
    return "gives SMM pool to the boot services' `FreePool`";
  }
  if (!Load.Stopped.empty ()) {
    return Place (Platform, Load.Stopped);
  }
  if (EFI_ERROR (Load.Status)) {
    return "leaves with an error";
  }
  const CallResult Lock = Platform.SignalReadyToLock ();
  if (!Lock.Stopped.empty ()) {
    return "starts; at SmmReadyToLock it " + Place (Platform, Lock.Stopped);
  }
  EXPECT_EQ (Platform.Report (MemoryRecord (CperSeverityCorrected, 1, 2, 0)).Events.size (), 1U);
  return "goes on";
}

/// What comes of a boot in which something is missing.
struct Outcomes {
  std::string Title; ///< "`gNameGuid` | GUID", and in which database it would be.
  std::string WithDebugService, WithoutDebugService;
};
using OutcomesByName = std::map<std::string, Outcomes>;

Outcomes
BootWithout (const NamedGuid &Missing, const char *Origin, const std::function<void ()> &Take)
{
  Outcomes Found = {
      fmt::format ("`g{}Guid` | {}{}", Missing.Name, GuidText (Missing.Guid), Origin), {}, {}};
  for (auto [Debug, Text] : {std::pair (DebugWorld::Present, &Found.WithDebugService),
                             std::pair (DebugWorld::Absent, &Found.WithoutDebugService)}) {
    BootedPlatform Platform (FourSockets (), Debug);
    Take ();
    *Text = Outcome (Platform);
  }
  return Found;
}

bool
IsThere (ProtocolSpace Space, const EFI_GUID &Protocol)
{
  const BootedPlatform Platform (FourSockets (), DebugWorld::Present);
  VOID *Interface = nullptr;
  return !EFI_ERROR (ProtocolLocate (Space, &Protocol, &Interface));
}

/// For each protocol that is there.
OutcomesByName
Protocols ()
{
  OutcomesByName All;
  for (const NamedGuid &Protocol : NamedGuids ()) {
    for (const ProtocolSpace Space : {ProtocolSmm, ProtocolBoot}) {
      // A GUID with two names counts by the first.
      if (IsThere (Space, Protocol.Guid) && GuidName (Protocol.Guid) == Protocol.Name) {
        Outcomes &Without = All[Protocol.Name] =
            BootWithout (Protocol, Space == ProtocolSmm ? " | SMM" : " | boot services",
                         [&] { ProtocolRemove (Space, &Protocol.Guid); });
        if (Without.WithDebugService.starts_with ("stops")) {
          Without.WithDebugService.insert (0, "waits, or ");
        }
      }
    }
  }
  return All;
}

OutcomesByName
Hobs ()
{
  constexpr NamedGuid Hobs[] = {
      {gStaticPointerHobGuid, "StaticPointerHob"}, {gUpiFirstRecordHobGuid, "UpiFirstRecordHob"},
      {gUpiHostRecordHobGuid, "UpiHostRecordHob"}, {gUpiThirdRecordHobGuid, "UpiThirdRecordHob"},
      {gIioSiPolicyHobGuid, "IioSiPolicyHob"},     {gRasRcPolicyHobGuid, "RasRcPolicyHob"},
      {gRasRcConfigHobGuid, "RasRcConfigHob"},
  };
  OutcomesByName All;
  for (const NamedGuid &Hob : Hobs) {
    All[Hob.Name] = BootWithout (Hob, "", [&] { HobListRemove (&Hob.Guid); });
  }
  All["EfiHobList"] = BootWithout ({gEfiHobListGuid, "EfiHobList"}, "", [] {
    gSystemTable.NumberOfTableEntries = gSmmSystemTable.NumberOfTableEntries = 0;
  });
  return All;
}

TEST (Dependencies, AreTheProtocolsWithoutWhichTheDriverDoesNotStart)
{
  Names Needed;
  for (const auto &[Name, Without] : Protocols ()) {
    if (Without.WithDebugService.starts_with ("waits")) {
      Needed.insert (Name);
    }
  }
  Names Expected;
  for (const EFI_GUID *Protocol : DriverDependencies) {
    Expected.insert (GuidName (*Protocol));
  }
  EXPECT_EQ (Needed, Expected);
}

std::string
TextOf (const std::filesystem::path &File)
{
  std::ifstream Stream (File);
  return {std::istreambuf_iterator<char> (Stream), {}};
}

/// The lines of the document that begin so.
std::vector<std::string>
DocumentLines (std::string_view Start)
{
  std::vector<std::string> Lines;
  std::ifstream Document (QSM_SOURCES "/docs/integration.md");
  for (std::string Line; std::getline (Document, Line);) {
    if (Line.starts_with (Start)) {
      Lines.push_back (Line);
    }
  }
  return Lines;
}

TEST (Dependencies, AreWhatTheDocumentSays)
{
  const std::vector<std::string> Lines = DocumentLines ("| `g");
  const Names Written (Lines.begin (), Lines.end ());
  Names Found;
  for (const auto &All : {Protocols (), Hobs ()}) {
    for (const auto &[Name, Without] : All) {
      Found.insert (fmt::format ("| {} | {} | {} |", Without.Title, Without.WithDebugService,
                                 Without.WithoutDebugService));
    }
  }
  EXPECT_EQ (Written, Found);
}

TEST (Logs, AreWhatTheDocumentSays)
{
  BootedPlatform Platform (FourSockets (), DebugWorld::Present);
  Platform.Machine.Cmos.Bytes[0x4F] = RasLogLevel;
  const std::string Start = Platform.LoadDriver ().Transcript ();
  const std::string Lock = Platform.SignalReadyToLock ().Transcript ();
  std::istringstream Logs (Platform.Machine.Uart.Sent + Start + Lock);
  std::vector<std::string> Found;
  for (std::string Line; std::getline (Logs, Line);) {
    const bool IsOfMany = Line.starts_with ("SktId") || Line.starts_with ("  Setting");
    Line = "    " + (IsOfMany ? "..." : Line.substr (0, Line.find_last_not_of (" \r") + 1));
    if (!IsOfMany || Found.back () != Line) {
      Found.push_back (Line);
    }
  }
  std::vector<std::string> Written = DocumentLines ("    ");
  for (std::string &Line : Written) {
    Line = Line.starts_with ("    ...") ? "    ..." : Line;
  }
  EXPECT_EQ (Written, Found);
}

TEST (Logs, AreQuotedInTroubleAsTheyAre)
{
  std::string Known;
  for (const auto &Entry : std::filesystem::directory_iterator (QSM_SOURCES "/Tests/Transcripts")) {
    Known += TextOf (Entry.path ());
  }
  std::erase (Known, '|'); // Parts the bursts of the serial port.
  const std::string Text = TextOf (QSM_SOURCES "/docs/troubleshooting.md");
  std::istringstream Document (Text.substr (0, Text.find ("## The reasons")));
  UINTN Count = 0;
  const auto Next = [&] (std::string &Part) { return !!std::getline (Document, Part, '"'); };
  for (std::string Quoted; Next (Quoted) && Next (Quoted); ++Count) {
    EXPECT_NE (Known.find (Quoted), std::string::npos) << Quoted;
  }
  EXPECT_GT (Count, 15U);
}

} // namespace
