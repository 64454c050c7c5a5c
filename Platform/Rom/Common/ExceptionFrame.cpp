#include "ExceptionFrame.h"

#include "MachineLog.h"
#include "MemoryMap.h"
#include "ProcessorInstructions.h"

constinit InterruptGate gInterruptTable[VectorCount] = {};

extern "C" {

/// The entries, VectorEntrySize apart.
extern const UINT8 gVectorEntries[];
}

namespace {

constexpr UINTN VectorEntrySize = 16;

/// Type of a 64-bit interrupt gate that is present (Intel SDM, volume 3, 6.14.1).
constexpr UINT8 InterruptGateType = 0x8E;

} // namespace

VOID
FillInterruptTable (UINT8 Stack)
{
  for (UINTN Vector = 0; Vector < VectorCount; ++Vector) {
    const auto Entry = reinterpret_cast<UINT64> (gVectorEntries) + Vector * VectorEntrySize;
    gInterruptTable[Vector] = {.OffsetLow = static_cast<UINT16> (Entry),
                               .Selector = CODE64_SELECTOR,
                               .Stack = Stack,
                               .Type = InterruptGateType,
                               .OffsetMiddle = static_cast<UINT16> (Entry >> 16),
                               .OffsetHigh = static_cast<UINT32> (Entry >> 32),
                               .Reserved = 0};
  }
}

VOID
UseInterruptTable ()
{
  LoadInterruptTable (
      {.Limit = sizeof gInterruptTable - 1, .Base = reinterpret_cast<UINT64> (gInterruptTable)});
  WriteControl4 (CR4_CHECKED);
}

VOID
EndByException (const ExceptionFrame *Frame, const CHAR8 *Where, UINTN Processor)
{
  EndRun (EndException,
          "%a: processor %ld: exception %ld, error code 0x%lx, RIP 0x%lx, CR2 0x%lx, RSP 0x%lx\n",
          Where, Processor, Frame->Vector, Frame->ErrorCode, Frame->Rip, ReadFaultAddress (),
          Frame->Rsp);
}
