#include "VariableStore.h"

#include "FaultPlan.h"
#include "FirmwareWorld.h"
#include "Identity.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"
#include "VariablePolicy.h"

constinit Variable gVariables[VariableMax] = {};
constinit EFI_SMM_VARIABLE_PROTOCOL gSmmVariable = {};

namespace {

constexpr UINT32 AccessAttributes = EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

/// What a call that fails leaves where the value belongs.
constexpr int UndefinedDataPattern = 0xAF;

VOID
RequireIdentity (const CHAR16 *Name, const EFI_GUID *Namespace)
{
  if (Name == nullptr || Namespace == nullptr) {
    FirmwareFault ("a variable service was called without a name or a namespace");
  }
}

/// Returns a place for a variable that is not there yet, with its identity filled in; or null.
Variable *
AddVariable (const CHAR16 *Name, const EFI_GUID *Namespace)
{
  for (Variable &Each : gVariables) {
    if (Each.InUse) {
      continue;
    }
    Each = {};
    for (UINTN Index = 0; Name[Index] != 0; ++Index) {
      if (Index == VariableNameMax - 1) {
        FirmwareFault ("a variable's name is longer than the store has room for");
      }
      Each.Name[Index] = Name[Index];
    }
    Each.Namespace = *Namespace;
    Each.InUse = TRUE;
    return &Each;
  }
  return nullptr;
}

EFI_STATUS
Remove (const CHAR16 *Name, const EFI_GUID *Namespace)
{
  Variable *Found = VariableFind (Name, Namespace);
  if (Found == nullptr) {
    return EFI_NOT_FOUND;
  }
  *Found = {};
  return EFI_SUCCESS;
}

EFI_STATUS
Write (const CHAR16 *Name,
       const EFI_GUID *Namespace,
       UINT32 Attributes,
       UINTN DataSize,
       const VOID *Data)
{
  if (Data == nullptr || DataSize > VariableDataMax) {
    FirmwareFault ("a variable has no value, or a larger one than the store has room for");
  }
  Variable *Found = VariableFind (Name, Namespace);
  if (Found != nullptr && Found->Attributes != Attributes) {
    return EFI_INVALID_PARAMETER;
  }
  if (Found == nullptr) {
    Found = AddVariable (Name, Namespace);
  }
  if (Found == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  Found->Attributes = Attributes;
  Found->DataSize = DataSize;
  __builtin_memcpy (Found->Data, Data, DataSize);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
SmmGetVariable (const CHAR16 *VariableName,
                const EFI_GUID *VendorGuid,
                UINT32 *Attributes,
                UINTN *DataSize,
                VOID *Data)
{
  RequireIdentity (VariableName, VendorGuid);
  const UINTN Room = *DataSize;
  __builtin_memset (Data, UndefinedDataPattern, Room);
  const EFI_STATUS Planned = FaultPlanCount (ServiceGetVariable);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  const Variable *Found = VariableFind (VariableName, VendorGuid);
  if (Found == nullptr) {
    return EFI_NOT_FOUND;
  }
  *DataSize = Found->DataSize;
  if (Attributes != nullptr) {
    *Attributes = Found->Attributes;
  }
  if (Room < Found->DataSize) {
    return EFI_BUFFER_TOO_SMALL;
  }
  __builtin_memcpy (Data, Found->Data, Found->DataSize);
  return Planned;
}

EFI_STATUS EFIAPI
SmmSetVariable (const CHAR16 *VariableName,
                const EFI_GUID *VendorGuid,
                UINT32 Attributes,
                UINTN DataSize,
                const VOID *Data)
{
  RequireIdentity (VariableName, VendorGuid);
  const EFI_STATUS Planned = FaultPlanCount (ServiceSetVariable);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  if ((Attributes & ~AccessAttributes) != 0) {
    FirmwareFault ("the firmware keeps no variable of these attributes");
  }
  if (*VariableName == 0) {
    return EFI_INVALID_PARAMETER;
  }
  if (VariablePolicyLocks (VariableName, VendorGuid)) {
    return EFI_WRITE_PROTECTED;
  }
  const bool Deletes = DataSize == 0 || (Attributes & AccessAttributes) == 0;
  const EFI_STATUS Status = Deletes ? Remove (VariableName, VendorGuid)
                                    : Write (VariableName, VendorGuid, Attributes, DataSize, Data);
  return EFI_ERROR (Status) ? Status : Planned;
}

} // namespace

VOID
VariableStoreReset ()
{
  for (Variable &Each : gVariables) {
    Each = {};
  }
  gSmmVariable = {
      .SmmGetVariable = SmmGetVariable,
      .SmmGetNextVariableName = UnprovidedService<"the firmware has no SmmGetNextVariableName">,
      .SmmSetVariable = SmmSetVariable,
      .SmmQueryVariableInfo = UnprovidedService<"the firmware has no SmmQueryVariableInfo">,
  };
  ProtocolPublish (ProtocolSmm, &gEfiSmmVariableProtocolGuid, &gSmmVariable);
}

Variable *
VariableFind (const CHAR16 *Name, const EFI_GUID *Namespace)
{
  for (Variable &Each : gVariables) {
    if (Each.InUse && IsSameName (Each.Name, Name) && IsSameGuid (Each.Namespace, *Namespace)) {
      return &Each;
    }
  }
  return nullptr;
}
