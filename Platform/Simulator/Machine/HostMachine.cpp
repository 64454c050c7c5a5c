#include "HostMachine.h"

namespace {

[[noreturn]] void
NoSuchOperation (const char *Operation, UINT64 Operand)
{
  throw MachineFault (std::string ("this machine has no ") + Operation + " " +
                      std::to_string (Operand));
}

} // namespace

CpuidRegisters
HostMachine::Cpuid (UINT32 Leaf, UINT32)
{
  NoSuchOperation ("CPUID leaf", Leaf);
}

UINT64
HostMachine::ReadMsr (UINT32 Index)
{
  NoSuchOperation ("MSR", Index);
}

UINT64
HostMachine::TdVmCall (UINT64 Leaf, const UINT64 (&)[4], UINT64 &)
{
  NoSuchOperation ("VM call", Leaf);
}

UINT64
HostMachine::ReadTsc ()
{
  NoSuchOperation ("time-stamp counter", 0);
}

void
HostMachine::Pause ()
{
  NoSuchOperation ("pause", 0);
}

void
HostMachine::Breakpoint ()
{
  NoSuchOperation ("breakpoint", 0);
}

UINT8
HostMachine::IoRead8 (UINT16 Port)
{
  NoSuchOperation ("input port", Port);
}

void
HostMachine::IoWrite8 (UINT16 Port, UINT8)
{
  NoSuchOperation ("output port", Port);
}

UINT32
HostMachine::MmioRead (UINTN Address, UINTN)
{
  NoSuchOperation ("readable memory at", Address);
}

void
HostMachine::MmioWrite (UINTN Address, UINTN, UINT32)
{
  NoSuchOperation ("writable memory at", Address);
}
