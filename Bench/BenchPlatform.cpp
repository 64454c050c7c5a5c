#include "BenchPlatform.h"

#include <cstring>

#include "DebugService.h"
#include "IpmiTransport.h"

namespace {

/// Where the error of every class is. A device elsewhere differs in the last thing compared.
constexpr UINT8 HerePlace = 1;
constexpr UINT8 ElsewherePlace = 2;
constexpr CHAR8 RedfishId[] = "CPU1_C2_D0";

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

PlatformDescription
OneProcessor ()
{
  PlatformDescription Description;
  Description.Processors = {{"intel-sapphire-rapids", HerePlace << 7, true}};
  return Description;
}

} // namespace

BenchPlatform::BenchPlatform () : Platform (OneProcessor ())
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
  Devices.assign (Count, InventoryDevice{});
  List.clear ();
  for (UINTN Index = 0; Index < Count; ++Index) {
    const bool Here = (Place == MatchPlace::First && Index == 0) ||
                      (Place == MatchPlace::Last && Index == Count - 1);
    InventoryDevice &Device = Devices[Index];
    Device.DeviceType = DeviceType;
    Device.ProcessorSocket = Here ? HerePlace : ElsewherePlace;
    Device.MemoryDimm = Here ? HerePlace : ElsewherePlace;
    Device.PciDevFunc = Here ? HerePlace : ElsewherePlace;
    Device.ProcessorRedfishId = RedfishId;
    Device.MemoryRedfishId = RedfishId;
    Device.PcieRedfishId = RedfishId;
    List.push_back (&Device);
  }
  Info.DataReady = 1;
  Info.DeviceCount = Count;
  Info.DeviceList = List.data ();
  *Platform.Drivers[0]->Symbol<const InventoryInfo *> ("mInventoryInfo") = &Info;
}

EFI_STATUS_CODE_DATA *
BenchPlatform::Record (UINT8 ErrorClass)
{
  ErrorRecord Record = {};
  Record.Header.ErrorSeverity = CperSeverityFatal;
  switch (ErrorClass) {
  case ErrorClassProcessor:
    Record.Section.SectionType = gEfiProcessorGenericErrorSectionGuid;
    break;
  case ErrorClassMemory:
    Record.Section.SectionType = gEfiPlatformMemoryErrorSectionGuid;
    Record.Memory.ModuleRank = HerePlace;
    break;
  default:
    Record.Section.SectionType = gEfiPcieErrorSectionGuid;
    Record.Pcie.DevBridge.Function = HerePlace;
    break;
  }
  Data.resize (sizeof (EFI_STATUS_CODE_DATA) + sizeof (Record));
  std::memcpy (Data.data () + sizeof (EFI_STATUS_CODE_DATA), &Record, sizeof (Record));
  return reinterpret_cast<EFI_STATUS_CODE_DATA *> (Data.data ());
}

void
BenchPlatform::Report (EFI_STATUS_CODE_DATA *StatusCodeData)
{
  CallDriver (Listener, EFI_ERROR_CODE, HARDWARE_ERROR_STATUS_CODE, 0U, nullptr, StatusCodeData);
}
