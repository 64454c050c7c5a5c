#include "ErrorInjection.h"

#include <fmt/format.h>

#include "MachineCheckRegisters.h"
#include "MemoryMap.h"

namespace {

/// Compound error codes (Intel SDM, volume 3, 16.9.2): a memory controller's read on channel 0, and
/// a read of data from the first level cache.
constexpr UINT64 CODE_MEMORY_READ = 0x0090;
constexpr UINT64 CODE_CACHE_DATA_READ = 0x0135;

constexpr UINT64 MEMORY_STATUS = MC_STATUS_VALID | MC_STATUS_ADDRESS_VALID | CODE_MEMORY_READ;
constexpr UINT64 CACHE_STATUS = MC_STATUS_VALID | CODE_CACHE_DATA_READ;

/// What makes an error an exception: it is enabled, and the processor is serving it and can return.
constexpr UINT64 EXCEPTION_STATUS = 1ULL << 60 | MC_STATUS_UNCORRECTED;
constexpr UINT64 EXCEPTION_GLOBAL_STATUS = 1ULL << 2 | 1ULL << 0;

/// One bank for each class.
constexpr UINTN CACHE_BANK = 1;
constexpr UINTN MEMORY_BANK = 7;

/// Where in the memory of its socket an error is.
constexpr UINT64 ERROR_OFFSET = 0x1000;

/// Devices behind root ports, by their slots.
constexpr ErrorTarget DeviceTarget = {
    "DEVICE", "nv", 1, [] (const MachineOptions &Options) { return Options.PortCount; }};
constexpr ErrorTarget ProcessorTarget = {
    "CPU", "", 0, [] (const MachineOptions &Options) { return Options.ProcessorCount; }};

std::string
DeviceName (UINTN Slot)
{
  return fmt::format ("{}{}", DeviceTarget.Prefix, Slot);
}

void
InjectMemoryError (EmulatedMachine &Machine,
                   const MachineOptions &Options,
                   UINTN Processor,
                   UINT64 Status,
                   UINT64 GlobalStatus)
{
  const UINT64 Socket = Processor / (Options.ProcessorCount / Options.SocketCount);
  const UINT64 Address = Socket * (RAM_SIZE / Options.SocketCount) + ERROR_OFFSET;
  Machine.InjectMachineCheck (Processor, MEMORY_BANK, MEMORY_STATUS | Status, GlobalStatus, Address,
                              0);
}

constexpr ErrorKind Kinds[] = {
    {"pcie-uncorrected", DeviceTarget, ErrorNotice::Interrupt,
     "malformed TLP at a device behind a root port, fatal",
     [] (EmulatedMachine &Machine, const MachineOptions &, UINTN Slot) {
       Machine.InjectPcieError (DeviceName (Slot), "MALF_TLP", false);
     }},
    {"pcie-nonfatal", DeviceTarget, ErrorNotice::Interrupt,
     "completion time-out at a device behind a root port",
     [] (EmulatedMachine &Machine, const MachineOptions &, UINTN Slot) {
       Machine.InjectPcieError (DeviceName (Slot), "COMP_TIME", false);
     }},
    {"pcie-corrected", DeviceTarget, ErrorNotice::None, "bad TLP at a device behind a root port",
     [] (EmulatedMachine &Machine, const MachineOptions &, UINTN Slot) {
       Machine.InjectPcieError (DeviceName (Slot), "BAD_TLP", true);
     }},
    {"memory-uncorrected", ProcessorTarget, ErrorNotice::Interrupt,
     "#MC of a read from the memory of the processor's socket",
     [] (EmulatedMachine &Machine, const MachineOptions &Options, UINTN Processor) {
       InjectMemoryError (Machine, Options, Processor, EXCEPTION_STATUS, EXCEPTION_GLOBAL_STATUS);
     }},
    {"memory-corrected", ProcessorTarget, ErrorNotice::None,
     "corrected read from the memory of the processor's socket",
     [] (EmulatedMachine &Machine, const MachineOptions &Options, UINTN Processor) {
       InjectMemoryError (Machine, Options, Processor, 0, 0);
     }},
    {"processor-fatal", ProcessorTarget, ErrorNotice::Interrupt,
     "#MC of a cache error after which the processor cannot go on",
     [] (EmulatedMachine &Machine, const MachineOptions &, UINTN Processor) {
       Machine.InjectMachineCheck (Processor, CACHE_BANK,
                                   CACHE_STATUS | EXCEPTION_STATUS | MC_STATUS_CONTEXT_CORRUPT,
                                   EXCEPTION_GLOBAL_STATUS, 0, 0);
     }},
    {"processor-corrected", ProcessorTarget, ErrorNotice::None, "corrected cache error",
     [] (EmulatedMachine &Machine, const MachineOptions &, UINTN Processor) {
       Machine.InjectMachineCheck (Processor, CACHE_BANK, CACHE_STATUS, 0, 0, 0);
     }},
};

} // namespace

std::span<const ErrorKind>
ErrorKinds ()
{
  return Kinds;
}
