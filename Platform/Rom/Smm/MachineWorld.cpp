#include "MachineWorld.h"

#include "Firmware.h"
#include "FoundRecord.h"
#include "FoundTopology.h"
#include "HeldInventory.h"
#include "KcsTransport.h"
#include "MachineLog.h"
#include "ProtocolDatabase.h"
#include "SmmTile.h"
#include "SystemInventory.h"

namespace {

/// Fills the guards of a block.
constexpr UINT8 GuardPattern = 0x96;

bool
IsGuard (const UINT8 *Start, UINTN Size)
{
  UINTN Index = 0;
  while (Index < Size && Start[Index] == GuardPattern) {
    ++Index;
  }
  return Index == Size;
}

VOID
OpenBlock (VOID *, UINT8 *Block, UINTN Size)
{
  __builtin_memset (Block - PoolGuardAhead, GuardPattern, PoolGuardAhead);
  __builtin_memset (Block + Size, GuardPattern, PoolGuardBehind);
}

bool
CloseBlock (VOID *, UINT8 *Block, UINTN Size)
{
  return IsGuard (Block - PoolGuardAhead, PoolGuardAhead) &&
         IsGuard (Block + Size, PoolGuardBehind);
}

/// Composes what stands ahead of a message, "smm PROCESSOR: LEVEL ", the level with 8 hexadecimal
/// digits. The print engine would take longer for it than for most messages.
VOID
ComposeOrigin (CHAR8 (&Text)[24], UINTN Processor, UINT32 Level)
{
  constexpr CHAR8 Start[] = {'s', 'm', 'm', ' '};
  constexpr CHAR8 Digits[] = "0123456789ABCDEF";
  __builtin_memcpy (Text, Start, sizeof Start);
  CHAR8 *Next = Text + sizeof Start;
  if (Processor >= 10) {
    *Next++ = Digits[Processor / 10];
  }
  *Next++ = Digits[Processor % 10];
  *Next++ = ':';
  *Next++ = ' ';
  for (UINTN Left = 8; Left > 0; --Left) {
    *Next++ = Digits[Level >> (Left - 1) * 4 & 0xF];
  }
  *Next++ = ' ';
  *Next = '\0';
}

/// An assertion stops its processor for ever, with the debug service at work; the run ends there.
VOID
DebugOutput (VOID *, const DebugEntry *Entry)
{
  if (Entry->Kind == DebugAssertion) {
    EndRun (EndAssertion, "smm %ld: %a", Entry->Processor, Entry->Text);
  }
  CHAR8 Origin[24];
  ComposeOrigin (Origin, Entry->Processor, static_cast<UINT32> (Entry->Level));
  LogTexts (Origin, Entry->Text);
}

UINTN
ExecutingProcessor (VOID *)
{
  return CurrentTile ().Index;
}

ProcessorPlace
PlaceOfProcessor (VOID *, UINTN Index)
{
  return gFound.Processors[Index];
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
    SystemInventoryAdd (&Entry, Entry.Name);
  }
}

/// Leaves it to a module to publish the inventory.
VOID
HoldInventoryBack ()
{
  ProtocolRemove (ProtocolSmm, &gOrvSmmSystemInventoryInfoProtocolGuid);
  ProtocolPublish (ProtocolSmm, &gHeldInventoryProtocolGuid, &gInventory);
}

} // namespace

VOID
MachineWorldStart ()
{
  const FirmwareWorld World = {
      .Context = nullptr,
      .NumberOfProcessors = gFound.ProcessorCount,
      .Pools = {{reinterpret_cast<UINT8 *> (SMM_POOL_BASE), SMM_POOL_SIZE},
                {reinterpret_cast<UINT8 *> (BOOT_POOL_BASE), BOOT_POOL_SIZE}},
      .CoreStart = TSEG_BASE,
      .CoreSize = SMM_POOL_BASE - TSEG_BASE,
      .SmramOffset = 0,
      .PciExpressBase = PCI_WINDOW_BASE,
      .PciSegmentCount = 1,
      .OpenBlock = OpenBlock,
      .CloseBlock = CloseBlock,
      .IsQuiet = gFound.Quiet != 0,
      .DebugOutput = DebugOutput,
      .SendToBmc = KcsSendToBmc,
      .ExecutingProcessor = ExecutingProcessor,
      .PlaceOfProcessor = PlaceOfProcessor,
      .Fault = Fault};
  FirmwareReset (&World);
  UseFoundTopology ();
  AddInventory ();
  HoldInventoryBack ();
}
