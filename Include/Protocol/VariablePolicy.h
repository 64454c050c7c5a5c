/// EDKII_VARIABLE_POLICY_PROTOCOL: rules that the variable services keep, a record for each.
#pragma once

#include "Uefi/SystemTable.h"

inline constexpr EFI_GUID gEdkiiVariablePolicyProtocolGuid = {
    0x81D1675C, 0x86F6, 0x48DF, {0xBD, 0x95, 0x9A, 0x6E, 0x4F, 0x09, 0x25, 0xC3}};

inline constexpr UINT32 VARIABLE_POLICY_ENTRY_REVISION = 0x00010000;

/// The rule's variables can no longer be written once the rule is registered.
inline constexpr UINT8 VARIABLE_POLICY_TYPE_LOCK_NOW = 1;

/// No limits and no demands.
inline constexpr UINT32 VARIABLE_POLICY_NO_MIN_SIZE = 0;
inline constexpr UINT32 VARIABLE_POLICY_NO_MAX_SIZE = 0xFFFFFFFF;
inline constexpr UINT32 VARIABLE_POLICY_NO_MUST_ATTR = 0;
inline constexpr UINT32 VARIABLE_POLICY_NO_CANT_ATTR = 0;

/// The head of a rule. At OffsetToName, which is the size of this head, follows the name of its
/// variable, UTF-16 with a NUL; a rule that ends there is for every variable of the namespace. The
/// record lies at an address that is a multiple of 4.
struct alignas (4) [[gnu::packed]] VARIABLE_POLICY_ENTRY {
  UINT32 Version;
  UINT16 Size; ///< Of the whole record in bytes, the name with its NUL included.
  UINT16 OffsetToName;
  EFI_GUID Namespace;
  UINT32 MinSize;
  UINT32 MaxSize;
  UINT32 AttributesMustHave;
  UINT32 AttributesCantHave;
  UINT8 LockPolicyType;
  UINT8 Padding[3];
};
LAYOUT_OFFSET (VARIABLE_POLICY_ENTRY, Version, 0);
LAYOUT_OFFSET (VARIABLE_POLICY_ENTRY, Size, 4);
LAYOUT_OFFSET (VARIABLE_POLICY_ENTRY, OffsetToName, 6);
LAYOUT_OFFSET (VARIABLE_POLICY_ENTRY, Namespace, 8);
LAYOUT_OFFSET (VARIABLE_POLICY_ENTRY, MinSize, 24);
LAYOUT_OFFSET (VARIABLE_POLICY_ENTRY, MaxSize, 28);
LAYOUT_OFFSET (VARIABLE_POLICY_ENTRY, AttributesMustHave, 32);
LAYOUT_OFFSET (VARIABLE_POLICY_ENTRY, AttributesCantHave, 36);
LAYOUT_OFFSET (VARIABLE_POLICY_ENTRY, LockPolicyType, 40);
LAYOUT_SIZE (VARIABLE_POLICY_ENTRY, 44);

struct EDKII_VARIABLE_POLICY_PROTOCOL {
  UINT64 Revision;
  EFI_UNUSED_SERVICE DisableVariablePolicy;
  EFI_UNUSED_SERVICE IsVariablePolicyEnabled;

  /// Takes a rule into force. Copies the record, which stays the caller's.
  EFI_STATUS (EFIAPI *RegisterVariablePolicy) (const VARIABLE_POLICY_ENTRY *PolicyEntry);
  EFI_UNUSED_SERVICE DumpVariablePolicy;
  EFI_UNUSED_SERVICE LockVariablePolicy;
};
LAYOUT_OFFSET (EDKII_VARIABLE_POLICY_PROTOCOL, RegisterVariablePolicy, 0x18);
LAYOUT_SIZE (EDKII_VARIABLE_POLICY_PROTOCOL, 0x30);
