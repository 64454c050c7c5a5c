#include "BaseLib.h"
#include "BaseMemoryLibOptDxe.h"

namespace {

const UINT64 *
LowHalf (const EFI_GUID *Guid)
{
  return reinterpret_cast<const UINT64 *> (Guid);
}

const UINT64 *
HighHalf (const EFI_GUID *Guid)
{
  return LowHalf (Guid) + 1;
}

} // namespace

EFI_GUID *EFIAPI
CopyGuid (EFI_GUID *DestinationGuid, const EFI_GUID *SourceGuid)
{
  auto *Halves = reinterpret_cast<UINT64 *> (DestinationGuid);
  (void)WriteUnaligned64 (Halves, ReadUnaligned64 (LowHalf (SourceGuid)));
  (void)WriteUnaligned64 (Halves + 1, ReadUnaligned64 (HighHalf (SourceGuid)));
  return DestinationGuid;
}

BOOLEAN EFIAPI
CompareGuid (const EFI_GUID *Guid1, const EFI_GUID *Guid2)
{
  const UINT64 Low1 = ReadUnaligned64 (LowHalf (Guid1));
  const UINT64 Low2 = ReadUnaligned64 (LowHalf (Guid2));
  const UINT64 High1 = ReadUnaligned64 (HighHalf (Guid1));
  const UINT64 High2 = ReadUnaligned64 (HighHalf (Guid2));
  return Low1 == Low2 && High1 == High2;
}
