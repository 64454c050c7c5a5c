/// Reaches PCI configuration space by the socket to which it belongs.
#pragma once

#include "Protocol/Usra.h"

extern "C" {

/// Returns where a configuration register is mapped, to be read there with 8 or 32 bits. Socket is
/// below SOCKET_MAX; Device, Function and Offset are cut to 5, 3 and 12 bits.
///
/// Returns null, which is not to be read, for a Socket out of range (with a line in the RAS debug
/// log), while the segment of the socket is not known for want of the system information record,
/// and without a USRA protocol (which is asserted).
VOID *MmPciAddressExt (UINT32 Socket, UINT8 Bus, UINT8 Device, UINT8 Function, UINT32 Offset);

/// Binds the USRA protocol for all later calls of MmPciAddressExt, and asks it for the first
/// address. *Register is null after a failure. Returns EFI_DEVICE_ERROR if there is no such
/// protocol, which is asserted.
[[nodiscard]] EFI_STATUS UsraAddressFirstCall (const UsraPcieAddress *Address, VOID **Register);

/// Looks for the USRA protocol. Returns its interface, which belongs to its producer, or null. A
/// failure is asserted.
UsraProtocol *UsraLocate ();
}
