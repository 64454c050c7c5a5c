#include "BenchInventory.h"

#include <cstring>

#include "Uefi/StatusCode.h"

namespace {

/// Where memory and PCIe errors are. A device elsewhere differs in the last thing compared.
constexpr UINT8 HerePlace = 1;
constexpr UINT8 ElsewherePlace = 2;

} // namespace

void
BenchInventory::Fill (UINT8 DeviceType, UINTN Count, MatchPlace Place)
{
  Devices.assign (Count, InventoryDevice{});
  List.clear ();
  ErrorSeverity = Place == MatchPlace::Each ? CperSeverityInformational : CperSeverityFatal;
  for (UINTN Index = 0; Index < Count; ++Index) {
    const bool Here = Place == MatchPlace::Each || (Place == MatchPlace::First && Index == 0) ||
                      (Place == MatchPlace::Last && Index == Count - 1);
    InventoryDevice &Device = Devices[Index];
    Device.DeviceType = DeviceType;
    Device.ProcessorSocket = Here ? ReportingPackage : ReportingPackage + 1U;
    Device.MemoryDimm = Here ? HerePlace : ElsewherePlace;
    Device.PciDevFunc = Here ? HerePlace : ElsewherePlace;
    Device.ProcessorRedfishId = RedfishId.c_str ();
    Device.MemoryRedfishId = RedfishId.c_str ();
    Device.PcieRedfishId = RedfishId.c_str ();
    List.push_back (&Device);
  }
  Info.DataReady = 1;
  Info.DeviceCount = Count;
  Info.DeviceList = List.data ();
}

EFI_STATUS_CODE_DATA *
BenchInventory::Record (UINT8 ErrorClass)
{
  ErrorRecord Record = {};
  Record.Header.ErrorSeverity = ErrorSeverity;
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
