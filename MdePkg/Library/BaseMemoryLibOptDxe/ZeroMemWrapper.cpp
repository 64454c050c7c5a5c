#include "BaseMemoryLibOptDxe.h"
#include "BaseMemoryLibOptDxeInternal.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/BaseMemoryLibOptDxe/ZeroMemWrapper";
constexpr AssertionSite BufferNotNull = {SourceFile, 47, "Buffer != ((void *) 0)"};
constexpr AssertionSite BufferFits = {SourceFile, 48,
                                      "Length <= (0xFFFFFFFFFFFFFFFFULL - (UINTN)Buffer + 1)"};

} // namespace

VOID *EFIAPI
ZeroMem (VOID *Buffer, UINTN Length)
{
  if (Length == 0) {
    return Buffer;
  }
  ASSERT (Buffer != nullptr, BufferNotNull);
  ASSERT (Length <= DistanceToLastByte (Buffer) + 1, BufferFits);
  return InternalMemZeroMem (Buffer, Length);
}
