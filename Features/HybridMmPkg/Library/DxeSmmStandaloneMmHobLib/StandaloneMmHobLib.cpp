#include "DxeSmmStandaloneMmHobLib.h"

#include "BaseMemoryLibOptDxe.h"
#include "Guid/HobList.h"
#include "SmmDebugServiceLib.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"

constinit VOID *gHobList = nullptr;

namespace {

constexpr CHAR8 SourceFile[] =
    "Features/HybridMmPkg/Library/DxeSmmStandaloneMmHobLib/StandaloneMmHobLib";
constexpr AssertionSite HobListNotNull = {SourceFile, 88, "gHobList != ((void *) 0)"};
constexpr AssertionSite HobStartNotNull = {SourceFile, 118, "HobStart != ((void *) 0)"};

/// The longest block whose length, rounded up to the alignment, is still a HobLength.
constexpr UINTN HobLengthMax = 0xFFF8;

/// Stores what the first record of that name in a configuration table leads to.
VOID
FindHobListIn (const EFI_CONFIGURATION_TABLE *Table, UINTN NumberOfEntries, VOID **HobList)
{
  for (UINTN Index = 0; Index < NumberOfEntries; ++Index) {
    if (CompareGuid (&Table[Index].VendorGuid, &gEfiHobListGuid)) {
      *HobList = Table[Index].VendorTable;
      return;
    }
  }
}

/// Looks for the list in both tables, of which the one of SMM wins. Either may be missing: the
/// assertions of their constructors may have returned.
VOID *
FindHobList ()
{
  VOID *HobList = nullptr;
  if (gST != nullptr) {
    FindHobListIn (gST->ConfigurationTable, gST->NumberOfTableEntries, &HobList);
  }
  if (gSmst != nullptr) {
    FindHobListIn (gSmst->SmmConfigurationTable, gSmst->NumberOfTableEntries, &HobList);
  }
  __atomic_store_n (&gHobList, HobList, __ATOMIC_RELAXED);
  return HobList;
}

/// The block behind Hob, or null where Hob has no possible length.
const EFI_HOB_GENERIC_HEADER *
FollowingHob (const EFI_HOB_GENERIC_HEADER *Hob)
{
  if (Hob->HobLength < sizeof *Hob) {
    return nullptr;
  }
  return reinterpret_cast<const EFI_HOB_GENERIC_HEADER *> (reinterpret_cast<const UINT8 *> (Hob) +
                                                           Hob->HobLength);
}

/// The name of a GUID block, which may lie at any address.
EFI_GUID *
NameOf (VOID *GuidHob)
{
  return reinterpret_cast<EFI_GUID *> (static_cast<UINT8 *> (GuidHob) +
                                       offsetof (EFI_HOB_GUID_TYPE, Name));
}

/// Puts a block of HobLength bytes, header included, in the place of the end of the list, and a new
/// end behind it. Returns the block, whose body is undefined, or null when there is no room.
VOID *
CreateHob (UINT16 HobType, UINT16 HobLength)
{
  auto *HandOff = static_cast<EFI_HOB_HANDOFF_INFO_TABLE *> (GetHobList ());
  if (HandOff == nullptr) {
    return nullptr;
  }

  constexpr UINT16 AlignmentMask = EFI_HOB_ALIGNMENT - 1;
  HobLength = static_cast<UINT16> ((HobLength + AlignmentMask) & ~AlignmentMask);
  if (HandOff->EfiFreeMemoryTop - HandOff->EfiFreeMemoryBottom < HobLength) {
    return nullptr;
  }

  auto *Hob = reinterpret_cast<EFI_HOB_GENERIC_HEADER *> (HandOff->EfiEndOfHobList);
  Hob->Reserved = 0;
  Hob->HobType = HobType;
  Hob->HobLength = HobLength;

  HandOff->EfiEndOfHobList += HobLength;
  auto *End = reinterpret_cast<EFI_HOB_GENERIC_HEADER *> (HandOff->EfiEndOfHobList);
  End->Reserved = 0;
  End->HobType = EFI_HOB_TYPE_END_OF_HOB_LIST;
  End->HobLength = sizeof *End;
  HandOff->EfiFreeMemoryBottom = HandOff->EfiEndOfHobList + sizeof *End;
  return Hob;
}

} // namespace

EFI_STATUS EFIAPI
HobLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  (void)FindHobList ();
  return EFI_SUCCESS;
}

VOID *
GetHobList ()
{
  VOID *HobList = __atomic_load_n (&gHobList, __ATOMIC_RELAXED);
  if (HobList == nullptr) {
    HobList = FindHobList ();
  }
  ASSERT (HobList != nullptr, HobListNotNull);
  return HobList;
}

VOID *
GetNextHob (UINT16 Type, const VOID *HobStart)
{
  ASSERT (HobStart != nullptr, HobStartNotNull);
  const auto *Hob = static_cast<const EFI_HOB_GENERIC_HEADER *> (HobStart);
  while (Hob != nullptr && Hob->HobType != EFI_HOB_TYPE_END_OF_HOB_LIST) {
    if (Hob->HobType == Type) {
      return const_cast<EFI_HOB_GENERIC_HEADER *> (Hob);
    }
    Hob = FollowingHob (Hob);
  }
  return nullptr;
}

VOID *
GetFirstGuidHob (const EFI_GUID *Guid)
{
  const VOID *Start = GetHobList ();
  while (Start != nullptr) {
    auto *Hob =
        static_cast<EFI_HOB_GENERIC_HEADER *> (GetNextHob (EFI_HOB_TYPE_GUID_EXTENSION, Start));
    if (Hob == nullptr) {
      return nullptr;
    }
    // A block that is too short for a name has none, whatever lies behind it.
    if (Hob->HobLength >= sizeof (EFI_HOB_GUID_TYPE) && CompareGuid (Guid, NameOf (Hob))) {
      return Hob;
    }
    Start = FollowingHob (Hob);
  }
  return nullptr;
}

VOID *
BuildGuidHob (const EFI_GUID *Guid, UINTN DataLength)
{
  if (DataLength > HobLengthMax - sizeof (EFI_HOB_GUID_TYPE)) {
    return nullptr;
  }
  VOID *Hob = CreateHob (EFI_HOB_TYPE_GUID_EXTENSION,
                         static_cast<UINT16> (sizeof (EFI_HOB_GUID_TYPE) + DataLength));
  if (Hob == nullptr) {
    return nullptr;
  }
  CopyGuid (NameOf (Hob), Guid);
  return static_cast<UINT8 *> (Hob) + sizeof (EFI_HOB_GUID_TYPE);
}

VOID *
BuildGuidDataHob (const EFI_GUID *Guid, const VOID *Data, UINTN DataLength)
{
  VOID *Area = BuildGuidHob (Guid, DataLength);
  if (Area != nullptr) {
    CopyMem (Area, Data, DataLength);
  }
  return Area;
}
