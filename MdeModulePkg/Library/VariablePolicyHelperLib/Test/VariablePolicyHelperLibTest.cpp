#include "VariablePolicyHelperLib.h"

#include <cstring>

#include "FirmwareTestBench.h"
#include "Record/RasGlobalData.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmRasGlobalDataLib.h"
#include "VariablePolicy.h"

namespace {

class VariablePolicyHelper : public FirmwareTestBench {
public:
  VariablePolicyHelper ()
  {
    SmmMemoryAllocationLibConstructor (nullptr, nullptr);
    LiveBlocks = gPools[PoolSmm].LiveBlocks;
  }

  UINTN LiveBlocks; ///< Of the bench itself.
};

TEST_F (VariablePolicyHelper, FillsEveryFieldOfARule)
{
  constexpr UINT8 Expected[] = {
      0x00, 0x00, 0x01, 0x00,                         // Version
      0x30, 0x00, 0x2C, 0x00,                         // Size, OffsetToName
      0x36, 0xFA, 0x4A, 0xCB, 0xBF, 0x42, 0x0B, 0x40, // Namespace
      0x8B, 0x8F, 0x57, 0x39, 0x41, 0xA2, 0x9F, 0x4E, //
      0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, // MinSize, MaxSize
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // Attributes
      0x01, 0xAF, 0xAF, 0xAF,                         // Lock, and pool as it was
      'A',  0x00, 0x00, 0x00,                         // Name
  };
  VARIABLE_POLICY_ENTRY *Entry = nullptr;
  ASSERT_EQ (CreateBasicVariablePolicy (&gRasGlobalDataVariableGuid, u"A", &Entry), EFI_SUCCESS);
  EXPECT_EQ (std::memcmp (Entry, Expected, sizeof Expected), 0);
  FreePool (Entry);
}

TEST_F (VariablePolicyHelper, TakesNamesThatFitARule)
{
  const std::u16string Longest (32744, u'x');
  const std::u16string TooLong (32745, u'x');
  const std::u16string Endless (0x10000, u'x');
  const struct {
    const CHAR16 *Name;
    EFI_STATUS Status;
    UINT16 Size;
  } Rows[] = {
      {nullptr, EFI_SUCCESS, 44},
      {u"", EFI_SUCCESS, 46},
      {ProcessorErrorRecordListName, EFI_SUCCESS, 94},
      {Longest.c_str (), EFI_SUCCESS, 65534},
      {TooLong.c_str (), EFI_BUFFER_TOO_SMALL, 0},
      {Endless.c_str (), EFI_BUFFER_TOO_SMALL, 0},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (&Row - Rows);
    VARIABLE_POLICY_ENTRY *Entry = nullptr;
    EXPECT_EQ (CreateBasicVariablePolicy (&gRasGlobalDataVariableGuid, Row.Name, &Entry),
               Row.Status);
    ASSERT_EQ (Entry != nullptr, Row.Size != 0);
    if (Entry != nullptr) {
      EXPECT_EQ (+Entry->Size, Row.Size);
      EXPECT_EQ (+Entry->OffsetToName, 44);
      EXPECT_TRUE (Row.Name == nullptr || std::memcmp (Entry + 1, Row.Name, Row.Size - 44U) == 0);
      FreePool (Entry);
    }
  }
}

TEST_F (VariablePolicyHelper, AssertsThatANameFits)
{
  InstallDebugService ();
  const std::u16string Long (32745, u'x');
  VARIABLE_POLICY_ENTRY *Entry = nullptr;
  EXPECT_EQ (StoppedAt ([&] {
               (void)CreateBasicVariablePolicy (&gRasGlobalDataVariableGuid, Long.c_str (), &Entry);
             }),
             "MdeModulePkg/Library/VariablePolicyHelperLib/VariablePolicyHelperLib:100 "
             "TotalSize <= ((UINT16)0xFFFF)");
}

TEST_F (VariablePolicyHelper, ReturnsEachFailureAndKeepsNoMemory)
{
  EXPECT_EQ (CreateBasicVariablePolicy (&gRasGlobalDataVariableGuid, u"A", nullptr),
             EFI_INVALID_PARAMETER);
  EXPECT_EQ (RegisterBasicVariablePolicy (u"A"), EFI_INVALID_PARAMETER) << "no service is bound";
  mVariablePolicy = &gVariablePolicy;

  FaultPlanFail (ServiceSmmAllocatePool, 1, EFI_NOT_READY);
  EXPECT_EQ (RegisterBasicVariablePolicy (u"A"), EFI_OUT_OF_RESOURCES);
  FaultPlanFail (ServiceRegisterPolicy, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ (RegisterBasicVariablePolicy (u"A"), EFI_DEVICE_ERROR);
  EXPECT_EQ (RegisterBasicVariablePolicy (u"A"), EFI_SUCCESS);
  EXPECT_TRUE (VariablePolicyLocks (u"A", &gRasGlobalDataVariableGuid));
  EXPECT_EQ (gPools[PoolSmm].LiveBlocks, LiveBlocks);
  EXPECT_EQ (Messages (), "");
}

} // namespace
