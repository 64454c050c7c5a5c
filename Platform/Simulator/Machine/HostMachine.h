/// What stands behind the driver's machine operations on the host.
#pragma once

#include <stdexcept>
#include <string>

#include "Base.h"

/// The four registers of one CPUID answer.
struct CpuidRegisters {
  UINT32 Eax = 0;
  UINT32 Ebx = 0;
  UINT32 Ecx = 0;
  UINT32 Edx = 0;
};

/// A machine: the processor that executes and the chipset around it. Each operation that a machine
/// does not override does not exist on it, and throws MachineFault.
class HostMachine {
public:
  virtual ~HostMachine () = default;

  virtual CpuidRegisters Cpuid (UINT32 Leaf, UINT32 SubLeaf);
  virtual UINT64 ReadMsr (UINT32 Index);
  virtual UINT64 TdVmCall (UINT64 Leaf, const UINT64 (&Args)[4], UINT64 &Result);
  virtual UINT64 ReadTsc ();
  virtual void Pause ();
  virtual void Breakpoint ();
  virtual UINT8 IoRead8 (UINT16 Port);
  virtual void IoWrite8 (UINT16 Port, UINT8 Value);

  /// One access of Width bytes: 1, 2 or 4.
  virtual UINT32 MmioRead (UINTN Address, UINTN Width);
  virtual void MmioWrite (UINTN Address, UINTN Width, UINT32 Value);
};

/// The driver touched something that the bound machine does not have.
struct MachineFault : std::logic_error {
  using std::logic_error::logic_error;
};

/// A processor has come to a stop in the driver's dead loop and will not leave it.
struct ProcessorStopped : std::runtime_error {
  using std::runtime_error::runtime_error;
};

extern "C" {
/// The machine to which this object's machine operations go. Each loaded driver instance has a
/// binding of its own; null until its loader has set it.
extern HostMachine *gHostMachine;
}

/// Every call from the platform into the driver goes through here: an exception that the simulated
/// pause throws must leave the driver through a System V frame, or clang-built code loses registers
/// on the way.
template <typename Result, typename... Parameters, typename... Arguments>
[[gnu::noinline]] Result
CallDriver (Result (EFIAPI *Function) (Parameters...), Arguments... Values)
{
  return Function (static_cast<Parameters> (Values)...);
}
