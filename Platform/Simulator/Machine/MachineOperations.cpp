/// The host's definition of the machine operations.

#include "Machine.h"

#include "HostMachine.h"
#include "Pcd.h"

HostMachine *gHostMachine = nullptr;

/// A process can neither read CR4 nor tell from it whether it has a shadow stack itself.
const UINT32 PcdControlFlowEnforcementPropertyMask = 0;

namespace {

HostMachine &
BoundMachine ()
{
  if (gHostMachine == nullptr) {
    throw MachineFault ("machine operation while no machine is bound");
  }
  return *gHostMachine;
}

void
StoreUnlessNull (UINT32 *To, UINT32 Value)
{
  if (To != nullptr) {
    *To = Value;
  }
}

} // namespace

UINT32 EFIAPI
AsmCpuidEx (UINT32 Index, UINT32 SubIndex, UINT32 *Eax, UINT32 *Ebx, UINT32 *Ecx, UINT32 *Edx)
{
  const CpuidRegisters Registers = BoundMachine ().Cpuid (Index, SubIndex);
  StoreUnlessNull (Eax, Registers.Eax);
  StoreUnlessNull (Ebx, Registers.Ebx);
  StoreUnlessNull (Ecx, Registers.Ecx);
  StoreUnlessNull (Edx, Registers.Edx);
  return Index;
}

UINT32 EFIAPI
AsmCpuid (UINT32 Index, UINT32 *Eax, UINT32 *Ebx, UINT32 *Ecx, UINT32 *Edx)
{
  return AsmCpuidEx (Index, 0, Eax, Ebx, Ecx, Edx);
}

UINT64 EFIAPI
AsmReadMsr64 (UINT32 Index)
{
  return BoundMachine ().ReadMsr (Index);
}

UINT64 EFIAPI
TdVmCall (UINT64 Leaf, UINT64 Arg1, UINT64 Arg2, UINT64 Arg3, UINT64 Arg4, UINT64 *Result)
{
  UINT64 Answer = 0;
  const UINT64 Status = BoundMachine ().TdVmCall (Leaf, {Arg1, Arg2, Arg3, Arg4}, Answer);
  if (Status == 0 && Result != nullptr) {
    *Result = Answer;
  }
  return Status;
}

UINT64 EFIAPI
AsmReadTsc ()
{
  return BoundMachine ().ReadTsc ();
}

VOID EFIAPI
CpuPause ()
{
  BoundMachine ().Pause ();
}

VOID EFIAPI
CpuBreakpoint ()
{
  BoundMachine ().Breakpoint ();
}

UINT8 EFIAPI
IoRead8 (UINT16 Port)
{
  return BoundMachine ().IoRead8 (Port);
}

VOID EFIAPI
IoWrite8 (UINT16 Port, UINT8 Value)
{
  BoundMachine ().IoWrite8 (Port, Value);
}

UINT8 EFIAPI
MmioLoad8 (UINTN Address)
{
  return static_cast<UINT8> (BoundMachine ().MmioRead (Address, 1));
}

UINT16 EFIAPI
MmioLoad16 (UINTN Address)
{
  return static_cast<UINT16> (BoundMachine ().MmioRead (Address, 2));
}

VOID EFIAPI
MmioStore16 (UINTN Address, UINT16 Value)
{
  BoundMachine ().MmioWrite (Address, 2, Value);
}

UINT32 EFIAPI
MmioLoad32 (UINTN Address)
{
  return BoundMachine ().MmioRead (Address, 4);
}

VOID EFIAPI
MmioStore32 (UINTN Address, UINT32 Value)
{
  BoundMachine ().MmioWrite (Address, 4, Value);
}
