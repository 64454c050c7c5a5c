/// The three libraries that each bind one record of a closed driver.

#include "CsrPseudoOffsetConvertLibSmm.h"
#include "EmulationConfigurationLib.h"
#include "FirmwareTestBench.h"
#include "HandOffRecords.h"
#include "Protocol/CsrPseudoOffsetTable.h"
#include "Protocol/EmulationConfiguration.h"
#include "SmmServices.h"
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
    std::string WithoutTable; ///< Where the processor stops without a services table.
  } Libraries[] = {
      {SystemInfoLibConstructor, gSystemInfoProtocolGuid,
       [] () -> const VOID * { return mSystemInfoRecord; },
       "ServerSiliconPkg/Library/SystemInfoLib/SystemInfoLibSmm:117"},
      {CsrPseudoOffsetConvertLibConstructor, gCsrPseudoOffsetTableProtocolGuid,
       [] { return mCsrPseudoOffsetTable; },
       "ServerSiliconPkg/Library/CsrPseudoOffsetConvertLibSmm/CsrPseudoOffsetConvertLibSmm:129"},
      {EmulationConfigurationLibConstructor, gEmulationConfigurationProtocolGuid,
       [] { return mEmulationConfig; },
       "ServerSiliconPkg/Library/EmulationConfigurationLib/EmulationConfigurationSmmLib:298"},
  };
  for (const auto &Each : Libraries) {
    SCOPED_TRACE (Each.WithoutTable);
    VOID *Published = nullptr;
    EXPECT_EQ (ProtocolLocate (ProtocolSmm, &Each.Protocol, &Published), EFI_SUCCESS);
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
  gSmst = &gSmmSystemTable;
  InstallDebugService ();
  (void)StoppedAt ([&] { (void)Libraries[0].Construct (nullptr, nullptr); });
  gSmst = nullptr; // The debug service has been found by now.
  for (const auto &Each : Libraries) {
    EXPECT_EQ (StoppedAt ([&] { (void)Each.Construct (nullptr, nullptr); }),
               Each.WithoutTable + " ((BOOLEAN)(0==1))");
  }
}

} // namespace
