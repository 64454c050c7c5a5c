#include "SmmRasGlobalDataLib.h"

#include "BaseMemoryLibOptDxe.h"
#include "ProtocolLib.h"
#include "Record/RasGlobalData.h"
#include "SmmDebugServiceLib.h"
#include "SmmMemoryAllocationLib.h"
#include "UefiBootServicesTableLib.h"
#include "VariablePolicyHelperLib.h"

constinit EDKII_VARIABLE_POLICY_PROTOCOL *mVariablePolicy = nullptr;

namespace {

constexpr CHAR8 SourceFile[] = "ServerSiliconPkg/Ras/Library/SmmRasGlobalDataLib/RasGlobalDataLib";
constexpr CHAR8 ConstructorName[] = "InitializeSmmRasGlobalData";
constexpr CHAR8 DataNotNullText[] = "Data != ((void *) 0)";
constexpr SourceSite VariableLocated = {SourceFile, 60};
constexpr AssertionSite VariableNotNull = {SourceFile, 66, "mSmmVariableProtocol != ((void *) 0)"};
constexpr SourceSite PolicyLocated = {SourceFile, 77};
constexpr AssertionSite PolicyNotNull = {SourceFile, 83, "mVariablePolicy != ((void *) 0)"};

/// The variable services; null until bound.
constinit EFI_SMM_VARIABLE_PROTOCOL *mSmmVariableProtocol = nullptr;

/// What the lookups of the buffers inside and outside SMM memory say each in its own way.
struct Store {
  const CHAR8 *FunctionName;
  bool ReportsFailedWrite; ///< By a message ahead of the assertion.
  AssertionSite EntryHoldsAddress;
  AssertionSite EntryReadable;
  SourceSite EntryWritten;
  SourceSite EntryLocked;
};

/// Each of the two returns Size zero bytes, or null after a message.
VOID *
AllocateFromSmm (UINTN Size)
{
  VOID *Data = AllocateZeroPool (Size);
  if (Data == nullptr) {
    DEBUG (DEBUG_ERROR, "Failed to allocate SMM pool!\n");
  }
  return Data;
}

VOID *
AllocateOutsideSmm (UINTN Size, EFI_MEMORY_TYPE MemoryType)
{
  VOID *Data = nullptr;
  const EFI_STATUS Status =
      gBS != nullptr ? gBS->AllocatePool (MemoryType, Size, &Data) : EFI_UNSUPPORTED;
  if (EFI_ERROR (Status) || Data == nullptr) {
    DEBUG (DEBUG_ERROR, "Failed to allocate pool for MemoryType %d!\n", MemoryType);
    return nullptr;
  }
  return ZeroMem (Data, Size);
}

constexpr Store InSmm = {
    .FunctionName = "GetRasGlobalData",
    .ReportsFailedWrite = true,
    .EntryHoldsAddress = {SourceFile, 137, DataNotNullText},
    .EntryReadable = {SourceFile, 145, UnreachableAssertionText},
    .EntryWritten = {SourceFile, 168},
    .EntryLocked = {SourceFile, 177},
};

constexpr Store OutsideSmm = {
    .FunctionName = "GetRasGlobalDataMemoryType",
    .ReportsFailedWrite = false,
    .EntryHoldsAddress = {SourceFile, 228, DataNotNullText},
    .EntryReadable = {SourceFile, 236, UnreachableAssertionText},
    .EntryWritten = {SourceFile, 260},
    .EntryLocked = {SourceFile, 269},
};

/// Reads the address that the entry of that name holds. EFI_NOT_FOUND says that there is no entry.
EFI_STATUS
ReadEntry (const CHAR16 *Name, VOID **Data)
{
  if (mSmmVariableProtocol == nullptr) {
    return EFI_NOT_READY;
  }
  UINTN DataSize = sizeof (*Data);
  return mSmmVariableProtocol->SmmGetVariable (Name, &gRasGlobalDataVariableGuid, nullptr,
                                               &DataSize, Data);
}

/// Writes an entry and locks it: in this order, or the lock would refuse the write. An entry that
/// could not be written is locked all the same.
VOID
Publish (const Store &Of, const CHAR16 *Name, VOID *Data)
{
  EFI_STATUS Status = mSmmVariableProtocol->SmmSetVariable (
      Name, &gRasGlobalDataVariableGuid, RAS_GLOBAL_DATA_ATTRIBUTES, sizeof (Data), &Data);
  if (EFI_ERROR (Status) && Of.ReportsFailedWrite) {
    DEBUG (DEBUG_ERROR, "%a: set variable gRasGlobalDataVariableGuid failed, Status=%r\n",
           Of.FunctionName, Status);
  }
  ASSERT_EFI_ERROR (Status, Of.EntryWritten);

  Status = RegisterBasicVariablePolicy (Name);
  if (EFI_ERROR (Status)) {
    DEBUG (DEBUG_ERROR, "%a: RegisterBasicVariablePolicy for %s failed! %r\n", Of.FunctionName,
           Name, Status);
  }
  ASSERT_EFI_ERROR (Status, Of.EntryLocked);
}

/// Both lookups. Allocate takes nothing and returns a new buffer or null.
template <typename Allocator>
VOID *
FindOrMake (const Store &Of, const CHAR16 *Name, BOOLEAN *NewBuffer, Allocator Allocate)
{
  VOID *Data = nullptr;
  BOOLEAN IsNew = FALSE;
  const EFI_STATUS Status = ReadEntry (Name, &Data);
  if (!EFI_ERROR (Status)) {
    ASSERT (Data != nullptr, Of.EntryHoldsAddress);
  } else if (Status == EFI_NOT_FOUND) {
    Data = Allocate ();
    if (Data != nullptr) {
      IsNew = TRUE;
      Publish (Of, Name, Data);
    }
  } else {
    Data = nullptr;
    ASSERT (false, Of.EntryReadable);
  }

  if (NewBuffer != nullptr) {
    *NewBuffer = IsNew;
  }
  return Data;
}

} // namespace

