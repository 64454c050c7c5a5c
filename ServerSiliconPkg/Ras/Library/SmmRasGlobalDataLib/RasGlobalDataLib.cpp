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

/// What the two lookups do each in its own way.
struct Lookup {
  const CHAR8 *FunctionName;
  bool ReportsFailedWrite; ///< By a message ahead of the assertion.

  /// Returns Size zero bytes, or null after a message.
  VOID *(*Allocate) (UINTN Size, EFI_MEMORY_TYPE MemoryType);

  AssertionSite EntryHoldsAddress;
  AssertionSite EntryReadable;
  SourceSite EntryWritten;
  SourceSite EntryLocked;
};

VOID *
AllocateFromSmm (UINTN Size, EFI_MEMORY_TYPE)
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

constexpr Lookup InSmm = {
    .FunctionName = "GetRasGlobalData",
    .ReportsFailedWrite = true,
    .Allocate = AllocateFromSmm,
    .EntryHoldsAddress = {SourceFile, 137, DataNotNullText},
    .EntryReadable = {SourceFile, 145, UnreachableAssertionText},
    .EntryWritten = {SourceFile, 168},
    .EntryLocked = {SourceFile, 177},
};

constexpr Lookup OutsideSmm = {
    .FunctionName = "GetRasGlobalDataMemoryType",
    .ReportsFailedWrite = false,
    .Allocate = AllocateOutsideSmm,
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
Publish (const Lookup &How, const CHAR16 *Name, VOID *Data)
{
  EFI_STATUS Status = mSmmVariableProtocol->SmmSetVariable (
      Name, &gRasGlobalDataVariableGuid, RAS_GLOBAL_DATA_ATTRIBUTES, sizeof (Data), &Data);
  if (EFI_ERROR (Status) && How.ReportsFailedWrite) {
    DEBUG (DEBUG_ERROR, "%a: set variable gRasGlobalDataVariableGuid failed, Status=%r\n",
           How.FunctionName, Status);
  }
  ASSERT_EFI_ERROR (Status, How.EntryWritten);

  Status = RegisterBasicVariablePolicy (Name);
  if (EFI_ERROR (Status)) {
    DEBUG (DEBUG_ERROR, "%a: RegisterBasicVariablePolicy for %s failed! %r\n", How.FunctionName,
           Name, Status);
  }
  ASSERT_EFI_ERROR (Status, How.EntryLocked);
}

/// Both lookups.
VOID *
FindOrMake (const Lookup &How,
            const CHAR16 *Name,
            UINTN Size,
            EFI_MEMORY_TYPE MemoryType,
            BOOLEAN *NewBuffer)
{
  VOID *Data = nullptr;
  BOOLEAN Made = FALSE;
  const EFI_STATUS Status = ReadEntry (Name, &Data);
  if (!EFI_ERROR (Status)) {
    ASSERT (Data != nullptr, How.EntryHoldsAddress);
  } else if (Status == EFI_NOT_FOUND) {
    Data = How.Allocate (Size, MemoryType);
    if (Data != nullptr) {
      Made = TRUE;
      Publish (How, Name, Data);
    }
  } else {
    Data = nullptr;
    ASSERT (false, How.EntryReadable);
  }

  if (NewBuffer != nullptr) {
    *NewBuffer = Made;
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
  return FindOrMake (InSmm, Name, Size, EfiRuntimeServicesData, NewBuffer);
}

VOID *
GetRasGlobalDataMemoryType (const CHAR16 *Name,
                            UINTN Size,
                            EFI_MEMORY_TYPE MemoryType,
                            BOOLEAN *NewBuffer)
{
  return FindOrMake (OutsideSmm, Name, Size, MemoryType, NewBuffer);
}
