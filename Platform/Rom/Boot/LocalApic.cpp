#include "LocalApic.h"

#include "Machine.h"
#include "MachineLog.h"
#include "MemoryMap.h"

namespace {

constexpr UINTN RegisterId = LOCAL_APIC_BASE + 0x20;
constexpr UINTN RegisterEndInterrupt = LOCAL_APIC_BASE + 0xB0;
constexpr UINTN RegisterSpurious = LOCAL_APIC_BASE + 0xF0;
constexpr UINTN RegisterCommandLow = LOCAL_APIC_BASE + 0x300;
constexpr UINTN RegisterCommandHigh = LOCAL_APIC_BASE + 0x310;

constexpr UINT32 SpuriousEnable = 0x100;
constexpr UINT32 IdShift = 24;

/// Fields of the command register: assert, all but self, and the two kinds of message.
constexpr UINT32 CommandAssert = 0x4000;
constexpr UINT32 CommandAllOthers = 0xC0000;
constexpr UINT32 CommandInit = 0x500;
constexpr UINT32 CommandStartUp = 0x600;
constexpr UINT32 CommandPending = 0x1000;
constexpr UINTN PendingPassesMax = 100000;

VOID
SendCommand (UINT32 ApicId, UINT32 Command)
{
  MmioStore32 (RegisterCommandHigh, ApicId << IdShift);
  MmioStore32 (RegisterCommandLow, Command);
  for (UINTN Pass = 0; (MmioLoad32 (RegisterCommandLow) & CommandPending) != 0; ++Pass) {
    if (Pass == PendingPassesMax) {
      EndRun (EndMachine, "boot: the local APIC does not send\n");
    }
    CpuPause ();
  }
}

} // namespace

VOID
LocalApicEnable ()
{
  MmioStore32 (RegisterSpurious, SpuriousEnable | VectorSpurious);
}

UINT32
LocalApicId ()
{
  return MmioLoad32 (RegisterId) >> IdShift;
}

VOID
LocalApicEndInterrupt ()
{
  MmioStore32 (RegisterEndInterrupt, 0);
}

VOID
LocalApicWake (UINT32 ApicId)
{
  SendCommand (ApicId, CommandAssert | VectorWake);
}

VOID
LocalApicStartOthers (UINT8 Page)
{
  SendCommand (0, CommandAllOthers | CommandAssert | CommandInit);
  SendCommand (0, CommandAllOthers | CommandAssert | CommandStartUp | Page);
  SendCommand (0, CommandAllOthers | CommandAssert | CommandStartUp | Page);
}
