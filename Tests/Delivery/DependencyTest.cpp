/// What the platform has to bring: the driver's firmware file and docs/integration.md say what its
/// start does without.

#include <fstream>
#include <set>

#include "Guid/RasRcHob.h"
#include "GuidNames.h"
#include "HobList.h"
#include "ModuleFile.h"
#include "ProtocolDatabase.h"
#include "Record/IioSiPolicy.h"
#include "Record/StaticPointerTable.h"
#include "Record/UpiHostData.h"
#include "TestPlatform.h"

namespace {

using Names = std::set<std::string>;

/// What a load comes to, as the tables of the document say it.
std::string
Outcome (SimulatedPlatform &Platform)
{
  const CallResult Load = Platform.LoadDriver ();
  if (!Load.Stopped.empty ()) {
    constexpr std::string_view Stop = "processor stopped ";
    EXPECT_TRUE (Load.Stopped.starts_with (Stop));
    const std::string Place = Load.Stopped.substr (Stop.size ());
    const std::size_t Colon = Place.find (':');
    return "stops " + (Colon == std::string::npos
                           ? Place
                           : Place.substr (0, Colon) + " line " + Place.substr (Colon + 1));
  }
  return EFI_ERROR (Load.Status) ? "fails" : "goes on without";
}

/// Rows "| `gNameGuid` | ORIGIN | OUTCOME |" by what is withheld, for everything that is there.
std::map<std::string, std::string>
ProtocolRows ()
{
  std::map<std::string, std::string> Rows;
  for (const NamedGuid &Protocol : NamedGuids ()) {
    for (const ProtocolSpace Space : {ProtocolSmm, ProtocolBoot}) {
      BootedPlatform Platform (FourSockets (), DebugWorld::Present);
      VOID *Interface = nullptr;
      if (!EFI_ERROR (ProtocolLocate (Space, &Protocol.Guid, &Interface))) {
        ProtocolRemove (Space, &Protocol.Guid);
        const std::string Without = Outcome (Platform);
        Rows[GuidName (Protocol.Guid)] =
            std::string (Space == ProtocolSmm ? "SMM | " : "boot services | ") +
            (Without.starts_with ("goes on") ? "" : "waits, or ") + Without;
      }
    }
  }
  return Rows;
}

std::map<std::string, std::string>
HobRows ()
{
  constexpr NamedGuid Hobs[] = {
      {gStaticPointerHobGuid, "StaticPointerHob"}, {gUpiFirstRecordHobGuid, "UpiFirstRecordHob"},
      {gUpiHostRecordHobGuid, "UpiHostRecordHob"}, {gUpiThirdRecordHobGuid, "UpiThirdRecordHob"},
      {gIioSiPolicyHobGuid, "IioSiPolicyHob"},     {gRasRcPolicyHobGuid, "RasRcPolicyHob"},
      {gRasRcConfigHobGuid, "RasRcConfigHob"},
  };
  std::map<std::string, std::string> Rows;
  for (const NamedGuid &Hob : Hobs) {
    BootedPlatform Platform (FourSockets (), DebugWorld::Present);
    HobListRemove (&Hob.Guid);
    Rows[Hob.Name] = "HOB | " + Outcome (Platform);
  }
  return Rows;
}

TEST (Dependencies, AreTheProtocolsWithoutWhichTheDriverDoesNotStart)
{
  Names Needed;
  for (const auto &[Name, Row] : ProtocolRows ()) {
    if (!Row.ends_with ("goes on without")) {
      Needed.insert (Name);
    }
  }
  Names Expected;
  for (const EFI_GUID *Protocol : DriverDependencies) {
    Expected.insert (GuidName (*Protocol));
  }
  EXPECT_EQ (Needed, Expected);
}

TEST (Dependencies, AreWhatTheDocumentSays)
{
  std::set<std::string> Written;
  std::ifstream Document (QSM_INTEGRATION_DOCUMENT);
  for (std::string Line; std::getline (Document, Line);) {
    if (Line.starts_with ("| `g")) {
      Written.insert (Line);
    }
  }
  std::set<std::string> Found;
  for (const auto &Rows : {ProtocolRows (), HobRows ()}) {
    for (const auto &[Name, Row] : Rows) {
      Found.insert ("| `g" + Name + "Guid` | " + Row + " |");
    }
  }
  EXPECT_EQ (Written, Found);
}

} // namespace
