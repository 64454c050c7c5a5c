#include "BaseMemoryLibOptDxe.h"
#include "DxeSmmStandaloneMmHobLib.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmServicesTableLib.h"
#include "SysHostPointerLibInternal.h"

namespace {

constexpr AssertionSite HobFound = {SysHostPointerSourceFile, 142, "HobPtr != ((void *) 0)"};
constexpr AssertionSite TableAllocated = {SysHostPointerSourceFile, 314, TableNotNullText};
constexpr SourceSite TableInstalled = {SysHostPointerSourceFile, 354};

/// Makes a table without pointers for that many ranges. Returns null, reported, without room.
StaticPointerTable *
AllocateTable (UINTN RangeCount)
{
  auto *Table = static_cast<StaticPointerTable *> (
      AllocatePool (sizeof (StaticPointerTable) + RangeCount * sizeof (EFI_SMRAM_DESCRIPTOR)));
  if (Table == nullptr) {
    DEBUG (DEBUG_ERROR, "ERROR: %a: Could not allocate memory for SysHostPointerLib data!\n",
           gEfiCallerBaseName);
    ASSERT (false, TableAllocated);
    return nullptr;
  }
  Table->Sanitized = FALSE;
  ZeroMem (Table->Pointers, sizeof Table->Pointers);
  return Table;
}

bool
IsCopyable (const StaticPointerBlockHeader &Header)
{
  const EFI_GUID Signature = Header.Signature;
  return CompareGuid (&Signature, &gStaticPointerBlockGuid) && Header.Size != 0;
}

/// Returns what becomes of a pointer of the HOB in its slot: the address of a copy in SMRAM, or
/// what it was for a block that cannot be copied. 0, reported, without room for the copy.
UINT64
SlotPointer (UINT64 Pointer, UINTN Slot)
{
  if (Pointer == 0) {
    return 0;
  }
  const auto *Block = reinterpret_cast<const StaticPointerBlockHeader *> (Pointer);
  const StaticPointerBlockHeader Header = *Block;
  if (!IsCopyable (Header)) {
    return Pointer;
  }
  VOID *Copy = AllocatePool (Header.Size);
  if (Copy == nullptr) {
    DEBUG (DEBUG_ERROR, "ERROR: %a: Could not allocate SMM memory for pointer type %x\n",
           "InitializeStaticPointers", Slot);
    return 0;
  }
  CopyMem (Copy, Block, Header.Size);
  // The block lies outside SMRAM and may have changed since its header was checked. The copy gets
  // the checked one, whose size is that of its allocation.
  CopyMem (Copy, &Header, Header.Size < sizeof Header ? Header.Size : sizeof Header);
  return reinterpret_cast<UINT64> (Copy);
}

/// Fills the slots from the HOB, if there is one.
VOID
FillSlots (StaticPointerTable *Table)
{
  const auto *Data = static_cast<const StaticPointerHobData *> (
      DataOfGuidHob (GetFirstGuidHob (&gStaticPointerHobGuid)).Start);
  ASSERT (Data != nullptr, HobFound);
  if (Data == nullptr) {
    return;
  }
  for (UINTN Slot = 0; Slot < STATIC_POINTER_COUNT; ++Slot) {
    Table->Pointers[Slot] = SlotPointer (Data->Pointers[Slot], Slot);
  }
}

} // namespace

EFI_STATUS
InitializeStaticPointers ()
{
  DEBUG (DEBUG_INFO, "%a: Building data for SysHostPointerLib\n", gEfiCallerBaseName);
  EFI_SMRAM_DESCRIPTOR *Ranges = nullptr;
  UINTN Count = 0;
  EFI_STATUS Status = GetSmramRanges (&Ranges, &Count);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  mPrivate = AllocateTable (Count);
  if (mPrivate == nullptr) {
    FreePool (Ranges);
    return EFI_OUT_OF_RESOURCES;
  }
  FillSlots (mPrivate);
  mPrivate->SmramRangeCount = static_cast<UINT32> (Count);
  CopyMem (StaticPointerTableRanges (mPrivate), Ranges, Count * sizeof (EFI_SMRAM_DESCRIPTOR));
  FreePool (Ranges);

  EFI_HANDLE Handle = nullptr;
  Status = gSmst->SmmInstallProtocolInterface (&Handle, &gStaticPointerTableProtocolGuid,
                                               EFI_NATIVE_INTERFACE, mPrivate);
  if (EFI_ERROR (Status)) {
    DEBUG (DEBUG_ERROR, "ERROR: %a: Could not install static pointer table protocol: %r!\n",
           gEfiCallerBaseName, Status);
    ASSERT_EFI_ERROR (Status, TableInstalled);
    return Status;
  }
  return EFI_SUCCESS;
}
