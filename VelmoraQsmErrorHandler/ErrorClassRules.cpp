#include "ErrorClassRules.h"

#include "BaseXApicX2ApicLib.h"

namespace {

/// A processor record says nothing that is read here about where the error was: it belongs to the
/// socket of the processor that reports it.
bool
MatchesProcessor (const InventoryDevice *Device, const ErrorRecord *)
{
  UINT32 Package = 0;
  UINT32 Core = 0;
  UINT32 Thread = 0;
  GetProcessorLocationByApicId (GetApicId (), &Package, &Core, &Thread);

  const auto Socket = static_cast<UINT8> (Package);
  if (Device->ProcessorSocket != Socket) {
    return false;
  }
  DEBUG (DEBUG_INFO, "Socket: %d\n", Socket);
  return true;
}

bool
MatchesMemory (const InventoryDevice *Device, const ErrorRecord *Record)
{
  const auto Socket = static_cast<UINT8> (Record->Memory.Node);
  const auto Channel = static_cast<UINT8> (Record->Memory.Card);
  const auto Dimm = static_cast<UINT8> (Record->Memory.ModuleRank);
  DEBUG (DEBUG_INFO, "Socket = %d;  \n", Socket);
  DEBUG (DEBUG_INFO, "DdrChannel = %d; Dimm = %d \n", Channel, Dimm);
  return Device->MemorySocket == Socket && Device->MemoryChannel == Channel &&
         Device->MemoryDimm == Dimm;
}

bool
MatchesPcie (const InventoryDevice *Device, const ErrorRecord *Record)
{
  const UINT8 DevFunc = Device->PciDevFunc;
  return Device->PciBus == Record->Pcie.DevBridge.PrimaryOrDeviceBus &&
         (DevFunc >> 3) == Record->Pcie.DevBridge.Device &&
         (DevFunc & 7) == Record->Pcie.DevBridge.Function;
}

const CHAR8 *
ProcessorRedfishId (const InventoryDevice *Device)
{
  return Device->ProcessorRedfishId;
}

const CHAR8 *
MemoryRedfishId (const InventoryDevice *Device)
{
  return Device->MemoryRedfishId;
}

const CHAR8 *
PcieRedfishId (const InventoryDevice *Device)
{
  return Device->PcieRedfishId;
}

constexpr EventSeverity None = EventSeverityNone;
constexpr EventSeverity Warning = EventSeverityWarning;
constexpr EventSeverity Critical = EventSeverityCritical;

constexpr SourceSite ProcessorPoolAllocated = {DriverSourceFile, 143};

/// All of it is fixed output. The three classes are not alike: one has a pool type of its own, and
/// the "Cmd" lines spell one word in three ways.
constexpr ErrorClassRules ClassRules[] = {
    {
        .Class = ErrorClassProcessor,
        .Matches = MatchesProcessor,
        .RedfishId = ProcessorRedfishId,
        .PoolType = EfiRuntimeServicesData,
        .PoolAllocated = &ProcessorPoolAllocated,
        // Recoverable, fatal, corrected, any other.
        .Severity = {Warning, Critical, Warning, None},
        .Warning = {nullptr, nullptr, "RedFish(Warning) Cmd: %a\n"},
        .Critical = {nullptr, nullptr, "RedFish(Critical) Cmd: %a\n"},
    },
    {
        .Class = ErrorClassMemory,
        .Matches = MatchesMemory,
        .RedfishId = MemoryRedfishId,
        .PoolType = EfiRuntimeServicesData,
        .PoolAllocated = nullptr,
        .Severity = {Critical, Critical, Warning, Critical},
        .Warning = {"Device Found: Memory CE with ID: %a\n", "Memory Device (Warning)\n",
                    "Redfish Cmd: %a\n"},
        .Critical = {"Device Found: Memory UCE with ID: %a\n", "Memory Device (Critical)\n",
                     "RedFish Cmd: %a\n"},
    },
    {
        .Class = ErrorClassPcie,
        .Matches = MatchesPcie,
        .RedfishId = PcieRedfishId,
        .PoolType = EfiRuntimeServicesCode,
        .PoolAllocated = nullptr,
        .Severity = {Warning, Critical, Warning, None},
        .Warning = {"Device Found: PCIe CE with ID: %a\n", "PCIe Device (Warning)\n",
                    "RedFishCmd: %a\n"},
        .Critical = {"Device Found: PCIe UCE with ID: %a\n", "PCIe Device (Critical)\n",
                     "RedFish Cmd: %a\n"},
    },
};

} // namespace

const ErrorClassRules *
FindErrorClassRules (UINT8 Class)
{
  for (const ErrorClassRules &Candidate : ClassRules) {
    if (Candidate.Class == Class) {
      return &Candidate;
    }
  }
  return nullptr;
}
