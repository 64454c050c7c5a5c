#include "SharedStores.h"

#include <map>
#include <string>

#include "Identity.h"
#include "Record/RasGlobalData.h"
#include "VariableStore.h"

namespace {

struct Usage {
  std::optional<UINTN> Maker;
  std::set<UINTN> Users;
};

/// What the one watch knows: the services themselves have no context to find it by.
const SimulatedPlatform *mWatched = nullptr;
EFI_SMM_VARIABLE_PROTOCOL mServices = {};
std::map<std::string, Usage> mUsages;

std::string
AsciiText (const CHAR16 *Name)
{
  const std::u16string Text = Name;
  return {Text.begin (), Text.end ()};
}

/// The usage of a store's variable by the driver that loads, or null if the call has failed or is
/// about another variable.
Usage *
RecordUse (EFI_STATUS Status, const CHAR16 *Name, const EFI_GUID *Namespace)
{
  if (EFI_ERROR (Status) || !IsSameGuid (*Namespace, gRasGlobalDataVariableGuid)) {
    return nullptr;
  }
  Usage &Found = mUsages[AsciiText (Name)];
  Found.Users.insert (mWatched->Drivers.size () - 1);
  return &Found;
}

EFI_STATUS EFIAPI
WatchedGet (
    const CHAR16 *Name, const EFI_GUID *Namespace, UINT32 *Attributes, UINTN *DataSize, VOID *Data)
{
  const EFI_STATUS Status = mServices.SmmGetVariable (Name, Namespace, Attributes, DataSize, Data);
  RecordUse (Status, Name, Namespace);
  return Status;
}

EFI_STATUS EFIAPI
WatchedSet (const CHAR16 *Name,
            const EFI_GUID *Namespace,
            UINT32 Attributes,
            UINTN DataSize,
            const VOID *Data)
{
  const EFI_STATUS Status = mServices.SmmSetVariable (Name, Namespace, Attributes, DataSize, Data);
  if (Usage *Found = RecordUse (Status, Name, Namespace)) {
    Found->Maker = mWatched->Drivers.size () - 1;
  }
  return Status;
}

} // namespace

StoreWatch::StoreWatch (const SimulatedPlatform &Platform)
{
  mWatched = &Platform;
  mUsages.clear ();
  mServices = gSmmVariable;
  gSmmVariable.SmmGetVariable = WatchedGet;
  gSmmVariable.SmmSetVariable = WatchedSet;
}

StoreWatch::~StoreWatch ()
{
  gSmmVariable = mServices;
}

std::vector<SharedStore>
StoreWatch::Stores () const
{
  std::vector<SharedStore> Stores;
  for (const SharedBuffer &Buffer : SharedBuffers ()) {
    const Usage &Known = mUsages[Buffer.Name];
    Stores.push_back ({Buffer, Known.Maker, Known.Users});
  }
  return Stores;
}
