#include "FoundRecord.h"

#include "MachineLog.h"

constinit HandOver gFound = {};

namespace {

/// Whether all counts fit their tables and all names end: what lies outside SMRAM is no more to be
/// trusted than its writer.
bool
IsSound (const HandOver &Found)
{
  bool Sound = Found.ProcessorCount != 0 && Found.ProcessorCount <= ProcessorMax &&
               Found.PciFunctionCount <= PciFunctionMax &&
               Found.InventoryEntryCount <= InventoryEntryMax && Found.VolumeSize <= VOLUME_MAX;
  for (UINTN Index = 0; Sound && Index < Found.InventoryEntryCount; ++Index) {
    Sound = Found.Inventory[Index].Name[InventoryNameMax - 1] == '\0';
  }
  return Sound;
}

} // namespace

VOID
TakeFoundRecord ()
{
  gFound = HandOverRecord ().Found;
  if (!IsSound (gFound)) {
    EndRun (EndMachine, "smm: the hand-over record is not sound\n");
  }
}
