#include "ListenerFloor.h"

#include "Record/RequestData.h"

[[gnu::section ("Floor")]] UINTN EFIAPI
ListenerFloor (const FloorCalls *Calls)
{
  UINTN Found = 0;
  for (UINTN Index = 0; Index < Calls->LookedAt; ++Index) {
    if (Calls->Inventory->DeviceList[Index]->DeviceType == Calls->DeviceType) {
      ++Found;
    }
  }
  for (UINTN Index = 0; Index < Calls->MessageCount; ++Index) {
    const FloorMessage &Message = Calls->Messages[Index];
    (void)Calls->DebugService->PrintWithName (Message.Level, Message.ModuleName, Message.Format,
                                              Message.Arguments);
  }
  if (Calls->HasEvent) {
    VOID *Buffer = nullptr;
    (void)Calls->Smst->SmmAllocatePool (EfiRuntimeServicesData, REDFISH_ID_SIZE_MAX, &Buffer);
    UINT8 Response[16];
    UINT8 ResponseSize = sizeof Response;
    (void)Calls->Transport->SendIpmiCommand (Calls->Transport, 0x32, 0, 0x2C,
                                             static_cast<const UINT8 *> (Buffer), 14, Response,
                                             &ResponseSize);
    (void)Calls->Smst->SmmFreePool (Buffer);
  }
  return Found;
}
