/// What the boot code found, and what processors ask of SMM: one record at HAND_OVER_BASE, outside
/// SMRAM.
///
/// SMM copies what the boot code found once, ahead of the drivers, and looks at nothing but Calls
/// from then on.
#pragma once

#include "FirmwareWorld.h"
#include "HostInterface.h"
#include "MemoryMap.h"
#include "PciPlace.h"
#include "Record/RequestData.h"
#include "SmmTileOffsets.h"
#include "SystemInventory.h"

static_assert (SMM_TILES_BASE + ProcessorMax * SMM_TILE_SIZE <= SMM_IMAGE_BASE);
inline constexpr UINTN PciFunctionMax = 64;
inline constexpr UINTN InventoryEntryMax = 64;
inline constexpr UINTN InventoryNameMax = REDFISH_ID_SIZE_MAX;

/// One PCI function. A capability is where it starts in configuration space, 0 without it.
struct PciFunction : PciPlace {
  UINT8 IsBridge;
  UINT8 IsRootPort;
  UINT8 SecondaryBus, SubordinateBus; ///< Of a bridge.
  UINT8 HasSlot;
  UINT16 ExpressCapability;
  UINT16 AerCapability;
  UINT16 Slot; ///< Physical slot number behind a port that has a slot.
};

/// One device of the inventory.
struct InventoryEntry : InventoryRow {
  UINT64 Base, Size; ///< Addresses that lie on a memory device, as far as they are known.
  CHAR8 Name[InventoryNameMax]; ///< Ends with a NUL.
};

/// What a processor asks of SMM ahead of raising the SMI. SMM does it on this processor.
enum SmmCommand : UINT32 {
  SmmNone,        ///< Any other SMI: serves the error sources, as those below do too.
  SmmServe,       ///< Nothing more.
  SmmStart,       ///< Powers the firmware on and starts the modules.
  SmmReadyToLock, ///< Signals it.
  SmmReadState,   ///< Fills State.
};

/// Time from SMM entry to RSM, in ticks of the time-stamp counter.
struct SmiStatistics {
  UINT64 Count;
  UINT64 Last, Shortest, Longest; ///< Of the SMIs before this one.
};

/// The closing state of a run.
struct SmmStateReport {
  UINT64 LiveBlocks, LiveBytes; ///< Of the SMM pool.
  UINT64 ChecksumAtReady;       ///< Over all SMRAM that nobody may write since then.
  UINT64 ChecksumNow;
  SmiStatistics Processors[ProcessorMax];
};

struct HandOver {
  UINT32 ProcessorCount;
  UINT32 PciFunctionCount;
  UINT32 InventoryEntryCount;
  UINT32 Quiet;      ///< Not 0 if the driver's messages are to be left out of the log.
  UINT64 VolumeSize; ///< Bytes of the firmware volume at VOLUME_BASE; 0 without one.

  /// In the order of their APIC ids, so the first one, which boots, is 0.
  ProcessorPlace Processors[ProcessorMax];

  PciFunction PciFunctions[PciFunctionMax];
  InventoryEntry Inventory[InventoryEntryMax];
};

struct SmmCalls {
  SmmCommand Command[ProcessorMax]; ///< SMM makes it SmmNone when it is done.
  SmmStateReport State;
};

struct HandOverArea {
  HandOver Found;
  SmmCalls Calls;
};

/// The record in memory.
inline HandOverArea &
HandOverRecord ()
{
  return *reinterpret_cast<HandOverArea *> (HAND_OVER_BASE);
}

/// Where the boot code tries to write this once TSEG is closed, and SMM looks whether it could: the
/// lowest word of a stack, the first of the image and the last of all.
inline constexpr UINT32 SmramProbePattern = 0x0BADC0DE;
inline constexpr UINTN SmramProbes[] = {SMM_TILES_BASE + TILE_STACK, SMM_IMAGE_BASE,
                                        TSEG_BASE + TSEG_SIZE - sizeof (UINT32)};

/// What lies at SMM_IMAGE_BASE. The boot code calls Prepare while TSEG is still plain RAM and the
/// image lies in it.
struct SmmImageHeader {
  UINT64 Signature;
  VOID (*Prepare) (UINTN ProcessorCount);
};
inline constexpr UINT64 SmmImageSignature = 0x474D492D4D4D5356; // "VSMM-IMG"
