#include "VariablePolicyHelperLib.h"

#include <cstring>

#include "FirmwareTestBench.h"
#include "Record/RasGlobalData.h"
#include "SmmMemoryAllocationLib.h"

namespace {

class VariablePolicyHelper : public FirmwareTestBench {
public:
  VariablePolicyHelper ()
  {
    SmmMemoryAllocationLibConstructor (nullptr, nullptr);
  }

  VARIABLE_POLICY_ENTRY *Entry = nullptr;

  EFI_STATUS
  Create (const CHAR16 *Name)
  {
    return CreateBasicVariablePolicy (&gRasGlobalDataVariableGuid, Name, &Entry);
  }
};

TEST_F (VariablePolicyHelper, FillsEveryFieldOfARule)
{
  constexpr UINT8 Expected[] = {
      0x00, 0x00, 0x01, 0x00, 0x30, 0x00, 0x2C, 0x00, // Version, Size, OffsetToName
      0x36, 0xFA, 0x4A, 0xCB, 0xBF, 0x42, 0x0B, 0x40, // Namespace
      0x8B, 0x8F, 0x57, 0x39, 0x41, 0xA2, 0x9F, 0x4E, //
      0x00, 0x00, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0xFF, // MinSize, MaxSize
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, // AttributesMustHave, AttributesCantHave
      0x01, 0xAF, 0xAF, 0xAF, 'A',  0x00, 0x00, 0x00, // LockPolicyType, pool as it was, Name
  };
  ASSERT_EQ (Create (u"A"), EFI_SUCCESS);
  EXPECT_EQ (std::memcmp (Entry, Expected, sizeof Expected), 0);
}

TEST_F (VariablePolicyHelper, TakesNamesThatFitARule)
{
  ASSERT_EQ (Create (nullptr), EFI_SUCCESS);
  EXPECT_EQ (+Entry->Size, 44);
  for (const UINTN Length : {0U, 24U, 32744U}) {
    const std::u16string Name (Length, u'x');
    ASSERT_EQ (Create (Name.c_str ()), EFI_SUCCESS);
    EXPECT_EQ (+Entry->Size, 46 + 2 * Length);
    EXPECT_EQ (std::memcmp (Entry + 1, Name.c_str (), 2 * Length + 2), 0);
  }
  const std::u16string TooLong (32745, u'x');
  EXPECT_EQ (Create (TooLong.c_str ()), EFI_BUFFER_TOO_SMALL);
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([&] { Create (TooLong.c_str ()); }),
             "MdeModulePkg/Library/VariablePolicyHelperLib/VariablePolicyHelperLib:100 "
             "TotalSize <= ((UINT16)0xFFFF)");
}

// The failures of the services can be read in the transcripts.
TEST_F (VariablePolicyHelper, RefusesNoPlaceForTheRuleAndNoService)
{
  EXPECT_EQ (CreateBasicVariablePolicy (&gRasGlobalDataVariableGuid, u"A", nullptr),
             EFI_INVALID_PARAMETER);
  EXPECT_EQ (RegisterBasicVariablePolicy (u"A"), EFI_INVALID_PARAMETER) << "no service is bound";
}

} // namespace
