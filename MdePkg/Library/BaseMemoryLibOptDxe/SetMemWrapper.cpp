#include "BaseMemoryLibOptDxe.h"
#include "BaseMemoryLibOptDxeInternal.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr AssertionSite BufferFits = {"MdePkg/Library/BaseMemoryLibOptDxe/SetMemWrapper", 48,
                                      "(Length - 1) <= (0xFFFFFFFFFFFFFFFFULL - (UINTN)Buffer)"};

} // namespace

VOID *EFIAPI
SetMem (VOID *Buffer, UINTN Length, UINT8 Value)
{
  ASSERT (Length - 1 <= DistanceToLastByte (Buffer), BufferFits);
  return InternalMemSetMem (Buffer, Length, Value);
}
