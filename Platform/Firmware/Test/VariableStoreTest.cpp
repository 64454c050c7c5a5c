#include "VariableStore.h"

#include "FirmwareFixture.h"
#include "VariablePolicy.h"

namespace {

constexpr EFI_GUID Space = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
constexpr UINT32 Volatile = EFI_VARIABLE_BOOTSERVICE_ACCESS;
constexpr UINT32 Kept = Volatile | EFI_VARIABLE_NON_VOLATILE;

/// Writes a value of 8 bytes, or deletes it with 0.
EFI_STATUS
Set (const CHAR16 *Name, UINT64 Value, UINT32 Attributes = Volatile)
{
  return gSmmVariable.SmmSetVariable (Name, &Space, Attributes, Value != 0 ? 8 : 0, &Value);
}

/// The variable's value, or its status in the place of one.
UINT64
Get (const CHAR16 *Name, UINTN Room = 8)
{
  UINT64 Value = 0;
  const EFI_STATUS Status = gSmmVariable.SmmGetVariable (Name, &Space, nullptr, &Room, &Value);
  return EFI_ERROR (Status) ? Status : Value;
}

TEST_F (Firmware, KeepsVariablesUntilTheyAreDeletedOrPowerIsLost)
{
  EXPECT_EQ (Get (u"A"), EFI_NOT_FOUND);
  EXPECT_EQ (Set (u"A", 7), EFI_SUCCESS);
  EXPECT_EQ (Set (u"AB", 8, Kept), EFI_SUCCESS);
  EXPECT_EQ (Set (u"A", 9, Kept), EFI_INVALID_PARAMETER) << "attributes stay";
  EXPECT_EQ (Get (u"A"), 7U);
  EXPECT_EQ (Get (u"A", 7), EFI_BUFFER_TOO_SMALL);
  const FirmwareWorld Table = World.Table ();
  FirmwareReset (&Table);
  EXPECT_EQ (Get (u"A"), EFI_NOT_FOUND);
  EXPECT_EQ (Get (u"AB"), 8U);
  EXPECT_EQ (Set (u"AB", 0, Kept), EFI_SUCCESS);
  EXPECT_EQ (Set (u"AB", 0, Kept), EFI_NOT_FOUND);
}

TEST_F (Firmware, RefusesToChangeALockedVariable)
{
  struct {
    VARIABLE_POLICY_ENTRY Entry;
    CHAR16 Name[2];
  } Rule = {.Entry = {.Version = VARIABLE_POLICY_ENTRY_REVISION,
                      .Size = 48,
                      .OffsetToName = 44,
                      .Namespace = Space,
                      .MinSize = 0,
                      .MaxSize = 0xFFFFFFFF,
                      .AttributesMustHave = 0,
                      .AttributesCantHave = 0,
                      .LockPolicyType = VARIABLE_POLICY_TYPE_LOCK_NOW,
                      .Padding = {}},
            .Name = {u'A', 0}};
  const auto Register = [&] { return gVariablePolicy.RegisterVariablePolicy (&Rule.Entry); };
  for (const UINT16 Size : std::initializer_list<UINT16>{
           43, 46, 47, 50}) { // No head, no NUL, half a NUL, a second NUL.
    Rule.Entry.Size = Size;
    EXPECT_EQ (Register (), EFI_INVALID_PARAMETER) << Size;
  }
  Rule.Entry.Size = 48;
  EXPECT_EQ (Set (u"A", 7), EFI_SUCCESS);
  EXPECT_EQ (Register (), EFI_SUCCESS);
  EXPECT_EQ (Register (), EFI_ALREADY_STARTED);
  EXPECT_EQ (Set (u"A", 8), EFI_WRITE_PROTECTED);
  EXPECT_EQ (Set (u"A", 0), EFI_WRITE_PROTECTED);
  EXPECT_EQ (Get (u"A"), 7U);
  EXPECT_EQ (Set (u"AB", 8), EFI_SUCCESS);
  Rule.Entry.Size = 44;
  EXPECT_EQ (Register (), EFI_SUCCESS);
  EXPECT_EQ (Set (u"AB", 9), EFI_WRITE_PROTECTED) << "locked with its namespace";
}

} // namespace
