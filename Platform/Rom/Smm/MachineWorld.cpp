#include "MachineWorld.h"

#include "BlockArena.h"
#include "Firmware.h"
#include "FoundRecord.h"
#include "FoundTopology.h"
#include "KcsTransport.h"
#include "MachineLog.h"
#include "SmmTile.h"
#include "SystemInventory.h"

namespace {

/// By PoolKind.
constinit BlockArena mArenas[PoolKindCount] = {};

VOID *
TakeBlock (VOID *, PoolKind Kind, UINTN Size)
{
  return ArenaTake (&mArenas[Kind], Size);
}

VOID
ReturnBlock (VOID *, PoolKind Kind, VOID *Block, UINTN Size)
{
  ArenaReturn (&mArenas[Kind], Block, Size);
}

/// An assertion stops its processor for ever, with the debug service at work; the run ends there.
VOID
DebugOutput (VOID *, const DebugEntry *Entry)
{
  if (Entry->Kind == DebugAssertion) {
    EndRun (EndAssertion, "smm %ld: %a", Entry->Processor, Entry->Text);
  }
  if (gFound.Quiet == 0) {
    LogPrint ("smm %ld: %08x %a", Entry->Processor, static_cast<UINT32> (Entry->Level),
              Entry->Text);
  }
}

UINTN
ExecutingProcessor (VOID *)
{
  return CurrentTile ().Index;
}

ProcessorPlace
PlaceOfProcessor (VOID *, UINTN Index)
{
  const MachineProcessor &Row = gFound.Processors[Index];
  return {
      .ProcessorId = Row.ApicId, .Package = Row.Package, .Core = Row.Core, .Thread = Row.Thread};
}

VOID
Fault (VOID *, const CHAR8 *Text)
{
  EndRun (EndFault, "smm %d: fault: %a\n", CurrentTile ().Index, Text);
}

VOID
AddInventory ()
{
  for (UINTN Index = 0; Index < gFound.InventoryEntryCount; ++Index) {
    const InventoryEntry &Entry = gFound.Inventory[Index];
    const InventoryRow Row = {.Type = Entry.Type,
                              .Id = Entry.Name,
                              .Socket = Entry.Socket,
                              .Channel = Entry.Channel,
                              .Dimm = Entry.Dimm,
                              .Bus = Entry.Bus,
                              .Device = Entry.Device,
                              .Function = Entry.Function};
    SystemInventoryAdd (&Row);
  }
}

} // namespace

VOID
MachineWorldStart ()
{
  ArenaReset (&mArenas[PoolSmm], reinterpret_cast<UINT8 *> (SMM_POOL_BASE), SMM_POOL_SIZE);
  ArenaReset (&mArenas[PoolBoot], reinterpret_cast<UINT8 *> (BOOT_POOL_BASE), BOOT_POOL_SIZE);
  const FirmwareWorld World = {.Context = nullptr,
                               .NumberOfProcessors = gFound.ProcessorCount,
                               .SmramStart = SMM_POOL_BASE,
                               .SmramSize = SMM_POOL_SIZE,
                               .CoreStart = TSEG_BASE,
                               .CoreSize = SMM_POOL_BASE - TSEG_BASE,
                               .SmramOffset = 0,
                               .PciExpressBase = PCI_WINDOW_BASE,
                               .PciSegmentCount = 1,
                               .TakeBlock = TakeBlock,
                               .ReturnBlock = ReturnBlock,
                               .DebugOutput = DebugOutput,
                               .SendToBmc = KcsSendToBmc,
                               .ExecutingProcessor = ExecutingProcessor,
                               .PlaceOfProcessor = PlaceOfProcessor,
                               .Fault = Fault};
  FirmwareReset (&World);
  UseFoundTopology ();
  AddInventory ();
}
