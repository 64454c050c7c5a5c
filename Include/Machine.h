/// The processor and the chipset, as named operations.
///
/// The image has one definition of each (MdePkg/Library/BaseLib/X64), the host has another
/// (Platform/Simulator); the linker chooses. Each operation is the smallest that the machine has:
/// polling, masking and index-then-data sequences stay in the modules that need them.
///
/// Reading CR4 and moving the shadow stack are not here: a call would move the shadow stack too, so
/// they stand in the assembly of SetJump and LongJump, behind
/// PcdControlFlowEnforcementPropertyMask.
#pragma once

#include "Base.h"

extern "C" {

/// CPUID of leaf Index, sub-leaf 0. Stores each register through its pointer; a null pointer is
/// skipped. Returns Index. (Intel SDM, volume 2, CPUID.)
UINT32 EFIAPI AsmCpuid (UINT32 Index, UINT32 *Eax, UINT32 *Ebx, UINT32 *Ecx, UINT32 *Edx);

/// CPUID of leaf Index, sub-leaf SubIndex; otherwise as AsmCpuid.
UINT32 EFIAPI
AsmCpuidEx (UINT32 Index, UINT32 SubIndex, UINT32 *Eax, UINT32 *Ebx, UINT32 *Ecx, UINT32 *Edx);

/// RDMSR of the 64-bit register Index.
UINT64 EFIAPI AsmReadMsr64 (UINT32 Index);

/// Calls the host of a TDX guest: TDG.VP.VMCALL with sub-function Leaf and four arguments.
/// Returns 0 on success, and then stores the host's 64-bit answer through Result unless that is
/// null; any other status leaves *Result alone. (Intel TDX GHCI, 2.4.1.)
UINT64 EFIAPI
TdVmCall (UINT64 Leaf, UINT64 Arg1, UINT64 Arg2, UINT64 Arg3, UINT64 Arg4, UINT64 *Result);

/// The 64-bit time-stamp counter.
UINT64 EFIAPI AsmReadTsc ();

/// The processor's spin-wait hint.
VOID EFIAPI CpuPause ();

/// A breakpoint exception.
VOID EFIAPI CpuBreakpoint ();

/// One byte in from an I/O port.
UINT8 EFIAPI IoRead8 (UINT16 Port);

/// One byte out to an I/O port.
VOID EFIAPI IoWrite8 (UINT16 Port, UINT8 Value);

/// One memory-mapped access of 1, 2 or 4 bytes: no fence, no retry, no alignment check.
UINT8 EFIAPI MmioLoad8 (UINTN Address);
UINT16 EFIAPI MmioLoad16 (UINTN Address);
VOID EFIAPI MmioStore16 (UINTN Address, UINT16 Value);
UINT32 EFIAPI MmioLoad32 (UINTN Address);
VOID EFIAPI MmioStore32 (UINTN Address, UINT32 Value);
}
