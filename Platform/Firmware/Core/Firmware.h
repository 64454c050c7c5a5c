/// The stand-in firmware: what a boot does, from power-on to the reporting of errors.
///
/// It stands for the SMM core, the boot services and the closed components around the driver. There
/// is one firmware per process, as there is one on a machine. Whoever breaks its rules (a block
/// freed twice, a boot service called too late) ends in the world's Fault.
#pragma once

#include "FirmwareWorld.h"
#include "Uefi/StatusCode.h"
#include "Uefi/SystemTable.h"

extern "C" {

/// Power-on: brings every service into the state of a new boot and binds them to World, which is
/// copied. Comes before every other call; whatever an earlier boot gave out is no longer valid.
VOID FirmwareReset (const FirmwareWorld *World);

/// Makes known an image of ImageSize bytes that has been loaded at ImageBase. Returns the image
/// handle that its entry is given, beside gSystemTable; it carries the loaded image protocol.
EFI_HANDLE FirmwareAddImage (VOID *ImageBase, UINT64 ImageSize);

/// Ends the phase in which drivers may be loaded: notifies all who have asked for it, then closes
/// the boot services.
VOID FirmwareSignalReadyToLock ();

/// Reports a status code on the executing processor: passes it to every listener in the order of
/// their registration. Returns the first success among their answers, else the last one's error,
/// and EFI_NOT_FOUND when there is no listener. CallerId and Data may be null.
EFI_STATUS FirmwareReportStatusCode (EFI_STATUS_CODE_TYPE CodeType,
                                     EFI_STATUS_CODE_VALUE Value,
                                     UINT32 Instance,
                                     EFI_GUID *CallerId,
                                     EFI_STATUS_CODE_DATA *Data);
}
