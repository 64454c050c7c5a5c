#include "VariableStore.h"

#include <cstring>

#include "CpuService.h"
#include "FirmwareFixture.h"
#include "VariablePolicy.h"

namespace {

constexpr EFI_GUID Space = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
constexpr UINT32 Volatile = EFI_VARIABLE_BOOTSERVICE_ACCESS;
constexpr UINT32 Kept = Volatile | EFI_VARIABLE_NON_VOLATILE;

class VariableStore : public Firmware {
public:
  static EFI_STATUS
  Set (const CHAR16 *Name, UINT64 Value, UINT32 Attributes = Volatile)
  {
    return gSmmVariable.SmmSetVariable (Name, &Space, Attributes, sizeof Value, &Value);
  }

  static EFI_STATUS
  Delete (const CHAR16 *Name)
  {
    return gSmmVariable.SmmSetVariable (Name, &Space, Volatile, 0, nullptr);
  }

  /// The variable's value, or its status in place of one.
  static UINT64
  Get (const CHAR16 *Name)
  {
    UINT64 Value = 0;
    UINTN Size = sizeof Value;
    const EFI_STATUS Status = gSmmVariable.SmmGetVariable (Name, &Space, nullptr, &Size, &Value);
    return EFI_ERROR (Status) ? Status : Value;
  }

  /// A rule's record, as a client would make it.
  struct Record {
    VARIABLE_POLICY_ENTRY Entry;
    CHAR16 Name[80];
  };

  static Record
  LockRecord (const CHAR16 *Name)
  {
    Record Made = {.Entry = {.Version = VARIABLE_POLICY_ENTRY_REVISION,
                             .Size = sizeof (VARIABLE_POLICY_ENTRY),
                             .OffsetToName = sizeof (VARIABLE_POLICY_ENTRY),
                             .Namespace = Space,
                             .MinSize = VARIABLE_POLICY_NO_MIN_SIZE,
                             .MaxSize = VARIABLE_POLICY_NO_MAX_SIZE,
                             .AttributesMustHave = VARIABLE_POLICY_NO_MUST_ATTR,
                             .AttributesCantHave = VARIABLE_POLICY_NO_CANT_ATTR,
                             .LockPolicyType = VARIABLE_POLICY_TYPE_LOCK_NOW,
                             .Padding = {0xA5, 0xA5, 0xA5}},
                   .Name = {}};
    UINTN Length = 0;
    for (; Name != nullptr && (Length == 0 || Name[Length - 1] != 0); ++Length) {
      Made.Name[Length] = Name[Length];
    }
    Made.Entry.Size = static_cast<UINT16> (Made.Entry.Size + Length * sizeof (CHAR16));
    return Made;
  }

  static EFI_STATUS
  Register (const Record &Rule)
  {
    return gVariablePolicy.RegisterVariablePolicy (&Rule.Entry);
  }
};

TEST_F (VariableStore, KeepsValuesUntilTheyAreDeletedOrPowerIsLost)
{
  EXPECT_EQ (Get (u"A"), EFI_NOT_FOUND);
  EXPECT_EQ (Set (u"A", 7), EFI_SUCCESS);
  EXPECT_EQ (Set (u"AB", 8, Kept), EFI_SUCCESS);
  EXPECT_EQ (Set (u"A", 9, Kept), EFI_INVALID_PARAMETER) << "attributes stay";
  EXPECT_EQ (Get (u"A"), 7U);
  EXPECT_EQ (VariableFind (u"A", &Space)->Attributes, Volatile);

  UINT32 Half = 0;
  UINTN Size = sizeof Half;
  EXPECT_EQ (gSmmVariable.SmmGetVariable (u"A", &Space, nullptr, &Size, &Half),
             EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ (Size, 8U);

  const FirmwareWorld Table = World.Table ();
  FirmwareReset (&Table);
  EXPECT_EQ (Get (u"A"), EFI_NOT_FOUND);
  EXPECT_EQ (Get (u"AB"), 8U);
  EXPECT_EQ (Delete (u"AB"), EFI_SUCCESS);
  EXPECT_EQ (Delete (u"AB"), EFI_NOT_FOUND);
}

TEST_F (VariableStore, RefusesToChangeALockedVariable)
{
  Set (u"A", 7);
  Set (u"AB", 8);
  {
    const Record Rule = LockRecord (u"A"); // The service has to copy it.
    EXPECT_EQ (Register (Rule), EFI_SUCCESS);
    EXPECT_EQ (Register (Rule), EFI_ALREADY_STARTED);
  }
  EXPECT_EQ (Set (u"A", 9), EFI_WRITE_PROTECTED);
  EXPECT_EQ (Delete (u"A"), EFI_WRITE_PROTECTED);
  EXPECT_EQ (Get (u"A"), 7U);
  EXPECT_EQ (Set (u"AB", 9), EFI_SUCCESS);

  EXPECT_EQ (Register (LockRecord (u"Absent")), EFI_SUCCESS);
  EXPECT_EQ (Set (u"Absent", 1), EFI_WRITE_PROTECTED);
  EXPECT_EQ (Register (LockRecord (nullptr)), EFI_SUCCESS);
  EXPECT_EQ (Set (u"AB", 1), EFI_WRITE_PROTECTED) << "locked with its namespace";
}

TEST_F (VariableStore, RefusesRulesOfTheWrongShape)
{
  const struct {
    const char *Name;
    void (*Damage) (Record &);
  } Rows[] = {
      {"version", [] (Record &Rule) { Rule.Entry.Version = 0x00020000; }},
      {"offset", [] (Record &Rule) { Rule.Entry.OffsetToName = 45; }},
      {"no NUL", [] (Record &Rule) { Rule.Entry.Size = 46; }},
      {"half a character", [] (Record &Rule) { Rule.Entry.Size = 47; }},
      {"text behind the NUL", [] (Record &Rule) { Rule.Entry.Size = 50; }},
      {"size below the head", [] (Record &Rule) { Rule.Entry.Size = 43; }},
      {"sizes", [] (Record &Rule) { Rule.Entry.MinSize = 1, Rule.Entry.MaxSize = 0; }},
      {"attributes",
       [] (Record &Rule) {
         Rule.Entry.AttributesMustHave = Rule.Entry.AttributesCantHave = Volatile;
       }},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    Record Rule = LockRecord (u"A");
    Row.Damage (Rule);
    EXPECT_EQ (Register (Rule), EFI_INVALID_PARAMETER);
  }
  EXPECT_EQ (gVariablePolicyCount, 0U);

  Record Other = LockRecord (u"A");
  Other.Entry.LockPolicyType = 0;
  EXPECT_NE (FaultOf ([&] { Register (Other); }), "");
}

TEST_F (Firmware, TellsOfItsProcessors)
{
  World.Processors[1] = {.ProcessorId = 0x85, .Package = 1, .Core = 2, .Thread = 1};
  EFI_PROCESSOR_INFORMATION Information;
  EXPECT_EQ (gCpuService.GetProcessorInfo (&gCpuService, 2, &Information), EFI_NOT_FOUND);
  EXPECT_EQ (gCpuService.GetProcessorInfo (&gCpuService, 1, &Information), EFI_SUCCESS);
  EXPECT_EQ (Information.ProcessorId, 0x85U);
  EXPECT_EQ (Information.Location.Core, 2U);
}

} // namespace