EFI_STATUS EFIAPI
InitializeSmmRasGlobalData (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  VOID *Interface = nullptr;
  EFI_STATUS Status = SearchSmmProtocol (&gEfiSmmVariableProtocolGuid, &Interface);
  if (EFI_ERROR (Status)) {
    DEBUG (DEBUG_ERROR, "%a: Locate gEfiSmmVariableProtocolGuid failed, Status=%r\n",
           ConstructorName, Status);
    ASSERT_EFI_ERROR (Status, VariableLocated);
    return Status;
  }
  mSmmVariableProtocol = static_cast<EFI_SMM_VARIABLE_PROTOCOL *> (Interface);
  if (mSmmVariableProtocol == nullptr) {
    DEBUG (DEBUG_ERROR, "%a: failed to locate mSmmVariableProtocol\n", ConstructorName);
    ASSERT (false, VariableNotNull);
    return EFI_NOT_FOUND;
  }

  Status = SearchBootProtocol (&gEdkiiVariablePolicyProtocolGuid, &Interface);
  if (EFI_ERROR (Status)) {
    DEBUG (DEBUG_ERROR, "%a: Locate gEdkiiVariablePolicyProtocolGuid failed, Status=%r\n",
           ConstructorName, Status);
    ASSERT_EFI_ERROR (Status, PolicyLocated);
    return Status;
  }
  mVariablePolicy = static_cast<EDKII_VARIABLE_POLICY_PROTOCOL *> (Interface);
  if (mVariablePolicy == nullptr) {
    DEBUG (DEBUG_ERROR, "%a: failed to locate mVariablePolicy\n", ConstructorName);
    ASSERT (false, PolicyNotNull);
    return EFI_NOT_FOUND;
  }
  return EFI_SUCCESS;
}

VOID *
GetRasGlobalData (const CHAR16 *Name, UINTN Size, BOOLEAN *NewBuffer)
{
  return FindOrMake (InSmm, Name, NewBuffer, [=] { return AllocateFromSmm (Size); });
}

VOID *
GetRasGlobalDataMemoryType (const CHAR16 *Name,
                            UINTN Size,
                            EFI_MEMORY_TYPE MemoryType,
                            BOOLEAN *NewBuffer)
{
  return FindOrMake (OutsideSmm, Name, NewBuffer,
                     [=] { return AllocateOutsideSmm (Size, MemoryType); });
}
