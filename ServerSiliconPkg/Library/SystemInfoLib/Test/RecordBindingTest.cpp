/// The three libraries that each bind one record of a closed driver.

#include "CsrPseudoOffsetConvertLibSmm.h"
#include "EmulationConfigurationLib.h"
#include "FirmwareTestBench.h"
#include "HandOffRecords.h"
#include "Protocol/CsrPseudoOffsetTable.h"
#include "Protocol/EmulationConfiguration.h"
#include "SmmServicesTableLib.h"
#include "SystemInfoLib.h"

namespace {

using RecordBinding = FirmwareTestBench;

TEST_F (RecordBinding, KeepsWhatThePlatformPublishes)
{
  const struct {
    EFI_STATUS (EFIAPI *Construct) (EFI_HANDLE, EFI_SYSTEM_TABLE *);
    const EFI_GUID &Protocol;
    const VOID *(*Bound) ();
  } Libraries[] = {
      {SystemInfoLibConstructor, gSystemInfoProtocolGuid,
       [] () -> const VOID * { return mSystemInfoRecord; }},
      {CsrPseudoOffsetConvertLibConstructor, gCsrPseudoOffsetTableProtocolGuid,
       [] { return mCsrPseudoOffsetTable; }},
      {EmulationConfigurationLibConstructor, gEmulationConfigurationProtocolGuid,
       [] { return mEmulationConfig; }},
  };
  for (const auto &Each : Libraries) {
    SCOPED_TRACE (&Each - Libraries);
    VOID *Published = nullptr;
    EXPECT_EQ (ProtocolLocate (ProtocolSmm, &Each.Protocol, &Published), EFI_SUCCESS);
    FaultPlanFail (ServiceSmmLocateProtocol, 1, 5); // a warning
    EXPECT_EQ (Each.Construct (nullptr, nullptr), EFI_SUCCESS);
    EXPECT_EQ (Each.Bound (), Published);
    ProtocolRemove (ProtocolSmm, &Each.Protocol);
    EXPECT_EQ (Each.Construct (nullptr, nullptr), EFI_NOT_FOUND);
    EXPECT_EQ (Each.Bound (), nullptr);
  }
  gSmst = nullptr;
  for (const auto &Each : Libraries) {
    EXPECT_EQ (Each.Construct (nullptr, nullptr), EFI_UNSUPPORTED);
    EXPECT_EQ (Each.Bound (), nullptr);
  }
}

} // namespace
