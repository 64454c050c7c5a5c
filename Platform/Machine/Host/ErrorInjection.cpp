#include "ErrorInjection.h"

#include <fmt/format.h>

namespace {

// IA32_MCi_STATUS (Intel SDM, volume 3, 16.3.2.2).
constexpr UINT64 StatusValid = 1ULL << 63;
constexpr UINT64 StatusUncorrected = 1ULL << 61;
constexpr UINT64 StatusEnabled = 1ULL << 60;
constexpr UINT64 StatusAddressValid = 1ULL << 58;
constexpr UINT64 StatusContextCorrupt = 1ULL << 57;

/// Compound error codes (ibidem, 16.9.2): a memory controller's read on channel 0, and a read of
/// data from the first level cache.
constexpr UINT64 CodeMemoryRead = 0x0090;
constexpr UINT64 CodeCacheDataRead = 0x0135;

/// Banks that no two of the errors share.
constexpr UINTN CacheBank = 1;
constexpr UINTN MemoryBank = 7;

constexpr UINT64 CacheStatus = StatusValid | StatusEnabled | CodeCacheDataRead;

std::string
DeviceName (UINTN Slot)
{
  return fmt::format ("nv{}", Slot);
}

/// Writes the registers by the processor's own hand.
void
WriteBank (EmulatedMachine &Machine, UINTN Processor, UINT64 Status)
{
  Machine.Command (fmt::format ("bank {} {} {:x} 0 0", Processor, CacheBank, Status));
}

constexpr ErrorKind Kinds[] = {
    {"pcie-uncorrected", ErrorTarget::Device, "malformed TLP at a device behind a root port",
     [] (EmulatedMachine &Machine, const MachineOptions &, UINTN Slot) {
       Machine.InjectPcieError (DeviceName (Slot), "MALF_TLP", false);
     }},
    {"pcie-corrected", ErrorTarget::Device, "bad TLP at a device behind a root port",
     [] (EmulatedMachine &Machine, const MachineOptions &, UINTN Slot) {
       Machine.InjectPcieError (DeviceName (Slot), "BAD_TLP", true);
     }},
    {"memory-corrected", ErrorTarget::Processor,
     "machine check of a corrected read from the memory of the processor's socket",
     [] (EmulatedMachine &Machine, const MachineOptions &Options, UINTN Processor) {
       const UINT64 Socket = Processor / (Options.ProcessorCount / Options.SocketCount);
       const UINT64 Address = Socket * (MEMORY_SIZE / Options.SocketCount) + 0x1000;
       Machine.InjectMachineCheck (
           Processor, MemoryBank, StatusValid | StatusEnabled | StatusAddressValid | CodeMemoryRead,
           0, Address, 0);
     }},
    {"processor-corrected", ErrorTarget::Processor, "a machine-check bank with a cache error",
     [] (EmulatedMachine &Machine, const MachineOptions &, UINTN Processor) {
       WriteBank (Machine, Processor, CacheStatus);
     }},
    {"processor-fatal", ErrorTarget::Processor,
     "a machine-check bank with a cache error after which the processor cannot go on",
     [] (EmulatedMachine &Machine, const MachineOptions &, UINTN Processor) {
       WriteBank (Machine, Processor, CacheStatus | StatusUncorrected | StatusContextCorrupt);
     }},
};

} // namespace

std::span<const ErrorKind>
ErrorKinds ()
{
  return Kinds;
}
