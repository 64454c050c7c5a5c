#include "PeiDxeRasRcDataLib.h"

#include "FirmwareTestBench.h"
#include "Guid/RasRcHob.h"
#include "HobList.h"
#include "SmmDebugServiceLib.h"

namespace {

using RasRcData = FirmwareTestBench;

const std::string SourceFile = "ServerSiliconPkg/Ras/Library/PeiDxeRasRcDataLib/DxeRasRcDataLib:";

TEST_F (RasRcData, HasToBeThereInBothParts)
{
  InstallDebugService ();
  const std::string Policy = "ERROR: RAS RC policy HOB does not exist!";
  const std::string Config = "ERROR: RAS RC config HOB does not exist!";
  const struct {
    bool HasPolicy, HasConfig;
    EFI_STATUS Status;
    std::string Messages;  ///< Where assertions are off.
    std::string Assertion; ///< Where they are on.
  } Rows[] = {
      {true, true, EFI_SUCCESS, "", ""},
      {false, true, EFI_NOT_FOUND, Policy, SourceFile + "57 Policy != ((void *) 0)"},
      {true, false, EFI_NOT_FOUND, Config, SourceFile + "64 Config != ((void *) 0)"},
      {false, false, EFI_NOT_FOUND, Policy + Config, SourceFile + "57 Policy != ((void *) 0)"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Assertion);
    PowerOn ();
    World.Forget ();
    if (!Row.HasPolicy) {
      HobListRemove (&gRasRcPolicyHobGuid);
    }
    if (!Row.HasConfig) {
      HobListRemove (&gRasRcConfigHobGuid);
    }
    const auto Construct = [&] {
      EXPECT_EQ (RasRcDataLibConstructor (nullptr, nullptr), Row.Status);
    };
    EXPECT_EQ (StoppedAt (Construct), DebugAssertEnabled () ? Row.Assertion : "");
    EXPECT_EQ (Messages (), DebugAssertEnabled () ? "" : Row.Messages);
  }
}

TEST_F (RasRcData, IsFoundBehindTheHeadOfItsHob)
{
  EXPECT_EQ (GetRasRcHobData (nullptr), nullptr);
  InstallDebugService ();
  auto *Data = static_cast<UINT8 *> (GetRasRcHobData (&gRasRcConfigHobGuid));
  ASSERT_NE (Data, nullptr);
  EXPECT_EQ (+reinterpret_cast<EFI_HOB_GUID_TYPE *> (Data - 24)->Name.Data1, 0x437872EFU);

  EXPECT_EQ (StoppedAt ([] { EXPECT_EQ (GetRasRcHobData (nullptr), nullptr); }),
             DebugAssertEnabled () ? SourceFile + "90 HobGuid != ((void *) 0)" : "");
}

} // namespace
