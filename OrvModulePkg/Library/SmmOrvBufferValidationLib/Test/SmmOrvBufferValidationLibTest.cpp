#include "SmmOrvBufferValidationLib.h"

#include "FirmwareTestBench.h"

namespace {

using SmmOrvBufferValidationLib = FirmwareTestBench;

TEST_F (SmmOrvBufferValidationLib, ReturnsWhatCameOfTheSearch)
{
  for (const EFI_STATUS Status : {EFI_SUCCESS, EFI_STATUS{5}, EFI_DEVICE_ERROR}) {
    FaultPlanFail (ServiceSmmLocateProtocol, 1, Status);
    EXPECT_EQ (SmmOrvBufferValidationLibConstructor (nullptr, nullptr), Status);
  }
  InstallDebugService ();
  FaultPlanFail (ServiceSmmLocateProtocol, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ (StoppedAt ([] { SmmOrvBufferValidationLibConstructor (nullptr, nullptr); }),
             "OrvModulePkg/Library/SmmOrvBufferValidationLib/SmmOrvBufferValidationLib:38 "
             "!(((INTN)(RETURN_STATUS)(Status)) < 0)");
}

} // namespace
