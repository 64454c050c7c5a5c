#include "HobList.h"

#include "FirmwareWorld.h"
#include "Identity.h"
#include "UnknownFields.h"

namespace {

constexpr EFI_GUID NoName = {};

alignas (EFI_HOB_ALIGNMENT) constinit UINT8 mMemory[HobListSize] = {};

/// Puts the end of the list at Address. What lies behind it is free.
VOID
EndListAt (EFI_PHYSICAL_ADDRESS Address)
{
  auto *End = reinterpret_cast<EFI_HOB_GENERIC_HEADER *> (Address);
  *End = {.HobType = EFI_HOB_TYPE_END_OF_HOB_LIST, .HobLength = sizeof *End, .Reserved = 0};
  HobListHead ()->EfiEndOfHobList = Address;
  HobListHead ()->EfiFreeMemoryBottom = Address + sizeof *End;
}

/// Appends a block of Size bytes, header included, and returns it.
VOID *
AddHob (UINT16 HobType, UINTN Size)
{
  const UINTN Length = (Size + EFI_HOB_ALIGNMENT - 1) / EFI_HOB_ALIGNMENT * EFI_HOB_ALIGNMENT;
  const EFI_HOB_HANDOFF_INFO_TABLE *HandOff = HobListHead ();
  if (Length > 0xFFFF || Length > HandOff->EfiFreeMemoryTop - HandOff->EfiFreeMemoryBottom) {
    FirmwareFault ("more hand-off blocks than the list has room for");
  }
  auto *Hob = reinterpret_cast<EFI_HOB_GENERIC_HEADER *> (HandOff->EfiEndOfHobList);
  __builtin_memset (Hob, UnknownFieldPattern, Length);
  *Hob = {.HobType = HobType, .HobLength = static_cast<UINT16> (Length), .Reserved = 0};
  EndListAt (HandOff->EfiEndOfHobList + Length);
  return Hob;
}

} // namespace

VOID
HobListReset ()
{
  __builtin_memset (mMemory, UnknownFieldPattern, sizeof mMemory);
  const auto Bottom = reinterpret_cast<EFI_PHYSICAL_ADDRESS> (mMemory);
  EFI_HOB_HANDOFF_INFO_TABLE *HandOff = HobListHead ();
  HandOff->Header = {.HobType = EFI_HOB_TYPE_HANDOFF, .HobLength = sizeof *HandOff, .Reserved = 0};
  HandOff->Version = EFI_HOB_HANDOFF_TABLE_VERSION;
  HandOff->BootMode = BOOT_WITH_FULL_CONFIGURATION;
  HandOff->EfiMemoryTop = Bottom + sizeof mMemory;
  HandOff->EfiMemoryBottom = Bottom;
  HandOff->EfiFreeMemoryTop = Bottom + sizeof mMemory;
  EndListAt (Bottom + sizeof *HandOff);
}

EFI_HOB_HANDOFF_INFO_TABLE *
HobListHead ()
{
  return reinterpret_cast<EFI_HOB_HANDOFF_INFO_TABLE *> (mMemory);
}

EFI_HOB_GUID_TYPE *
HobListAddGuid (const EFI_GUID *Name, const VOID *Data, UINTN DataSize)
{
  auto *Hob = static_cast<EFI_HOB_GUID_TYPE *> (
      AddHob (EFI_HOB_TYPE_GUID_EXTENSION, sizeof (EFI_HOB_GUID_TYPE) + DataSize));
  Hob->Name = *Name;
  __builtin_memcpy (Hob + 1, Data, DataSize);
  return Hob;
}

VOID
HobListRemove (const EFI_GUID *Name)
{
  auto *Hob = &HobListHead ()->Header;
  while (Hob->HobType != EFI_HOB_TYPE_END_OF_HOB_LIST) {
    auto *GuidHob = reinterpret_cast<EFI_HOB_GUID_TYPE *> (Hob);
    if (Hob->HobType == EFI_HOB_TYPE_GUID_EXTENSION && IsSameGuid (GuidHob->Name, *Name)) {
      GuidHob->Name = NoName;
      return;
    }
    Hob = reinterpret_cast<EFI_HOB_GENERIC_HEADER *> (reinterpret_cast<UINT8 *> (Hob) +
                                                      Hob->HobLength);
  }
  FirmwareFault ("there is no GUID block of this name to take off the list");
}

EFI_HOB_CPU *
HobListAddCpu (UINT8 MemoryAddressBits, UINT8 IoAddressBits)
{
  auto *Hob = static_cast<EFI_HOB_CPU *> (AddHob (EFI_HOB_TYPE_CPU, sizeof (EFI_HOB_CPU)));
  Hob->SizeOfMemorySpace = MemoryAddressBits;
  Hob->SizeOfIoSpace = IoAddressBits;
  return Hob;
}
