#include "BaseMemoryLibOptDxe.h"
#include "BaseMemoryLibOptDxeInternal.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/BaseMemoryLibOptDxe/CopyMemWrapper";
constexpr AssertionSite DestinationFits = {
    SourceFile, 51, "(Length - 1) <= (0xFFFFFFFFFFFFFFFFULL - (UINTN)DestinationBuffer)"};
constexpr AssertionSite SourceFits = {
    SourceFile, 52, "(Length - 1) <= (0xFFFFFFFFFFFFFFFFULL - (UINTN)SourceBuffer)"};

} // namespace

VOID *EFIAPI
CopyMem (VOID *DestinationBuffer, const VOID *SourceBuffer, UINTN Length)
{
  if (Length == 0) {
    return DestinationBuffer;
  }
  ASSERT (Length - 1 <= DistanceToLastByte (DestinationBuffer), DestinationFits);
  ASSERT (Length - 1 <= DistanceToLastByte (SourceBuffer), SourceFits);
  if (DestinationBuffer == SourceBuffer) {
    return DestinationBuffer;
  }
  return InternalMemCopyMem (DestinationBuffer, SourceBuffer, Length);
}
