/// Tells on which processor the caller runs, by index and by place.
#pragma once

#include "Protocol/SmmCpuService.h"

/// Where a processor sits.
struct CpuLocation {
  UINT32 ProcessorId; ///< The low 32 bits of the id, which is the APIC id.
  UINT32 Package;
  UINT32 Core;
  UINT32 Thread;
};
LAYOUT_OFFSET (CpuLocation, Package, 4);
LAYOUT_OFFSET (CpuLocation, Core, 8);
LAYOUT_OFFSET (CpuLocation, Thread, 12);
LAYOUT_SIZE (CpuLocation, 16);

extern "C" {

/// The SMM CPU service; null until bound. It belongs to its producer.
extern EFI_SMM_CPU_SERVICE_PROTOCOL *mSmmCpuService;

/// Library constructor: binds the SMM CPU service and allocates the driver's table of processors,
/// which is never freed. Ignores its arguments. Always returns EFI_SUCCESS: a missing service or a
/// missing table is a RAS_ASSERT.
EFI_STATUS EFIAPI SmmMpExtensionLibConstructor (EFI_HANDLE ImageHandle,
                                                EFI_SYSTEM_TABLE *SystemTable);

/// Searches for the SMM CPU service and binds it. Returns the status of the search; one that finds
/// nothing leaves what an earlier one has found.
EFI_STATUS BindSmmCpuService ();

/// Returns the index of the executing processor, as the CPU service counts, and fills *Location
/// unless that is null. May run on any processor and takes no lock. What the service cannot tell is
/// an assertion; where that returns, it is 0.
UINTN GetCurrentProcessorLocation (CpuLocation *Location);
}
