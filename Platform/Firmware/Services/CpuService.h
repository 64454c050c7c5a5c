/// The SMM CPU service: tells of the world's processors.
#pragma once

#include "Protocol/SmmCpuService.h"

extern "C" {

extern EFI_SMM_CPU_SERVICE_PROTOCOL gCpuService;

/// Installs the protocol. A call with another This is a fault.
VOID CpuServiceReset ();
}
