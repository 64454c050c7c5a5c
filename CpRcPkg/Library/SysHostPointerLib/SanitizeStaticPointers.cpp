#include "SysHostPointerLibInternal.h"

namespace {

constexpr AssertionSite TableBound = {SysHostPointerSourceFile, 383, TableNotNullText};

} // namespace

EFI_STATUS EFIAPI
SanitizeStaticPointers (const EFI_GUID *, VOID *, EFI_HANDLE)
{
  if (mPrivate == nullptr) {
    ASSERT (false, TableBound);
    return EFI_INVALID_PARAMETER;
  }
  if (mPrivate->Sanitized != FALSE) {
    return EFI_SUCCESS;
  }

  DEBUG (DEBUG_INFO, "%a: Sanitizing non-SMRAM pointers in SysHostPointerLib\n",
         gEfiCallerBaseName);
  for (UINTN Slot = 0; Slot < STATIC_POINTER_COUNT; ++Slot) {
    const UINT64 Pointer = mPrivate->Pointers[Slot];
    if (Pointer != 0 && !IsPointerInSmram (Pointer)) {
      DEBUG (DEBUG_INFO, "  Setting entry %a (%d) to NULL; was 0x%X\n", mPointerTypeName[Slot],
             Slot, Pointer);
      mPrivate->Pointers[Slot] = 0;
    }
  }
  DEBUG (DEBUG_INFO, "%a: Done sanitizing non-SMRAM pointers\n", gEfiCallerBaseName);
  mPrivate->Sanitized = TRUE;
  return EFI_SUCCESS;
}

BOOLEAN
IsPointerInSmram (UINT64 Pointer)
{
  return IsInSmram (StaticPointerTableRanges (mPrivate), mPrivate->SmramRangeCount, Pointer);
}
