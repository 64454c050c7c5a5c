#include "PciResources.h"

#include "MachineLog.h"

namespace {

constexpr UINT32 AllOnes = 0xFFFFFFFF;
constexpr UINT32 IoEnd = 0x10000;
constexpr UINTN BarSize = sizeof (UINT32);

/// Bits of a base address register (PCI Local Bus 3.0, 6.2.5.1).
constexpr UINT32 BarIsIo = 0x1;
constexpr UINT32 BarTypeMask = 0x6;
constexpr UINT32 BarType64 = 0x4;
constexpr UINT32 BarIoFlags = 0x3;

constexpr UINT32 MemoryWindowStep = 0x100000;
constexpr UINT32 IoWindowStep = 0x1000;

/// Windows that end ahead of their start, and so are closed.
constexpr UINT32 ClosedWindow = 0x0000FFF0;
constexpr UINT16 ClosedIoWindow = 0x00F0;

constexpr UINT32
AlignUp (UINT32 Value, UINT32 Step)
{
  return (Value + Step - 1) & ~(Step - 1);
}

/// Takes Size addresses, a power of two, off *Next.
UINT32
Take (UINT32 *Next, UINT32 Size, UINT32 End)
{
  const UINT32 Start = AlignUp (*Next, Size);
  if (Start < *Next || Start > End || Size > End - Start) {
    EndRun (EndMachine, "boot: there are not enough addresses for the PCI devices\n");
  }
  *Next = Start + Size;
  return Start;
}

/// Gives one register its addresses. Returns how many of the registers that are left it takes, also
/// when it does not exist.
UINTN
AssignBar (UINTN Register, UINTN Left, PciSpace *Space)
{
  MmioStore32 (Register, AllOnes);
  const UINT32 Probe = MmioLoad32 (Register);
  if (Probe == 0) {
    return 1;
  }
  if ((Probe & BarIsIo) != 0) {
    // The upper half of an I/O register may be missing.
    const UINT32 Size = ~((Probe & ~BarIoFlags) | 0xFFFF0000) + 1;
    MmioStore32 (Register, Take (&Space->Io, Size, IoEnd));
    return 1;
  }
  MmioStore32 (Register, Take (&Space->Memory, ~(Probe & ~PciBarMemoryFlags) + 1, PCI_MEMORY_END));
  if ((Probe & BarTypeMask) != BarType64 || Left == 1) {
    return 1;
  }
  MmioStore32 (Register + BarSize, 0);
  return 2;
}

} // namespace

VOID
AssignPciBars (const PciPlace &Of, UINTN BarCount, PciSpace *Space)
{
  UINTN Index = 0;
  while (Index < BarCount) {
    Index += AssignBar (RegisterOf (Of, PciFirstBar + Index * BarSize), BarCount - Index, Space);
  }
}

VOID
AlignPciWindow (PciSpace *Space)
{
  Space->Memory = AlignUp (Space->Memory, MemoryWindowStep);
  Space->Io = AlignUp (Space->Io, IoWindowStep);
}

VOID
SetPciWindow (const PciPlace &Bridge, const PciSpace &Start, const PciSpace &End)
{
  // Each register has the top bits of the first address in its lower half, and in its upper half
  // those of the last one. The last address of an empty memory window lies ahead of its first; that
  // of an empty I/O window at the end of all ports would not.
  const UINT32 MemoryLast = End.Memory - 1;
  const UINT16 Io = Start.Io == End.Io
                        ? ClosedIoWindow
                        : static_cast<UINT16> ((Start.Io >> 8 & 0xF0) | ((End.Io - 1) & 0xF000));
  MmioStore32 (RegisterOf (Bridge, PciMemoryBaseLimit),
               (Start.Memory >> 16 & 0xFFF0) | (MemoryLast & 0xFFF00000));
  MmioStore32 (RegisterOf (Bridge, PciPrefetchBaseLimit), ClosedWindow);
  MmioStore16 (RegisterOf (Bridge, PciIoBaseLimit), Io);
}
