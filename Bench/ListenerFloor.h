/// The least that a listener could do: the service calls of the driver's, with their arguments at
/// hand, and one compare for each device that is looked at.
#pragma once

#include <vector>

#include "Protocol/SmmDebugService.h"
#include "Protocol/SmmIpmiTransport.h"
#include "Protocol/SmmRscHandler.h"
#include "Record/Inventory.h"
#include "Uefi/SmmSystemTable.h"

/// A message, its arguments in their slots.
struct FloorMessage {
  UINTN Level;
  const CHAR8 *ModuleName;
  const CHAR8 *Format;
  VA_LIST Arguments;
};

struct FloorCalls {
  const InventoryInfo *Inventory;
  UINTN LookedAt; ///< Devices of it up to the one that matches.
  UINT8 DeviceType;
  SmmDebugServiceProtocol *DebugService;
  EFI_SMM_SYSTEM_TABLE2 *Smst;
  SmmIpmiTransportProtocol *Transport;
  const FloorMessage *Messages;
  UINTN MessageCount;
  bool HasEvent; ///< Whether pool is taken, the command sent and the pool given back.
};

/// Makes them. Returns the number of devices of the type.
extern "C" UINTN EFIAPI ListenerFloor (const FloorCalls *Calls);

/// Where its code lies.
extern "C" {
extern const UINT8 gFloorBegin[] asm("__start_Floor");
extern const UINT8 gFloorEnd[] asm("__stop_Floor");
}
