/// What the driver waits for, as its firmware file says, is what its start cannot do without.

#include <set>

#include "GuidNames.h"
#include "ModuleFile.h"
#include "ProtocolDatabase.h"
#include "TestPlatform.h"

namespace {

using Names = std::set<std::string>;

TEST (Dependencies, AreTheProtocolsWithoutWhichTheDriverDoesNotStart)
{
  Names Needed;
  Names NotNeeded;
  for (const NamedGuid &Protocol : NamedGuids ()) {
    for (const ProtocolSpace Space : {ProtocolSmm, ProtocolBoot}) {
      BootedPlatform Platform (FourSockets (), DebugWorld::Present);
      VOID *Interface = nullptr;
      if (EFI_ERROR (ProtocolLocate (Space, &Protocol.Guid, &Interface))) {
        continue;
      }
      ProtocolRemove (Space, &Protocol.Guid);
      const CallResult Load = Platform.LoadDriver ();
      const bool Starts = Load.Stopped.empty () && !EFI_ERROR (Load.Status);
      (Starts ? NotNeeded : Needed).insert (GuidName (Protocol.Guid));
    }
  }
  Names Expected;
  for (const EFI_GUID *Protocol : DriverDependencies) {
    Expected.insert (GuidName (*Protocol));
  }
  EXPECT_EQ (Needed, Expected);
  EXPECT_EQ (NotNeeded, (Names{"EfiAcpiTableProtocol", "SmmDebugServiceProtocol", "UsraProtocol"}));
}

} // namespace
