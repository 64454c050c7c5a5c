#include "BenchPlatform.h"

#include "DebugService.h"
#include "IpmiTransport.h"

namespace {

EFI_STATUS EFIAPI
DiscardMessage (UINTN, const CHAR8 *, const CHAR8 *, VA_LIST)
{
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
DiscardCommand (SmmIpmiTransportProtocol *,
                UINT8,
                UINT8,
                UINT8,
                const UINT8 *,
                UINT8,
                UINT8 *ResponseData,
                UINT8 *ResponseDataSize)
{
  ResponseData[0] = 0;
  *ResponseDataSize = 1;
  return EFI_SUCCESS;
}

/// Of the processor.
constexpr UINT8 Package = 1;

PlatformDescription
OneProcessor ()
{
  PlatformDescription Description;
  Description.Processors = {{"intel-sapphire-rapids", Package << 7, true}};
  return Description;
}

} // namespace

BenchPlatform::BenchPlatform () : Platform (OneProcessor ()), Inventory (Package)
{
  Platform.LoadDriver ();
  Listener = Platform.Drivers[0]->Symbol<std::remove_pointer_t<EFI_SMM_RSC_HANDLER_CALLBACK>> (
      "QsmLogErrorWrapper");
  gDebugService.PrintWithName = DiscardMessage;
  gIpmiTransport.SendIpmiCommand = DiscardCommand;
}

void
BenchPlatform::FillInventory (UINT8 DeviceType, UINTN Count, MatchPlace Place)
{
  Inventory.Fill (DeviceType, Count, Place);
  *Platform.Drivers[0]->Symbol<const InventoryInfo *> ("mInventoryInfo") = &Inventory.Info;
}

EFI_STATUS_CODE_DATA *
BenchPlatform::Record (UINT8 ErrorClass)
{
  return Inventory.Record (ErrorClass);
}

void
BenchPlatform::Report (EFI_STATUS_CODE_DATA *StatusCodeData)
{
  CallDriver (Listener, EFI_ERROR_CODE, HARDWARE_ERROR_STATUS_CODE, 0U, nullptr, StatusCodeData);
}
