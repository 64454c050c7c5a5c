/// What the platform has to bring: the driver's firmware file and docs/integration.md say what its
/// boot does without, and the latter what it logs.

#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <set>

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
  std::smatch Site;
  if (std::regex_search (Stopped, Site, std::regex ("at (.+):(\\d+)"))) {
    return Site.format ("stops at $1 line $2");
  }
  EXPECT_TRUE (std::regex_search (Platform.Machine.Uart.Sent, Site,
                                  std::regex ("RAS ASSERT ERROR found -- (.+ line \\d+)!")));
  return Site.format ("stops at $1 (RAS log)");
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
  std::string Logs = Platform.Machine.Uart.Sent + Start + Lock;
  Logs = std::regex_replace (Logs, std::regex ("(SktId.*\\r\\n)+|(  Setting .*\\n)+"), "...\n");
  Logs = std::regex_replace (Logs, std::regex ("(^|\\n)(.*?) *\\r?(?=\\n)"), "$1    $2");
  std::string Written;
  for (const std::string &Line : DocumentLines ("    ")) {
    Written += (Line.starts_with ("    ...") ? "    ..." : Line) + '\n';
  }
  EXPECT_EQ (Written, Logs);
}

TEST (Logs, AreQuotedInTroubleAsTheyAre)
{
  std::string Known;
  for (const auto &Entry : std::filesystem::directory_iterator (QSM_SOURCES "/Tests/Transcripts")) {
    Known += TextOf (Entry.path ());
  }
  std::erase (Known, '|'); // Parts the bursts of the serial port.
  std::string Document = TextOf (QSM_SOURCES "/docs/troubleshooting.md");
  Document = Document.substr (0, Document.find ("## The reasons"));
  const std::regex Quoted ("\"([^\"\\n]+)\"");
  UINTN Count = 0;
  for (std::sregex_iterator Each (Document.begin (), Document.end (), Quoted), Last; Each != Last;
       ++Each) {
    EXPECT_NE (Known.find (Each->str (1)), std::string::npos) << Each->str ();
    ++Count;
  }
  EXPECT_GT (Count, 15U);
}

} // namespace
