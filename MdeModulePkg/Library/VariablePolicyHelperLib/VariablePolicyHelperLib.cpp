#include "VariablePolicyHelperLib.h"

#include "BaseLib.h"
#include "BaseMemoryLibOptDxe.h"
#include "Record/RasGlobalData.h"
#include "SmmDebugServiceLib.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmRasGlobalDataLib.h"

namespace {

constexpr AssertionSite SizeInRange = {
    "MdeModulePkg/Library/VariablePolicyHelperLib/VariablePolicyHelperLib", 100,
    "TotalSize <= ((UINT16)0xFFFF)"};

/// The size of an entry is a 16-bit field.
constexpr UINTN EntrySizeMax = 0xFFFF;

/// Longest name that is measured, in characters: more than fits an entry.
constexpr UINTN NameLengthMax = 0xFFFF;

/// The bytes of a name with its NUL, or 0 without a name.
UINTN
NameSize (const CHAR16 *Name)
{
  return Name != nullptr ? (StrnLenS (Name, NameLengthMax) + 1) * sizeof (CHAR16) : 0;
}

} // namespace

EFI_STATUS
CreateBasicVariablePolicy (const EFI_GUID *Namespace,
                           const CHAR16 *Name,
                           VARIABLE_POLICY_ENTRY **NewEntry)
{
  if (NewEntry == nullptr) {
    return EFI_INVALID_PARAMETER;
  }

  const UINTN TotalSize = sizeof (VARIABLE_POLICY_ENTRY) + NameSize (Name);
  ASSERT (TotalSize <= EntrySizeMax, SizeInRange);
  if (TotalSize > EntrySizeMax) {
    return EFI_BUFFER_TOO_SMALL;
  }

  auto *Entry = static_cast<VARIABLE_POLICY_ENTRY *> (AllocatePool (TotalSize));
  *NewEntry = Entry;
  if (Entry == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }

  Entry->Version = VARIABLE_POLICY_ENTRY_REVISION;
  CopyGuid (&Entry->Namespace, Namespace);
  Entry->MinSize = VARIABLE_POLICY_NO_MIN_SIZE;
  Entry->MaxSize = VARIABLE_POLICY_NO_MAX_SIZE;
  Entry->AttributesMustHave = VARIABLE_POLICY_NO_MUST_ATTR;
  Entry->AttributesCantHave = VARIABLE_POLICY_NO_CANT_ATTR;
  Entry->LockPolicyType = VARIABLE_POLICY_TYPE_LOCK_NOW;
  Entry->Size = static_cast<UINT16> (TotalSize);
  Entry->OffsetToName = sizeof (VARIABLE_POLICY_ENTRY);
  if (Name != nullptr) {
    CopyMem (Entry + 1, Name, TotalSize - sizeof (VARIABLE_POLICY_ENTRY));
  }
  return EFI_SUCCESS;
}

EFI_STATUS
RegisterBasicVariablePolicy (const CHAR16 *Name)
{
  if (mVariablePolicy == nullptr) {
    return EFI_INVALID_PARAMETER;
  }

  VARIABLE_POLICY_ENTRY *Entry = nullptr;
  EFI_STATUS Status = CreateBasicVariablePolicy (&gRasGlobalDataVariableGuid, Name, &Entry);
  if (!EFI_ERROR (Status)) {
    Status = mVariablePolicy->RegisterVariablePolicy (Entry);
  }
  if (Entry != nullptr) {
    FreePool (Entry);
  }
  return Status;
}
