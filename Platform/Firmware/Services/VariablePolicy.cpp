#include "VariablePolicy.h"

#include "FaultPlan.h"
#include "FirmwareWorld.h"
#include "Identity.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit EDKII_VARIABLE_POLICY_PROTOCOL gVariablePolicy = {};

namespace {

constexpr ServiceName Policy = "the variable policy service has no ";

constexpr UINT64 ProtocolRevision = 0x0000000000010000;

constexpr UINTN PolicyMax = 64;

/// Longest name in a rule, in characters, the NUL included.
constexpr UINTN PolicyNameMax = 64;

/// One rule, copied from its record.
struct VariablePolicy {
  VARIABLE_POLICY_ENTRY Entry;
  CHAR16 Name[PolicyNameMax]; ///< Empty in a rule for its whole namespace.
};

/// In the order of their registration.
constinit VariablePolicy mPolicies[PolicyMax] = {};
constinit UINTN mPolicyCount = 0;

/// Whether the record's numbers agree, and its name, if it has one, ends with the record.
bool
IsWellFormed (const VARIABLE_POLICY_ENTRY *Entry)
{
  if (Entry->Version != VARIABLE_POLICY_ENTRY_REVISION || Entry->OffsetToName != sizeof (*Entry) ||
      Entry->Size < Entry->OffsetToName || Entry->MinSize > Entry->MaxSize ||
      (Entry->AttributesMustHave & Entry->AttributesCantHave) != 0) {
    return false;
  }
  const UINTN NameSize = Entry->Size - sizeof (*Entry);
  if (NameSize % sizeof (CHAR16) != 0) {
    return false;
  }
  const auto *Name = reinterpret_cast<const CHAR16 *> (Entry + 1);
  const UINTN Characters = NameSize / sizeof (CHAR16);
  for (UINTN Index = 0; Index < Characters; ++Index) {
    if ((Name[Index] == 0) != (Index == Characters - 1)) {
      return false;
    }
  }
  return true;
}

bool
IsKnown (const VariablePolicy &Rule)
{
  for (UINTN Index = 0; Index < mPolicyCount; ++Index) {
    const VariablePolicy &Each = mPolicies[Index];
    if (IsSameGuid (Each.Entry.Namespace, Rule.Entry.Namespace) &&
        IsSameName (Each.Name, Rule.Name)) {
      return true;
    }
  }
  return false;
}

EFI_STATUS EFIAPI
RegisterVariablePolicy (const VARIABLE_POLICY_ENTRY *Entry)
{
  const EFI_STATUS Planned = FaultPlanCount (ServiceRegisterPolicy);
  if (EFI_ERROR (Planned)) {
    return Planned;
  }
  if (Entry == nullptr || !IsWellFormed (Entry)) {
    return EFI_INVALID_PARAMETER;
  }
  if (Entry->LockPolicyType != VARIABLE_POLICY_TYPE_LOCK_NOW) {
    FirmwareFault ("the firmware knows no variable policy but to lock now");
  }
  VariablePolicy Rule = {.Entry = *Entry, .Name = {}};
  const UINTN NameSize = Entry->Size - sizeof (*Entry);
  if (NameSize > sizeof (Rule.Name) || mPolicyCount == PolicyMax) {
    return EFI_OUT_OF_RESOURCES;
  }
  __builtin_memcpy (Rule.Name, Entry + 1, NameSize);
  if (IsKnown (Rule)) {
    return EFI_ALREADY_STARTED;
  }
  mPolicies[mPolicyCount++] = Rule;
  return Planned;
}

} // namespace

VOID
VariablePolicyReset ()
{
  mPolicyCount = 0;
  gVariablePolicy = {
      .Revision = ProtocolRevision,
      .DisableVariablePolicy = UNPROVIDED (Policy, DisableVariablePolicy),
      .IsVariablePolicyEnabled = UNPROVIDED (Policy, IsVariablePolicyEnabled),
      .RegisterVariablePolicy = RegisterVariablePolicy,
      .DumpVariablePolicy = UNPROVIDED (Policy, DumpVariablePolicy),
      .LockVariablePolicy = UNPROVIDED (Policy, LockVariablePolicy),
  };
  ProtocolPublish (ProtocolBoot, &gEdkiiVariablePolicyProtocolGuid, &gVariablePolicy);
}

bool
VariablePolicyLocks (const CHAR16 *Name, const EFI_GUID *Namespace)
{
  for (UINTN Index = 0; Index < mPolicyCount; ++Index) {
    const VariablePolicy &Each = mPolicies[Index];
    if (IsSameGuid (Each.Entry.Namespace, *Namespace) &&
        (Each.Name[0] == 0 || IsSameName (Each.Name, Name))) {
      return true;
    }
  }
  return false;
}
