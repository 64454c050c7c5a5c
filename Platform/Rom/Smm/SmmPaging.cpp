#include "SmmPaging.h"

#include "HandOver.h"
#include "ProcessorInstructions.h"
#include "SmmTile.h"

extern "C" {

extern UINT8 gSmmConstantsStart[];
extern UINT8 gSmmSettledStart[];
extern UINT8 gSmmWorkingStart[];
extern UINT8 gSmmWorkingEnd[];
extern UINT8 gSmmImageEnd[];

alignas (0x1000) UINT64 gSmmRootTable[512];
}

namespace {

constexpr UINT64 PageSize = 0x1000;
constexpr UINT64 LargePageSize = 0x200000;
constexpr UINTN EntriesPerTable = 512;
constexpr UINTN DirectoryCount = 4;
constexpr UINTN TsegTableCount = TSEG_SIZE / LargePageSize;
constexpr UINTN TsegPageCount = TSEG_SIZE / PageSize;

/// Bits of an entry (Intel SDM, volume 3, 4.5). Accessed and dirty are set at once, so that the
/// processor has nothing to write.
constexpr UINT64 EntryPresent = 0x21;
constexpr UINT64 EntryWritable = 0x02;
constexpr UINT64 EntryDirty = 0x40;
constexpr UINT64 EntryLarge = 0x80;
constexpr UINT64 EntryNoExecute = 1ULL << 63;
constexpr UINT64 EntryTable = EntryPresent | EntryWritable;

/// The bit of CR0 with which even the firmware may write to no page that is read-only.
constexpr UINT64 ControlWriteProtect = 0x10000;

/// By PageAccess.
constexpr UINT64 EntryOfAccess[] = {EntryPresent | EntryDirty | EntryNoExecute,
                                    EntryPresent | EntryDirty,
                                    EntryPresent | EntryDirty | EntryWritable | EntryNoExecute};

alignas (PageSize) constinit UINT64 mDirectoryPointers[EntriesPerTable] = {};
alignas (PageSize) constinit UINT64 mDirectories[DirectoryCount * EntriesPerTable] = {};
alignas (PageSize) constinit UINT64 mTsegPages[TsegPageCount] = {};

UINT64
AddressOf (const VOID *Table)
{
  return reinterpret_cast<UINT64> (Table);
}

VOID
SetBetween (const VOID *Start, const VOID *End, PageAccess Access)
{
  SmmPagingSet (AddressOf (Start), AddressOf (End) - AddressOf (Start), Access);
}

/// Takes all access to ordinary RAM but the hand-over record's large page: what lies there belongs
/// to others from now on.
VOID
LeaveOrdinaryRam ()
{
  for (UINTN Index = 0; Index < TSEG_BASE / LargePageSize; ++Index) {
    if (Index != HAND_OVER_BASE / LargePageSize) {
      mDirectories[Index] = 0;
    }
  }
}
static_assert (sizeof (HandOverArea) <= LargePageSize && HAND_OVER_BASE % LargePageSize == 0);
static_assert (TSEG_BASE + TSEG_SIZE == RAM_SIZE);

} // namespace

VOID
SmmPagingPrepare (UINTN ProcessorCount)
{
  gSmmRootTable[0] = AddressOf (mDirectoryPointers) | EntryTable;
  for (UINTN Index = 0; Index < DirectoryCount; ++Index) {
    mDirectoryPointers[Index] = AddressOf (&mDirectories[Index * EntriesPerTable]) | EntryTable;
  }
  // Nothing is there for SMM below the first large page's end, so that null pointers lead nowhere.
  for (UINTN Index = 1; Index < DirectoryCount * EntriesPerTable; ++Index) {
    mDirectories[Index] = Index * LargePageSize | EntryOfAccess[PageWrite] | EntryLarge;
  }
  for (UINTN Index = 0; Index < TsegTableCount; ++Index) {
    mDirectories[TSEG_BASE / LargePageSize + Index] =
        AddressOf (&mTsegPages[Index * EntriesPerTable]) | EntryTable;
  }
  // A tile's first page stays away, and so do the tiles of processors that are not there.
  for (UINTN Index = 0; Index < ProcessorCount; ++Index) {
    const UINT64 Base = SMM_TILES_BASE + Index * SMM_TILE_SIZE;
    constexpr UINT64 StatePage = SMM_SAVE_STATE_OFFSET & ~(PageSize - 1);
    SmmPagingSet (Base + TILE_STACK, SMM_ENTRY_OFFSET - TILE_STACK, PageWrite);
    SmmPagingSet (Base + SMM_ENTRY_OFFSET, StatePage - SMM_ENTRY_OFFSET, PageRead);
    SmmPagingSet (Base + StatePage, PageSize, PageWrite);
  }
  SetBetween (reinterpret_cast<const VOID *> (SMM_IMAGE_BASE), gSmmConstantsStart, PageExecute);
  SetBetween (gSmmConstantsStart, gSmmSettledStart, PageRead);
  SetBetween (gSmmSettledStart, gSmmImageEnd, PageWrite);
  SmmPagingSet (SMM_VOLUME_BASE, VOLUME_MAX, PageWrite);
  SmmPagingSet (SMM_POOL_BASE, SMM_POOL_SIZE, PageWrite);
}

VOID
SmmPagingSet (UINT64 Start, UINT64 Size, PageAccess Access)
{
  for (UINT64 Address = Start; Address < Start + Size; Address += PageSize) {
    mTsegPages[(Address - TSEG_BASE) / PageSize] = Address | EntryOfAccess[Access];
  }
}

VOID
SmmPagingSettle ()
{
  // The tables are among what becomes read-only.
  const UINT64 Control = ReadControl0 ();
  WriteControl0 (Control & ~ControlWriteProtect);
  LeaveOrdinaryRam ();
  SetBetween (gSmmSettledStart, gSmmWorkingStart, PageRead);
  SetBetween (gSmmWorkingEnd, gSmmImageEnd, PageRead);
  SmmPagingSet (SMM_VOLUME_BASE, VOLUME_MAX, PageRead);
  WriteControl0 (Control);
  ForgetTranslations ();
}

UINT64
SmmPagingChecksum ()
{
  // FNV-1a, over words of 64 bits.
  constexpr UINT64 Start = 0xCBF29CE484222325;
  constexpr UINT64 Prime = 0x00000100000001B3;
  UINT64 Sum = Start;
  for (UINTN Page = 0; Page < TsegPageCount; ++Page) {
    if ((mTsegPages[Page] & EntryPresent) == 0 || (mTsegPages[Page] & EntryWritable) != 0) {
      continue;
    }
    const auto *Words = reinterpret_cast<const UINT64 *> (TSEG_BASE + Page * PageSize);
    for (UINTN Index = 0; Index < PageSize / sizeof (UINT64); ++Index) {
      Sum = (Sum ^ Words[Index]) * Prime;
    }
  }
  return Sum;
}
